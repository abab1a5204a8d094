// Sub-queries that stand for one value.
#pragma once

#include <cstdint>
#include <string>

namespace wsql {

class WSQLFilter;
class WSQLLiteralSelect;
class WSQLStmtSelect;

/// The first column of a sub-query's first row. Further rows are ignored.
struct SubselectValue {
    bool hasRow = false;
    bool null = true;       ///< NULL, and so without a row
    std::int32_t type = 0;  ///< kernel field type of the column, with or without a row
    /// As the kernel delivers it: TEXT with its lines ended by LF, binary values as they are.
    std::string text;
};

/// Runs the validated sub-query. The search state is saved by the caller. False after a fault.
bool fetchSubselect(WSQLFilter& filter, const WSQLLiteralSelect& query, SubselectValue& value);

/// The same, the value becoming the `result` of the query: a text, or NULL. False after a fault.
bool evaluateSubselect(WSQLFilter& filter, WSQLLiteralSelect& query);

/// The same for every such item of the select list.
bool evaluateSubselects(WSQLFilter& filter, WSQLStmtSelect& select);

}  // namespace wsql
