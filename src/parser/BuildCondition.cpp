#include "src/parser/TreeBuilder.h"

namespace wsql {

Node<WSQLCondition> TreeBuilder::composite(Node<WSQLCondition> left, int32_t connective,
                                           Node<WSQLCondition> right) {
    return std::make_unique<WSQLCompositeCondition>(connective, std::move(left), std::move(right));
}

Node<WSQLCondition> TreeBuilder::inverted(Node<WSQLCondition> condition) {
    condition->invert();
    return condition;
}

Node<WSQLCondition> TreeBuilder::inParentheses(Node<WSQLCondition> condition) {
    condition->parenthesised = true;
    return condition;
}

Node<WSQLCondition> TreeBuilder::comparison(Node<WSQLScalar> left, int32_t op, Node<WSQLScalar> right) {
    return std::make_unique<WSQLComparison>(op, std::move(left), std::move(right));
}

Node<WSQLCondition> TreeBuilder::between(Node<WSQLScalar> tested, bool negated, Node<WSQLScalar> low,
                                         Node<WSQLScalar> high) {
    auto test = std::make_unique<WSQLBetweenTest>(std::move(tested), std::move(low), std::move(high));
    test->setNegated(negated);
    return test;
}

Node<WSQLCondition> TreeBuilder::like(Node<WSQLColumnRef> column, bool negated, Node<WSQLScalar> pattern) {
    auto predicate = std::make_unique<WSQLLikePredicate>(std::move(column), std::move(pattern));
    predicate->setNegated(negated);
    return predicate;
}

Node<WSQLCondition> TreeBuilder::nullTest(Node<WSQLColumnRef> column, bool negated) {
    auto test = std::make_unique<WSQLNullTest>(std::move(column));
    test->setNegated(negated);
    return test;
}

Node<WSQLCondition> TreeBuilder::subselect(Node<WSQLScalar> tested, int32_t op, Node<WSQLStmtSelect> select) {
    const bool hasFrom = select->joinSpec || select->tables->Count() > 0;
    if (hasFrom || select->hasUnion())
        return std::make_unique<WSQLSubselect>(std::move(tested), op, std::move(select));
    // A lone constant has no search set to compare with: the test becomes a plain comparison.
    Node<WSQLScalar> constant = select->takeItem(0);
    constant->label.clear();
    const int32_t plainOp = op == ComparisonOp::kIn ? ComparisonOp::kEqual : op;
    return comparison(std::move(tested), plainOp, std::move(constant));
}

}  // namespace wsql
