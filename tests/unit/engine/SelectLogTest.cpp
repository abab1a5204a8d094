// What a SELECT writes into the log at its most talkative.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/unit/engine/Articles.h"

namespace {

namespace fs = std::filesystem;

/// The log of one statement over a set of two values.
std::string logOf(const char* sql) {
    const fs::path directory = fs::path(testing::TempDir()) / ("wsql_select_log_" + std::to_string(getpid()));
    fs::remove_all(directory);
    fs::create_directories(directory);
    setenv("WDBS_LOG", directory.c_str(), 1);
    loadArticles();
    fakeKernel().searches = true;
    fakeKernel().settings["WELKSQL_LOG"] = "5";
    fakeKernel().rows = {{{{"7", 129 | 8}, {"x", 129 | 8}}, 1, 0}};
    Request request(sql);
    EXPECT_EQ(runSql(request), 1) << sql << "\n" << request.document();
    unsetenv("WDBS_LOG");
    std::stringstream text;
    for (const auto& entry : fs::directory_iterator(directory)) text << std::ifstream(entry.path()).rdbuf();
    fs::remove_all(directory);
    return text.str();
}

}  // namespace

TEST(SelectLog, Lines) {
    const struct {
        const char* sql;
        std::vector<const char*> lines;
        const char* reason;
    } rows[] = {
        {"SELECT A FROM T WHERE P = 1 AND A < (SELECT ID FROM U)",
         {"TranslateCondition: Subselect is \"ID\"", "Translated subselect condition \"T.A<3.ID\"\n",
          "Copied subselect condition \"T.A<3.ID\"\n"},
         "a sub-query beside another test"},
        {"SELECT A, 'x' FROM T UNION SELECT ID, 'y' FROM U",
         {"WSQLFilter::ExecuteUnion: Formatting row 1\n",
          "WSQLFilter::ExecuteUnion: Generating column meta data from simple scalar value.\n",
          "WSQLFilter::ExecuteUnion: Column info: type=3, flags=16, fieldno=0\n"},
         "the rows of a union are its own"},
        {"SELECT A * 2, (SELECT MAX(ID) FROM U) FROM T",
         {"WSQLFilter::ExecuteSelect: Column info: type=9, flags=0, fieldno=0\n"},
         "a computed column has the type that the document says"},
    };
    for (const auto& row : rows) {
        const std::string log = logOf(row.sql);
        for (const char* line : row.lines)
            EXPECT_NE(log.find(line), std::string::npos) << row.sql << "\n  " << row.reason << "\n" << line;
    }
    EXPECT_EQ(logOf(rows[2].sql).find("Column info: type=10"), std::string::npos);
}
