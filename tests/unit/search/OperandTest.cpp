#include "kernel/search/Operand.h"

#include <gtest/gtest.h>

#include "kernel/record/Value.h"

namespace wdb {
namespace {

struct Row {
    const char* text;
    int64_t value;
    bool exact;
    int beyond;
    const char* reason;
};

TEST(OperandTest, DecimalsBesideWholeNumbers) {
    const Row rows[] = {
        {"7", 7, true, 0, "a whole number"},
        {"+7.000", 7, true, 0, "no fraction but zeros"},
        {"7.5", 7, false, 0, "above 7"},
        {"-7.5", -8, false, 0, "above -8"},
        {"-0.5", -1, false, 0, "minus zero is below zero here"},
        {"9223372036854775807", INT64_MAX, true, 0, "the largest"},
        {"9223372036854775807.1", INT64_MAX, false, 0, "above the largest, as nothing is"},
        {"9223372036854775808", 0, true, 1, "above every number"},
        {"-9223372036854775808", INT64_MIN, true, 0, "the smallest"},
        {"-9223372036854775808.1", 0, true, -1, "below the smallest"},
        {"-99999999999999999999", 0, true, -1, "below every number"},
    };
    for (const Row& row : rows) {
        const auto operand = operandOf(FieldType::Integer, row.text, {}, dayNumber(2024, 1, 1));
        ASSERT_TRUE(operand) << row.text;
        EXPECT_EQ(operand->beyond, row.beyond) << row.text << ": " << row.reason;
        if (operand->beyond != 0) continue;
        EXPECT_EQ(decodeInteger(operand->canonical), row.value) << row.text << ": " << row.reason;
        EXPECT_EQ(operand->exact, row.exact) << row.text << ": " << row.reason;
    }
    EXPECT_EQ(operandOf(FieldType::Integer, "seven", {}, 0).status(), WDB_E_VALUE);
}

TEST(OperandTest, BoundsOfInexactOperands) {
    const auto operand = operandOf(FieldType::Integer, "7.5", {}, dayNumber(2024, 1, 1));
    ASSERT_TRUE(operand);
    bool none = false;
    EXPECT_FALSE(lowBound(*operand, true, none)->inclusive) << "at least 7.5 is more than 7";
    EXPECT_TRUE(highBound(*operand, false, none)->inclusive) << "less than 7.5 is at most 7";
    EXPECT_FALSE(none);
    const auto beyond = operandOf(FieldType::Integer, "1e", {}, 0);
    EXPECT_FALSE(beyond);
    const auto above = operandOf(FieldType::Integer, "9223372036854775808", {}, 0);
    EXPECT_FALSE(highBound(*above, true, none).has_value());
    EXPECT_FALSE(none) << "everything is below";
    EXPECT_FALSE(lowBound(*above, true, none).has_value());
    EXPECT_TRUE(none) << "nothing is above";
}

}  // namespace
}  // namespace wdb
