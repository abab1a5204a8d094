#include "src/tree/WSQLStatement.h"

#include "src/tree/TreeDump.h"
#include "src/tree/WSQLStmtInsert.h"
#include "src/tree/WSQLStmtObject.h"
#include "src/tree/WSQLStmtPrivileges.h"
#include "src/tree/WSQLStmtProperty.h"
#include "src/tree/WSQLStmtUpdate.h"

namespace wsql {

void WSQLStmtCommit::dump(TreeDump& out) const {
    out.open("commit");
    out.close();
}

void WSQLStmtRollback::dump(TreeDump& out) const {
    out.open("rollback");
    out.close();
}

WSQLStmtInsert::~WSQLStmtInsert() = default;

void WSQLStmtInsert::dump(TreeDump& out) const {
    out.open("insert");
    out.flag("ignore", ignore);
    out.child(table);
    out.list("columns", columns);
    out.list("values", values);
    if (select) out.child(select);
    out.close();
}

void WSQLAssignment::dump(TreeDump& out) const {
    out.open("=");
    out.child(column);
    out.child(value);
    out.close();
}

void WSQLStmtUpdate::dump(TreeDump& out) const {
    out.open("update");
    out.child(table);
    out.list("set", assignments);
    out.clause("where", where);
    out.close();
}

void WSQLStmtDelete::dump(TreeDump& out) const {
    out.open("delete");
    out.child(table);
    out.clause("where", where);
    out.close();
}

void WSQLStmtPrivileges::dump(TreeDump& out) const {
    out.open(grant ? "grant" : "revoke");
    out.atom(singleRight ? (grant ? "read" : "write") : "all");
    out.list("columns", columns);
    out.child(table);
    out.field("to", grantee);
    out.close();
}

void WSQLStmtGet::dump(TreeDump& out) const {
    out.open("get-property");
    out.name(name);
    out.close();
}

void WSQLStmtSet::dump(TreeDump& out) const {
    out.open("set-property");
    out.name(name);
    out.child(value);
    out.close();
}

void WSQLStmtGetObject::dump(TreeDump& out) const {
    out.open("get-object");
    out.quoted(key);
    out.close();
}

void WSQLStmtSetObject::dump(TreeDump& out) const {
    out.open("set-object");
    out.child(table);
    out.child(column);
    if (file) {
        out.open("file");
        out.quoted(file->text);
        out.close();
    }
    if (hasData) {
        out.open("data");
        out.field("encoding", encoding);
        out.quoted(data);
        out.close();
    }
    out.clause("where", where);
    out.close();
}

}  // namespace wsql
