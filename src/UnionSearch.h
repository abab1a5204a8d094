// The search of a union: its members' sets, combined from left to right.
#pragma once

#include "src/SelectSearch.h"

namespace wsql {

/// Runs the members of a validated union and combines their sets; the last set is the result. The search
/// state is saved by the caller. False after a fault.
bool searchUnion(WSQLFilter& filter, WSQLStmtSelect& first, SearchSet& result);

}  // namespace wsql
