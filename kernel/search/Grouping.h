#pragma once

#include "kernel/search/RowPlaces.h"

namespace wdb {

// Which group each row belongs to.
struct RowGroups {
    std::vector<uint32_t> numberOf;  // by row: a number of its group, below `numbers`
    uint32_t numbers = 0;            // some may belong to no group
    std::vector<uint32_t> groups;    // these numbers, in the order of the groups' first rows
    std::vector<uint32_t> firstRow;  // by group
};

// Rows with equal values in all columns form a group.
Status groupRows(std::span<const OutputColumn> columns, const SourceRows& source, RowGroups& groups);
// One group of all rows, also of none.
RowGroups oneGroup(size_t rows);

// The value of an aggregate for each group. COUNT: rows, or items that are not empty; SUM exact; AVG rounded
// half up to 6 decimals; NULL without any item. DISTINCT takes equal items once.
Status aggregate(const BoundAggregate& aggregate, const SourceRows& source, const RowGroups& groups,
                 ComputedColumn& result);

}  // namespace wdb
