#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "src/parser/ParseContext.h"
#include "src/tree/Tree.h"

namespace wsql {

/// A piece of the statement text, as the scanner hands it to the grammar. It points into the scanner's
/// buffer, which outlives the parse; nodes keep copies.
struct TextToken {
    const char* begin;
    size_t length;

    std::string_view view() const { return {begin, length}; }
    /// The opening quote; only for the text of a STRING, which stands right behind it.
    char quote() const { return begin[-1]; }
};

/// ON DELETE and ON UPDATE of a reference.
struct ReferenceActions {
    int32_t onDelete;
    int32_t onUpdate;
};

template <class T>
using Node = std::unique_ptr<T>;

/// Takes a semantic value over from the parser's stack.
template <class T>
Node<T> own(T* value) {
    return Node<T>(value);
}

/// What the grammar's rules do, one call per rule. Arguments are consumed, also on failure. A null result has
/// reported its message to the context and ends the parse; std::bad_alloc ends it as memory exhaustion.
class TreeBuilder {
public:
    explicit TreeBuilder(ParseContext& context) : context_(context) {}
    TreeBuilder(const TreeBuilder&) = delete;
    TreeBuilder& operator=(const TreeBuilder&) = delete;

    /// The text of a parse error. Dropped when there is no memory for it.
    void error(std::string_view text) noexcept;

    /// Set when a tree would nest deeper than the code that walks it can follow: the parse ends as exhausted.
    bool tooDeep() const { return tooDeep_; }

    void finish(Node<WSQLStatement> statement) { statement_ = std::move(statement); }
    Node<WSQLStatement> takeStatement() { return std::move(statement_); }

    // ---- lists ----
    template <class T>
    static OwnedList<T> listOf(Node<T> first) {
        auto list = std::make_unique<NodeList<T>>();
        list->append(std::move(first));
        return list;
    }
    template <class T>
    static OwnedList<T> appended(OwnedList<T> list, Node<T> item) {
        list->append(std::move(item));
        return list;
    }

    // ---- values: BuildScalar.cpp ----
    static Node<WSQLScalar> integer(int32_t magnitude);
    static Node<WSQLScalar> real(double magnitude);
    static Node<WSQLScalar> text(TextToken token);
    static Node<WSQLScalar> null();
    static Node<WSQLScalar> nullDate();
    static Node<WSQLScalar> boolean(bool value);
    static Node<WSQLScalar> time(TextToken token);
    /// DATE('...'); `valuePosition` selects the quotes of the message.
    Node<WSQLScalar> date(TextToken token, bool valuePosition);
    Node<WSQLScalar> currentTimestamp();
    Node<WSQLScalar> currentDate();
    Node<WSQLScalar> currentTime();
    static Node<WSQLScalar> withSign(Node<WSQLScalar> literal, char sign);
    static Node<WSQLScalar> inParentheses(Node<WSQLScalar> scalar);
    Node<WSQLScalar> operation(Node<WSQLScalar> left, char op, Node<WSQLScalar> right);
    static Node<WSQLColumnRef> column(TextToken name);
    static Node<WSQLColumnRef> column(TextToken table, TextToken name);
    static Node<WSQLColumnRef> column(TextToken owner, TextToken table, TextToken name);
    static Node<WSQLColumnRef> withSubscript(Node<WSQLColumnRef> column, int32_t subscript);
    Node<WSQLScalar> function(const char* name, bool distinct, Node<WSQLScalar> argument);
    static Node<WSQLScalar> valueList(Node<WSQLColumnRef> column, TextToken separator, const int32_t* first,
                                      const int32_t* last);
    static Node<WSQLScalar> literalSelect(Node<WSQLStmtSelect> select);

    // ---- conditions: BuildCondition.cpp ----
    static Node<WSQLCondition> composite(Node<WSQLCondition> left, int32_t connective,
                                         Node<WSQLCondition> right);
    static Node<WSQLCondition> inverted(Node<WSQLCondition> condition);
    static Node<WSQLCondition> inParentheses(Node<WSQLCondition> condition);
    static Node<WSQLCondition> comparison(Node<WSQLScalar> left, int32_t op, Node<WSQLScalar> right);
    static Node<WSQLCondition> between(Node<WSQLScalar> tested, bool negated, Node<WSQLScalar> low,
                                       Node<WSQLScalar> high);
    static Node<WSQLCondition> like(Node<WSQLColumnRef> column, bool negated, Node<WSQLScalar> pattern);
    static Node<WSQLCondition> nullTest(Node<WSQLColumnRef> column, bool negated);
    static Node<WSQLCondition> subselect(Node<WSQLScalar> tested, int32_t op, Node<WSQLStmtSelect> select);

    // ---- queries: BuildSelect.cpp ----
    static Node<WSQLScalar> allColumns(TextToken table);
    static OwnedList<WSQLScalar> starList();
    static OwnedList<WSQLColumnRef> columnNamed(OwnedList<WSQLColumnRef> columns, TextToken name);
    /// A select item: a bare quoted text becomes a column reference that may turn out to be a constant.
    static Node<WSQLScalar> selectItem(Node<WSQLScalar> scalar, TextToken alias);
    /// SELECT without FROM: every item must be constant.
    Node<WSQLStmtSelect> constantSelect(bool distinct, OwnedList<WSQLScalar> items);
    Node<WSQLStmtSelect> constantSelectOrdered(bool distinct, OwnedList<WSQLScalar> items,
                                               OwnedList<WSQLOrderByItem> orderBy);
    static Node<WSQLStmtSelect> selectFrom(bool distinct, OwnedList<WSQLScalar> items,
                                           OwnedList<WSQLTableRef> tables);
    static Node<WSQLStmtSelect> selectFrom(bool distinct, OwnedList<WSQLScalar> items,
                                           Node<WSQLJoinSpec> joins);
    /// Puts the clauses into the SELECT; absent ones are null.
    static Node<WSQLStmtSelect> withClauses(Node<WSQLStmtSelect> select, Node<WSQLCondition> where,
                                            OwnedList<WSQLColumnRef> groupBy,
                                            OwnedList<WSQLOrderByItem> orderBy);
    Node<WSQLStmtSelect> unionOf(Node<WSQLStmtSelect> left, bool all, Node<WSQLStmtSelect> right);
    static Node<WSQLOrderByItem> orderByColumn(Node<WSQLColumnRef> column, bool descending);
    static Node<WSQLOrderByItem> orderByPosition(int32_t position, bool descending);
    static Node<std::string> path(TextToken first);
    static Node<std::string> pathWith(Node<std::string> path, TextToken next);
    static Node<WSQLTableRef> table(TextToken name);
    static Node<WSQLTableRef> table(Node<std::string> owner, TextToken name);
    static Node<WSQLTableRef> withCorrelation(Node<WSQLTableRef> table, TextToken correlation);
    static Node<WSQLJoinRVal> joinStep(int32_t kind, Node<WSQLTableRef> table, Node<WSQLCondition> on,
                                       OwnedList<WSQLColumnRef> usingColumns);
    static Node<WSQLJoinSpec> joinSpec(Node<WSQLTableRef> first, Node<WSQLJoinRVal> step);
    static Node<WSQLJoinSpec> joinedWith(Node<WSQLJoinSpec> spec, Node<WSQLJoinRVal> step);

    // ---- data statements: BuildStatement.cpp ----
    Node<WSQLStatement> insertValues(bool ignore, Node<WSQLTableRef> table, OwnedList<WSQLColumnRef> columns,
                                     OwnedList<WSQLScalar> values);
    Node<WSQLStatement> insertSelect(bool ignore, Node<WSQLTableRef> table, OwnedList<WSQLColumnRef> columns,
                                     Node<WSQLStmtSelect> select);
    static Node<WSQLStatement> update(Node<WSQLTableRef> table, OwnedList<WSQLAssignment> assignments,
                                      Node<WSQLCondition> where);
    static Node<WSQLAssignment> assignment(Node<WSQLColumnRef> column, Node<WSQLScalar> value);
    static Node<WSQLStatement> deleteFrom(Node<WSQLTableRef> table, Node<WSQLCondition> where);
    static Node<WSQLStatement> commit();
    static Node<WSQLStatement> rollback();
    static Node<WSQLStatement> setProperty(TextToken name, Node<WSQLScalar> value);
    static Node<WSQLStatement> getProperty(TextToken name);
    static Node<WSQLStatement> getObject(TextToken key);
    /// The data text must begin with "file=", "data=" or "data[base64]=", and a named file must exist.
    Node<WSQLStatement> setObject(Node<WSQLTableRef> table, Node<WSQLColumnRef> column, TextToken data,
                                  Node<WSQLCondition> where);
    static Node<WSQLStatement> privileges(bool grant, bool singleRight, OwnedList<WSQLColumnRef> columns,
                                          Node<WSQLTableRef> table, TextToken grantee);

    // ---- schema statements: BuildTable.cpp ----
    static Node<WSQLType> type(WSQLType::Code code, int32_t length = 0, int32_t scale = 0);
    static Node<WSQLColumnElement> columnElement(TextToken name, Node<WSQLType> type,
                                                 Node<WSQLScalar> defaultValue,
                                                 Node<WSQLColumnConstraint> constraint);
    static Node<WSQLColumnConstraint> constraint(bool null, bool notNull, bool primaryKey);
    static Node<WSQLColumnConstraint> reference(TextToken table, TextToken column, ReferenceActions actions);
    static Node<WSQLColumnConstraint> forColumn(Node<WSQLColumnConstraint> constraint, TextToken column);
    OwnedList<WSQLColumnElement> columnAppended(OwnedList<WSQLColumnElement> columns,
                                                Node<WSQLColumnElement> column);
    /// `options` is null for the first option.
    static Node<WSQLWithOptions> withLocation(Node<WSQLWithOptions> options, TextToken location);
    static Node<WSQLWithOptions> withCharacterSet(Node<WSQLWithOptions> options, TextToken characterSet);
    /// Merges each table constraint into the constraint of the column that it names.
    Node<WSQLStatement> createTable(bool ifNotExists, Node<WSQLTableRef> table,
                                    OwnedList<WSQLColumnElement> columns,
                                    OwnedList<WSQLColumnConstraint> constraints,
                                    Node<WSQLWithOptions> options);
    static Node<WSQLStatement> alterAdd(Node<WSQLTableRef> table, Node<WSQLColumnElement> column);
    static Node<WSQLStatement> alterDrop(Node<WSQLTableRef> table, bool ifExists, Node<WSQLColumnRef> column);
    static Node<WSQLStatement> alterType(Node<WSQLTableRef> table, Node<WSQLColumnRef> column,
                                         Node<WSQLType> type);
    static Node<WSQLStatement> alterDefault(Node<WSQLTableRef> table, Node<WSQLColumnRef> column,
                                            Node<WSQLScalar> value);
    static Node<WSQLStatement> alter(WSQLStmtAlterTable::Action action, Node<WSQLTableRef> table,
                                     Node<WSQLColumnRef> column);
    static Node<WSQLStatement> dropTable(bool ifExists, Node<WSQLTableRef> table);

private:
    bool fitsColumns(const OwnedList<WSQLColumnRef>& columns, int32_t values);
    bool mergeConstraints(WSQLStmtCreateTable& create);

    const DateSettings& dateSettings();

    ParseContext& context_;
    std::optional<DateSettings> dates_;  // asked once per statement
    Node<WSQLStatement> statement_;
    bool tooDeep_ = false;
};

}  // namespace wsql
