#pragma once

#include <array>

#include "kernel/search/SearchSet.h"
#include "kernel/storage/PageTree.h"

namespace wdb {

// Reads the rows of a set whose rows are the records of its bases, the everyday ones, in the set's order.
class RecordRowReader {
public:
    // Both outlive the reader. The set has no block of rows and is no union. `end`: the place behind the last
    // one that will be read.
    RecordRowReader(SearchSet& set, SearchContext& context, uint64_t end)
        : set_(set), context_(context), end_(end) {}
    RecordRowReader(const RecordRowReader&) = delete;
    RecordRowReader& operator=(const RecordRowReader&) = delete;

    // `place` is below the end, and the places ascend. WDB_E_DELETED when the record is gone, WDB_E_CHANGED,
    // WDB_E_CORRUPT.
    Status read(uint64_t place);
    RowView view() const { return {{&only_, 1}, {}, 0}; }
    std::span<const OutputColumn> columns() const { return set_.columns; }
    bool plain() const { return true; }

private:
    Status open(size_t base);
    // The record of a place of the opened base, `left` places before the end; the next ones are fetched
    // along.
    Result<RecordView> record(uint64_t place, uint64_t left, RecordNumber& number);

    SearchSet& set_;
    SearchContext& context_;
    uint64_t end_;
    const BaseSnapshot* snapshot_ = nullptr;  // of the base that was read last
    size_t opened_ = 0;
    // Records that were fetched together, and the place of the first one in the opened base.
    std::array<RecordNumber, PageTree::kSome> numbers_;
    std::array<Slice, PageTree::kSome> images_;
    uint64_t fetchedAt_ = 0;
    size_t fetched_ = 0;
    RecordView record_;
    RowRecord only_;
};

}  // namespace wdb
