// Columns as the two sides show and order them.
#pragma once

#include "tests/differential/Query.h"

namespace differential {

/// The column as documents show it.
Expression shown(const ColumnUse& use);

/// The column as it is sorted, grouped and joined: one text for what compares as equal. A column of several
/// values stands with its first.
Expression sorted(const ColumnUse& use);

}  // namespace differential
