#pragma once

#include <span>

#include "kernel/search/RowView.h"
#include "kernel/search/Tuples.h"

namespace wdb {

// Writes rows in the form of WdbGetRows, one behind the other.
//
// Descriptor: number of items n, number of words (4 + 2n), per item length and flags, record number, part
// number. Data: the items' texts one after another, a zero byte behind every item with flag 128, and one at
// the end. Flags: 8 first item of a column, 2 NULL, 1 text, 4 (with 1) a reference "field,record,part"
// instead of the value, 32 the record is deleted (of a row over several bases), 128 a zero byte follows.
class RowWriter {
public:
    // Both outlive the writer.
    RowWriter(RowItems& rows, const DateForm& form) : row_(rows), form_(form) {}

    // Appends a row. The first table with a record gives the row's record and part number; `trailer` false:
    // they are 0.
    void write(std::span<const OutputColumn> columns, const RowView& row, bool trailer);

private:
    void column(const OutputColumn& column, const RowView& row);
    void field(const OutputColumn& column, const RowRecord& record);
    void items(const OutputColumn& column, const ItemList& items);
    void value(FieldType type, Slice canonical, bool first);
    void null(uint32_t flags);
    void text(std::string_view text);
    // Notes an item whose text has been appended since `start`.
    void item(size_t start, uint32_t flags);
    void finish(PartRow record);

    RowItems& row_;
    const DateForm& form_;
    size_t begin_ = 0;  // of the row's descriptor among the words
    uint32_t deleted_ =
        0;  // the flag of a deleted record: rows of several bases that stand for records have it
};

}  // namespace wdb
