#include "src/parser/TreeBuilder.h"
#include "src/support/text.h"

namespace wsql {
namespace {

/// Why the columns break a rule that every table keeps, judged column by column; empty when they keep them
/// all.
std::string_view brokenKeyRule(const WSQLStmtCreateTable& create) {
    int32_t keys = 0;
    for (const WSQLColumnElement& column : *create.columns) {
        if (!column.constraint) continue;
        if (column.constraint->isReference() &&
            equalNames(column.constraint->referencedTable, create.table->table)) {
            return "A table cannot be declared to reference itself.";
        }
        if (!column.constraint->primaryKey) continue;
        if (column.type->code != WSQLType::Code::kVarchar)
            return "A WELKsql primary key column must be VARCHAR.";
        if (++keys > 1) return "A WELKsql table cannot have more than one primary key column.";
    }
    return {};
}

}  // namespace

Node<WSQLType> TreeBuilder::type(WSQLType::Code code, int32_t length, int32_t scale) {
    return std::make_unique<WSQLType>(code, length, scale);
}

Node<WSQLColumnElement> TreeBuilder::columnElement(TextToken name, Node<WSQLType> type,
                                                   Node<WSQLScalar> defaultValue,
                                                   Node<WSQLColumnConstraint> constraint) {
    auto element = std::make_unique<WSQLColumnElement>();
    element->column = name.view();
    element->type = std::move(type);
    element->defaultValue = std::move(defaultValue);
    element->constraint = std::move(constraint);
    return element;
}

Node<WSQLColumnConstraint> TreeBuilder::constraint(bool null, bool notNull, bool primaryKey) {
    auto node = std::make_unique<WSQLColumnConstraint>();
    node->null = null;
    node->notNull = notNull;
    node->primaryKey = primaryKey;
    return node;
}

Node<WSQLColumnConstraint> TreeBuilder::reference(TextToken table, TextToken column,
                                                  ReferenceActions actions) {
    auto node = std::make_unique<WSQLColumnConstraint>();
    node->referencesTable = true;
    node->referencedTable = table.view();
    node->referencedColumn = column.view();
    node->onDelete = actions.onDelete;
    node->onUpdate = actions.onUpdate;
    return node;
}

Node<WSQLColumnConstraint> TreeBuilder::forColumn(Node<WSQLColumnConstraint> constraint, TextToken column) {
    constraint->keyColumn = column.view();
    return constraint;
}

OwnedList<WSQLColumnElement> TreeBuilder::columnAppended(OwnedList<WSQLColumnElement> columns,
                                                         Node<WSQLColumnElement> column) {
    if (column->type->code == WSQLType::Code::kSerial) {
        for (const WSQLColumnElement& other : *columns) {
            if (other.type->code != WSQLType::Code::kSerial) continue;
            error("Only one column of type SERIAL is allowed per table.");
            return nullptr;
        }
    }
    return appended(std::move(columns), std::move(column));
}

Node<WSQLWithOptions> TreeBuilder::withLocation(Node<WSQLWithOptions> options, TextToken location) {
    if (!options) options = std::make_unique<WSQLWithOptions>();
    options->location = location.view();
    return options;
}

Node<WSQLWithOptions> TreeBuilder::withCharacterSet(Node<WSQLWithOptions> options, TextToken characterSet) {
    if (!options) options = std::make_unique<WSQLWithOptions>();
    options->characterSet = characterSet.view();
    return options;
}

bool TreeBuilder::mergeConstraints(WSQLStmtCreateTable& create) {
    if (!create.constraints) return true;
    for (const WSQLColumnConstraint& constraint : *create.constraints) {
        WSQLColumnElement* element = create.findColumn(constraint.keyColumn);
        if (element == nullptr) {
            error("Unknown column \"" + constraint.keyColumn + "\" in table constraint.");
            return false;
        }
        if (!element->constraint) element->constraint = std::make_unique<WSQLColumnConstraint>();
        element->constraint->merge(constraint);
    }
    return true;
}

Node<WSQLStatement> TreeBuilder::createTable(bool ifNotExists, Node<WSQLTableRef> table,
                                             OwnedList<WSQLColumnElement> columns,
                                             OwnedList<WSQLColumnConstraint> constraints,
                                             Node<WSQLWithOptions> options) {
    auto create = std::make_unique<WSQLStmtCreateTable>();
    create->ifNotExists = ifNotExists;
    create->table = std::move(table);
    create->columns = std::move(columns);
    create->constraints = std::move(constraints);
    create->options = std::move(options);
    if (!mergeConstraints(*create)) return nullptr;
    if (const std::string_view rule = brokenKeyRule(*create); !rule.empty()) {
        error(rule);
        return nullptr;
    }
    return create;
}

Node<WSQLStatement> TreeBuilder::alter(WSQLStmtAlterTable::Action action, Node<WSQLTableRef> table,
                                       Node<WSQLColumnRef> column) {
    auto statement = std::make_unique<WSQLStmtAlterTable>();
    statement->action = action;
    statement->table = std::move(table);
    statement->column = std::move(column);
    return statement;
}

Node<WSQLStatement> TreeBuilder::alterAdd(Node<WSQLTableRef> table, Node<WSQLColumnElement> column) {
    auto statement = std::make_unique<WSQLStmtAlterTable>();
    statement->action = WSQLStmtAlterTable::Action::kAddColumn;
    statement->table = std::move(table);
    statement->element = std::move(column);
    return statement;
}

Node<WSQLStatement> TreeBuilder::alterDrop(Node<WSQLTableRef> table, bool ifExists,
                                           Node<WSQLColumnRef> column) {
    auto statement = std::make_unique<WSQLStmtAlterTable>();
    statement->action = WSQLStmtAlterTable::Action::kDropColumn;
    statement->table = std::move(table);
    statement->ifExists = ifExists;
    statement->column = std::move(column);
    return statement;
}

Node<WSQLStatement> TreeBuilder::alterType(Node<WSQLTableRef> table, Node<WSQLColumnRef> column,
                                           Node<WSQLType> type) {
    auto statement = std::make_unique<WSQLStmtAlterTable>();
    statement->action = WSQLStmtAlterTable::Action::kChangeType;
    statement->table = std::move(table);
    statement->column = std::move(column);
    statement->type.Set(type.release());
    return statement;
}

Node<WSQLStatement> TreeBuilder::alterDefault(Node<WSQLTableRef> table, Node<WSQLColumnRef> column,
                                              Node<WSQLScalar> value) {
    auto statement = std::make_unique<WSQLStmtAlterTable>();
    statement->action = WSQLStmtAlterTable::Action::kSetDefault;
    statement->table = std::move(table);
    statement->column = std::move(column);
    statement->value.Set(value.release());
    return statement;
}

Node<WSQLStatement> TreeBuilder::dropTable(bool ifExists, Node<WSQLTableRef> table) {
    auto statement = std::make_unique<WSQLStmtDropTable>();
    statement->ifExists = ifExists;
    statement->table = std::move(table);
    return statement;
}

}  // namespace wsql
