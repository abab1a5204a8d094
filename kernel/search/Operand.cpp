#include "kernel/search/Operand.h"

#include <charconv>

#include "kernel/record/Decimal.h"
#include "kernel/record/Value.h"

namespace wdb {

namespace {

// A decimal beside whole numbers: -1.5 is -2 and something more.
Operand integerOperand(std::string_view number) {
    Operand operand;
    const size_t point = number.find('.');
    const std::string_view whole = number.substr(0, point);
    const bool fraction =
        point != std::string_view::npos && number.find_first_not_of('0', point + 1) != std::string_view::npos;
    const bool negative = number.front() == '-';
    int64_t value = 0;
    const auto [end, error] = std::from_chars(whole.data(), whole.data() + whole.size(), value);
    static_cast<void>(end);
    const bool lowest = negative && fraction && value == INT64_MIN;
    if (error == std::errc::result_out_of_range || lowest) {
        operand.beyond = negative ? -1 : 1;
        return operand;
    }
    if (fraction && negative) --value;
    operand.exact = !fraction;
    operand.canonical = encodeInteger(value);
    return operand;
}

}  // namespace

Result<Operand> operandOf(FieldType type, std::string_view text, const DateForm& form, DayNumber today) {
    if (type == FieldType::Integer) {
        if (const auto number = canonicalNumber(text)) return integerOperand(*number);
    }
    Result<std::string> canonical = parseValue(type, text, form, today, DateUse::Compare);
    if (!canonical) return canonical.status();
    Operand operand;
    operand.canonical = std::move(*canonical);
    return operand;
}

Pattern patternOf(const ccl::Value& value) {
    Pattern pattern;
    for (const ccl::ValuePiece& piece : value.pieces) {
        switch (piece.kind) {
            case ccl::ValuePiece::Kind::Literal:
                pattern.addLiteral(piece.text);
                break;
            case ccl::ValuePiece::Kind::AnyRun:
                pattern.addAnyRun();
                break;
            case ccl::ValuePiece::Kind::AnyCharacter:
                pattern.addAnyCharacter();
                break;
        }
    }
    return pattern;
}

std::optional<Bound> lowBound(const Operand& operand, bool inclusive, bool& none) {
    if (operand.beyond > 0) none = true;
    if (operand.beyond != 0) return std::nullopt;
    return Bound{operand.canonical, inclusive && operand.exact};
}

std::optional<Bound> highBound(const Operand& operand, bool inclusive, bool& none) {
    if (operand.beyond < 0) none = true;
    if (operand.beyond != 0) return std::nullopt;
    return Bound{operand.canonical, inclusive || !operand.exact};
}

}  // namespace wdb
