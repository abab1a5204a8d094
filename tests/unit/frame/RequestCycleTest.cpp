#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

namespace {

namespace fs = std::filesystem;

class RequestCycle : public testing::Test {
protected:
    void SetUp() override { fakeKernel() = FakeKernel(); }
};

TEST_F(RequestCycle, CommitAndRollbackAnswerAnEmptySuccess) {
    for (const char* statement :
         {"COMMIT", "commit work", "ROLLBACK", "Rollback Work", " COMMIT\n-- done\n"}) {
        Request request(statement);
        EXPECT_EQ(execsql(&request.data, nullptr), 1) << statement;
        EXPECT_EQ(request.document(), successDocument("")) << statement;
        EXPECT_STREQ(request.data.message, "");
        EXPECT_EQ(fakeKernel().saves, fakeKernel().loads);
    }
}

TEST_F(RequestCycle, WritesTheContentTypeWhereItFits) {
    const struct {
        std::int32_t size;
        const char* reason;
        bool written;
    } rows[] = {{6, "no room", false},
                {10, "not even with its NUL", false},
                {11, "just fits", true},
                {40, "fits", true}};
    for (const auto& row : rows) {
        Request request("COMMIT", 36, row.size);
        ASSERT_EQ(execsql(&request.data, nullptr), 1);
        EXPECT_EQ(request.data.textLength, row.written ? 10 : row.size) << row.reason;
        EXPECT_EQ(request.text().substr(0, 6), row.written ? "TEXT\nU" : "COMMIT") << row.reason;
        if (row.written) {
            EXPECT_STREQ(request.data.text, "TEXT\nUTF-8");
        }
    }
}

TEST_F(RequestCycle, ParseFailuresLeaveTheRequestAlone) {
    const struct {
        const char* statement;
        std::int32_t size;
        const char* reason;
    } rows[] = {{"SELECT 1; and some more text", -1, "a statement takes no semicolon"},
                {"COMMI", -1, "the text ends with its length"},
                {"", 0, "an empty text is no statement"},
                {"\0\0\0", 30, "nor are zero bytes"}};
    for (const auto& row : rows) {
        Request request(row.statement, 36, row.size);
        const std::string before = request.text();
        EXPECT_EQ(execsql(&request.data, nullptr), 0) << row.reason;
        EXPECT_EQ(request.document(),
                  faultDocument("0", "WSQLFilter:585", "SQLFilter::execSql", "syntax error"))
            << row.reason;
        EXPECT_EQ(request.text(), before) << row.reason;
        EXPECT_EQ(fakeKernel().saves, 0) << "nothing is executed";
    }
    Request none("COMMIT");
    none.data.text = nullptr;
    EXPECT_EQ(execsql(&none.data, nullptr), 0);
    Request negative("COMMIT");
    negative.data.textLength = -1;
    EXPECT_EQ(execsql(&negative.data, nullptr), 0);
    EXPECT_STREQ(negative.data.message, "syntax error");
}

TEST_F(RequestCycle, DeepNestingIsAFaultWithItsOwnCode) {
    const std::string statement = "SELECT " + std::string(20000, '(') + "1" + std::string(20000, ')');
    Request request(statement);
    EXPECT_EQ(execsql(&request.data, nullptr), 4);
    EXPECT_EQ(request.document(),
              faultDocument("2", "WSQLFilter:585", "SQLFilter::execSql", "memory exhausted"));
}

TEST_F(RequestCycle, StopsAtTheFirstNul) {
    Request request(std::string_view("COMMIT\0 WHAT EVER", 17));
    EXPECT_EQ(execsql(&request.data, nullptr), 1);
}

TEST_F(RequestCycle, StatementsWithoutExecutorAreUnsupported) {
    for (const char* statement : {"ALTER TABLE t ADD COLUMN c INTEGER", "ALTER TABLE t DROP COLUMN c",
                                  "ALTER TABLE t ALTER COLUMN c DROP NOT NULL"}) {
        Request request(statement);
        EXPECT_EQ(execsql(&request.data, nullptr), 0) << statement;
        EXPECT_EQ(request.document(), faultDocument("0", "WSQLFilter:656", "WSQLFilter::execSql",
                                                    "Statement not currently supported."))
            << statement;
        EXPECT_STREQ(request.data.text, "TEXT\nUTF-8")
            << "an executed statement tells its encoding, a fault too";
    }
}

TEST_F(RequestCycle, AFailedCommitReplacesTheAnswer) {
    fakeKernel().messages[WDB_E_STORAGE] = "storage failure";
    fakeKernel().loadStatus = WDB_E_STORAGE;
    Request request("COMMIT");
    EXPECT_EQ(execsql(&request.data, nullptr), WDB_E_STORAGE);
    EXPECT_EQ(request.document(), faultDocument(std::to_string(WDB_E_STORAGE), "WdbLoadStatus",
                                                "WSQLFilter::execSql", "storage failure"));
    EXPECT_EQ(fakeKernel().loads, 1);
}

TEST_F(RequestCycle, NoExceptionReachesTheHost) {
    fakeKernel().outOfMemory = true;
    Request request("COMMIT");
    EXPECT_EQ(execsql(&request.data, nullptr), 0);
    EXPECT_EQ(request.document(),
              faultDocument("0", "execution", "WSQLFilter::execSql", "Fault in SQL processing."));
    EXPECT_STREQ(request.data.message, "Fault in SQL processing.");
}

TEST_F(RequestCycle, ThreadsDoNotMeet) {
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n) {
        threads.emplace_back([n] {
            fakeKernel().settings["SQL_LAZYINDEX"] = n % 2 == 0 ? "1" : "0";
            for (int i = 0; i < 50; ++i) {
                Request request("GET PROPERTY lazyindex");
                EXPECT_EQ(execsql(&request.data, nullptr), 1);
                EXPECT_EQ(request.document(), propertyDocument("lazyindex", n % 2 == 0 ? "true" : "false"));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST_F(RequestCycle, LogsTheHeadOfAStatement) {
    const fs::path directory = fs::path(testing::TempDir()) / ("wsql_cycle_" + std::to_string(getpid()));
    fs::remove_all(directory);
    fs::create_directories(directory);
    setenv("WDBS_LOG", directory.c_str(), 1);
    fakeKernel().settings["WELKSQL_LOG"] = "4";
    const std::string statement = "SELECT '" + std::string(2000, 'x') + "'; %s%n";
    Request request(statement);
    EXPECT_EQ(execsql(&request.data, nullptr), 0);
    execsql(nullptr, nullptr);
    unsetenv("WDBS_LOG");
    std::stringstream text;
    for (const auto& entry : fs::directory_iterator(directory)) text << std::ifstream(entry.path()).rdbuf();
    fs::remove_all(directory);
    const std::string log = text.str();
    EXPECT_NE(log.find("INFO] WSQLFilter::execSql: WELKsql v2. SQL processing filter entered.\n"),
              std::string::npos);
    EXPECT_NE(log.find("Parsing SQL statement \"" + statement.substr(0, 1024) + "\"\n"), std::string::npos)
        << log;
    EXPECT_EQ(log.find(statement.substr(0, 1025)), std::string::npos);
    const std::string fault = "ERROR] WSQLFilter:585: syntax error\n";
    const std::size_t first = log.find(fault);
    ASSERT_NE(first, std::string::npos) << log;
    EXPECT_NE(log.find(fault, first + 1), std::string::npos) << "a message that is not empty is logged twice";
    EXPECT_NE(log.find("ERROR] WSQLFilter::execSql: NULL FilterData argument.\n"), std::string::npos);
}

}  // namespace
