#include "kernel/search/RecordRowReader.h"

namespace wdb {

Status RecordRowReader::open(size_t base) {
    const Result<const BaseSnapshot*> snapshot = context_.snapshot(set_.bases[base].base);
    if (!snapshot) return snapshot.status();
    snapshot_ = *snapshot;
    opened_ = base;
    const bool perBase = set_.kind == SetKind::Records && (set_.columns.empty() || set_.bases.size() > 1);
    if (perBase) set_.columns = allColumns(context_, *set_.bases[base].definition);
    return WDB_OK;
}

Status RecordRowReader::read(uint64_t place) {
    size_t base = 0;
    while (place >= set_.bases[base].count) place -= set_.bases[base++].count;
    if (snapshot_ == nullptr || base != opened_) WDB_TRY(open(base));
    const Result<RecordNumber> number = set_.recordInRow(set_.bases[base], place, *snapshot_, context_);
    if (!number) return number.status();
    Result<RecordView> record = snapshot_->record(*number);
    if (!record) return record.status() == WDB_FAIL ? Status{WDB_E_DELETED} : record.status();
    record_ = *std::move(record);
    only_ = {&record_, *number, 0, false, snapshot_};
    return WDB_OK;
}

}  // namespace wdb
