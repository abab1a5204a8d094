// Several texts of the session at once: each is what the single call gives.
#include <array>
#include <cstdlib>
#include <cstring>

#include "include/wdb_bulk.h"
#include "tests/unit/api/ApiTest.h"

namespace {

struct Asked {
    int32_t kind;
    const char* name;
    const char* reason;
};

class SessionTexts : public ApiTest {
protected:
    static constexpr int32_t kRoom = 300;

    void TearDown() override {
        ::unsetenv("WDBTEST_TEXT");
        ::unsetenv("Q");
        ApiTest::TearDown();
    }

    // "status length text" of the single call.
    static std::string single(const Asked& asked) {
        std::array<char, kRoom> text{};
        int32_t length = kRoom, status = 0;
        if (asked.kind == WDB_ST_SETTING) {
            status = QueryRCS(asked.name, text.data(), &length, 7);
        } else if (asked.kind == WDB_ST_VERSION) {
            status = WdbVersion(text.data(), &length);
        } else {
            std::memcpy(text.data(), asked.name, std::strlen(asked.name) + 1);
            status = WdbShellSymbol(text.data(), &length);
        }
        return status == 1 ? "1 " + std::string(text.data(), static_cast<size_t>(length)) : "none";
    }
    static std::string told(const WdbSessionText& text) {
        if (text.status == WDB_FAIL) return "none";
        if (text.status != 1) return "#" + std::to_string(text.status);
        EXPECT_EQ(text.text[text.length], '\0');
        return "1 " + std::string(text.text, static_cast<size_t>(text.length));
    }

    // All at once against one by one.
    static void compare(const std::vector<Asked>& rows, const char* when) {
        std::vector<std::array<char, kRoom>> rooms(rows.size());
        std::vector<WdbSessionText> texts;
        for (size_t i = 0; i < rows.size(); ++i)
            texts.push_back({rows[i].name, rooms[i].data(), kRoom, rows[i].kind, -7});
        ASSERT_EQ(WdbSessionTexts(texts.data(), static_cast<int32_t>(texts.size())), 1) << when;
        for (size_t i = 0; i < rows.size(); ++i)
            EXPECT_EQ(told(texts[i]), single(rows[i])) << when << ": " << rows[i].reason;
    }
};

TEST_F(SessionTexts, AreThoseOfTheSingleCalls) {
    const std::vector<Asked> rows = {
        {WDB_ST_SETTING, "WDBTEST_TEXT", "a setting of every level"},
        {WDB_ST_SYMBOL, "SEL", "a command word"},
        {WDB_ST_SETTING, "wdbtest_TEXT  ", "another case, and blanks behind"},
        {WDB_ST_VERSION, nullptr, "the version"},
        {WDB_ST_SETTING, "WELKSQL_BASES", "the one that every directory has"},
        {WDB_ST_SETTING, "Q", "one letter"},
        {WDB_ST_SYMBOL, "TEN", "a symbol of the session's own, or none"},
        {WDB_ST_SETTING, "", "no name"},
    };
    compare(rows, "nothing is set");
    ASSERT_EQ(WdbSetResource(4, "WDBTEST_text", "lasting"), 1);
    ASSERT_EQ(WdbSetResource(4, "WDB_VERSION", "3.1-1"), 1);
    compare(rows, "lasting");
    ::setenv("WDBTEST_TEXT", "of = the environment", 1);
    ::setenv("WDBTEST_TEXTS", "a longer name", 1);
    ::setenv("Q", "", 1);
    compare(rows, "in the environment");
    ASSERT_EQ(UpdateRCS("wdbtest_text", "own"), 1);
    ASSERT_EQ(UpdateRCS("WDB_VERSION", ""), 1);
    ASSERT_EQ(WdbSetShellSymbol("ten", "X"), 1);
    ASSERT_EQ(WdbSetShellSymbol("SEL", "CHOOSE"), 1);
    compare(rows, "the session's own");
    ASSERT_EQ(UpdateRCS("WDBTEST_TEXT", "\xC3\xA9t\xC3\xA9"), 1);
    ASSERT_EQ(WdbSetSessionInfo(WDB_SI_LANGUAGE, 0, nullptr), 1);
    ASSERT_EQ(WdbSetSessionInfo(WDB_SI_CHARSET, 1, nullptr), 1);
    compare(rows, "another language and character set");
    ::unsetenv("WDBTEST_TEXTS");
}

TEST_F(SessionTexts, WhatDoesNotFitIsToldAlone) {
    char room[4] = "abc", other[32] = "";
    ASSERT_EQ(UpdateRCS("WDBTEST_TEXT", "four"), 1);
    WdbSessionText texts[] = {
        {"WDBTEST_TEXT", room, 4, WDB_ST_SETTING, -7}, {"WDBTEST_TEXT", nullptr, 4, WDB_ST_SETTING, -7},
        {"WDBTEST_TEXT", room, 0, WDB_ST_SETTING, -7}, {"WDBTEST_TEXT", room, 4, 3, -7},
        {nullptr, room, 4, WDB_ST_SYMBOL, -7},         {"WDBTEST_TEXT", other, 32, WDB_ST_SETTING, -7}};
    ASSERT_EQ(WdbSessionTexts(texts, 6), 1);
    EXPECT_EQ(texts[0].status, WDB_E_BUFFER);
    EXPECT_EQ(texts[0].length, 5) << "the room that is needed";
    for (const int i : {1, 2, 3}) EXPECT_EQ(texts[i].status, WDB_E_ARGUMENT) << i;
    EXPECT_EQ(texts[4].status, WDB_FAIL) << "no symbol";
    EXPECT_STREQ(room, "abc") << "nothing was written";
    EXPECT_EQ(told(texts[5]), "1 four") << "the others are told";
}

TEST_F(SessionTexts, WhatIsRefused) {
    char room[32] = "";
    std::vector<WdbSessionText> texts(WDB_ST_MOST + 1, {"A", room, 32, WDB_ST_SETTING, -7});
    EXPECT_EQ(WdbSessionTexts(nullptr, 1), WDB_E_ARGUMENT);
    for (const int32_t count : {-1, 0, WDB_ST_MOST + 1})
        EXPECT_EQ(WdbSessionTexts(texts.data(), count), WDB_E_ARGUMENT) << count;
    ASSERT_EQ(WdbInjectFailure("QueryRCS", 0, WDB_E_STORAGE), 1);
    EXPECT_EQ(WdbSessionTexts(texts.data(), 1), WDB_E_UNSUPPORTED) << "who watches sees the single calls";
    ASSERT_EQ(WdbInjectFailure(nullptr, 0, 0), 1);
    ASSERT_EQ(WdbBindSession(nullptr), 1);
    EXPECT_EQ(WdbSessionTexts(texts.data(), 1), WDB_E_NO_SESSION);
    EXPECT_EQ(texts[0].status, -7) << "nothing was asked";
    ASSERT_EQ(WdbBindSession(session_), 1);
}

}  // namespace
