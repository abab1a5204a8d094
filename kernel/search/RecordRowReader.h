#pragma once

#include "kernel/search/SearchSet.h"

namespace wdb {

// Reads the rows of a set whose rows are the records of its bases, the everyday ones, in the set's order.
class RecordRowReader {
public:
    // Both outlive the reader. The set has no block of rows and is no union.
    RecordRowReader(SearchSet& set, SearchContext& context) : set_(set), context_(context) {}
    RecordRowReader(const RecordRowReader&) = delete;
    RecordRowReader& operator=(const RecordRowReader&) = delete;

    // `place` is below the set's number of rows. WDB_E_DELETED when the record is gone, WDB_E_CHANGED,
    // WDB_E_CORRUPT.
    Status read(uint64_t place);
    RowView view() const { return {{&only_, 1}, {}, 0}; }
    std::span<const OutputColumn> columns() const { return set_.columns; }
    bool plain() const { return true; }

private:
    Status open(size_t base);

    SearchSet& set_;
    SearchContext& context_;
    const BaseSnapshot* snapshot_ = nullptr;  // of the base that was read last
    size_t opened_ = 0;
    RecordView record_;
    RowRecord only_;
};

}  // namespace wdb
