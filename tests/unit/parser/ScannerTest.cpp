#include <gtest/gtest.h>

#include <limits>

#include "src/parser/Scanner.h"
#include "src/parser/TreeBuilder.h"
#include "tests/tables/TableFile.h"
#include "tests/tables/TestContext.h"
#include "wsql.tab.h"

namespace wsql {
namespace {

std::string tokenText(int code, const WSQLSTYPE& value) {
    switch (code) {
        case T_INTNUM:
            return "INTNUM:" + std::to_string(value.number);
        case T_APPROXNUM:
            return "APPROXNUM:" + std::to_string(value.real);
        case T_TIMELIT:
            return "TIMELIT:" + std::string(value.text.view());
        case T_STRING:
            return std::string("STRING") + value.text.quote() + ":" + std::string(value.text.view());
        case T_NAME:
            return "NAME:" + std::string(value.text.view());
        default:
            break;
    }
    if (code > 32 && code < 127) return std::string(1, static_cast<char>(code));
    return std::to_string(code);
}

std::string tokens(TestContext& context, const std::string& sql) {
    const Scanner scanner(context, sql.c_str());
    std::string out;
    WSQLSTYPE value{};
    for (int code = scanToken(&value, scanner.handle()); code != 0;
         code = scanToken(&value, scanner.handle())) {
        if (!out.empty()) out += ' ';
        out += tokenText(code, value);
    }
    return out;
}

TEST(Scanner, CutsTextsIntoTokens) {
    tables::check(
        "sql/tokens.tbl",
        [](const std::string& sql) {
            TestContext context;
            return tokens(context, sql);
        },
        [](const tables::Row& row, const std::string& actual) {
            EXPECT_EQ(actual, row.expected)
                << "line " << row.line << ": " << row.reason << "\n  " << row.input;
        });
}

TEST(Scanner, WithoutKeywordsEveryWordIsAName) {
    TestContext context;
    context.keywords = false;
    EXPECT_EQ(tokens(context, "SELECT not like"), "NAME:SELECT 313") << "NOT LIKE is a rule, not a word";
}

TEST(Scanner, EveryByteIsAToken) {
    TestContext context;
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        const bool skipped = text == " " || text == "\t" || text == "\n" || text == "\r";
        EXPECT_EQ(tokens(context, text).empty(), skipped) << byte;
    }
}

TEST(Scanner, TextEndsAtTheFirstNul) {
    TestContext context;
    const std::string text("SELECT\0 1", 9);
    EXPECT_EQ(tokens(context, text), "274");
}

TEST(Scanner, RealNumbersOutOfRange) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(realToken("1e999"), infinity);
    EXPECT_EQ(realToken("0.0001e999999999999"), infinity);
    EXPECT_EQ(realToken(std::string(400, '9') + ".0"), infinity);
    EXPECT_EQ(realToken("1e-999"), 0.0);
    EXPECT_EQ(realToken("0." + std::string(400, '0') + "1e5"), 0.0);
    EXPECT_EQ(realToken("0.0e999"), 0.0);
}

}  // namespace
}  // namespace wsql
