#pragma once

#include "kernel/search/OutputColumn.h"
#include "kernel/search/RowView.h"
#include "kernel/search/Tuples.h"

namespace wdb {

// The rows of a selection while its set is being made.
struct SourceRows {
    SourceTables& tables;
    Tuples& rows;
    std::vector<ComputedColumn>& computed;
};

// Calls visit(row, RowView) for every row, its records read.
Status forEachRow(const SourceRows& source, const std::function<void(size_t, const RowView&)>& visit);

// For each row the place of a column's first item in their order: 0 for an empty one, equal for equal values.
// WDB_E_TYPE for a binary column.
Status sortPlaces(const OutputColumn& column, const SourceRows& source, std::vector<uint64_t>& places);

// Joins two numberings of rows: equal numbers in both are one, from 0 to below the result.
uint32_t combineNumbers(std::vector<uint32_t>& numbers, const std::vector<uint32_t>& others);

// groupNumbers for DISTINCT: values that differ in length, numbers that are written otherwise, are not equal.
// WDB_FAIL when the ranks of the index cannot tell.
Status distinctNumbers(const OutputColumn& column, const SourceRows& source, std::vector<uint32_t>& numbers,
                       uint32_t& count);

// For each row a number that is the same for rows with equal values in the column (all items; NULLs are
// equal), from 0 to below `count`.
Status groupNumbers(const OutputColumn& column, const SourceRows& source, std::vector<uint32_t>& numbers,
                    uint32_t& count);

}  // namespace wdb
