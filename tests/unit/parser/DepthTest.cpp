#include <gtest/gtest.h>

#include <chrono>

#include "src/support/CStringBuffer.h"
#include "src/tree/Tree.h"
#include "tests/tables/TestContext.h"

namespace wsql {
namespace {

struct Parsed {
    int result;
    std::string message;
    std::unique_ptr<WSQLStatement> statement;
};

Parsed parse(const std::string& sql) {
    TestContext context;
    Parsed parsed{0, "", nullptr};
    parsed.result = parseStatement(context, sql.c_str(), parsed.statement);
    parsed.message = context.message;
    return parsed;
}

std::string repeated(const std::string& text, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += text;
    return out;
}

void expectExhausted(const std::string& sql, const char* what) {
    const Parsed parsed = parse(sql);
    EXPECT_EQ(parsed.result, ParseResult::kExhausted) << what;
    EXPECT_EQ(parsed.message, "memory exhausted") << what;
    EXPECT_EQ(parsed.statement, nullptr) << what;
}

TEST(Depth, LongChainsOfConditionsAreNoNesting) {
    for (const char* connective : {" OR a = 1", " AND a = 1", " OR NOT a = 1 AND b = 2"}) {
        Parsed parsed = parse("SELECT a FROM t WHERE a = 1" + repeated(connective, 100000));
        ASSERT_EQ(parsed.result, ParseResult::kSuccess) << parsed.message;
        auto* select = dynamic_cast<WSQLStmtSelect*>(parsed.statement.get());
        ASSERT_NE(select, nullptr);
        CStringBuffer text;
        select->where->toText(text);
        EXPECT_GT(text.length(), 100000 * 5);
        EXPECT_TRUE(select->where->isActive());
        CStringBuffer copied;
        select->where->clone()->toText(copied);
        EXPECT_TRUE(copied.equals(text)) << connective;
        EXPECT_GT(dumpTree(*select).size(), 100000u * 5);
    }
}

TEST(Depth, ParenthesesDeepEnoughToExhaustTheStack) {
    expectExhausted("SELECT a FROM t WHERE " + repeated("(", 20000) + "a = 1" + repeated(")", 20000),
                    "conditions");
    expectExhausted("SELECT " + repeated("(", 20000) + "1" + repeated(")", 20000), "expressions");
    expectExhausted("SELECT a FROM t WHERE " + repeated("a IN (SELECT a FROM t WHERE ", 5000), "sub-queries");
}

TEST(Depth, NestingBelowTheLimitIsWalkedWithoutOverflow) {
    const std::pair<const char*, std::string> rows[] = {
        {"right-leaning conditions",
         "SELECT a FROM t WHERE " + repeated("a = 1 AND (", 3000) + "a = 1" + repeated(")", 3000)},
        {"negated conditions",
         "SELECT a FROM t WHERE " + repeated("NOT (a = 1 OR ", 2000) + "a = 1" + repeated(")", 2000)},
        {"right-leaning arithmetic", "SELECT " + repeated("1 + (", 3000) + "1" + repeated(")", 3000)},
        {"sub-queries", "SELECT a FROM t WHERE " + repeated("a IN (SELECT a FROM t WHERE ", 1500) + "a = 1" +
                            repeated(")", 1500)},
        {"values", "SELECT a FROM t WHERE a LIKE " + repeated("(SELECT ", 3000) + "(SELECT a FROM t)" +
                       repeated(" FROM t)", 3000)},
        {"functions", "SELECT " + repeated("SUM(", 4000) + "a" + repeated(")", 4000) + " FROM t"},
    };
    for (const auto& [what, sql] : rows) {
        const Parsed parsed = parse(sql);
        ASSERT_EQ(parsed.result, ParseResult::kSuccess) << what << ": " << parsed.message;
        const auto* select = dynamic_cast<const WSQLStmtSelect*>(parsed.statement.get());
        ASSERT_NE(select, nullptr);
        EXPECT_EQ(dumpTree(*select->clone()), dumpTree(*select)) << what;
        CStringBuffer text;
        if (select->where) select->where->toText(text);
        select->itemAt(0).toText(text);
    }
}

TEST(Depth, ArithmeticChainsAreLimited) {
    EXPECT_EQ(parse("SELECT 1" + repeated("+1", WSQLOperation::kMaxDepth - 1)).result, ParseResult::kSuccess);
    expectExhausted("SELECT 1" + repeated("+1", WSQLOperation::kMaxDepth), "sums");
    expectExhausted("SELECT a FROM t WHERE a = 1" + repeated("/1", WSQLOperation::kMaxDepth), "quotients");
}

TEST(Depth, UnionsAreLimited) {
    const std::string member = " UNION SELECT 1";
    EXPECT_EQ(parse("SELECT 1" + repeated(member, WSQLStmtSelect::kMaxUnion - 1)).result,
              ParseResult::kSuccess);
    expectExhausted("SELECT 1" + repeated(member, WSQLStmtSelect::kMaxUnion), "members");
}

TEST(Depth, HostileMegabytesAreAnsweredInLinearTime) {
    constexpr int kMegabyte = 1 << 20;
    const std::string rows[] = {
        "SELECT 1" + repeated("--1", kMegabyte / 3),
        "SELECT " + repeated("-", kMegabyte),
        "SELECT '" + repeated("\\'", kMegabyte / 2),
        "SELECT " + repeated("'\"`", kMegabyte / 3),
        "SELECT '" + repeated("x", kMegabyte),
        "SELECT " + repeated("not ", kMegabyte / 4),
        "SELECT not" + repeated(" ", kMegabyte) + "x",
        "SELECT " + repeated("1e", kMegabyte / 2),
        "SELECT " + repeated("9", kMegabyte),
        "SELECT " + repeated("a", kMegabyte),
        "SELECT " + repeated("a.", kMegabyte / 2),
        "SELECT a FROM " + repeated("a.", kMegabyte / 2) + "t",
        repeated(" ", kMegabyte),
        repeated("--\n", kMegabyte / 3),
        "INSERT INTO t VALUES (1" + repeated(",1", kMegabyte / 2) + ")",
    };
    for (const std::string& sql : rows) {
        const auto start = std::chrono::steady_clock::now();
        const Parsed parsed = parse(sql);
        EXPECT_EQ(parsed.result == ParseResult::kSuccess, parsed.statement != nullptr);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        // A quadratic scan of a megabyte takes minutes; a linear one milliseconds, also under a sanitizer.
        EXPECT_LT(seconds.count(), 10) << sql.substr(0, 40);
    }
}

}  // namespace
}  // namespace wsql
