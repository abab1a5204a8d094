#include "src/parser/TreeBuilder.h"

namespace wsql {
namespace {

/// The literal when the item is one quoted text and nothing else.
const WSQLChar* bareText(const WSQLScalar& scalar) {
    const WSQLChar* literal = scalar.asChar();
    const bool bare =
        literal != nullptr && literal->quote != 0 && literal->sign == 0 && !literal->parenthesised;
    return bare ? literal : nullptr;
}

Node<WSQLScalar> asColumn(const WSQLChar& literal) {
    auto column = std::make_unique<WSQLColumnRef>(literal.text);
    column->constantQuote = literal.quote;
    return column;
}

Node<WSQLScalar> asText(const WSQLColumnRef& column) {
    auto literal = std::make_unique<WSQLChar>(std::string_view(column.column), column.constantQuote);
    literal->label = column.label;
    return literal;
}

Node<WSQLStmtSelect> selectOf(bool distinct, OwnedList<WSQLScalar> items) {
    auto select = std::make_unique<WSQLStmtSelect>();
    select->distinct = distinct;
    select->setItems(std::move(items));
    return select;
}

}  // namespace

Node<WSQLScalar> TreeBuilder::allColumns(TextToken tableName) {
    return std::make_unique<WSQLAllColumns>(std::string(tableName.view()));
}

OwnedList<WSQLScalar> TreeBuilder::starList() {
    return listOf<WSQLScalar>(std::make_unique<WSQLAllColumns>());
}

OwnedList<WSQLColumnRef> TreeBuilder::columnNamed(OwnedList<WSQLColumnRef> columns, TextToken name) {
    return appended(std::move(columns), column(name));
}

Node<WSQLScalar> TreeBuilder::selectItem(Node<WSQLScalar> scalar, TextToken alias) {
    const WSQLChar* literal = bareText(*scalar);
    Node<WSQLScalar> item = literal != nullptr ? asColumn(*literal) : std::move(scalar);
    item->label = alias.view();
    return item;
}

Node<WSQLStmtSelect> TreeBuilder::constantSelect(bool distinct, OwnedList<WSQLScalar> items) {
    auto select = selectOf(distinct, std::move(items));
    for (int32_t i = 0; i < select->itemCount(); ++i) {
        WSQLScalar& item = select->itemAt(i);
        if (item.isConstant()) continue;
        const WSQLColumnRef* column = item.asColumnRef();
        if (column == nullptr || !column->maybeConstant()) {
            error("Unknown column #" + std::to_string(i + 1) + " in field list.");
            return nullptr;
        }
        select->replaceItem(i, asText(*column));
    }
    return select;
}

Node<WSQLStmtSelect> TreeBuilder::constantSelectOrdered(bool distinct, OwnedList<WSQLScalar> items,
                                                        OwnedList<WSQLOrderByItem> orderBy) {
    auto select = constantSelect(distinct, std::move(items));
    if (select) select->orderBy = std::move(orderBy);
    return select;
}

Node<WSQLStmtSelect> TreeBuilder::selectFrom(bool distinct, OwnedList<WSQLScalar> items,
                                             OwnedList<WSQLTableRef> tables) {
    auto select = selectOf(distinct, std::move(items));
    select->tables = std::move(tables);
    return select;
}

Node<WSQLStmtSelect> TreeBuilder::selectFrom(bool distinct, OwnedList<WSQLScalar> items,
                                             Node<WSQLJoinSpec> joins) {
    auto select = selectOf(distinct, std::move(items));
    select->joinSpec = std::move(joins);
    return select;
}

Node<WSQLStmtSelect> TreeBuilder::withClauses(Node<WSQLStmtSelect> select, Node<WSQLCondition> where,
                                              OwnedList<WSQLColumnRef> groupBy,
                                              OwnedList<WSQLOrderByItem> orderBy) {
    if (where) select->addWhere(std::move(where));
    if (groupBy) select->groupBy = std::move(groupBy);
    if (orderBy) select->orderBy = std::move(orderBy);
    return select;
}

Node<WSQLStmtSelect> TreeBuilder::unionOf(Node<WSQLStmtSelect> left, bool all, Node<WSQLStmtSelect> right) {
    const WSQLStmtSelect* last = left->lastMember();
    if (last->orderBy) {
        error("Invalid ORDER BY placement in in UNION statement.");
        return nullptr;
    }
    if (last->itemCount() != right->itemCount()) {
        error(
            "Error in UNION statement: The column counts of all SELECT statements in a UNION must be "
            "identical.");
        return nullptr;
    }
    left->appendUnion(std::move(right), all);
    if (left->memberCount() <= WSQLStmtSelect::kMaxUnion) return left;
    tooDeep_ = true;
    return nullptr;
}

Node<WSQLOrderByItem> TreeBuilder::orderByColumn(Node<WSQLColumnRef> column, bool descending) {
    auto item = std::make_unique<WSQLOrderByItem>();
    item->column = std::move(column);
    item->descending = descending;
    return item;
}

Node<WSQLOrderByItem> TreeBuilder::orderByPosition(int32_t position, bool descending) {
    auto item = std::make_unique<WSQLOrderByItem>();
    item->position = position;
    item->descending = descending;
    return item;
}

Node<std::string> TreeBuilder::path(TextToken first) {
    return std::make_unique<std::string>(first.view());
}

Node<std::string> TreeBuilder::pathWith(Node<std::string> path, TextToken next) {
    path->append(1, '.').append(next.view());
    return path;
}

Node<WSQLTableRef> TreeBuilder::table(TextToken name) {
    return std::make_unique<WSQLTableRef>(std::string(name.view()));
}

Node<WSQLTableRef> TreeBuilder::table(Node<std::string> owner, TextToken name) {
    auto node = table(name);
    node->owner = std::move(*owner);
    return node;
}

Node<WSQLTableRef> TreeBuilder::withCorrelation(Node<WSQLTableRef> table, TextToken correlation) {
    table->correlation = correlation.view();
    return table;
}

Node<WSQLJoinRVal> TreeBuilder::joinStep(int32_t kind, Node<WSQLTableRef> table, Node<WSQLCondition> on,
                                         OwnedList<WSQLColumnRef> usingColumns) {
    auto step = std::make_unique<WSQLJoinRVal>();
    step->kind = kind;
    step->table = std::move(table);
    step->on = std::move(on);
    step->usingColumns = std::move(usingColumns);
    return step;
}

Node<WSQLJoinSpec> TreeBuilder::joinSpec(Node<WSQLTableRef> first, Node<WSQLJoinRVal> step) {
    auto spec = std::make_unique<WSQLJoinSpec>();
    spec->first = std::move(first);
    spec->steps = listOf(std::move(step));
    return spec;
}

Node<WSQLJoinSpec> TreeBuilder::joinedWith(Node<WSQLJoinSpec> spec, Node<WSQLJoinRVal> step) {
    spec->steps->append(std::move(step));
    return spec;
}

}  // namespace wsql
