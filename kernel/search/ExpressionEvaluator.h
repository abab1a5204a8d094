#pragma once

#include <span>

#include "kernel/ccl/Tree.h"
#include "kernel/search/ConditionSets.h"

namespace wdb {

// The records of a base for which a condition tree holds: AND, ORX and NOT are intersection, union and
// difference. The right side of AND and NOT is not looked at once the left one is empty, and is decided by
// looking at the records when few are left. Walks the tree with a stack of its own. The set may borrow from
// the state's snapshot and from the conditions.
//
// conditions: those of the tree's criteria, in their order. root: the node whose subtree is meant. A loose
// reading gives all records for which the condition may hold in some part of theirs.
enum class Reading : uint8_t { Exact, Loose };
Result<RecordSet> evaluateExpression(const ccl::Expression& expression, uint32_t root,
                                     std::span<const Condition> conditions, BaseState& state,
                                     Reading reading = Reading::Exact);
// The whole tree.
Result<RecordSet> evaluateExpression(const ccl::Expression& expression, std::span<const Condition> conditions,
                                     BaseState& state);

}  // namespace wdb
