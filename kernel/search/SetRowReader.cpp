#include "kernel/search/SetRowReader.h"

#include <algorithm>

namespace wdb {

Status SetRowReader::read(uint64_t row) {
    return set_.joined ? readUnion(row) : readFrom(set_, row, nullptr);
}

Status SetRowReader::readUnion(uint64_t row) {
    UnionRows& joined = *set_.joined;
    const uint64_t place = joined.placeOf(row);
    const auto members = joined.members();
    const auto next = std::upper_bound(
        members.begin(), members.end(), place,
        [](uint64_t wanted, const UnionRows::Member& member) { return wanted < member.begin; });
    UnionRows::Member& member = *std::prev(next);
    const Status status = readFrom(*member.set, place - member.begin, member.kept.get());
    columns_ = member.columns;
    return status;
}

Status SetRowReader::readFrom(SearchSet& set, uint64_t row, const KeptRecords* kept) {
    columns_ = set.columns;
    view_ = {};
    plain_ = true;
    if (set.lost) return WDB_E_MEMORY;
    if (set.block && set.block->kept) kept = set.block->kept.get();
    if (kept != nullptr && !kept->made()) kept = nullptr;
    if (kept != nullptr && kept->status() != WDB_OK) return kept->status();
    if (set.block) return readBlock(set, row, kept);
    return set.bases.empty() ? WDB_OK : readSimple(set, row, kept);
}

Status SetRowReader::readBlock(SearchSet& set, uint64_t row, const KeptRecords* kept) {
    RowBlock& block = *set.block;
    if (opened_ != &set || openedKept_ != kept) {
        std::vector<const BaseSnapshot*> snapshots;
        for (const SetBase& base : set.bases) {
            const Result<const BaseSnapshot*> snapshot = context_.snapshot(base.base);
            if (!snapshot) return snapshot.status();
            snapshots.push_back(*snapshot);
        }
        if (kept == nullptr && block.kept && block.kept->made()) {  // one of them was too old just now
            kept = block.kept.get();
            if (kept->status() != WDB_OK) return kept->status();
        }
        reader_.emplace(std::move(snapshots), block.rows, kept);
        opened_ = &set;
        openedKept_ = kept;
    }
    const size_t place = block.rowAt(row);
    WDB_TRY(reader_->read(place));
    plain_ = block.plain;
    if (plain_ && reader_->allDeleted()) return WDB_E_DELETED;
    view_ = {reader_->records(), block.computed, place};
    return WDB_OK;
}

Status SetRowReader::readSimple(SearchSet& set, uint64_t row, const KeptRecords* kept) {
    SetBase& base = set.bases.front();
    const Result<const BaseSnapshot*> snapshot = context_.snapshot(base.base);
    if (!snapshot) return snapshot.status();
    const Result<RecordNumber> number = set.recordInRow(base, row, **snapshot, context_);
    if (!number) return number.status();
    if (kept != nullptr) {
        const std::string* image = kept->find(0, *number);
        if (image == nullptr && kept->has(0)) return WDB_E_DELETED;
        if (image != nullptr) record_ = RecordView::trusted(*image);
        only_ = {image != nullptr ? &record_ : nullptr, *number, 0, false, *snapshot};
        view_ = {{&only_, 1}, {}, 0};
        return WDB_OK;
    }
    const Result<RecordView> record = (*snapshot)->record(*number);
    if (!record) return record.status() == WDB_FAIL ? Status{WDB_E_DELETED} : record.status();
    record_ = *record;
    only_ = {&record_, *number, 0, false, *snapshot};
    view_ = {{&only_, 1}, {}, 0};
    return WDB_OK;
}

}  // namespace wdb
