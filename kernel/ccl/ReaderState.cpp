#include "kernel/ccl/ReaderState.h"

#include "kernel/common/Ascii.h"

namespace wdb::ccl {

namespace {

constexpr std::string_view kFunctions[] = {"COUNT", "AVG", "MIN", "MAX", "SUM"};
constexpr std::string_view kComparisons[] = {"=", "<>", "<", ">", "<=", ">="};

std::optional<Function> functionOf(const Token& token) {
    if (token.kind != TokenKind::Name) return std::nullopt;
    for (size_t i = 0; i < std::size(kFunctions); ++i) {
        if (equalsIgnoreCase(token.text, kFunctions[i])) return static_cast<Function>(i);
    }
    return std::nullopt;
}

bool isName(const Token& token) {
    return token.kind == TokenKind::Name || token.kind == TokenKind::Quoted;
}

std::string nameOf(const Token& token) {
    return token.kind == TokenKind::Quoted ? unquote(token.text) : std::string(token.text);
}

}  // namespace

std::string_view functionName(Function function) {
    return kFunctions[static_cast<size_t>(function)];
}

std::string_view comparisonSign(Comparison comparison) {
    return kComparisons[static_cast<size_t>(comparison)];
}

bool ReaderState::fail(size_t position) {
    errorPosition = position;
    return false;
}

bool ReaderState::failHere() {
    return fail(scanner.peek().position);
}

bool ReaderState::acceptSymbol(char symbol) {
    if (!scanner.peek().is(symbol)) return false;
    scanner.next();
    return true;
}

bool ReaderState::accept(Word word) {
    const Token& token = scanner.peek();
    if (token.kind != TokenKind::Name || !words.is(word, token.text)) return false;
    scanner.next();
    return true;
}

bool ReaderState::acceptText(std::string_view text) {
    const Token& token = scanner.peek();
    if (token.kind != TokenKind::Name || !equalsIgnoreCase(token.text, text)) return false;
    scanner.next();
    return true;
}

bool ReaderState::readName(std::string& name) {
    const Token token = scanner.next();
    if (!isName(token) || token.text.empty()) return fail(token.position);
    name = nameOf(token);
    return true;
}

bool ReaderState::readInteger(int32_t& number) {
    const Token token = scanner.next();
    if (token.kind != TokenKind::Integer) return fail(token.position);
    number = smallIntegerOf(token.text);
    return true;
}

bool ReaderState::readComparison(Comparison& comparison) {
    const Token token = scanner.next();
    for (size_t i = 0; i < std::size(kComparisons); ++i) {
        if (token.kind != TokenKind::Symbol || token.text != kComparisons[i]) continue;
        comparison = static_cast<Comparison>(i);
        return true;
    }
    return fail(token.position);
}

bool ReaderState::setRecord(Column& column) {
    column.field.clear();
    column.record = true;
    return true;
}

// A quoted name is a field's even when it reads as the word for the record number.
bool ReaderState::readColumn(Column& column) {
    const Token first = scanner.next();
    if (!isName(first) || first.text.empty()) return fail(first.position);
    column.position = static_cast<uint32_t>(first.position);
    const bool firstIsRecord = first.kind == TokenKind::Name && words.is(Word::Rxx, first.text);
    if (!acceptSymbol('.')) {
        if (firstIsRecord) return setRecord(column);
        column.field = nameOf(first);
        return true;
    }
    const Token second = scanner.peek();
    if (second.kind == TokenKind::Integer) {
        if (integerOf(second.text) == 0) {
            scanner.next();
            column.qualifier = nameOf(first);
            return setRecord(column);
        }
        if (firstIsRecord) return fail(second.position);
        column.field = nameOf(first);
        return readSubfields(column);
    }
    if (!isName(second) || second.text.empty()) return fail(second.position);
    scanner.next();
    column.qualifier = nameOf(first);
    if (second.kind == TokenKind::Name && words.is(Word::Rxx, second.text)) return setRecord(column);
    column.field = nameOf(second);
    return !acceptSymbol('.') || readSubfields(column);
}

bool ReaderState::readSubfields(Column& column) {
    if (!readInteger(column.first)) return false;
    column.last = column.first;
    const size_t behind = scanner.position();
    if (!acceptSymbol('-')) return true;
    column.range = scanner.peek().kind == TokenKind::Integer;
    if (column.range) return readInteger(column.last);
    scanner.moveTo(behind);
    return true;
}

bool ReaderState::atAggregate() const {
    if (!functionOf(scanner.peek())) return false;
    Scanner ahead = scanner;
    ahead.next();
    return ahead.next().is('(');
}

bool ReaderState::readAggregate(Aggregate& aggregate) {
    const Token name = scanner.next();
    const std::optional<Function> function = functionOf(name);
    if (!function) return fail(name.position);
    aggregate.function = *function;
    if (!expectSymbol('(')) return false;
    if (scanner.peek().is('*')) {
        if (*function != Function::Count) return failHere();
        scanner.next();
        return expectSymbol(')');
    }
    const size_t start = scanner.position();
    if (acceptText("DISTINCT")) {
        aggregate.distinct = isName(scanner.peek());
        if (!aggregate.distinct) scanner.moveTo(start);  // a column of that name
    }
    aggregate.column.emplace();
    return readColumn(*aggregate.column) && expectSymbol(')');
}

}  // namespace wdb::ccl
