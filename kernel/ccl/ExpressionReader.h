#pragma once

#include "kernel/ccl/ReaderState.h"

namespace wdb::ccl {

// Reads the condition of a search up to the first token that does not belong to it. AND and NOT bind equally
// and before ORX, all from left to right. Operator precedence by two explicit stacks (the shunting-yard
// method), so that no depth of parentheses needs the thread's stack.
class ExpressionReader {
public:
    ExpressionReader(ReaderState& state, Expression& expression) : state_(state), expression_(expression) {}

    bool read();

private:
    struct Pending {
        Connective operation;  // Criterion: open parentheses
        uint32_t count;        // of parentheses that stand together
    };

    bool readFactor();
    bool readCriterion();
    // Takes a connective, when there is one.
    bool acceptConnective(Connective& operation);
    void push(Connective operation);
    void reduce(bool keepBeforeOr);
    bool closeParenthesis();

    ReaderState& state_;
    Expression& expression_;
    std::vector<Pending> pending_;
    std::vector<uint32_t> operands_;
};

}  // namespace wdb::ccl
