#include <gtest/gtest.h>

#include "tests/tables/TableFile.h"
#include "tests/tables/TestContext.h"

namespace wsql {
namespace {

/// The tree as text, or the parser's result and message.
std::string parsed(const std::string& sql) {
    TestContext context;
    std::unique_ptr<WSQLStatement> statement;
    const int result = parseStatement(context, sql.c_str(), statement);
    if (result == ParseResult::kSuccess) return dumpTree(*statement);
    return std::to_string(result) + " " + context.message;
}

void compareRow(const tables::Row& row, const std::string& actual) {
    EXPECT_EQ(actual, row.expected) << "line " << row.line << ": " << row.reason << "\n  " << row.input;
}

TEST(Grammar, BuildsTreesOfQueries) {
    tables::check("sql/select_trees.tbl", parsed, compareRow);
}
TEST(Grammar, BuildsTreesOfConditions) {
    tables::check("sql/condition_trees.tbl", parsed, compareRow);
}
TEST(Grammar, BuildsTreesOfStatements) {
    tables::check("sql/statement_trees.tbl", parsed, compareRow);
}
TEST(Grammar, RefusesWithItsMessage) {
    tables::check("sql/faults.tbl", parsed, compareRow);
}

TEST(Grammar, FailureLeavesNoStatement) {
    TestContext context;
    std::unique_ptr<WSQLStatement> statement;
    ASSERT_EQ(parseStatement(context, "COMMIT", statement), ParseResult::kSuccess);
    EXPECT_EQ(parseStatement(context, "COMMIT COMMIT", statement), ParseResult::kError);
    EXPECT_EQ(statement, nullptr);
}

TEST(Grammar, EveryPrefixOfAStatementIsAnswered) {
    // Each cut leaves half-built nodes on the parser's stack; the sanitizer build tells whether one is left
    // behind.
    for (const char* name :
         {"sql/select_trees.tbl", "sql/condition_trees.tbl", "sql/statement_trees.tbl", "sql/faults.tbl"}) {
        for (const tables::Row& row : tables::read(name)) {
            const std::string sql = tables::decoded(row.input);
            for (size_t length = 0; length < sql.size(); ++length) {
                TestContext context;
                std::unique_ptr<WSQLStatement> statement;
                const int result = parseStatement(context, sql.substr(0, length).c_str(), statement);
                EXPECT_EQ(result == ParseResult::kSuccess, statement != nullptr);
                EXPECT_EQ(result == ParseResult::kSuccess, context.message.empty()) << sql.substr(0, length);
            }
        }
    }
}

TEST(Grammar, InstantIsAskedOnlyWhenNeeded) {
    TestContext context;
    std::unique_ptr<WSQLStatement> statement;
    ASSERT_EQ(parseStatement(context, "SELECT 1", statement), ParseResult::kSuccess);
    EXPECT_EQ(context.instantsAsked, 0);
    ASSERT_EQ(parseStatement(context, "SELECT CURRENT_DATE, CURRENT_DATE()", statement),
              ParseResult::kSuccess);
    EXPECT_EQ(dumpTree(*statement), "(select (items (date \"2026-11-21\") (date \"2026-11-21\")))");
}

TEST(Grammar, InstantWithoutDateIsNoFault) {
    TestContext context;
    context.instant.text = " ";
    std::unique_ptr<WSQLStatement> statement;
    ASSERT_EQ(parseStatement(context, "SELECT CURRENT_DATE, CURRENT_TIME", statement), ParseResult::kSuccess);
    EXPECT_EQ(dumpTree(*statement), "(select (items (date \"\") (time \"\")))");
}

TEST(Grammar, DatesTakeTheSessionsForm) {
    TestContext context;
    context.dates = {11, "21.11.2026", 0, 2026};
    std::unique_ptr<WSQLStatement> statement;
    ASSERT_EQ(parseStatement(context, "SELECT DATE('5/1/2024')", statement), ParseResult::kSuccess);
    EXPECT_EQ(dumpTree(*statement), "(select (items (date \"05.01.2024\")))");
}

}  // namespace
}  // namespace wsql
