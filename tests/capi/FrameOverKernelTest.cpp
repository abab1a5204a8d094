// The frame over the real kernel: extension routines, the older way of running commands, and very large
// statements.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>

#include "src/WSQLFilter.h"
#include "tests/unit/frame/Request.h"

namespace wsql {
namespace {

class FrameOverKernel : public testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/welk_frame_XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        home_ = name;
        ASSERT_EQ(WdbOpenSession(name, "ADMIN", "", WDB_OPEN_CREATE, &session_), WDB_OK);
        ASSERT_EQ(WdbBindSession(session_), WDB_OK);
    }
    void TearDown() override {
        EXPECT_EQ(WdbCloseSession(&session_), WDB_OK);
        std::filesystem::remove_all(home_);
    }
    void fillArticles() {
        for (const char* statement : {"CREATE TABLE ART (TITLE VARCHAR, QTY INTEGER)",
                                      "INSERT INTO ART (TITLE, QTY) VALUES ('first', 5)",
                                      "INSERT INTO ART (TITLE, QTY) VALUES ('second', 15)"}) {
            Request request(statement);
            ASSERT_EQ(execsql(&request.data, nullptr), 1) << request.document();
        }
    }
    std::string home_;
    WdbSession* session_ = nullptr;
};

// The document of a statement, or "status: document" when it is refused.
std::string answerOf(const std::string& statement) {
    Request request(statement);
    const std::int32_t status = execsql(&request.data, nullptr);
    return (status == 1 ? "" : std::to_string(status) + ": ") + request.document();
}

std::size_t filesBelow(const std::string& directory) {
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory))
        files += entry.is_regular_file() ? 1 : 0;
    return files;
}

// What a table leaves behind when it is dropped: nothing, neither on disk nor in the dictionary nor in those
// that referred to it.
TEST_F(FrameOverKernel, DroppedTableIsGone) {
    struct {
        const char* statement;
        const char* holds;
    } const rows[] = {
        {"CREATE TABLE OWNERS (NAME VARCHAR PRIMARY KEY, IMAGE LONG VARBINARY)", "successfully created"},
        {"CREATE TABLE PETS (OWNER VARCHAR REFERENCES OWNERS (NAME) ON DELETE SET NULL, N INTEGER)",
         "successfully created"},
        {"INSERT INTO OWNERS (NAME) VALUES ('ann')", "<P>1</P>"},
        {"INSERT INTO PETS (OWNER, N) VALUES ('ann', 1)", "<P>1</P>"},
        {"UPDATE OWNERS SET OBJECT (IMAGE, 'data=bytes') WHERE NAME = 'ann'", "<P>1</P>"},
        {"DROP TABLE OWNERS", "The table \"OWNERS\" was successfully dropped."},
        {"DROP TABLE OWNERS", "1220: "},
        {"DROP TABLE IF EXISTS OWNERS", "The table \"OWNERS\" does not exist."},
        {"SELECT * FROM OWNERS", "Table \"OWNERS\" does not exist."},
        {"GET OBJECT = '4f574e455253-1-0-2'", "faultCode=\"610\""},
        {"SELECT * FROM WDBS.KEYREFS", "rowCount=\"0\""},
        {"SELECT NAME FROM WDBS.TABLES", "rowCount=\"1\""},
        {"SELECT N FROM PETS WHERE OWNER IS NULL", "rowCount=\"1\""},
        {"INSERT INTO PETS (OWNER, N) VALUES ('nobody', 2)", "<P>1</P>"},
        {"CREATE TABLE OWNERS (SIZE INTEGER)", "successfully created"},
        {"INSERT INTO OWNERS (SIZE) VALUES (9)", "<P>1</P>"},
        {"SELECT * FROM OWNERS", "recordNumber=\"1\""},
        {"DROP TABLE OWNERS", "successfully dropped"},
        {"DROP TABLE PETS", "successfully dropped"},
    };
    const std::size_t before = filesBelow(home_);
    for (const auto& row : rows) {
        const std::string answer = answerOf(row.statement);
        EXPECT_NE(answer.find(row.holds), std::string::npos) << row.statement << "\n" << answer;
        WdbLiveCounts counts{};
        ASSERT_EQ(WdbLiveHandles(&counts), WDB_OK);
        EXPECT_EQ(counts.controls + counts.cursors + counts.rowBuffers + counts.savedStatuses, 0)
            << row.statement;
    }
    EXPECT_LE(filesBelow(home_), before + 1) << "the lock of the writers may have come";
}

// Answers "<argument>!"; an empty argument is refused with a status of the routine's own.
std::int32_t exclaim(void* context, const char* argument, char* result, std::int32_t* length) {
    ++*static_cast<int*>(context);
    const std::string text = std::string(argument) + "!";
    if (text.size() == 1) return 4712;
    if (*length <= static_cast<std::int32_t>(text.size())) return WDB_E_BUFFER;
    std::memcpy(result, text.c_str(), text.size() + 1);
    *length = static_cast<std::int32_t>(text.size());
    return 3;
}

TEST_F(FrameOverKernel, CallsRoutinesOfTheHost) {
    int calls = 0;
    ASSERT_EQ(WdbRegisterAse("EXCLAIM", exclaim, &calls), WDB_OK);
    Request request("x");
    WSQLFilter filter(&request.data);
    char result[8] = "";
    std::int32_t length = sizeof result;
    EXPECT_EQ(filter.callAse("exclaim", "word", result, &length), 3) << "the routine's own status";
    EXPECT_STREQ(result, "word!");
    EXPECT_EQ(length, 5);
    EXPECT_EQ(filter.callAse("EXCLAIM", "word", nullptr, nullptr), 3) << "without an area of the caller's";
    EXPECT_EQ(filter.callAse("EXCLAIM", "", nullptr, nullptr), 4712)
        << "odd or even, the status is passed on";
    length = 3;
    EXPECT_EQ(filter.callAse("EXCLAIM", "word", result, &length), WDB_E_BUFFER);
    EXPECT_EQ(calls, 4);
    ASSERT_EQ(WdbUnregisterAse("EXCLAIM"), WDB_OK);
    EXPECT_EQ(filter.callAse("EXCLAIM", "word", nullptr, nullptr), WDB_E_ASE);
    EXPECT_EQ(calls, 4);
}

TEST_F(FrameOverKernel, CommandsOfOlderKernelsWaitInTheCommandObject) {
    fillArticles();
    const auto answered = [](const std::string& statement, bool older) {
        // A kernel that does not tell its version counts as an older one.
        if (older) WdbInjectFailure("WdbVersion", 0, WDB_E_UNSUPPORTED);
        Request request(statement);
        execsql(&request.data, nullptr);
        return request.document();
    };
    const std::string select = "SELECT TITLE FROM ART WHERE QTY > 3 ORDER BY TITLE";
    const std::string document = answered(select, true);
    EXPECT_NE(document.find(">second<"), std::string::npos) << document;
    EXPECT_EQ(document, answered(select, false));

    std::string lengthy = "SELECT TITLE FROM ART WHERE QTY = 5";
    for (int i = 0; i < 100; ++i) lengthy += " OR QTY = " + std::to_string(i);
    EXPECT_NE(answered(lengthy, true).find("<Fault faultCode=\"" + std::to_string(WDB_E_CCL_LENGTH) + "\""),
              std::string::npos)
        << "never cut: a shorter condition could mean more records";
    EXPECT_NE(answered(lengthy, false).find(">first<"), std::string::npos);
}

// A statement of that text, with its outcome and the seconds that it took.
struct Outcome {
    std::int32_t status;
    std::string document;
    double seconds;
};

Outcome run(const std::string& statement) {
    Request request(statement);
    const auto start = std::chrono::steady_clock::now();
    execsql(&request.data, nullptr);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    return {request.data.status, request.document(), time.count()};
}

TEST_F(FrameOverKernel, AnswersVeryLargeStatements) {
    fillArticles();
    const auto chain = [](const char* link, int terms, const char* first) {
        std::string text = std::string("SELECT TITLE FROM ART WHERE ") + first;
        for (int i = 0; i < terms; ++i) text += link + std::to_string(i + 100);
        return text;
    };
    constexpr int kTerms = 100000;
    const struct {
        std::string statement;
        const char *piece, *reason;
    } rows[] = {
        {chain(" OR QTY=", kTerms, "QTY=5"), ">first<", "100,000 terms joined by OR"},
        {chain(" AND QTY<>", kTerms, "QTY=5"), ">first<", "100,000 terms joined by AND"},
        {chain(" AND NOT QTY=", kTerms, "QTY=5"), ">first<", "100,000 negations"},
        {"SELECT TITLE FROM ART WHERE TITLE = '" + std::string(1 << 20, 'x') + "'",
         "\"ExecuteCCL\">The value does not fit the field type.</Fault>",
         "a value of 1 MB, more than a VARCHAR can equal"},
        {"SELECT TITLE FROM ART WHERE QTY=5" + std::string(1 << 20, ' '), ">first<", "1 MB of blanks"},
        {"SELECT TITLE, '" + std::string(1 << 20, 'x') + "' FROM ART WHERE QTY=5", ">first<",
         "a label of 1 MB"},
        {"SELECT " + std::string(1 << 20, 'x') + " FROM ART", "Could not find column", "a name of 1 MB"},
        {"SELECT TITLE FROM " + std::string(1 << 20, 'x'), "<Fault", "a table of 1 MB"},
        {"SELECT TITLE FROM ART WHERE " + std::string(1 << 20, '(') + "QTY=5", ">memory exhausted</Fault>",
         "nested"},
        {"INSERT INTO ART (TITLE) VALUES ('" + std::string(1 << 20, 'x') + "')", "<P>1</P>",
         "stored as far as a VARCHAR holds it"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = run(row.statement);
        EXPECT_NE(outcome.document.find(row.piece), std::string::npos)
            << row.reason << ": status " << outcome.status << ", " << outcome.document.substr(0, 400);
        EXPECT_EQ(outcome.document.find("<Fault ") == std::string::npos, outcome.status % 2 != 0)
            << row.reason;
        EXPECT_LT(outcome.seconds, 60) << row.reason;
    }
}

}  // namespace
}  // namespace wsql
