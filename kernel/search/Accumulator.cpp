#include "kernel/search/Accumulator.h"

#include <limits>

#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/text/Normalize.h"

namespace wdb {

using ccl::Function;

namespace {

std::string keyOf(FieldType type, Slice value) {
    if (type == FieldType::String) return std::string(value);
    return type == FieldType::Text ? normalize(value, kNormalizeValue) : wholeValueKey(type, value);
}

}  // namespace

void Accumulator::add(Slice canonical) {
    if (distinct_) {
        if (seen_ == nullptr) seen_ = std::make_shared<std::unordered_set<std::string>>();
        if (!seen_->insert(keyOf(type_, canonical)).second) return;
    }
    if (function_ == Function::Count) {
        ++count_;
    } else if (function_ == Function::Sum || function_ == Function::Avg) {
        addNumber(canonical);
    } else if (const int order = count_++ == 0 ? 0 : compareValues(type_, canonical, best_);
               count_ == 1 || (function_ == Function::Min ? order < 0 : order > 0)) {
        best_ = canonical;
    }
}

void Accumulator::addNumber(Slice canonical) {
    if (type_ == FieldType::Integer) return addIntegers(decodeInteger(canonical), 1);
    const std::optional<DecimalNumber> number = DecimalNumber::parse(canonical);
    if (!number) return;
    ++count_;
    if (exact_ == nullptr)
        exact_ = std::make_shared<DecimalNumber>(*number);
    else
        exact_->add(*number);
}

FieldType Accumulator::type() const {
    switch (function_) {
        case Function::Count:
            return FieldType::Integer;
        case Function::Avg:
        case Function::Sum:
            return FieldType::Number;
        default:
            return type_;
    }
}

// The sum of whole numbers can be longer than 64 bits.
DecimalNumber Accumulator::sum() const {
    if (exact_ != nullptr) return *exact_;
    constexpr int64_t kHalf = int64_t{1} << 62;
    DecimalNumber high(static_cast<int64_t>(whole_ / kHalf));
    high.multiply(DecimalNumber(kHalf));
    high.add(DecimalNumber(static_cast<int64_t>(whole_ % kHalf)));
    return high;
}

std::string Accumulator::result() const {
    if (function_ == Function::Count) return encodeInteger(static_cast<int64_t>(count_));
    if (count_ == 0) return {};
    if (function_ == Function::Min || function_ == Function::Max) return best_;
    DecimalNumber value = sum();
    if (function_ == Function::Avg) value.divide(DecimalNumber(static_cast<int64_t>(count_)));
    return value.text().value_or(std::string());
}

}  // namespace wdb
