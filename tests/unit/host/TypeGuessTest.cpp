#include "host/input/TypeGuess.h"

#include <gtest/gtest.h>

#include <vector>

namespace host {
namespace {

TEST(TypeGuess, FindsTheTypeThatHoldsEveryValue) {
    struct Row {
        const char* why;
        std::vector<std::string> values;
        const char* type;
    };
    const Row rows[] = {
        {"no values", {}, "VARCHAR"},
        {"integers", {"1", "-2", "+3", "0"}, "INTEGER"},
        {"leading zeros are codes", {"1", "007"}, "VARCHAR"},
        {"too long for 64 bits", {"1234567890123456789"}, "VARCHAR"},
        {"a fraction among integers", {"1", "2.50"}, "NUMERIC"},
        {"half a fraction", {"1."}, "VARCHAR"},
        {"no digit before the point", {".5"}, "VARCHAR"},
        {"exponents are text", {"1e5"}, "VARCHAR"},
        {"dates", {"2024-02-29", "0000-12-31"}, "DATE"},
        {"no leap year", {"2023-02-29"}, "VARCHAR"},
        {"other date forms", {"29.02.2024"}, "VARCHAR"},
        {"times", {"09:30", "23:59:59"}, "TIME"},
        {"no such hour", {"24:00"}, "VARCHAR"},
        {"a date among times", {"09:30", "2024-01-01"}, "VARCHAR"},
        {"a line end", {"a\nb"}, "LONG VARCHAR"},
        {"255 bytes", {std::string(255, 'x')}, "VARCHAR"},
        {"256 bytes", {std::string(256, 'x')}, "LONG VARCHAR"},
    };
    for (const Row& row : rows) {
        TypeGuess guess;
        for (const std::string& value : row.values) guess.see(value);
        EXPECT_STREQ(sqlName(guess.type()), row.type) << row.why;
    }
}

}  // namespace
}  // namespace host
