#include "src/tree/WSQLNumeric.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "src/support/CStringBuffer.h"
#include "src/tree/TreeDump.h"

namespace wsql {

double clampedReal(double value) {
    constexpr double kHighest = std::numeric_limits<double>::max();
    return std::clamp(value, -kHighest, kHighest);
}

void appendReal(CStringBuffer& out, double value) {
    // The longest double has 309 digits before the point.
    char digits[std::numeric_limits<double>::max_exponent10 + 16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 2);
    out.append(std::string_view(digits, static_cast<size_t>(end.ptr - digits)));
}

ConstantValue WSQLInt::constantValue() const {
    ConstantValue result;
    result.kind = ConstantValue::Kind::kInteger;
    result.null = isNull;
    result.integer = value();
    result.real = value();
    return result;
}

void WSQLInt::toText(CStringBuffer& out) const {
    if (!isNull) out.append(std::string_view(std::to_string(value())));
}

void WSQLInt::dump(TreeDump& out) const {
    out.open("int");
    out.number(magnitude_);
    out.flag("null", isNull);
    dumpTail(out);
}

std::unique_ptr<WSQLScalar> WSQLInt::clone() const {
    auto copy = std::make_unique<WSQLInt>(magnitude_);
    copy->copyLiteral(*this);
    return copy;
}

ConstantValue WSQLFloat::constantValue() const {
    ConstantValue result;
    result.kind = ConstantValue::Kind::kReal;
    result.null = isNull;
    result.real = value();
    return result;
}

void WSQLFloat::toText(CStringBuffer& out) const {
    if (!isNull) appendReal(out, value());
}

void WSQLFloat::dump(TreeDump& out) const {
    char digits[64];
    const auto end = std::to_chars(digits, digits + sizeof digits, magnitude_);
    out.open("float");
    out.atom(std::string_view(digits, static_cast<size_t>(end.ptr - digits)));
    out.flag("null", isNull);
    dumpTail(out);
}

std::unique_ptr<WSQLScalar> WSQLFloat::clone() const {
    auto copy = std::make_unique<WSQLFloat>(magnitude_);
    copy->copyLiteral(*this);
    return copy;
}

}  // namespace wsql
