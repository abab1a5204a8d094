#include <cstdlib>

#include "tests/unit/api/ApiTest.h"

namespace {

class Settings : public ApiTest {
protected:
    static std::string query(const char* name, int32_t levels = 7, int32_t size = 256) {
        std::vector<char> buffer(static_cast<size_t>(size), '?');
        int32_t length = size;
        const int32_t status = QueryRCS(name, buffer.data(), &length, levels);
        if (status != 1) {
            EXPECT_EQ(buffer[0], '\0') << "a failure empties the value";
            return "#" + std::to_string(status);
        }
        return std::string(buffer.data(), static_cast<size_t>(length));
    }
};

TEST_F(Settings, LevelsAreSearchedInOrder) {
    ::setenv("WDBTEST_SETTING", "from environment", 1);
    EXPECT_EQ(query("WDBTEST_SETTING"), "from environment");
    EXPECT_EQ(query("wdbtest_setting"), "#0") << "the environment compares exactly";
    ASSERT_EQ(WdbSetResource(4, "wdbtest_setting", "lasting"), 1);
    EXPECT_EQ(query("WDBTEST_SETTING"), "from environment");
    EXPECT_EQ(query("WdbTest_Setting", 4), "lasting");
    ASSERT_EQ(UpdateRCS("wdbTEST_setting  ", "own"), 1);
    EXPECT_EQ(query("WDBTEST_SETTING"), "own");
    EXPECT_EQ(query("WDBTEST_SETTING", 2), "from environment");
    ASSERT_EQ(UpdateRCS("WDBTEST_SETTING", nullptr), 1);
    EXPECT_EQ(query("WDBTEST_SETTING"), "from environment");
    ::unsetenv("WDBTEST_SETTING");
    EXPECT_EQ(query("WDBTEST_SETTING"), "lasting") << "the environment is read at every call";
    ASSERT_EQ(WdbSetResource(4, "WDBTEST_SETTING", nullptr), 1);
    EXPECT_EQ(query("WDBTEST_SETTING"), "#0");
}

TEST_F(Settings, LimitsAndArguments) {
    EXPECT_EQ(UpdateRCS("", "x"), WDB_E_ARGUMENT);
    EXPECT_EQ(UpdateRCS(nullptr, "x"), WDB_E_ARGUMENT);
    EXPECT_EQ(UpdateRCS("A", std::string(256, 'x').c_str()), WDB_E_ARGUMENT);
    EXPECT_EQ(UpdateRCS("A", std::string(255, 'x').c_str()), 1);
    EXPECT_EQ(query("A"), std::string(255, 'x'));
    EXPECT_EQ(query("A", 7, 11), std::string(10, 'x')) << "cut to the buffer";
    EXPECT_EQ(query("A", 8), "#" + std::to_string(WDB_E_ARGUMENT));
    int32_t length = 0;
    char buffer[4];
    EXPECT_EQ(QueryRCS("A", buffer, &length, 7), WDB_E_ARGUMENT);
    EXPECT_EQ(QueryRCS("A", buffer, nullptr, 7), WDB_E_ARGUMENT);
    ASSERT_EQ(UpdateRCS("U", "a\xC3\xA9"), 1);
    EXPECT_EQ(query("U", 7, 3), "a") << "not inside a character";
}

TEST_F(Settings, Version) {
    EXPECT_EQ(text(WdbVersion), "4.0-0:embedded");
    ASSERT_EQ(UpdateRCS("WDB_VERSION", "3.3-9"), 1);
    EXPECT_EQ(text(WdbVersion), "3.3-9");
    ASSERT_EQ(UpdateRCS("WDB_VERSION", ""), 1);
    EXPECT_EQ(text(WdbVersion), "4.0-0:embedded") << "an empty setting counts as none";
    char small[8];
    int32_t length = sizeof small;
    EXPECT_EQ(WdbVersion(small, &length), WDB_E_BUFFER);
    EXPECT_EQ(length, 15) << "the size needed";
}

TEST_F(Settings, SessionInformation) {
    struct Row {
        int32_t item;
        int32_t number;
        const char* text;
    };
    const Row rows[] = {{1, 0, "boss"}, {2, 1, "--"}, {3, 1, ""}, {4, 0, home_.c_str()}, {5, 1, ""},
                        {6, 0, ""},     {7, 0, ""},   {8, 0, ""}, {10, 16, "UTF-8"}};
    for (const Row& row : rows) {
        int32_t number = 0, length = 256;
        char buffer[256];
        EXPECT_EQ(WdbSessionInfo(row.item, &number, buffer, &length), 1) << row.item;
        EXPECT_EQ(number, row.number) << row.item;
        EXPECT_STREQ(buffer, row.text) << row.item;
        EXPECT_EQ(WdbSessionInfo(row.item, &number, nullptr, nullptr), 1) << row.item;
    }
    EXPECT_EQ(WdbSessionInfo(9, nullptr, nullptr, nullptr), WDB_E_ARGUMENT);
    ASSERT_EQ(WdbSetSessionInfo(10, 0, ""), 1);
    EXPECT_EQ(WdbSessionInfo(10, nullptr, nullptr, nullptr), 0) << "the session cannot tell";
    for (const int32_t item : {1, 4, 6, 7, 8})
        EXPECT_EQ(WdbSetSessionInfo(item, 1, "x"), WDB_E_ARGUMENT) << "read only: " << item;
    EXPECT_EQ(WdbSetSessionInfo(10, 99, ""), WDB_E_ARGUMENT);
}

TEST_F(Settings, DateFormAndClock) {
    ASSERT_EQ(WdbSetClock("2024-01-05 09:08:07"), 1);
    EXPECT_EQ(text(WdbCurrentDate), "2024-01-05");
    EXPECT_EQ(text(WdbCurrentTime), "09:08:07");
    ASSERT_EQ(WdbShellDefDateform(9, "./"), 1);
    EXPECT_EQ(text(WdbCurrentDate), "Jan.5/2024");
    ASSERT_EQ(WdbShellDefDateform(16, ""), 1);
    EXPECT_EQ(text(WdbCurrentDate), "20240105");
    char separators[8];
    int32_t form = 0, length = sizeof separators;
    ASSERT_EQ(WdbSessionInfo(2, &form, separators, &length), 1);
    EXPECT_EQ(form, 16);
    EXPECT_STREQ(separators, "./") << "kept for a later form";
    EXPECT_EQ(WdbShellDefDateform(0, "--"), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbShellDefDateform(18, "--"), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbShellDefDateform(1, " "), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbShellDefDateform(1, "-x"), WDB_E_ARGUMENT);
    ASSERT_EQ(WdbShellDefDateform(1, ":"), 1);
    EXPECT_EQ(text(WdbCurrentDate), "2024:01:05") << "one character stands for both";
    for (const char* bad :
         {"", "2024-01-05", "2024-01-05T09:08:07", "2024-02-30 09:08:07", "2024-01-05 25:00:00"}) {
        EXPECT_EQ(WdbSetClock(bad), WDB_E_ARGUMENT) << bad;
    }
    ASSERT_EQ(WdbSetClock(nullptr), 1);
    EXPECT_NE(text(WdbCurrentDate), "2024:01:05");
}

TEST_F(Settings, ShellSymbols) {
    const auto symbol = [](std::string name, int32_t size) {
        name.resize(16, ' ');
        char buffer[64] = {};
        std::memcpy(buffer, name.data(), name.size());
        int32_t length = size;
        const int32_t status = WdbShellSymbol(buffer, &length);
        return status == 1 ? std::string(buffer, static_cast<size_t>(length)) : "#" + std::to_string(status);
    };
    EXPECT_EQ(symbol("FIN", 17), "FIND");
    EXPECT_EQ(symbol("sfx", 17), "SUBSELECT");
    EXPECT_EQ(symbol("CMI", 11), "#" + std::to_string(WDB_E_SYMBOL));
    ASSERT_EQ(WdbSetShellSymbol("CMI", "yes"), 1);
    EXPECT_EQ(symbol("CMI", 11), "yes");
    ASSERT_EQ(WdbSetShellSymbol("BAS", "OPEN"), 1);
    EXPECT_EQ(symbol("BAS", 17), "OPEN");
    ASSERT_EQ(WdbSetShellSymbol("BAS", nullptr), 1);
    ASSERT_EQ(WdbSetSessionInfo(3, 0, ""), 1);
    EXPECT_EQ(symbol("BAS", 17), "BAS") << "canonical words in language 0";
    EXPECT_EQ(WdbSetShellSymbol("A NAME OF SEVENTEEN", "x"), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbSetShellSymbol("X", "a value longer than 16"), WDB_E_ARGUMENT);
}

TEST_F(Settings, Messages) {
    char buffer[256];
    for (int32_t n = 500; n <= 545; ++n) {
        int32_t length = sizeof buffer;
        if (WdbMessage(WDB_CODE(n), buffer, &length) != 1) continue;
        EXPECT_EQ(std::string(buffer).find_first_of("<>&\"%\n"), std::string::npos) << buffer;
        EXPECT_EQ(std::strlen(buffer), static_cast<size_t>(length));
    }
    int32_t length = sizeof buffer;
    ASSERT_EQ(WdbMessage(WDB_E_NO_MORE, buffer, &length), 1);
    EXPECT_STREQ(buffer, "There are no more records in the result set.");
    length = 6;
    ASSERT_EQ(WdbMessage(WDB_E_NO_MORE, buffer, &length), 1) << "cut, still a success";
    EXPECT_STREQ(buffer, "There");
    length = sizeof buffer;
    EXPECT_EQ(WdbMessage(1, buffer, &length), 1) << "every odd code has a text";
    EXPECT_EQ(WdbMessage(0, buffer, &length), 0);
    EXPECT_EQ(WdbMessage(32 * 600 + 2, buffer, &length), 0);
}

TEST_F(Settings, CommentsThatAreTooLongInUtf8AreRefused) {
    ASSERT_EQ(WdbSetSessionInfo(10, 1, ""), 1);
    WdbBaseDef base{};
    ASSERT_EQ(WdbGetBaseDef("T", &base), 1);
    WdbFieldSpec field = spec({"NAME", "PHRASE"});
    const size_t room = sizeof field.comment - 1;
    for (const size_t length : {room, room / 2}) {
        std::memset(field.comment, 0, sizeof field.comment);
        std::memset(field.comment, '\xE9', length);
        ASSERT_EQ(WdbPutFieldSpec(&field), length == room ? WDB_E_DEFINITION : 1) << length;
    }
    fill(base, "T", "");
    std::memset(base.comment, '\xE9', sizeof base.comment - 1);
    EXPECT_EQ(WdbPutBaseDef(&base), WDB_E_DEFINITION);
    base.comment[(sizeof base.comment - 1) / 2] = '\0';
    ASSERT_EQ(WdbPutBaseDef(&base), 1);
    WdbBaseDef stored{};
    ASSERT_EQ(WdbGetBaseDef("T", &stored), 1);
    EXPECT_STREQ(stored.comment, base.comment);
    WdbFieldSpec read{};
    ASSERT_EQ(WdbGetFieldSpecByNumber(1, &read), 1);
    EXPECT_STREQ(read.comment, field.comment);
}

TEST_F(Settings, OtherCharacterSets) {
    ASSERT_EQ(WdbSetSessionInfo(10, 1, ""), 1);
    createBase("T", {{"W\xF6rt", "PHRASE"}, {"NOTE", "TEXT"}});
    WdbRecordControl* made = control("T", WDB_MODE_WRITE);
    ASSERT_EQ(set(made, 1, 0, "\xE9t\xE9"), 1);
    ASSERT_EQ(set(made, 2, 0, "na\xEFve\n\nzwei"), 1);
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    EXPECT_EQ(get(made, 1), "\xE9t\xE9");
    EXPECT_EQ(lines(made, 2), "[na\xEFve][][zwei]");
    EXPECT_EQ(find("FIND T.\"W\xF6rt\"=\xC9T\xC9"), std::vector<int32_t>{1}) << "folded as characters";
    ASSERT_EQ(ccl("SEL FRL(T) FIELD(T.\"W\xF6rt\",\"\xE4\",7)"), 1);
    char* items = nullptr;
    uint32_t* words = nullptr;
    ASSERT_EQ(WdbGetRows(2, 0, 1, &items, &words), 1);
    EXPECT_EQ(std::string(items, 8), std::string("\xE9t\xE9\0\xE4\0\x37\0", 8)) << "rows too";
    EXPECT_EQ(words[2], 3u);
    EXPECT_EQ(words[4], 1u);
    EXPECT_EQ(WdbDeallocate(items), 1);
    EXPECT_EQ(WdbDeallocate(words), 1);
    char folded[4] = {'?', '?', '?', '?'};
    ASSERT_EQ(WdbStrNormalize(" \xE9 ", folded, 7), 1);
    EXPECT_EQ(std::string(folded, 4), std::string("\xC9\0\0\0", 4)) << "filled with NULs";
    char micro[7] = {};
    ASSERT_EQ(WdbStrNormalize(" \xB5 \xE9", micro, 7), 1);
    EXPECT_STREQ(micro, "\xB5 \xC9") << "letters whose upper case the set does not have stay";
    ASSERT_EQ(WdbSetSessionInfo(10, 16, ""), 1);
    EXPECT_EQ(get(made, 1), "\xC3\xA9t\xC3\xA9") << "stored as UTF-8";
    char name[WDB_FIELD_NAME_SIZE] = {};
    int32_t number = 1;
    ASSERT_EQ(WdbCheckField(made, name, &number, nullptr, nullptr), 1);
    EXPECT_STREQ(name, "W\xC3\xB6rt");
    ASSERT_EQ(WdbDeleteRecordControl(&made), 1);
}

}  // namespace
