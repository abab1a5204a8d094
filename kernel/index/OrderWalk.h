#pragma once

#include <memory>
#include <string_view>

#include "kernel/common/Status.h"
#include "kernel/index/RecordSet.h"

namespace wdb {

// A walk through the records of a base in the order of a field's first items, index and deltas merged.
// Records whose first item is empty do not come. Lives no longer than its IndexView and the snapshot under
// it.
class OrderWalk {
public:
    struct State;
    explicit OrderWalk(std::unique_ptr<State> state);
    OrderWalk(OrderWalk&&) noexcept;
    OrderWalk& operator=(OrderWalk&&) noexcept;
    ~OrderWalk();

    // To the next value: WDB_OK, WDB_FAIL at the end, or an error.
    Status next();
    // The present value's key (ValueKey.h); several steps can have the same key when it is cut.
    std::string_view key() const;
    // The records with that value, never none; ascending as every set, in both directions of the walk. Valid
    // until next().
    const RecordSet& records() const;

private:
    std::unique_ptr<State> state_;
};

}  // namespace wdb
