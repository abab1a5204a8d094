#include <gtest/gtest.h>

#include <clocale>
#include <limits>

#include "src/support/CStringBuffer.h"
#include "src/tree/Tree.h"
#include "tests/tables/TestContext.h"

namespace wsql {
namespace {

using Kind = ConstantValue::Kind;

std::string textOf(const WSQLExpression& node) {
    CStringBuffer text(1);
    node.toText(text);
    return std::string(text.view());
}

/// The first item of "SELECT <expression> FROM t".
std::unique_ptr<WSQLScalar> scalar(const std::string& expression) {
    TestContext context;
    std::unique_ptr<WSQLStatement> statement;
    parseStatement(context, ("SELECT " + expression + " FROM t").c_str(), statement);
    auto* select = dynamic_cast<WSQLStmtSelect*>(statement.get());
    return select != nullptr ? select->takeItem(0) : nullptr;
}

TEST(Literal, ValuesAndTexts) {
    struct Row {
        const char* expression;
        const char* text;
        Kind kind;
        bool null;
        const char* reason;
    };
    const Row rows[] = {
        {"5", "5", Kind::kInteger, false, "integer"},
        {"-5", "-5", Kind::kInteger, false, "sign applied"},
        {"+5", "5", Kind::kInteger, false, "plus dropped"},
        {"-0", "0", Kind::kInteger, false, "no negative zero"},
        {"007", "7", Kind::kInteger, false, "leading zeros"},
        {"4294967296", "2147483647", Kind::kInteger, false, "clamped"},
        {"-2147483648", "-2147483647", Kind::kInteger, false,
         "the sign stands apart, so the least number is out of reach"},
        {"3.14159", "3.14", Kind::kReal, false, "two decimals"},
        {"-2.5", "-2.50", Kind::kReal, false, "filled up"},
        {"1e5", "100000.00", Kind::kReal, false, "no exponent"},
        {"2.675", "2.67", Kind::kReal, false, "rounded from the binary value"},
        {"1e999",
         "179769313486231570814527423731704356798070567525844996598917476803157260780028538760589558"
         "632766878171540458953514382464234321326889464182768467546703537516986049910576551282076245"
         "490090389328944075868508455133942304583236903222948165808559332123348274797826204144723168"
         "738177180919299881250404026184124858368.00",
         Kind::kReal, false, "the highest there is"},
        {"('it''s')", "", Kind::kNone, false, "no literal: a syntax error"},
        {"(\"a\\\"b\")", "a\\\"b", Kind::kText, false, "no escape translated"},
        {"-'x'", "x", Kind::kText, false, "a sign on a text is ignored"},
        {"NULL", "", Kind::kText, true, "NULL"},
        {"-NULL", "", Kind::kText, true, "a sign on NULL"},
        {"DATE('2024/1/5')", "2024-01-05", Kind::kDate, false, "normalised"},
        {"-DATE('2024/1/5')", "2024-01-05", Kind::kDate, false, "a sign on a date is ignored"},
        {"DATE(NULL)", "", Kind::kDate, true, "no date"},
        {"9:30", "9:30", Kind::kTime, false, "as typed"},
        {"-09:30:00", "09:30:00", Kind::kTime, false, "a sign on a time is ignored"},
        {"CURRENT_TIMESTAMP", "2026-11-21 10:11:12", Kind::kText, false, "a text"},
        {"CURRENT_DATE", "2026-11-21", Kind::kDate, false, "the date part"},
        {"CURRENT_TIME", "10:11:12", Kind::kTime, false, "the time part"},
    };
    for (const Row& row : rows) {
        const auto node = scalar(row.expression);
        ASSERT_EQ(node == nullptr, row.kind == Kind::kNone) << row.expression;
        if (!node) continue;
        EXPECT_EQ(textOf(*node), row.text) << row.expression << ": " << row.reason;
        EXPECT_TRUE(node->isConstant()) << row.expression;
        EXPECT_EQ(node->constantValue().kind, row.kind) << row.expression;
        EXPECT_EQ(node->constantValue().null, row.null) << row.expression;
    }
}

TEST(Literal, BooleansAndBinaries) {
    EXPECT_EQ(textOf(WSQLBoolean(true)), "true");
    EXPECT_EQ(textOf(WSQLBoolean(false)), "false");
    EXPECT_TRUE(WSQLBoolean(true).constantValue().boolean);
    EXPECT_EQ(textOf(WSQLBinary(std::string_view("a\0b", 3))), std::string("a\0b", 3));
}

TEST(Literal, ConstantArithmetic) {
    struct Row {
        const char* expression;
        const char* text;
        Kind kind;
        const char* reason;
    };
    const Row rows[] = {
        {"1 + 2 * 3", "7", Kind::kInteger, "products first"},
        {"(1 + 2) * 3", "9", Kind::kInteger, "parentheses"},
        {"7 / 2", "3", Kind::kInteger, "division truncates"},
        {"-7 / 2", "-3", Kind::kInteger, "towards zero"},
        {"2147483647 + 1", "2147483647", Kind::kInteger, "clamped above"},
        {"-2147483647 - 2", "-2147483648", Kind::kInteger, "clamped below"},
        {"2147483647 * 2147483647", "2147483647", Kind::kInteger, "64 bits in between"},
        {"1 / 0", "", Kind::kInteger, "division by zero is NULL"},
        {"1.0 / 0", "", Kind::kReal, "also of real numbers"},
        {"1 + 2.5", "3.50", Kind::kReal, "one real operand makes it real"},
        {"1.0 * 3", "3.00", Kind::kReal, "also without a fraction"},
        {"1 + NULL", "", Kind::kReal, "NULL operand"},
        {"1 + 'x'", "", Kind::kReal, "no number"},
        {"1 / 0 + 1", "", Kind::kInteger, "NULL goes on"},
        {"DATE('2024-1-5') + 1", "", Kind::kReal, "a date is no number"},
    };
    for (const Row& row : rows) {
        const auto node = scalar(row.expression);
        ASSERT_NE(node, nullptr) << row.expression;
        EXPECT_EQ(textOf(*node), row.text) << row.expression << ": " << row.reason;
        EXPECT_EQ(node->constantValue().kind, row.kind) << row.expression;
        EXPECT_EQ(node->constantValue().null, *row.text == 0) << row.expression;
    }
}

TEST(Scalar, TextsAndConstancyOfTheRest) {
    struct Row {
        const char* expression;
        const char* text;
    };
    for (const Row& row : {Row{"t.a[2]", "a"}, Row{"*", "*"}, Row{"t.*", "t.*"}, Row{"COUNT(*)", "COUNT(*)"},
                           Row{"count(DISTINCT t.a)", "COUNT(a)"}, Row{"VALUELIST(a, ',')", "VALUELIST(a)"},
                           Row{"a * 2 + b", "a*2+b"}, Row{"(SELECT 5)", ""}, Row{"a + 1 / 0", "a+"}}) {
        const auto node = scalar(row.expression);
        ASSERT_NE(node, nullptr) << row.expression;
        EXPECT_EQ(textOf(*node), row.text);
        EXPECT_FALSE(node->isConstant()) << row.expression;
        EXPECT_EQ(node->constantValue().kind, Kind::kNone) << row.expression;
    }
}

TEST(Scalar, CopiesAreDeepAndKeepLabels) {
    for (const char* expression :
         {"-5 AS x", "2.5 AS x", "'a' AS x", "NULL AS x", "DATE('2024-1-5') AS x", "9:30 AS x",
          "(1 + a) * 2 AS x", "o.t.a[3] AS x", "t.*", "COUNT(DISTINCT a) AS x", "MAX(*)",
          "VALUELIST(a, ';', 1, 2) AS x", "(SELECT b FROM u) AS x"}) {
        auto node = scalar(expression);
        ASSERT_NE(node, nullptr) << expression;
        const std::string before = dumpTree(*node);
        const auto copy = node->clone();
        node.reset();
        EXPECT_EQ(dumpTree(*copy), before);
    }
}

TEST(Timestamp, PartsStandAroundTheLastBlank) {
    const WSQLTimestamp instant("21 Nov 2026", "10:11:12");
    EXPECT_EQ(textOf(instant), "21 Nov 2026 10:11:12");
    EXPECT_EQ(instant.datePart(), "21 Nov 2026");
    EXPECT_EQ(instant.timePart(), "10:11:12");
    EXPECT_EQ(WSQLTimestamp("").datePart(), "");
    EXPECT_EQ(WSQLTimestamp("x").timePart(), "");
}

}  // namespace
}  // namespace wsql
