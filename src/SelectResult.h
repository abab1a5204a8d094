// The ResultSet document of one block of rows.
#pragma once

#include <memory>

#include "src/SelectOutput.h"
#include "src/SelectSearch.h"
#include "src/WSQLRowCursor.h"

namespace wsql {

class WSQLResultSetMetaData;

/// Where the rows come from and who writes them.
struct ResultForm {
    const char* source;   ///< source of faults
    const char* context;  ///< method: context of faults and log lines
    std::int32_t line;    ///< of the fault for a block behind the last row
    bool isUnion;         ///< the rows of several SELECTs; the columns are those of the first one
};

class SelectResult {
public:
    SelectResult(WSQLFilter& filter, WSQLStmtSelect& select, const SearchSet& set, const ResultForm& form)
        : filter_(filter), select_(select), set_(set), form_(form) {}

    /// Appends the whole document: the block that the settings ask for. False after a fault.
    bool write(CStringBuffer& document);

private:
    /// Null after a fault.
    WSQLResultSetMetaData* describe();
    bool writeRows(CStringBuffer& document, WSQLResultSetMetaData& metaData,
                   std::unique_ptr<WSQLRowData> row);
    bool streamRows(CStringBuffer& document, WSQLResultSetMetaData& metaData, SelectOutput& output,
                    std::unique_ptr<WSQLRowData> row);
    RowOutcome advance(WSQLRowCursor& cursor, const WSQLRowData& row, std::unique_ptr<WSQLRowData>& ahead);

    WSQLFilter& filter_;
    WSQLStmtSelect& select_;
    SearchSet set_;
    ResultForm form_;
};

}  // namespace wsql
