#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "kernel/catalog/BaseSnapshot.h"
#include "kernel/record/DateForm.h"
#include "kernel/record/RecordImage.h"
#include "kernel/search/OutputColumn.h"

namespace wdb {

// The record of one table in a row.
struct RowRecord {
    const RecordView* view = nullptr;  // null: none, or deleted since
    RecordNumber number = 0;           // 0: none
    PartNumber part = 0;
    bool deleted = false;
    const BaseSnapshot* snapshot = nullptr;  // that the view was read from: large objects are read there
};

// The values of an aggregate, one for each row: canonical, empty ones are NULL.
struct ComputedColumn {
    FieldType type = FieldType::Integer;
    std::vector<std::string> values;
};

// What a row consists of while it is written or compared.
struct RowView {
    std::span<const RowRecord> tables;  // as many as the columns speak of
    std::span<const ComputedColumn> computed;
    size_t row = 0;  // in the computed columns
};

// The items of a field that a column delivers, empty ones in gaps; for TEXT and STRING the one value.
template <typename Visit>
void visitItems(const OutputColumn& column, const RowRecord& record, Visit&& visit) {
    if (record.view == nullptr) return;
    const ItemList list = record.view->items(column.ofParts ? record.part : 0, column.field);
    if (column.first > 0 && column.first == column.last) {
        if (!list.empty()) visit(list.at(column.first));
        return;
    }
    uint32_t position = 0;
    for (const Slice item : list) {
        if (column.last > 0 && position++ == column.last) return;
        visit(item);
    }
}

// The value of an arithmetic column as the text of a number; nothing is NULL.
std::optional<std::string> arithmeticValue(const ArithmeticColumn& column, const RowView& row,
                                           const DateForm& form);

// The values of a column of any kind, canonical in column.type, empty ones left out (constants: PHRASE).
void columnValues(const OutputColumn& column, const RowView& row, const DateForm& form,
                  const std::function<void(Slice)>& visit);
// Its first item as it sorts: empty when it is NULL.
std::string firstValue(const OutputColumn& column, const RowView& row, const DateForm& form);

}  // namespace wdb
