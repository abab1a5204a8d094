#include "kernel/record/Decimal.h"

#include <random>

#include <gtest/gtest.h>

namespace wdb {
namespace {

TEST(Decimal, CanonicalTexts) {
    struct Row {
        const char* typed;
        std::optional<std::string> canonical;
    };
    const Row rows[] = {
        {"12", "12"},
        {"+12", "12"},
        {"-0012.50", "-12.50"},
        {"000", "0"},
        {"-0.0", "0.0"},
        {"00.5", "0.5"},
        {" 7 ", "7"},
        {"", {}},
        {"-", {}},
        {".5", {}},
        {"5.", {}},
        {"1.2.3", {}},
        {"1e5", {}},
        {"1,5", {}},
        {"--1", {}},
        {"0x10", {}},
        {"1 2", {}},
        {"99999999999999999999999999999.000000000000001", "99999999999999999999999999999.000000000000001"}};
    for (const Row& row : rows) EXPECT_EQ(canonicalNumber(row.typed), row.canonical) << row.typed;
    EXPECT_FALSE(canonicalNumber(std::string(kMaxNumberText + 1, '1')));
}

// Ascending; those of one row are equal.
TEST(Decimal, ComparisonAndKeyAgree) {
    const std::vector<std::vector<std::string>> ascending = {{"-100000000000000000000000"},
                                                             {"-100.01"},
                                                             {"-100", "-100.00"},
                                                             {"-99.9"},
                                                             {"-10"},
                                                             {"-9.5"},
                                                             {"-9"},
                                                             {"-0.5", "-0.500"},
                                                             {"-0.05"},
                                                             {"-0.0001"},
                                                             {"0", "0.0"},
                                                             {"0.0001"},
                                                             {"0.05"},
                                                             {"0.49"},
                                                             {"0.5", "0.50"},
                                                             {"0.51"},
                                                             {"0.9999"},
                                                             {"1", "1.0"},
                                                             {"1.001"},
                                                             {"1.01"},
                                                             {"9"},
                                                             {"10"},
                                                             {"10.01"},
                                                             {"99.9"},
                                                             {"100"},
                                                             {"101"},
                                                             {"110"},
                                                             {"1000000000000000000000"},
                                                             {"1000000000000000000000.1"}};
    for (const auto& equal : ascending) {
        for (const std::string& number : equal) {
            std::string key;
            appendNumberKey(number, key);
            EXPECT_EQ(numberOfKey(key), equal.front()) << number;
        }
    }
    for (const char* bytes : {"", "\3", "\3\x80\1\xFF", "\5\x80\1\2", "\2\2"})
        EXPECT_FALSE(numberOfKey(bytes)) << "no key";
    for (size_t i = 0; i < ascending.size(); ++i) {
        for (size_t j = 0; j < ascending.size(); ++j) {
            for (const std::string& a : ascending[i]) {
                for (const std::string& b : ascending[j]) {
                    std::string left, right;
                    appendNumberKey(a, left);
                    appendNumberKey(b, right);
                    const int wanted = i < j ? -1 : (i > j ? 1 : 0);
                    const auto sign = [](int n) { return (n > 0) - (n < 0); };
                    EXPECT_EQ(sign(compareNumbers(a, b)), wanted) << a << " and " << b;
                    EXPECT_EQ(sign(left.compare(right)), wanted) << "keys of " << a << " and " << b;
                    if (wanted != 0) {
                        EXPECT_FALSE(left.starts_with(right)) << a << " begins with " << b;
                    }
                }
            }
        }
    }
}

TEST(Decimal, RandomNumbersOrderAsDoubles) {
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const auto make = [&] {
            const int scale = static_cast<int>(random() % 5);
            const long value = static_cast<long>(random() % 20001) - 10000;
            std::string digits = std::to_string(std::labs(value));
            digits.insert(0,
                          digits.size() <= static_cast<size_t>(scale)
                              ? static_cast<size_t>(scale) + 1 - digits.size()
                              : 0,
                          '0');
            if (scale > 0) digits.insert(digits.size() - static_cast<size_t>(scale), ".");
            return *canonicalNumber((value < 0 ? "-" : "") + digits);
        };
        const std::string a = make(), b = make();
        std::string left, right;
        appendNumberKey(a, left);
        appendNumberKey(b, right);
        const long double difference = std::stold(a) - std::stold(b);
        const int wanted = std::fabs(difference) < 1e-9L ? 0 : (difference < 0 ? -1 : 1);
        ASSERT_EQ((left > right) - (left < right), wanted) << a << " and " << b;
        const int compared = compareNumbers(a, b);
        ASSERT_EQ((compared > 0) - (compared < 0), wanted) << a << " and " << b;
    }
}

}  // namespace
}  // namespace wdb
