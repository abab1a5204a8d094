#include "host/text/StatementSplitter.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace host {
namespace {

std::vector<std::string> split(const std::string& source) {
    StatementSplitter splitter;
    std::istringstream lines(source);
    std::vector<std::string> found;
    Statement statement;
    for (std::string line; std::getline(lines, line);) {
        splitter.feed(line);
        while (splitter.next(statement)) found.push_back(statement.text);
    }
    if (splitter.finish(statement)) found.push_back(statement.text);
    return found;
}

TEST(StatementSplitter, CutsAtSemicolonsOutsideQuotesAndComments) {
    struct Row {
        const char* why;
        const char* source;
        std::vector<std::string> statements;
    };
    const Row rows[] = {
        {"the semicolon is not part of it", "SELECT 1;", {"SELECT 1"}},
        {"the last one may go without", "SELECT 1; SELECT 2", {"SELECT 1", "SELECT 2"}},
        {"over several lines, blanks around it cut off", "  SELECT\n 1\n ;", {"SELECT\n 1"}},
        {"inside apostrophes", "SELECT 'a;b';", {"SELECT 'a;b'"}},
        {"inside double quotes", "SELECT \"a;b\";", {"SELECT \"a;b\""}},
        {"inside back-quotes", "SELECT `a;b`;", {"SELECT `a;b`"}},
        {"an escaped quote keeps the text open", "SELECT 'a\\';b';x", {"SELECT 'a\\';b'", "x"}},
        {"a doubled quote closes and opens again", "SELECT 'a'';b';", {"SELECT 'a'';b'"}},
        {"another kind of quote does not close", "SELECT '\";'; x", {"SELECT '\";'", "x"}},
        {"a text over two lines keeps its line end and blanks", "SELECT 'a \n;b';", {"SELECT 'a \n;b'"}},
        {"inside a comment", "SELECT 1 -- not; here\n+ 2;", {"SELECT 1 -- not; here\n+ 2"}},
        {"a comment at the end is cut: the scanner wants a line end behind one",
         "SELECT 1 -- done",
         {"SELECT 1"}},
        {"comments and empty statements alone are none", "-- hello\n;;\n  ;", {}},
        {"dashes in a text are no comment", "SELECT '--';", {"SELECT '--'"}},
        {"an open quote takes the rest", "SELECT 'a;", {"SELECT 'a;\n"}},
    };
    for (const Row& row : rows) EXPECT_EQ(split(row.source), row.statements) << row.why;
}

TEST(StatementSplitter, KnowsLinesAndWhatIsOpen) {
    StatementSplitter splitter;
    Statement statement;
    splitter.feed("-- a comment");
    EXPECT_TRUE(splitter.idle());
    splitter.feed("SELECT 1; SELECT");
    ASSERT_TRUE(splitter.next(statement));
    EXPECT_EQ(statement.line, 2);
    EXPECT_FALSE(splitter.idle());
    splitter.feed("'x");
    EXPECT_EQ(splitter.openQuote(), '\'');
    splitter.clear();
    EXPECT_TRUE(splitter.idle());
    splitter.feed("SELECT 3;");
    ASSERT_TRUE(splitter.next(statement));
    EXPECT_EQ(statement.line, 4);
}

}  // namespace
}  // namespace host
