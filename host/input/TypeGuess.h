#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host {

enum class ColumnType { varchar, text, integer, numeric, date, time, object };

// "VARCHAR", "LONG VARCHAR", "INTEGER", "NUMERIC", "DATE", "TIME", "LONG VARBINARY".
const char* sqlName(ColumnType type);

// Narrows down what type holds every value that it was shown. Integers are digits with an optional sign that
// fit 64 bits; digits that begin with 0 are codes, not numbers, so they stay text. Dates are YYYY-MM-DD,
// times HH:MM[:SS].
class TypeGuess {
public:
    void see(std::string_view value);
    // VARCHAR for a column without values; LONG VARCHAR when a value has several lines or is longer than 255
    // bytes.
    ColumnType type() const;
    // Every value seen consists of digits and fits 64 bits.
    bool onlyDigits() const { return any_ && digits_; }
    std::size_t longest() const { return longest_; }

private:
    bool any_ = false;
    bool digits_ = true, integer_ = true, numeric_ = true, date_ = true, time_ = true, lines_ = false;
    std::size_t longest_ = 0;
};

}  // namespace host
