#pragma once

#include "kernel/ccl/Tree.h"
#include "kernel/search/Search.h"

namespace wdb {

// Does a condition let the row of a selection without tables pass? The row has the record number 1, so that
// FRL 1 holds and ranges without a number in them do not; there are no columns to ask for. WDB_E_CCL_FIELD,
// WDB_E_CCL_UNSUPPORTED for values of sets.
Status holdsForConstants(const ccl::Expression& expression, bool& holds, CommandError& error);

}  // namespace wdb
