// Conditions of a WHERE that the kernel does better as joins.
#pragma once

#include <cstdint>

namespace wsql {

class WSQLFilter;
class WSQLStmtSelect;

/// Turns sub-queries of the validated WHERE into inner joins with the sub-query's table, where that changes
/// no row: reached through ANDs alone, compared by "=", or by IN with a column whose values are unique, and
/// plain enough. Their number; below 0 after a fault.
std::int32_t rewriteSubselects(WSQLFilter& filter, WSQLStmtSelect& select);

/// Moves comparisons of columns of two FROM tables out of the ANDs of the validated WHERE into join entries.
/// Their number; below 0 after a fault.
std::int32_t extractJoins(WSQLFilter& filter, WSQLStmtSelect& select);

}  // namespace wsql
