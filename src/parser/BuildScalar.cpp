#include "src/parser/TreeBuilder.h"

namespace wsql {

void TreeBuilder::error(std::string_view text) noexcept {
    try {
        context_.parserMessage(text);
    } catch (const std::exception&) {
        // The caller has a text of its own for a failure without a message.
    }
}

Node<WSQLScalar> TreeBuilder::integer(int32_t magnitude) {
    return std::make_unique<WSQLInt>(magnitude);
}

Node<WSQLScalar> TreeBuilder::real(double magnitude) {
    magnitude = clampedReal(magnitude);
    return std::make_unique<WSQLFloat>(magnitude);
}

Node<WSQLScalar> TreeBuilder::text(TextToken token) {
    return std::make_unique<WSQLChar>(token.view(), token.quote());
}

Node<WSQLScalar> TreeBuilder::null() {
    return WSQLChar::null();
}

Node<WSQLScalar> TreeBuilder::nullDate() {
    auto date = std::make_unique<WSQLDate>();
    date->isNull = true;
    return date;
}

Node<WSQLScalar> TreeBuilder::boolean(bool value) {
    return std::make_unique<WSQLBoolean>(value);
}

Node<WSQLScalar> TreeBuilder::time(TextToken token) {
    return std::make_unique<WSQLTime>(token.view());
}

const DateSettings& TreeBuilder::dateSettings() {
    if (!dates_) dates_ = context_.dateSettings();
    return *dates_;
}

Node<WSQLScalar> TreeBuilder::date(TextToken token, bool valuePosition) {
    const auto normalised = normaliseDate(token.view(), dateSettings());
    if (normalised) return std::make_unique<WSQLDate>(std::string_view(*normalised));
    const char* quote = valuePosition ? "\"" : "'";
    std::string message("Date constant ");
    message.append(quote).append(token.view()).append(quote).append(" not recognizable as a date.");
    error(message);
    return nullptr;
}

Node<WSQLScalar> TreeBuilder::currentTimestamp() {
    return std::make_unique<WSQLChar>(std::string_view(context_.statementInstant()->text));
}

Node<WSQLScalar> TreeBuilder::currentDate() {
    const std::string_view today = context_.statementInstant()->datePart();
    const auto normalised = normaliseDate(today, dateSettings());
    // A kernel that cannot tell the date leaves it empty; that is no fault of the statement.
    return std::make_unique<WSQLDate>(normalised ? std::string_view(*normalised) : today);
}

Node<WSQLScalar> TreeBuilder::currentTime() {
    return std::make_unique<WSQLTime>(context_.statementInstant()->timePart());
}

Node<WSQLScalar> TreeBuilder::withSign(Node<WSQLScalar> literal, char sign) {
    dynamic_cast<WSQLLiteral&>(*literal).sign = sign;
    return literal;
}

Node<WSQLScalar> TreeBuilder::inParentheses(Node<WSQLScalar> scalar) {
    scalar->parenthesised = true;
    return scalar;
}

Node<WSQLScalar> TreeBuilder::operation(Node<WSQLScalar> left, char op, Node<WSQLScalar> right) {
    auto node = std::make_unique<WSQLOperation>(op, std::move(left), std::move(right));
    if (node->depth() <= WSQLOperation::kMaxDepth) return node;
    tooDeep_ = true;
    return nullptr;
}

Node<WSQLColumnRef> TreeBuilder::column(TextToken name) {
    auto column = std::make_unique<WSQLColumnRef>();
    column->column = name.view();
    return column;
}

Node<WSQLColumnRef> TreeBuilder::column(TextToken tableName, TextToken name) {
    auto node = column(name);
    node->table = tableName.view();
    return node;
}

Node<WSQLColumnRef> TreeBuilder::column(TextToken owner, TextToken tableName, TextToken name) {
    auto node = column(tableName, name);
    node->owner = owner.view();
    return node;
}

Node<WSQLColumnRef> TreeBuilder::withSubscript(Node<WSQLColumnRef> column, int32_t subscript) {
    column->subscript = subscript;
    return column;
}

Node<WSQLScalar> TreeBuilder::function(const char* name, bool distinct, Node<WSQLScalar> argument) {
    auto node = std::make_unique<WSQLFunctionRef>(name, std::move(argument), distinct);
    if (node->depth() <= WSQLOperation::kMaxDepth) return node;
    tooDeep_ = true;
    return nullptr;
}

Node<WSQLScalar> TreeBuilder::valueList(Node<WSQLColumnRef> column, TextToken separator, const int32_t* first,
                                        const int32_t* last) {
    auto function = std::make_unique<WSQLVListFunctionRef>(std::move(column), std::string(separator.view()));
    function->hasFirst = first != nullptr;
    function->hasLast = last != nullptr;
    if (first != nullptr) function->first = *first;
    if (last != nullptr) function->last = *last;
    return function;
}

Node<WSQLScalar> TreeBuilder::literalSelect(Node<WSQLStmtSelect> select) {
    return std::make_unique<WSQLLiteralSelect>(std::move(select));
}

}  // namespace wsql
