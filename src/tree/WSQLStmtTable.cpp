#include "src/tree/WSQLStmtTable.h"

#include "src/support/text.h"
#include "src/tree/TreeDump.h"

namespace wsql {
namespace {

const char* actionText(int32_t action) {
    static constexpr const char* kTexts[] = {"none",      "restrict", "cascade",
                                             "no-action", "set-null", "set-default"};
    return action >= ReferentialAction::kNone && action <= ReferentialAction::kSetDefault ? kTexts[action]
                                                                                          : "?";
}

const char* alterText(WSQLStmtAlterTable::Action action) {
    using Action = WSQLStmtAlterTable::Action;
    switch (action) {
        case Action::kAddColumn:
            return "add";
        case Action::kDropColumn:
            return "drop";
        case Action::kChangeType:
            return "type";
        case Action::kSetDefault:
            return "set-default";
        case Action::kDropDefault:
            return "drop-default";
        case Action::kSetNotNull:
            return "set-not-null";
        case Action::kDropNotNull:
            return "drop-not-null";
    }
    return "?";
}

}  // namespace

void WSQLType::dump(TreeDump& out) const {
    static constexpr const char* kTexts[] = {"varchar", "long-varchar", "long-varbinary", "integer",
                                             "numeric", "date",         "time",           "serial"};
    out.open(kTexts[static_cast<int32_t>(code)]);
    if (length != 0 || scale != 0) out.number(length);
    if (scale != 0) out.number(scale);
    out.close();
}

void WSQLColumnConstraint::merge(const WSQLColumnConstraint& other) {
    null = null || other.null;
    notNull = notNull || other.notNull;
    primaryKey = primaryKey || other.primaryKey;
    if (!other.isReference()) return;
    referencesTable = true;
    referencedTable = other.referencedTable;
    referencedColumn = other.referencedColumn;
    onDelete = other.onDelete;
    onUpdate = other.onUpdate;
}

void WSQLColumnConstraint::dump(TreeDump& out) const {
    out.open("constraint");
    out.field("key", keyColumn);
    out.flag("null", null);
    out.flag("not-null", notNull);
    out.flag("primary", primaryKey);
    if (isReference()) {
        out.atom("references");
        out.path(referencedTable, referencedColumn);
        if (onDelete != ReferentialAction::kNone) out.atom(std::string("delete=") + actionText(onDelete));
        if (onUpdate != ReferentialAction::kNone) out.atom(std::string("update=") + actionText(onUpdate));
    }
    out.close();
}

void WSQLColumnElement::dump(TreeDump& out) const {
    out.open("column");
    out.name(column);
    out.child(type);
    out.clause("default", defaultValue);
    if (constraint) out.child(constraint);
    out.close();
}

void WSQLWithOptions::dump(TreeDump& out) const {
    out.open("with");
    out.field("location", location);
    out.field("charset", characterSet);
    out.close();
}

WSQLColumnElement* WSQLStmtCreateTable::findColumn(const std::string& name) const {
    if (!columns) return nullptr;
    for (WSQLColumnElement& element : *columns) {
        if (equalNames(element.column, name)) return &element;
    }
    return nullptr;
}

void WSQLStmtCreateTable::dump(TreeDump& out) const {
    out.open("create-table");
    out.flag("if-not-exists", ifNotExists);
    out.child(table);
    out.list("columns", columns);
    out.list("constraints", constraints);
    if (options) out.child(options);
    out.close();
}

void WSQLStmtAlterTable::dump(TreeDump& out) const {
    out.open("alter-table");
    out.atom(alterText(action));
    out.flag("if-exists", ifExists);
    out.child(table);
    if (column) out.child(column);
    if (element) out.child(element);
    if (type.Present()) out.child(type.Get());
    if (value.Present()) out.child(value.Get());
    out.close();
}

void WSQLStmtDropTable::dump(TreeDump& out) const {
    out.open("drop-table");
    out.flag("if-exists", ifExists);
    out.child(table);
    out.close();
}

}  // namespace wsql
