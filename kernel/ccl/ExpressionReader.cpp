#include "kernel/ccl/ExpressionReader.h"

#include "kernel/ccl/ValueReader.h"
#include "kernel/common/Ascii.h"

namespace wdb::ccl {

bool ExpressionReader::read() {
    if (!readFactor()) return false;
    for (;;) {
        Connective operation;
        if (acceptConnective(operation)) {
            push(operation);
            if (!readFactor()) return false;
        } else if (!closeParenthesis()) {
            break;
        }
    }
    reduce(false);
    return pending_.empty() || state_.failHere();
}

bool ExpressionReader::readFactor() {
    while (state_.acceptSymbol('(')) {
        if (pending_.empty() || pending_.back().operation != Connective::Criterion) {
            pending_.push_back({Connective::Criterion, 0});
        }
        ++pending_.back().count;
    }
    return readCriterion();
}

bool ExpressionReader::readCriterion() {
    Criterion& criterion = expression_.criteria.emplace_back();
    const Token start = state_.scanner.peek();
    criterion.position = static_cast<uint32_t>(start.position);
    expression_.nodes.push_back(
        {Connective::Criterion, static_cast<uint32_t>(expression_.criteria.size() - 1), 0});
    operands_.push_back(static_cast<uint32_t>(expression_.nodes.size() - 1));
    if (start.kind == TokenKind::Name && equalsIgnoreCase(start.text, "S")) {
        Scanner ahead = state_.scanner;
        ahead.next();
        if (ahead.next().is('=')) {
            state_.scanner = ahead;
            criterion.form = Criterion::Form::InSet;
            int32_t number = 0;
            if (!state_.readInteger(number)) return false;
            criterion.number = number;
            return true;
        }
    }
    if (!state_.readColumn(criterion.column) || !state_.readComparison(criterion.comparison)) return false;
    ValueReader values(state_);
    return criterion.column.record ? values.readRecordValue(criterion) : values.readFieldValue(criterion);
}

bool ExpressionReader::acceptConnective(Connective& operation) {
    if (state_.scanner.peek().kind != TokenKind::Name) return false;
    if (state_.accept(Word::And))
        operation = Connective::And;
    else if (state_.accept(Word::Not))
        operation = Connective::Not;
    else if (state_.accept(Word::Orx))
        operation = Connective::Or;
    else
        return false;
    return true;
}

void ExpressionReader::push(Connective operation) {
    reduce(operation != Connective::Or);
    pending_.push_back({operation, 0});
}

// Makes nodes of the connectives on top of the stack, down to an open parenthesis; keepBeforeOr: down to an
// OR as well.
void ExpressionReader::reduce(bool keepBeforeOr) {
    while (!pending_.empty() && pending_.back().operation != Connective::Criterion) {
        if (keepBeforeOr && pending_.back().operation == Connective::Or) return;
        const uint32_t right = operands_.back();
        operands_.pop_back();
        expression_.nodes.push_back({pending_.back().operation, operands_.back(), right});
        operands_.back() = static_cast<uint32_t>(expression_.nodes.size() - 1);
        pending_.pop_back();
    }
}

// False when no parenthesis of this expression is open, or none closes here.
bool ExpressionReader::closeParenthesis() {
    if (!state_.scanner.peek().is(')')) return false;
    reduce(false);
    if (pending_.empty()) return false;
    state_.scanner.next();
    if (--pending_.back().count == 0) pending_.pop_back();
    return true;
}

}  // namespace wdb::ccl
