#include "kernel/record/Value.h"

#include <gtest/gtest.h>

#include "kernel/record/ValueKey.h"

namespace wdb {
namespace {

using enum FieldType;

TEST(Value, ReadsAndDelivers) {
    struct Row {
        FieldType type;
        const char* typed;
        Status status;
        const char* delivered;
        const char* reason;
    };
    const Row rows[] = {
        {Integer, " 42 ", WDB_OK, "42", "blanks around do not count"},
        {Integer, "+7", WDB_OK, "7", "plus sign"},
        {Integer, "-9223372036854775808", WDB_OK, "-9223372036854775808", "smallest"},
        {Integer, "9223372036854775807", WDB_OK, "9223372036854775807", "largest"},
        {Integer, "9223372036854775808", WDB_E_VALUE, "", "one more"},
        {Integer, "007", WDB_OK, "7", "as a number"},
        {Integer, "1.0", WDB_E_VALUE, "", "a fraction"},
        {Integer, "+-1", WDB_E_VALUE, "", "two signs"},
        {Integer, "+", WDB_E_VALUE, "", "no digits"},
        {Integer, "  ", WDB_OK, "", "blanks are no value"},
        {Number, "-01.50", WDB_OK, "-1.50", "trailing zeros stay"},
        {Number, "abc", WDB_E_VALUE, "", "no number"},
        {Date, "2024-02-29", WDB_OK, "2024-02-29", "leap day"},
        {Date, "2023-02-29", WDB_E_VALUE, "", "no such day"},
        {Time, "9:05", WDB_OK, "09:05:00", "delivered in full"},
        {Time, "25:00", WDB_E_VALUE, "", "no such hour"},
        {Phrase, " a  b ", WDB_OK, " a  b ", "as stored"},
        {Phrase, "a\nb", WDB_E_VALUE, "", "line end"},
        {Phrase, "a\rb", WDB_E_VALUE, "", "line end"},
        {Text, "x", WDB_E_TYPE, "", "texts are not items"},
        {String, "x", WDB_E_TYPE, "", "objects are not items"},
    };
    for (const Row& row : rows) {
        const auto value = parseValue(row.type, row.typed, DateForm{}, 20240615);
        ASSERT_EQ(value.status(), row.status) << row.typed << ": " << row.reason;
        if (!value) continue;
        std::string text;
        renderValue(row.type, *value, DateForm{}, text);
        EXPECT_EQ(text, row.delivered) << row.reason;
        if (!value->empty()) {
            EXPECT_TRUE(isCanonical(row.type, *value)) << row.reason;
        }
    }
    EXPECT_EQ(parseValue(Phrase, std::string_view("a\0b", 3), DateForm{}, 0).status(), WDB_E_VALUE);
    EXPECT_TRUE(parseValue(Phrase, std::string(kMaxPhrase, 'x'), DateForm{}, 0));
    EXPECT_EQ(parseValue(Phrase, std::string(kMaxPhrase + 1, 'x'), DateForm{}, 0).status(), WDB_E_VALUE);
    EXPECT_TRUE(parseValue(Date, "2023-02-29", DateForm{}, 0, DateUse::Compare))
        << "comparing takes any three numbers";
}

TEST(Value, CanonicalFormsAreChecked) {
    EXPECT_FALSE(isCanonical(Integer, "1234567"));
    EXPECT_FALSE(isCanonical(Date, encodeDay(20230229)));
    EXPECT_FALSE(isCanonical(Time, encodeDay(86400)));
    EXPECT_FALSE(isCanonical(Number, "+1"));
    EXPECT_FALSE(isCanonical(Number, "01"));
    EXPECT_FALSE(isCanonical(Phrase, ""));
    EXPECT_FALSE(isCanonical(Text, Slice("\0", 1)));
    EXPECT_FALSE(isCanonical(String, "short"));
    EXPECT_TRUE(isCanonical(String, ObjectReference{7, 100, 64}.encode()));
    EXPECT_FALSE(isCanonical(String, ObjectReference{7, 0, 64}.encode())) << "an object has bytes";
}

TEST(ValueKey, OrdersAsValuesDo) {
    const auto integer = [](int64_t n) { return valueKey(Integer, encodeInteger(n)).bytes; };
    EXPECT_LT(integer(INT64_MIN), integer(-1));
    EXPECT_LT(integer(-1), integer(0));
    EXPECT_LT(integer(0), integer(INT64_MAX));
    EXPECT_EQ(decodeInteger(encodeInteger(-5)), -5);
    EXPECT_EQ(valueKey(Phrase, " b \t C ").bytes, std::string("B C\0", 4))
        << "normalised, ended by a zero byte";
    EXPECT_LT(valueKey(Phrase, "ab").bytes, valueKey(Phrase, "ab c").bytes);
    EXPECT_LT(valueKey(Phrase, "ab").bytes, valueKey(Phrase, "abc").bytes);
    EXPECT_TRUE(valueKey(Text, "x").bytes.empty());
}

TEST(ValueKey, LongValuesAreCutAndComparedWhole) {
    const std::string base(500, 'x');
    const ValueKey one = valueKey(Phrase, base + "1"), two = valueKey(Phrase, base + "2");
    EXPECT_TRUE(one.cut);
    EXPECT_EQ(one.bytes.size(), kMaxValueKey);
    EXPECT_EQ(one.bytes, two.bytes);
    EXPECT_LT(compareValues(Phrase, base + "1", base + "2"), 0);
    EXPECT_EQ(compareValues(Phrase, base + "a", base + "A"), 0);
    EXPECT_FALSE(valueKey(Phrase, std::string(kMaxValueKey - 1, 'x')).cut) << "fits with its end byte";
    EXPECT_TRUE(valueKey(Phrase, std::string(kMaxValueKey, 'x')).cut);
}

}  // namespace
}  // namespace wdb
