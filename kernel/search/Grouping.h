#pragma once

#include "kernel/search/RowPlaces.h"

namespace wdb {

// Which group each row belongs to; groups are numbered in the order of their first rows.
struct RowGroups {
    std::vector<uint32_t> groupOf;   // by row
    std::vector<uint32_t> firstRow;  // by group
};

// Rows with equal values in all columns form a group.
Status groupRows(std::span<const OutputColumn> columns, const SourceRows& source, RowGroups& groups);
// One group of all rows, also of none.
RowGroups oneGroup(size_t rows);

// The value of an aggregate for each group. COUNT: rows, or items that are not empty; SUM exact; AVG rounded half up to 6
// decimals; NULL without any item. DISTINCT takes equal items once.
Status aggregate(const BoundAggregate& aggregate, const SourceRows& source, const RowGroups& groups, ComputedColumn& result);

}  // namespace wdb
