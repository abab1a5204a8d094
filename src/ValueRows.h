// The rows of a SELECT as values to store or to compute with, where no document is wanted.
#pragma once

#include <memory>

#include "src/SelectOutput.h"
#include "src/SelectSearch.h"
#include "src/WSQLRowCursor.h"

namespace wsql {

class WSQLFilter;
class WSQLStmtSelect;

/// All rows of a SELECT without a union, one after another. Values are as the kernel delivers them: dates in
/// the session's form, TEXT with its lines ended by LF, binary values as they are, several values of a field
/// joined by "; ".
class ValueRows {
public:
    /// The statement is validated; both outlive this object. The search state is saved by the caller, and the
    /// rows are there until it is restored.
    ValueRows(WSQLFilter& filter, WSQLStmtSelect& select) : filter_(filter), select_(select) {}

    /// Searches. False after a fault.
    bool open();

    /// Fetches the next row. Rows that were written since the search are not among them.
    RowOutcome next();
    const WSQLRowData& row() const { return *row_; }

    /// Kernel field type of the first column; 0 when there is none.
    std::int32_t firstType() const;

private:
    WSQLFilter& filter_;
    WSQLStmtSelect& select_;
    std::unique_ptr<SelectOutput> output_;
    std::unique_ptr<WSQLRowData> row_;
};

}  // namespace wsql
