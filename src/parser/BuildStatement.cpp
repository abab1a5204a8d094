#include "src/parser/TreeBuilder.h"
#include "src/support/platform.h"

namespace wsql {
namespace {

constexpr std::string_view kFilePrefix = "file=";
constexpr std::string_view kDataPrefix = "data=";
constexpr std::string_view kBase64Prefix = "data[base64]=";
constexpr size_t kEchoLength = 5;

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

}  // namespace

bool TreeBuilder::fitsColumns(const OwnedList<WSQLColumnRef>& columns, int32_t values) {
    const int32_t surplus = values - count(columns);
    if (count(columns) == 0 || surplus == 0) return true;
    const char* list = surplus > 0 ? "Value" : "Column";
    const int32_t difference = surplus > 0 ? surplus : -surplus;
    error(std::string(list) + " list is " + std::to_string(difference) + " element(s) too large.");
    return false;
}

Node<WSQLStatement> TreeBuilder::insertValues(bool ignore, Node<WSQLTableRef> table,
                                              OwnedList<WSQLColumnRef> columns,
                                              OwnedList<WSQLScalar> values) {
    if (!fitsColumns(columns, values->Count())) return nullptr;
    auto insert = std::make_unique<WSQLStmtInsert>();
    insert->table = std::move(table);
    insert->columns = std::move(columns);
    insert->values = std::move(values);
    insert->ignore = ignore;
    return insert;
}

Node<WSQLStatement> TreeBuilder::insertSelect(bool ignore, Node<WSQLTableRef> table,
                                              OwnedList<WSQLColumnRef> columns, Node<WSQLStmtSelect> select) {
    if (!fitsColumns(columns, select->itemCount())) return nullptr;
    auto insert = std::make_unique<WSQLStmtInsert>();
    insert->table = std::move(table);
    insert->columns = std::move(columns);
    insert->select = std::move(select);
    insert->ignore = ignore;
    return insert;
}

Node<WSQLStatement> TreeBuilder::update(Node<WSQLTableRef> table, OwnedList<WSQLAssignment> assignments,
                                        Node<WSQLCondition> where) {
    auto statement = std::make_unique<WSQLStmtUpdate>();
    statement->table = std::move(table);
    statement->assignments = std::move(assignments);
    statement->where = std::move(where);
    return statement;
}

Node<WSQLAssignment> TreeBuilder::assignment(Node<WSQLColumnRef> column, Node<WSQLScalar> value) {
    auto node = std::make_unique<WSQLAssignment>();
    node->column = std::move(column);
    node->value = std::move(value);
    return node;
}

Node<WSQLStatement> TreeBuilder::deleteFrom(Node<WSQLTableRef> table, Node<WSQLCondition> where) {
    auto statement = std::make_unique<WSQLStmtDelete>();
    statement->table = std::move(table);
    statement->where = std::move(where);
    return statement;
}

Node<WSQLStatement> TreeBuilder::commit() {
    return std::make_unique<WSQLStmtCommit>();
}

Node<WSQLStatement> TreeBuilder::rollback() {
    return std::make_unique<WSQLStmtRollback>();
}

Node<WSQLStatement> TreeBuilder::setProperty(TextToken name, Node<WSQLScalar> value) {
    auto statement = std::make_unique<WSQLStmtSet>();
    statement->name = name.view();
    statement->value = std::move(value);
    return statement;
}

Node<WSQLStatement> TreeBuilder::getProperty(TextToken name) {
    auto statement = std::make_unique<WSQLStmtGet>();
    statement->name = name.view();
    return statement;
}

Node<WSQLStatement> TreeBuilder::getObject(TextToken key) {
    auto statement = std::make_unique<WSQLStmtGetObject>();
    statement->key = key.view();
    return statement;
}

Node<WSQLStatement> TreeBuilder::setObject(Node<WSQLTableRef> table, Node<WSQLColumnRef> column,
                                           TextToken data, Node<WSQLCondition> where) {
    const std::string_view whole = data.view();
    auto statement = std::make_unique<WSQLStmtSetObject>();
    if (startsWith(whole, kFilePrefix)) {
        const std::string typed(whole.substr(kFilePrefix.size()));
        const std::string name = platform::openableFileName(typed.c_str());
        if (platform::fileKind(name.c_str()) == platform::FileKind::kMissing) {
            error("File \"" + std::string(whole) + "\" does not exist.");
            return nullptr;
        }
        statement->file = std::make_unique<WSQLChar>(std::string_view(name));
    } else if (startsWith(whole, kDataPrefix)) {
        statement->hasData = true;
        statement->data = whole.substr(kDataPrefix.size());
    } else if (startsWith(whole, kBase64Prefix)) {
        statement->hasData = true;
        statement->data = whole.substr(kBase64Prefix.size());
        statement->encoding = "base64";
    } else {
        error(
            "Data part of object clause must be prefixed by \"file=\", \"data=\" or \"data[base64]=\". "
            "Currently: \"" +
            std::string(whole.substr(0, kEchoLength)) + "\".");
        return nullptr;
    }
    statement->table = std::move(table);
    statement->column = std::move(column);
    statement->where = std::move(where);
    return statement;
}

Node<WSQLStatement> TreeBuilder::privileges(bool grant, bool singleRight, OwnedList<WSQLColumnRef> columns,
                                            Node<WSQLTableRef> table, TextToken grantee) {
    auto statement = std::make_unique<WSQLStmtPrivileges>();
    statement->grant = grant;
    statement->singleRight = singleRight;
    statement->columns = std::move(columns);
    statement->table = std::move(table);
    statement->grantee = grantee.view();
    return statement;
}

}  // namespace wsql
