#pragma once

#include "kernel/ccl/ReaderState.h"

namespace wdb::ccl {

// Reads one entry of a FIELD list: arithmetic over columns, aggregates and numbers, a quoted text, or NULL.
// The terms come in postfix order; parentheses may nest as deep as the text allows.
class ArithmeticReader {
public:
    ArithmeticReader(ReaderState& state, FieldItem& item) : state_(state), item_(item) {}

    bool read();

private:
    using Kind = ArithmeticTerm::Kind;
    struct Pending {
        Kind operation;  // of parentheses: Kind::Number
        uint32_t count;  // of parentheses that stand together
    };

    bool tryConstant();
    bool readOperand();
    bool readNumber();
    bool acceptOperator(Kind& operation);
    void reduce(int precedence);
    bool closeParenthesis();

    ReaderState& state_;
    FieldItem& item_;
    std::vector<Pending> pending_;
};

}  // namespace wdb::ccl
