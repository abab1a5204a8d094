#include "kernel/search/DecimalNumber.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "kernel/record/Decimal.h"

namespace wdb {

namespace {

constexpr unsigned kQuotientDecimals = 6;
constexpr unsigned kLeastDecimals = 2;

// Ten to the power of something.
class Power {
public:
    explicit Power(unsigned exponent) {
        mpz_init(value_);
        mpz_ui_pow_ui(value_, 10, exponent);
    }
    ~Power() { mpz_clear(value_); }
    Power(const Power&) = delete;
    Power& operator=(const Power&) = delete;
    mpz_srcptr get() const { return value_; }

private:
    mpz_t value_;
};

}  // namespace

DecimalNumber::DecimalNumber(int64_t value) {
    static_assert(sizeof(long) == sizeof(int64_t));
    mpz_init_set_si(digits_, value);
}
DecimalNumber::DecimalNumber(const DecimalNumber& other) : scale_(other.scale_) {
    mpz_init_set(digits_, other.digits_);
}
DecimalNumber& DecimalNumber::operator=(const DecimalNumber& other) {
    mpz_set(digits_, other.digits_);
    scale_ = other.scale_;
    return *this;
}
DecimalNumber::DecimalNumber(DecimalNumber&& other) noexcept : scale_(other.scale_) {
    mpz_init(digits_);
    mpz_swap(digits_, other.digits_);
}
DecimalNumber& DecimalNumber::operator=(DecimalNumber&& other) noexcept {
    mpz_swap(digits_, other.digits_);
    std::swap(scale_, other.scale_);
    return *this;
}

std::optional<DecimalNumber> DecimalNumber::parse(std::string_view text) {
    std::optional<std::string> canonical = canonicalNumber(text);
    if (!canonical) return std::nullopt;
    DecimalNumber number;
    const size_t point = canonical->find('.');
    if (point != std::string::npos) {
        number.scale_ = static_cast<unsigned>(canonical->size() - point - 1);
        canonical->erase(point, 1);
    }
    if (mpz_set_str(number.digits_, canonical->c_str(), 10) != 0) return std::nullopt;
    return number;
}

void DecimalNumber::scaleTo(unsigned scale) {
    if (scale <= scale_) return;
    mpz_mul(digits_, digits_, Power(scale - scale_).get());
    scale_ = scale;
}

void DecimalNumber::add(const DecimalNumber& other) {
    scaleTo(other.scale_);
    if (other.scale_ == scale_) return mpz_add(digits_, digits_, other.digits_);
    DecimalNumber scaled = other;
    scaled.scaleTo(scale_);
    mpz_add(digits_, digits_, scaled.digits_);
}

void DecimalNumber::subtract(const DecimalNumber& other) {
    DecimalNumber negative = other;
    mpz_neg(negative.digits_, negative.digits_);
    add(negative);
}

// What no text could hold is not calculated with any more: text() answers nothing for it.
void DecimalNumber::multiply(const DecimalNumber& other) {
    if (tooLong()) return;
    if (other.tooLong()) return void(*this = other);
    mpz_mul(digits_, digits_, other.digits_);
    scale_ += other.scale_;
}

bool DecimalNumber::divide(const DecimalNumber& other) {
    if (mpz_sgn(other.digits_) == 0) return false;
    if (tooLong()) return true;
    if (other.tooLong()) {
        *this = other;
        return true;
    }
    const bool negative = (mpz_sgn(digits_) < 0) != (mpz_sgn(other.digits_) < 0);
    DecimalNumber divisor = other;
    mpz_abs(digits_, digits_);
    mpz_abs(divisor.digits_, divisor.digits_);
    scaleTo(other.scale_);
    divisor.scaleTo(scale_);
    // Twice the quotient, one more, halved: rounds half up.
    mpz_mul(digits_, digits_, Power(kQuotientDecimals).get());
    mpz_mul_2exp(digits_, digits_, 1);
    mpz_add(digits_, digits_, divisor.digits_);
    mpz_mul_2exp(divisor.digits_, divisor.digits_, 1);
    mpz_fdiv_q(digits_, digits_, divisor.digits_);
    if (negative) mpz_neg(digits_, digits_);
    for (scale_ = kQuotientDecimals; scale_ > kLeastDecimals && mpz_divisible_ui_p(digits_, 10) != 0;
         --scale_) {
        mpz_divexact_ui(digits_, digits_, 10);
    }
    return true;
}

bool DecimalNumber::tooLong() const {
    return std::max<size_t>(mpz_sizeinbase(digits_, 10), scale_) > kMaxNumberText;
}

std::optional<std::string> DecimalNumber::text() const {
    if (tooLong()) return std::nullopt;
    std::string result(mpz_sizeinbase(digits_, 10) + 2, '\0');
    mpz_get_str(result.data(), 10, digits_);
    result.resize(result.find('\0'));
    const size_t sign = result.front() == '-' ? 1 : 0;
    if (scale_ == 0) return result;
    if (result.size() - sign <= scale_) result.insert(sign, scale_ + 1 - (result.size() - sign), '0');
    result.insert(result.size() - scale_, 1, '.');
    return result;
}

}  // namespace wdb
