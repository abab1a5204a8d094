#include "kernel/search/KeptRecords.h"

namespace wdb {

namespace {

void copyFields(const FieldsView& from, const std::vector<FieldNumber>& fields, FieldsData& to) {
    for (const FieldNumber field : fields) {
        const ItemList list = from.items(field);
        if (list.empty()) continue;
        std::vector<std::string>& items = to.at(field).items;
        items.clear();  // a field that several columns show
        for (const Slice item : list) items.emplace_back(item);
    }
}

}  // namespace

void KeptRecords::need(std::span<const OutputColumn> columns, size_t tables) {
    tables_.resize(tables);
    for (const OutputColumn& column : columns) {
        need(column);
        if (!column.arithmetic) continue;
        for (const OutputColumn& operand : column.arithmetic->operands) need(operand);
    }
}

void KeptRecords::need(const OutputColumn& column) {
    if (column.kind != OutputColumn::Kind::Field) return;
    Table& table = tables_[column.table];
    (column.ofParts ? table.parts : table.head).push_back(column.field);
}

Status KeptRecords::add(uint32_t table, RecordNumber number, const BaseSnapshot& snapshot) {
    if (number == 0 || !has(table)) return WDB_OK;
    Table& kept = tables_[table];
    if (kept.images.contains(number)) return WDB_OK;
    const Result<RecordView> view = snapshot.record(number);
    if (!view) return view.status() == WDB_E_DELETED || view.status() == WDB_FAIL ? WDB_OK : view.status();
    RecordData copy;
    copyFields(view->head(), kept.head, copy.head);
    if (!kept.parts.empty()) copy.parts.resize(view->partCount());
    for (size_t part = 0; part < copy.parts.size(); ++part)
        copyFields(view->part(static_cast<PartNumber>(part + 1)), kept.parts, copy.parts[part]);
    Result<std::string> image = encodeRecord(copy, view->commit());
    if (!image) return image.status();
    kept.images.emplace(number, std::move(*image));
    return WDB_OK;
}

const std::string* KeptRecords::find(uint32_t table, RecordNumber number) const {
    const auto found = tables_[table].images.find(number);
    return found == tables_[table].images.end() ? nullptr : &found->second;
}

}  // namespace wdb
