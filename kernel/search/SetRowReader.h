#pragma once

#include <optional>

#include "kernel/search/SearchSet.h"
#include "kernel/search/TupleReader.h"

namespace wdb {

// Reads the rows of a set of any kind but a record set, one at a time, in the set's order.
class SetRowReader {
public:
    // Both outlive the reader.
    SetRowReader(SearchSet& set, SearchContext& context) : set_(set), context_(context) {}

    // WDB_E_DELETED when the records of the row are all gone (view() is then empty), WDB_E_CHANGED,
    // WDB_E_CORRUPT.
    Status read(uint64_t row);
    const RowView& view() const { return view_; }
    // The columns that the row has.
    std::span<const OutputColumn> columns() const { return columns_; }
    // Does the row stand for records?
    bool plain() const { return plain_; }

private:
    // kept: null, or where the values are read.
    Status readSimple(SearchSet& set, uint64_t row, const KeptRecords* kept);
    Status readBlock(SearchSet& set, uint64_t row, const KeptRecords* kept);
    Status readUnion(uint64_t row);
    Status readFrom(SearchSet& set, uint64_t row, const KeptRecords* kept);

    SearchSet& set_;
    SearchContext& context_;
    SearchSet* opened_ = nullptr;  // whose rows reader_ reads, and from where
    const KeptRecords* openedKept_ = nullptr;
    std::optional<TupleReader> reader_;
    RecordView record_;
    RowRecord only_;
    RowView view_;
    std::span<const OutputColumn> columns_;
    bool plain_ = true;
};

}  // namespace wdb
