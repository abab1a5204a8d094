#pragma once

#include "kernel/search/BaseState.h"
#include "kernel/search/Condition.h"

namespace wdb {

// The records for which a condition holds; live ones only. The set may borrow from the state's snapshot and
// from the condition.
Result<RecordSet> recordsWhere(const Condition& condition, BaseState& state);

// All records that have a part for which the condition may hold, and maybe others.
Result<RecordSet> recordsMaybe(const Condition& condition, BaseState& state);

// Those of the given records for which it holds, by looking at each of them.
Result<RecordSet> filterByRecords(const RecordSet& candidates, const Condition& condition, BaseState& state);

// Is it cheaper to look at so many records than to ask the index?
bool cheaperByRecords(const Condition& condition, uint64_t candidates, BaseState& state);

}  // namespace wdb
