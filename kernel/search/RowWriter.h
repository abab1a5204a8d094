#pragma once

#include <span>

#include "kernel/record/RecordImage.h"
#include "kernel/search/OutputColumn.h"

namespace wdb {

// Writes rows in the form of WdbGetRows.
//
// Descriptor: number of items n, number of words (4 + 2n), per item length and flags, record number, part number. Data: the
// items' texts one after another, a zero byte behind every item with flag 128, and one at the end. Flags: 8 first item of
// a column, 2 NULL, 1 text, 4 (with 1) a reference "field,record,part" instead of the value, 128 a zero byte follows.
class RowWriter {
public:
    RowWriter(RowItems& row, const DateForm& form);

    // All columns of a record's row.
    void write(std::span<const OutputColumn> columns, const RecordView& record, RecordNumber number);
    // A row without a record.
    void writeConstants(std::span<const OutputColumn> columns);

private:
    void column(const OutputColumn& column, const RecordView* record, RecordNumber number);
    void items(const OutputColumn& column, const ItemList& items);
    void value(const OutputColumn& column, Slice canonical, bool first);
    void null(bool first);
    void text(std::string_view text);
    // Notes an item whose text has been appended since `start`.
    void item(size_t start, uint32_t flags);
    void finish(RecordNumber number, PartNumber part);

    RowItems& row_;
    const DateForm& form_;
};

}  // namespace wdb
