#pragma once

#include "src/tree/NodeList.h"
#include "src/tree/WSQLColumnElement.h"
#include "src/tree/WSQLStatement.h"
#include "src/tree/WSQLTableRef.h"

namespace wsql {

/// WITH LOCATION = ..., CHARSET = ...; a repeated option replaces the earlier one.
class WSQLWithOptions : public virtual WSQLExpression {
public:
    void dump(TreeDump& out) const override;

    std::string location;      ///< empty when absent
    std::string characterSet;  ///< empty when absent
};

class WSQLStmtCreateTable : public virtual WSQLStatement {
public:
    void dump(TreeDump& out) const override;
    /// The column of that name (ASCII letter case ignored); null when none.
    WSQLColumnElement* findColumn(const std::string& name) const;

    bool ifNotExists = false;
    std::unique_ptr<WSQLTableRef> table;
    OwnedList<WSQLColumnElement> columns;  ///< table constraints are merged into the columns' constraints
    OwnedList<WSQLColumnConstraint> constraints;  ///< the table constraints as written; null when none
    std::unique_ptr<WSQLWithOptions> options;     ///< null when absent
};

class WSQLStmtAlterTable : public virtual WSQLStatement {
public:
    enum class Action {
        kAddColumn,
        kDropColumn,
        kChangeType,
        kSetDefault,
        kDropDefault,
        kSetNotNull,
        kDropNotNull
    };
    void dump(TreeDump& out) const override;

    Action action = Action::kAddColumn;
    std::unique_ptr<WSQLTableRef> table;
    bool ifExists = false;
    std::unique_ptr<WSQLColumnRef> column;  ///< the column that is altered or dropped; null for kAddColumn
    std::unique_ptr<WSQLColumnElement> element;  ///< kAddColumn
    WSQLOptionalPtr<WSQLType> type;              ///< kChangeType
    WSQLOptionalPtr<WSQLScalar> value;           ///< kSetDefault
};

class WSQLStmtDropTable : public virtual WSQLStatement {
public:
    void dump(TreeDump& out) const override;

    bool ifExists = false;
    std::unique_ptr<WSQLTableRef> table;
};

}  // namespace wsql
