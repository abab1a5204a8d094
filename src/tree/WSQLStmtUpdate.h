#pragma once

#include "src/tree/NodeList.h"
#include "src/tree/WSQLColumnRef.h"
#include "src/tree/WSQLCondition.h"
#include "src/tree/WSQLStatement.h"
#include "src/tree/WSQLTableRef.h"

namespace wsql {

/// column = value in an UPDATE.
class WSQLAssignment {
public:
    virtual ~WSQLAssignment() = default;
    void dump(TreeDump& out) const;

    std::unique_ptr<WSQLColumnRef> column;
    std::unique_ptr<WSQLScalar> value;
};

class WSQLStmtUpdate : public virtual WSQLStatement {
public:
    void dump(TreeDump& out) const override;

    std::unique_ptr<WSQLTableRef> table;  ///< with its correlation name
    OwnedList<WSQLAssignment> assignments;
    std::unique_ptr<WSQLCondition> where;  ///< null when absent
};

class WSQLStmtDelete : public virtual WSQLStatement {
public:
    void dump(TreeDump& out) const override;

    std::unique_ptr<WSQLTableRef> table;
    std::unique_ptr<WSQLCondition> where;
};

}  // namespace wsql
