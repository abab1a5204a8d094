#pragma once

#include "src/tree/WSQLStmtSelect.h"

namespace wsql {

/// INSERT ... VALUES (then `values` is set) or INSERT ... SELECT (then `select` is set).
class WSQLStmtInsert : public virtual WSQLStatement {
public:
    ~WSQLStmtInsert() override;
    void dump(TreeDump& out) const override;

    std::unique_ptr<WSQLTableRef> table;
    OwnedList<WSQLColumnRef> columns;  ///< null when no column list was written
    OwnedList<WSQLScalar> values;
    std::unique_ptr<WSQLStmtSelect> select;
    bool ignore = false;
};

}  // namespace wsql
