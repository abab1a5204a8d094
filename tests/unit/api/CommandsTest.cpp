// The command object beside commands given at once, and extension routines.
#include <atomic>
#include <thread>

#include "tests/unit/api/ApiTest.h"
#include "tests/unit/ccl/CommandLines.h"

namespace {

class Commands : public ApiTest {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        createBase("T", {{"A", "PHRASE"}, {"B", "TEXT"}, {"N", "INTEGER"}});
        ASSERT_EQ(insert("T", {"x", "war and peace", "1"}), 1);
        ASSERT_EQ(insert("T", {"y", "peace", "2"}), 1);
        ASSERT_EQ(WdbShellDaoPtr(&object_, "%s %s", "BAS", "T"), 1);
        ASSERT_NE(object_, nullptr);
    }
    int32_t order(const std::string& command) {
        object_->commandLength = WDB_COMMAND_AREA;
        std::memset(object_->command, 0, sizeof object_->command);
        std::memcpy(object_->command, command.data(), std::min<size_t>(command.size(), 400));
        if (const int32_t status = WdbShellToDao(object_); status != 1) return status;
        int32_t out = -7;
        EXPECT_EQ(WdbDaoOrder(&out), out) << command;
        EXPECT_EQ(object_->status, out) << command;
        return out;
    }
    // What is the current result, apart from the set's number.
    static std::string result() {
        int32_t numbers[4] = {};
        const int32_t status = WdbSearchResult(nullptr, &numbers[0], &numbers[1], &numbers[2], &numbers[3]);
        std::string text = std::to_string(status);
        for (const int32_t number : numbers) text += " " + std::to_string(number);
        return text;
    }
    WdbCommandObject* object_ = nullptr;
};

TEST_F(Commands, TheObjectRunsWhatIsRunAtOnce) {
    const char* const lines[] = {"BAS T",
                                 "BAS              T",
                                 "BASE X=T,,T",
                                 "DEF              FIN              MIN             =0",
                                 "FIN              RXX             =FRL              1",
                                 "FIND T.A=x",
                                 "FIND T.B=war and peace",
                                 "FIND (T.N=1) OR (T.N=2)",
                                 "FIND T.N=7",
                                 "SEL SFX DISTINCT FRL(T) FIELD(T.N)",
                                 "SELECT  FROM(T) FIELD(T.A,T.N)  WHERE(T.N<2) SORT(T.A DESC)",
                                 "FIND T.A 5",
                                 "FIND T.Z=1",
                                 "FIND T.N=x",
                                 "BAS NONE",
                                 "SHOW T"};
    for (const char* line : lines) {
        ASSERT_EQ(WdbSaveStatus(), 1);
        const int32_t atOnce = ccl(line);
        const std::string expected = result();
        ASSERT_EQ(WdbLoadStatus(3), 1);
        ASSERT_EQ(WdbSaveStatus(), 1);
        EXPECT_EQ(order(line), atOnce) << line;
        EXPECT_EQ(result(), expected) << line;
        ASSERT_EQ(WdbLoadStatus(3), 1);
    }
}

// Every line of the language, over bases that have what most of them name: the same status, result and first
// row both ways, and the same place of a fault.
TEST_F(Commands, AllLinesRunBothWays) {
    createBase("ARTICLES", {{"TITLE", "PHRASE"}, {"PRICE", "NUMBER"}});
    createBase("W", {{"Y", "INTEGER"}});
    createBase("U", {{"TID", "INTEGER"}, {"B", "INTEGER"}, {"X", "INTEGER"}, {"Y", "INTEGER"}});
    ASSERT_EQ(insert("ARTICLES", {"Alpha", "9.5"}), 1);
    ASSERT_EQ(insert("U", {"1", "2", "3", "2"}), 1);
    const auto outcome = [this](const char* line, bool atOnce) {
        EXPECT_EQ(WdbSaveStatus(), 1);
        EXPECT_EQ(ccl("DEF FIN MIN=0"), 1);
        EXPECT_EQ(ccl("BAS T"), 1);
        EXPECT_EQ(ccl("FIND T.A=x"), 1);
        EXPECT_EQ(ccl("SEL FRL(U) FIELD(U.B)"), 1);
        EXPECT_EQ(ccl("SEL FRL(U) FIELD(U.B,COUNT(*)) GROUP(U.B)"), 1);
        EXPECT_EQ(ccl("SEL FRL(U) FIELD(U.B)"), 1);
        const int32_t status = atOnce ? ccl(line) : order(line);
        std::string text = std::to_string(status);
        if (status != 1) {
            char subject[256] = {};
            int32_t code = 0, position = 0, length = sizeof subject;
            EXPECT_EQ(WdbLastError(&code, &position, subject, &length), 1) << line;
            text += " " + std::to_string(code) + " at " + std::to_string(position) + " " + subject;
        }
        char* items = nullptr;
        uint32_t* words = nullptr;
        text += ", " + result();
        if (WdbGetRows(0, 0, 1, &items, &words) == 1) {
            text.append(reinterpret_cast<const char*>(words), words[1] * sizeof *words);
            EXPECT_EQ(WdbDeallocate(items), 1);
            EXPECT_EQ(WdbDeallocate(words), 1);
        }
        EXPECT_EQ(WdbLoadStatus(3), 1);
        return text;
    };
    int ran = 0;
    const auto same = [&](const char* line) {
        const std::string atOnce = outcome(line, true);
        EXPECT_EQ(outcome(line, false), atOnce) << line;
        return atOnce.starts_with("1,");
    };
    for (const auto& row : command_lines::kAccepted) ran += same(row.line) ? 1 : 0;
    EXPECT_GT(ran, 60) << "most lines find what they name";
    for (const auto& row : command_lines::kRefused) {
        if (*row.line == '\0') continue;  // the object takes no empty text
        EXPECT_FALSE(same(row.line)) << row.line;
    }
}

TEST_F(Commands, WhatTheObjectRefuses) {
    EXPECT_EQ(WdbShellDaoPtr(nullptr, "%s", "x"), WDB_E_ARGUMENT);
    EXPECT_EQ(object_->size, 440);
    WdbCommandObject* again = nullptr;
    ASSERT_EQ(WdbShellDaoPtr(&again, nullptr), 1);
    EXPECT_EQ(again, object_) << "a session has one";
    EXPECT_EQ(order(""), WDB_E_CCL_SYNTAX);
    int32_t status = 0;
    EXPECT_EQ(WdbDaoOrder(&status), WDB_E_CCL_SYNTAX) << "nothing is pending";
    EXPECT_EQ(status, WDB_E_CCL_SYNTAX);
    EXPECT_EQ(object_->status, WDB_E_CCL_SYNTAX);
    const std::string longest = "BAS " + std::string(394, ' ') + "T";
    EXPECT_EQ(order(longest), 1) << "399 bytes";
    EXPECT_EQ(WdbDaoOrder(nullptr), WDB_E_CCL_SYNTAX) << "an order clears what was pending";
    EXPECT_EQ(order(longest + " "), WDB_E_CCL_LENGTH) << "no NUL in the area";
    for (const int32_t length : {0, -1, 401}) {
        object_->commandLength = length;
        std::strcpy(object_->command, "BAS T");
        EXPECT_EQ(WdbShellToDao(object_), WDB_E_CCL_LENGTH) << length;
    }
    object_->commandLength = 5;
    std::strcpy(object_->command, "BAS T and more");
    ASSERT_EQ(WdbShellToDao(object_), 1);
    EXPECT_EQ(WdbDaoOrder(nullptr), 1) << "what stands behind commandLength does not count";
    WdbCommandObject own{};
    own.commandLength = 400;
    EXPECT_EQ(WdbShellToDao(&own), WDB_E_HANDLE);
    EXPECT_EQ(WdbShellToDao(nullptr), WDB_E_HANDLE);
    WdbSession* other = open();
    ASSERT_EQ(WdbBindSession(other), 1);
    EXPECT_EQ(WdbShellToDao(object_), WDB_E_HANDLE) << "another session's";
    ASSERT_EQ(WdbBindSession(session_), 1);
    ASSERT_EQ(WdbCloseSession(&other), 1);
}

// Answers its context as status and the argument, turned round, as result.
int32_t backwards(void* context, const char* argument, char* result, int32_t* length) {
    if (result != nullptr) {
        const std::string text(argument);
        const std::string turned(text.rbegin(), text.rend());
        *length = static_cast<int32_t>(turned.size());
        std::memcpy(result, turned.c_str(), turned.size() + 1);
    }
    return *static_cast<int32_t*>(context);
}

TEST_F(Commands, RoutinesAreFoundByNameAndAnswerForThemselves) {
    int32_t answer = 1, other = 77;
    WdbAse* routine = reinterpret_cast<WdbAse*>(&answer);
    EXPECT_EQ(WdbLoadAse("turn", &routine), WDB_E_ASE);
    EXPECT_EQ(routine, nullptr);
    ASSERT_EQ(WdbRegisterAse("turn", backwards, &answer), 1);
    EXPECT_EQ(WdbRegisterAse("TURN  ", backwards, &other), WDB_E_EXISTS) << "case and blanks do not count";
    EXPECT_EQ(WdbRegisterAse(" ", backwards, &other), WDB_E_NAME);
    EXPECT_EQ(WdbRegisterAse("second", nullptr, &other), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbLoadAse("turn", nullptr), WDB_E_ARGUMENT);
    ASSERT_EQ(WdbLoadAse("Turn ", &routine), 1);
    char result[16];
    int32_t length = sizeof result;
    EXPECT_EQ(WdbCallAse(routine, "abc", result, &length), 1);
    EXPECT_STREQ(result, "cba");
    EXPECT_EQ(length, 3);
    EXPECT_EQ(WdbCallAse(routine, nullptr, result, &length), 1);
    EXPECT_STREQ(result, "");
    for (const int32_t status : {0, 3, -1, 16066}) {
        answer = status;
        EXPECT_EQ(WdbCallAse(routine, "abc", nullptr, nullptr), status);
    }
    ASSERT_EQ(WdbUnregisterAse("TURN"), 1);
    EXPECT_EQ(WdbUnregisterAse("TURN"), WDB_E_ASE);
    ASSERT_EQ(WdbRegisterAse("turn", backwards, &other), 1);
    EXPECT_EQ(WdbCallAse(routine, "abc", nullptr, nullptr), WDB_E_HANDLE) << "that registration is over";
    EXPECT_EQ(WdbCallAse(nullptr, "abc", nullptr, nullptr), WDB_E_HANDLE);
    ASSERT_EQ(WdbLoadAse("turn", &routine), 1);
    EXPECT_EQ(WdbCallAse(routine, "abc", nullptr, nullptr), 77);
    ASSERT_EQ(WdbUnregisterAse("turn"), 1);
}

int32_t tampers(void* context, const char*, char*, int32_t*) {
    auto* session = *static_cast<WdbSession**>(context);
    EXPECT_EQ(WdbBindSession(nullptr), WDB_E_SESSION_BUSY);
    WdbSession* copy = session;
    EXPECT_EQ(WdbCloseSession(&copy), WDB_E_SESSION_BUSY);
    int32_t status = 0;
    return WdbExecuteCcl("BAS T", &status);  // calls of its own work
}

TEST_F(Commands, ARoutineCannotTakeTheSessionAway) {
    ASSERT_EQ(WdbRegisterAse("tampers", tampers, &session_), 1);
    WdbAse* routine = nullptr;
    ASSERT_EQ(WdbLoadAse("tampers", &routine), 1);
    EXPECT_EQ(WdbCallAse(routine, "", nullptr, nullptr), 1);
    EXPECT_EQ(WdbBoundSession(), session_);
    ASSERT_EQ(WdbUnregisterAse("tampers"), 1);
}

TEST_F(Commands, RoutinesComeAndGoWhileOthersCall) {
    int32_t answer = 1;
    std::atomic<bool> done{false};
    std::thread caller([&] {
        WdbSession* session = open();
        ASSERT_EQ(WdbBindSession(session), 1);
        while (!done) {
            WdbAse* routine = nullptr;
            if (WdbLoadAse("flicker", &routine) != 1) continue;
            const int32_t status = WdbCallAse(routine, "", nullptr, nullptr);
            EXPECT_TRUE(status == 1 || status == WDB_E_HANDLE) << status;
        }
        ASSERT_EQ(WdbCloseSession(&session), 1);
    });
    for (int round = 0; round < 200; ++round) {
        EXPECT_EQ(WdbRegisterAse("flicker", backwards, &answer), 1);
        EXPECT_EQ(WdbUnregisterAse("flicker"), 1);
    }
    done = true;
    caller.join();
}

}  // namespace
