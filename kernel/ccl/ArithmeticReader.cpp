#include "kernel/ccl/ArithmeticReader.h"

#include "kernel/common/Ascii.h"

namespace wdb::ccl {

namespace {

using Kind = ArithmeticTerm::Kind;

int precedenceOf(Kind operation) {
    switch (operation) {
        case Kind::Add:
        case Kind::Subtract:
            return 1;
        case Kind::Multiply:
        case Kind::Divide:
            return 2;
        default:
            return 0;
    }
}

}  // namespace

bool ArithmeticReader::read() {
    item_.position = static_cast<uint32_t>(state_.scanner.peek().position);
    if (tryConstant()) return true;
    if (!readOperand()) return false;
    for (;;) {
        Kind operation;
        if (acceptOperator(operation)) {
            reduce(precedenceOf(operation));
            pending_.push_back({operation, 0});
            if (!readOperand()) return false;
        } else if (!closeParenthesis()) {
            break;
        }
    }
    reduce(1);
    return pending_.empty() || state_.failHere();
}

// A quoted text or NULL that is the whole entry. In front of an operator a quoted name is a column's.
bool ArithmeticReader::tryConstant() {
    const Token& first = state_.scanner.peek();
    const bool null = first.kind == TokenKind::Name && equalsIgnoreCase(first.text, "NULL");
    if (first.kind != TokenKind::Quoted && !null) return false;
    Scanner ahead = state_.scanner;
    const Token token = ahead.next();
    const Token behind = ahead.peek();
    bool operand = behind.is('.');
    for (const char sign : {'+', '-', '*', '/'}) operand = operand || behind.is(sign);
    if (token.kind == TokenKind::Quoted && !operand) {
        item_.kind = FieldItem::Kind::Text;
        item_.text = unquote(token.text);
    } else if (null && !behind.is('.')) {
        item_.kind = FieldItem::Kind::Null;
    } else {
        return false;
    }
    state_.scanner = ahead;
    return true;
}

bool ArithmeticReader::readOperand() {
    while (state_.acceptSymbol('(')) {
        if (pending_.empty() || pending_.back().operation != Kind::Number)
            pending_.push_back({Kind::Number, 0});
        ++pending_.back().count;
    }
    const Token token = state_.scanner.peek();
    if (token.kind == TokenKind::Integer || token.is('+') || token.is('-')) return readNumber();
    ArithmeticTerm& term = item_.terms.emplace_back();
    if (state_.atAggregate()) {
        term.kind = Kind::Aggregate;
        return state_.readAggregate(term.aggregate);
    }
    term.kind = Kind::Column;
    return state_.readColumn(term.column);
}

bool ArithmeticReader::readNumber() {
    ArithmeticTerm& term = item_.terms.emplace_back();
    term.kind = Kind::Number;
    if (state_.acceptSymbol('-'))
        term.number = "-";
    else
        state_.acceptSymbol('+');
    const Token whole = state_.scanner.next();
    if (whole.kind != TokenKind::Integer) return state_.fail(whole.position);
    term.number += whole.text;
    if (!state_.acceptSymbol('.')) return true;
    const Token fraction = state_.scanner.next();
    if (fraction.kind != TokenKind::Integer) return state_.fail(fraction.position);
    term.number += '.';
    term.number += fraction.text;
    return true;
}

bool ArithmeticReader::acceptOperator(Kind& operation) {
    if (state_.scanner.peek().kind != TokenKind::Symbol) return false;
    if (state_.acceptSymbol('+'))
        operation = Kind::Add;
    else if (state_.acceptSymbol('-'))
        operation = Kind::Subtract;
    else if (state_.acceptSymbol('*'))
        operation = Kind::Multiply;
    else if (state_.acceptSymbol('/'))
        operation = Kind::Divide;
    else
        return false;
    return true;
}

// Moves the operators on top of the stack that bind at least so tightly to the terms.
void ArithmeticReader::reduce(int precedence) {
    while (!pending_.empty() && precedenceOf(pending_.back().operation) >= precedence) {
        item_.terms.emplace_back().kind = pending_.back().operation;
        pending_.pop_back();
    }
}

bool ArithmeticReader::closeParenthesis() {
    if (!state_.scanner.peek().is(')')) return false;
    reduce(1);
    if (pending_.empty()) return false;
    state_.scanner.next();
    if (--pending_.back().count == 0) pending_.pop_back();
    return true;
}

}  // namespace wdb::ccl
