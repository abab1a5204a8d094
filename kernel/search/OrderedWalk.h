#pragma once

#include "kernel/search/Ordering.h"

namespace wdb {

// Adds the first `count` records of the set in the order of one field's first items, by a walk through the
// index that gives up after `budget` keys, from which it takes those that it passed. Answers whether it came
// to the end: then `rows` has `count` records (or the whole set).
Result<bool> walkInOrder(const SortKey& key, uint64_t count, uint64_t& budget, const RecordSet& records,
                         BaseState& state, std::vector<RecordNumber>& rows);

}  // namespace wdb
