#pragma once

#include <span>

#include "kernel/search/ExpressionEvaluator.h"
#include "kernel/search/Tuples.h"

namespace wdb {

// What a condition finds in a base whose records have parts.
struct PartHits {
    std::vector<PartRow> rows;  // ascending
    RecordSet heads;            // records whose head satisfies the condition by itself
};

// Evaluates the subtree of a condition over rows of a record and one of its parts: a criterion on a head
// field is the same for all rows of a record, one on a part field is asked of the row's part. A record has a
// row for each of its parts, and one with part 0 when it has no parts or its head holds a value of a part
// field. The index finds the records that come into question, their images decide. No expression: all rows.
Status searchParts(const ccl::Expression* expression, uint32_t root, std::span<const Condition> conditions,
                   BaseState& state, PartHits& hits);

}  // namespace wdb
