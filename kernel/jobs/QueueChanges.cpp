#include "kernel/jobs/QueueChanges.h"

#include <map>

namespace wdb {
namespace {

// Nothing for a record that is not there.
Status validLive(const Result<RecordView>& view, std::optional<RecordView>& out) {
    if (!view) return view.status() == WDB_E_DELETED || view.status() == WDB_FAIL ? WDB_OK : view.status();
    if (!view->deleted()) out = *view;
    return WDB_OK;
}

}  // namespace

Result<std::vector<IndexChange>> readQueueChanges(const BaseReader& reader, Position after, Position upTo) {
    // The first entry of a record behind `after` carries the image that the index holds.
    std::map<RecordNumber, IndexChange> byRecord;
    const auto note = [&](const QueueEntry& entry) -> Status {
        for (uint64_t record = entry.record; record <= entry.last; ++record) {
            const auto number = static_cast<RecordNumber>(record);
            const auto [place, isFirst] = byRecord.try_emplace(number);
            if (!isFirst) continue;
            place->second.record = number;
            if (!entry.previous.empty())
                WDB_TRY(validLive(reader.view(entry.previous), place->second.before));
        }
        return WDB_OK;
    };
    WDB_TRY(reader.forEachChange(after, upTo, note));
    std::vector<IndexChange> changes;
    changes.reserve(byRecord.size());
    for (auto& [record, change] : byRecord) {
        WDB_TRY(validLive(reader.record(record), change.after));
        changes.push_back(std::move(change));
    }
    return changes;
}

}  // namespace wdb
