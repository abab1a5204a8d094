#include "kernel/search/RecordRowReader.h"

#include <algorithm>

namespace wdb {

Status RecordRowReader::open(size_t base) {
    const Result<const BaseSnapshot*> snapshot = context_.snapshot(set_.bases[base].base);
    if (!snapshot) return snapshot.status();
    snapshot_ = *snapshot;
    opened_ = base;
    fetched_ = 0;
    const bool perBase = set_.kind == SetKind::Records && (set_.columns.empty() || set_.bases.size() > 1);
    if (perBase) set_.columns = allColumns(context_, *set_.bases[base].definition);
    return WDB_OK;
}

Result<RecordView> RecordRowReader::record(uint64_t place, uint64_t left, RecordNumber& number) {
    SetBase& base = set_.bases[opened_];
    if (place - fetchedAt_ >= fetched_) {
        fetchedAt_ = place;
        fetched_ = 0;
        for (const uint64_t wanted = std::min({left, base.count - place, uint64_t{PageTree::kSome}});
             fetched_ < wanted; ++fetched_) {
            const Result<RecordNumber> next = set_.recordInRow(base, place + fetched_, *snapshot_, context_);
            if (!next && fetched_ == 0) return next.status();
            if (!next) break;  // until it is its turn
            numbers_[fetched_] = *next;
        }
        std::fill_n(images_.begin(), fetched_, Slice());
        if (fetched_ > 1) snapshot_->images({numbers_.data(), fetched_}, {images_.data(), fetched_});
    }
    number = numbers_[place - fetchedAt_];
    return snapshot_->record(number, images_[place - fetchedAt_]);
}

Status RecordRowReader::read(uint64_t place) {
    const uint64_t left = end_ - place;
    size_t base = 0;
    while (place >= set_.bases[base].count) place -= set_.bases[base++].count;
    if (snapshot_ == nullptr || base != opened_) WDB_TRY(open(base));
    RecordNumber number = 0;
    Result<RecordView> found = record(place, left, number);
    if (!found) return found.status() == WDB_FAIL ? Status{WDB_E_DELETED} : found.status();
    record_ = *std::move(found);
    only_ = {&record_, number, 0, false, snapshot_};
    return WDB_OK;
}

}  // namespace wdb
