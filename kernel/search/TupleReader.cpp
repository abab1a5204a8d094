#include "kernel/search/TupleReader.h"

namespace wdb {

TupleReader::TupleReader(std::vector<const BaseSnapshot*> snapshots, const Tuples& rows,
                         const KeptRecords* kept)
    : snapshots_(std::move(snapshots)),
      rows_(rows),
      kept_(kept),
      views_(snapshots_.size()),
      records_(snapshots_.size()) {}

Status TupleReader::read(size_t row) {
    for (uint32_t table = 0; table < records_.size(); ++table) {
        RowRecord& record = records_[table];
        const PartRow wanted = rows_.at(table, row);
        record.part = wanted.part;
        if (wanted.record == record.number) continue;  // rows of a join repeat their records
        record = {nullptr, wanted.record, wanted.part, false, snapshots_[table]};
        if (wanted.record == 0) continue;
        WDB_TRY(load(table, record));
    }
    return WDB_OK;
}

Status TupleReader::load(uint32_t table, RowRecord& record) {
    if (kept_ != nullptr) {
        const std::string* image = kept_->find(table, record.number);
        record.deleted = image == nullptr && kept_->has(table);
        if (image == nullptr) return WDB_OK;
        views_[table] = RecordView::trusted(*image);
    } else {
        const Result<RecordView> view = snapshots_[table]->record(record.number);
        if (!view && view.status() != WDB_E_DELETED && view.status() != WDB_FAIL) return view.status();
        record.deleted = !view;
        if (!view) return WDB_OK;
        views_[table] = *view;
    }
    record.view = &views_[table];
    return WDB_OK;
}

bool TupleReader::allDeleted() const {
    bool any = false;
    for (const RowRecord& record : records_) {
        if (record.view != nullptr) return false;
        any = any || record.deleted;
    }
    return any;
}

}  // namespace wdb
