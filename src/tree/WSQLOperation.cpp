#include "src/tree/WSQLOperation.h"

#include <algorithm>
#include <limits>

#include "src/support/CStringBuffer.h"
#include "src/tree/TreeDump.h"
#include "src/tree/WSQLNumeric.h"

namespace wsql {
namespace {

using Kind = ConstantValue::Kind;

bool isNumber(const ConstantValue& value) {
    return value.kind == Kind::kInteger || value.kind == Kind::kReal;
}

int32_t clamped(int64_t value) {
    constexpr int64_t low = std::numeric_limits<int32_t>::min();
    constexpr int64_t high = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(value, low, high));
}

/// 32-bit operands: no operation can leave 64 bits. `right` is not 0 for a division.
int64_t integerResult(char op, int64_t left, int64_t right) {
    switch (op) {
        case '+':
            return left + right;
        case '-':
            return left - right;
        case '*':
            return left * right;
        default:
            return left / right;
    }
}

double realResult(char op, double left, double right) {
    switch (op) {
        case '+':
            return left + right;
        case '-':
            return left - right;
        case '*':
            return left * right;
        default:
            return left / right;
    }
}

ConstantValue evaluate(char op, const ConstantValue& left, const ConstantValue& right) {
    ConstantValue result;
    const bool integers = left.kind == Kind::kInteger && right.kind == Kind::kInteger;
    result.kind = integers ? Kind::kInteger : Kind::kReal;
    result.null =
        left.null || right.null || !isNumber(left) || !isNumber(right) || (op == '/' && right.real == 0);
    if (result.null) return result;
    if (integers) {
        result.integer = clamped(integerResult(op, left.integer, right.integer));
        result.real = result.integer;
    } else {
        result.real = clampedReal(realResult(op, left.real, right.real));
    }
    return result;
}

}  // namespace

WSQLOperation::WSQLOperation(char op, std::unique_ptr<WSQLScalar> left, std::unique_ptr<WSQLScalar> right)
    : op_(op),
      constant_(left->isConstant() && right->isConstant()),
      depth_(std::max(left->depth(), right->depth()) + 1),
      left_(std::move(left)),
      right_(std::move(right)) {}

ConstantValue WSQLOperation::constantValue() const {
    if (!constant_) return {};
    return evaluate(op_, left_->constantValue(), right_->constantValue());
}

void WSQLOperation::toText(CStringBuffer& out) const {
    if (!constant_) {
        left_->toText(out);
        out.append(op_);
        right_->toText(out);
        return;
    }
    const ConstantValue value = constantValue();
    if (value.null) return;
    if (value.kind == Kind::kInteger) {
        out.append(std::string_view(std::to_string(value.integer)));
    } else {
        appendReal(out, value.real);
    }
}

void WSQLOperation::dump(TreeDump& out) const {
    out.open(std::string_view(&op_, 1));
    out.child(left_);
    out.child(right_);
    dumpScalar(out);
    out.close();
}

std::unique_ptr<WSQLScalar> WSQLOperation::clone() const {
    auto copy = std::make_unique<WSQLOperation>(op_, left_->clone(), right_->clone());
    copy->copyScalar(*this);
    return copy;
}

}  // namespace wsql
