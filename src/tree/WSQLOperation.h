#pragma once

#include "src/tree/WSQLScalar.h"

namespace wsql {

/// Arithmetic. Chains lean to the left; the grammar refuses more than kMaxDepth levels, so recursion over
/// operands is bounded.
class WSQLOperation : public WSQLScalar {
public:
    static constexpr int32_t kMaxDepth = 5000;

    /// `op` is one of + - * /; both operands are present.
    WSQLOperation(char op, std::unique_ptr<WSQLScalar> left, std::unique_ptr<WSQLScalar> right);

    bool isConstant() const override { return constant_; }

    /// Two integers give an integer (division truncates, the result is clamped to 32 bits); anything else a
    /// real number. A NULL or non-numeric operand or a division by zero gives NULL.
    ConstantValue constantValue() const override;

    /// The value when constant, else left text, operator, right text.
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;
    int32_t depth() const override { return depth_; }

    char op() const { return op_; }
    WSQLScalar* left() const { return left_.get(); }
    WSQLScalar* right() const { return right_.get(); }

private:
    char op_;
    bool constant_;
    int32_t depth_;
    std::unique_ptr<WSQLScalar> left_;
    std::unique_ptr<WSQLScalar> right_;
};

}  // namespace wsql
