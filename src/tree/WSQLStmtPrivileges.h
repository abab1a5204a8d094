#pragma once

#include "src/tree/NodeList.h"
#include "src/tree/WSQLColumnRef.h"
#include "src/tree/WSQLStatement.h"
#include "src/tree/WSQLTableRef.h"

namespace wsql {

/// GRANT and REVOKE.
class WSQLStmtPrivileges : public virtual WSQLStatement {
public:
    void dump(TreeDump& out) const override;

    bool grant = false;                ///< false: REVOKE
    bool singleRight = false;          ///< GRANT READ or REVOKE WRITE; false: ALL
    OwnedList<WSQLColumnRef> columns;  ///< null when no column list was written
    std::unique_ptr<WSQLTableRef> table;
    std::string grantee;
};

}  // namespace wsql
