#pragma once

#include <gmp.h>

#include <optional>
#include <string>
#include <string_view>

namespace wdb {

// An exact decimal number to calculate with: whole digits and how many of them stand behind the point.
class DecimalNumber {
public:
    DecimalNumber() { mpz_init(digits_); }
    explicit DecimalNumber(int64_t value);
    ~DecimalNumber() { mpz_clear(digits_); }
    DecimalNumber(const DecimalNumber& other);
    DecimalNumber& operator=(const DecimalNumber& other);
    DecimalNumber(DecimalNumber&& other) noexcept;
    DecimalNumber& operator=(DecimalNumber&& other) noexcept;

    // [sign] digits [. digits]; nothing for any other text.
    static std::optional<DecimalNumber> parse(std::string_view text);

    void add(const DecimalNumber& other);
    void subtract(const DecimalNumber& other);
    void multiply(const DecimalNumber& other);
    // The quotient rounded half away from zero to 6 decimals, zeros at the end dropped down to two. False for
    // a division by zero: nothing is changed then.
    bool divide(const DecimalNumber& other);

    // Nothing for a number that is longer than a NUMBER may be.
    std::optional<std::string> text() const;

private:
    void scaleTo(unsigned scale);
    bool tooLong() const;

    mpz_t digits_;
    unsigned scale_ = 0;  // decimals
};

}  // namespace wdb
