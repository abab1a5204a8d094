// Sub-queries that stand for one value.
#pragma once

namespace wsql {

class WSQLFilter;
class WSQLLiteralSelect;
class WSQLStmtSelect;

/// Runs the validated sub-query and puts its value, the first column of its first row, into `result`: a text
/// as the kernel delivers it (TEXT with its lines joined by LF, binary values as they are), NULL when there
/// is no row. Further rows are ignored. The search state is saved by the caller. False after a fault.
bool evaluateSubselect(WSQLFilter& filter, WSQLLiteralSelect& query);

/// The same for every such item of the select list.
bool evaluateSubselects(WSQLFilter& filter, WSQLStmtSelect& select);

}  // namespace wsql
