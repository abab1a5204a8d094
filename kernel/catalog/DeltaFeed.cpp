#include "kernel/catalog/DeltaFeed.h"

#include <unordered_map>
#include <vector>

#include "kernel/record/RecordImage.h"

namespace wdb {

namespace {

struct Step {
    Position position;
    RecordNumber record;
    Slice image;  // since this step; empty: deleted
};

// The image of a record behind an entry is the one that its next entry replaced, or the present one when
// there is none. So the queue is taken backwards.
class Backwards {
public:
    explicit Backwards(const BaseReader& reader) : reader_(reader) {}

    Status take(const QueueEntry& entry) {
        if (entry.kind != ChangeKind::Range) return add(entry, entry.record);
        for (RecordNumber record = entry.last; record >= entry.record; --record) WDB_TRY(add(entry, record));
        return WDB_OK;
    }
    const std::vector<Step>& steps() const { return steps_; }  // newest first

private:
    Status add(const QueueEntry& entry, RecordNumber record) {
        const auto [replaced, newest] = replaced_.try_emplace(record);
        Slice image = replaced->second;
        if (newest) {
            const auto present = reader_.image(record);
            if (present)
                image = *present;
            else if (present.status() == WDB_FAIL && entry.kind == ChangeKind::Range)
                return WDB_OK;  // a gap
            else if (present.status() != WDB_E_DELETED)
                return present.status() == WDB_FAIL ? WDB_E_CORRUPT : present.status();
        }
        if (entry.kind == ChangeKind::Delete) image = {};
        replaced->second = entry.previous;
        steps_.push_back({entry.position, record, image});
        return WDB_OK;
    }

    const BaseReader& reader_;
    std::unordered_map<RecordNumber, Slice> replaced_;  // by the next entry of the record
    std::vector<Step> steps_;
};

}  // namespace

Status feedDelta(Delta& delta, const BaseReader& reader, Position position) {
    if (delta.caughtUpTo() >= position) return WDB_OK;
    Delta::Appender appender = delta.append();
    const Position after = appender.caughtUpTo();
    if (after >= position) return WDB_OK;
    std::vector<QueueEntry> entries;
    WDB_TRY(reader.forEachChange(after, position, [&](const QueueEntry& entry) {
        entries.push_back(entry);
        return Status{WDB_OK};
    }));
    Backwards backwards(reader);
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) WDB_TRY(backwards.take(*entry));
    for (auto step = backwards.steps().rbegin(); step != backwards.steps().rend(); ++step) {
        if (step->image.empty()) {
            WDB_TRY(appender.add(step->position, step->record, nullptr));
            continue;
        }
        const auto view = reader.view(step->image);
        if (!view) return view.status();
        WDB_TRY(appender.add(step->position, step->record, &*view));
    }
    appender.advance(position);
    return WDB_OK;
}

}  // namespace wdb
