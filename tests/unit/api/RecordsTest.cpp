#include <algorithm>
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

#include "tests/unit/api/ApiTest.h"

namespace {

class Records : public ApiTest {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        createBase("ARTICLES", {{"TITLE", "PHRASE"},
                                {"NOTE", "TEXT"},
                                {"PRICE", "NUMBER"},
                                {"N", "INTEGER"},
                                {"DAY", "DATE"},
                                {"AT", "TIME"},
                                {"PICTURE", "STRING"}});
    }
    enum : int32_t { kTitle = 1, kNote, kPrice, kN, kDay, kAt, kPicture };
};

TEST_F(Records, ExistenceCheckAndColumnBinding) {
    WdbRecordControl* made = nullptr;
    ASSERT_EQ(WdbCreateRecordControl(&made), 1);
    EXPECT_EQ(WdbSetBase(made, "articles", 1), 1);
    EXPECT_EQ(WdbSetBase(made, "NOPE", 1), WDB_E_BASE);
    EXPECT_EQ(WdbSetBase(made, "", 1), WDB_E_NAME);
    EXPECT_EQ(WdbSetBase(made, std::string(61, 'A').c_str(), 1), WDB_E_NAME);
    char name[WDB_FIELD_NAME_SIZE] = "title         ";
    int32_t number = 77, type = 0;
    uint32_t flags = 0;
    ASSERT_EQ(WdbCheckField(made, name, &number, &type, &flags), 1);
    ASSERT_EQ(WdbCheckField(made, name, &number, &type, &flags), 1);
    EXPECT_STREQ(name, "TITLE");
    EXPECT_EQ(number, 1);
    EXPECT_EQ(type, WDB_T_PHRASE);
    EXPECT_EQ(flags, WDB_F_INDEXED | WDB_F_NULLABLE);
    std::strcpy(name, "missing");
    EXPECT_EQ(WdbCheckField(made, name, &number, &type, &flags), WDB_E_FIELD);
    EXPECT_STREQ(name, "missing") << "unchanged";
    std::strcpy(name, "");
    number = 99;
    EXPECT_EQ(WdbCheckField(made, name, &number, &type, &flags), WDB_E_FIELD);
    EXPECT_EQ(number, 99) << "left in place";
    number = 0;
    EXPECT_EQ(WdbCheckField(made, name, &number, &type, &flags), WDB_E_ARGUMENT);
    char key[64];
    int32_t length = sizeof key;
    EXPECT_EQ(WdbBaseInfo("ARTICLES", 3, key, &length), 0) << "no unique key";
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    EXPECT_EQ(made, nullptr);
}

TEST_F(Records, InsertReadChangeDelete) {
    int32_t number = 0;
    ASSERT_EQ(
        insert("ARTICLES", {"War and Peace", "one\n\ntwo", "+012.50", " 42 ", "2024-02-29", "9:05"}, &number),
        1);
    EXPECT_EQ(number, 1);
    ASSERT_EQ(insert("ARTICLES", {}, &number), 1) << "also when no field was set at all";
    EXPECT_EQ(number, 2);

    WdbRecordControl* made = control("ARTICLES", WDB_MODE_READ);
    ASSERT_EQ(WdbGetRecordInBase(made, 1), 1);
    EXPECT_EQ(get(made, kTitle), "War and Peace");
    EXPECT_EQ(lines(made, kNote), "[one][][two]");
    EXPECT_EQ(get(made, kPrice), "12.50");
    EXPECT_EQ(get(made, kN), "42");
    EXPECT_EQ(get(made, kDay), "2024-02-29");
    EXPECT_EQ(get(made, kAt), "09:05:00");
    ASSERT_EQ(WdbShellDefDateform(14, "-"), 1);
    EXPECT_EQ(get(made, kDay), "29-Feb-2024") << "in the session's form";
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_READ_ONLY);
    EXPECT_EQ(set(made, kTitle, 0, "x"), WDB_E_READ_ONLY);
    EXPECT_EQ(WdbGetRecordInBase(made, 3), 0) << "no record ever had it";
    EXPECT_EQ(WdbGetRecordInBase(made, -1), 0);

    ASSERT_EQ(WdbSetBase(made, "ARTICLES", WDB_MODE_WRITE), 1) << "keeps the record";
    ASSERT_EQ(set(made, kTitle, 0, "Peace"), 1);
    ASSERT_EQ(set(made, kNote, 0, ""), 1);
    ASSERT_EQ(WdbPutRecord(made, &number), 1);
    EXPECT_EQ(number, 1);
    ASSERT_EQ(WdbGetRecordInBase(made, 1), 1);
    EXPECT_EQ(get(made, kTitle), "Peace");
    EXPECT_EQ(lines(made, kNote), "");

    ASSERT_EQ(WdbDeleteRecordInBase(made), 1);
    EXPECT_EQ(WdbDeleteRecordInBase(made), WDB_E_NO_RECORD);
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_NO_RECORD) << "just deleted through it";
    EXPECT_EQ(WdbGetRecordInBase(made, 1), WDB_E_DELETED);
    ASSERT_EQ(WdbDeleteRecordControl(&made), 1);
    ASSERT_EQ(insert("ARTICLES", {"next"}, &number), 1);
    EXPECT_EQ(number, 3) << "numbers are not used again";
}

TEST_F(Records, ItemsAndGaps) {
    WdbRecordControl* made = control("ARTICLES", WDB_MODE_WRITE);
    ASSERT_EQ(set(made, kTitle, 2, "b"), 1);
    ASSERT_EQ(set(made, kTitle, 1, "a"), 1) << "INSERT INTO t (a[2], a[1]) keeps both";
    ASSERT_EQ(set(made, kTitle, 5, "e"), 1);
    ASSERT_EQ(set(made, kTitle, 7, "g"), 1);
    ASSERT_EQ(set(made, kTitle, 7, ""), 1);
    ASSERT_EQ(set(made, kTitle, 1, ""), 1);
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    WdbCursor* cursor = nullptr;
    ASSERT_EQ(WdbSetCursor(&cursor, made, kTitle, 0, 0), 1);
    int32_t count = 0;
    ASSERT_EQ(WdbItemCount(cursor, &count), 1);
    EXPECT_EQ(count, 5) << "empty items at the end are dropped";
    char text[16];
    int32_t length = sizeof text;
    EXPECT_EQ(WdbGetItem(cursor, text, &length), 0) << "the first item is empty";
    WdbCursor* const before = cursor;
    ASSERT_EQ(WdbSetCursor(&cursor, made, kTitle, 0, 2), 1);
    EXPECT_EQ(cursor, before) << "moved, not made";
    EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
    EXPECT_EQ(get(made, kTitle, 2), "b");
    EXPECT_EQ(get(made, kTitle, 3), "#0");
    EXPECT_EQ(get(made, kTitle, 5), "e");

    ASSERT_EQ(WdbSetBase(made, "ARTICLES", WDB_MODE_READ), 1);
    EXPECT_EQ(WdbSetCursor(&cursor, made, kTitle, 0, 6), 0) << "behind the last item";
    EXPECT_EQ(cursor, nullptr);
    ASSERT_EQ(WdbSetBase(made, "ARTICLES", WDB_MODE_WRITE), 1);
    EXPECT_EQ(set(made, kTitle, 70000, "x"), WDB_E_ARGUMENT) << "more positions than a field can have";
    ASSERT_EQ(set(made, kTitle, 0, "only"), 1) << "position 0 replaces all items by one";
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    EXPECT_EQ(get(made, kTitle, 1), "only");
    EXPECT_EQ(get(made, kTitle, 2), "#0");
    ASSERT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Records, WhatIsRefused) {
    WdbRecordControl* made = control("ARTICLES", WDB_MODE_WRITE);
    EXPECT_EQ(set(made, kN, 0, "4.5"), WDB_E_VALUE);
    EXPECT_EQ(set(made, kDay, 0, "2023-02-29"), WDB_E_VALUE);
    EXPECT_EQ(set(made, kAt, 0, "25:00"), WDB_E_VALUE);
    EXPECT_EQ(set(made, kTitle, 0, "a\nb"), WDB_E_VALUE);
    EXPECT_EQ(set(made, kNote, 0, std::string("a\0b", 3)), WDB_E_VALUE);
    WdbCursor* cursor = nullptr;
    int32_t count = 0;
    EXPECT_EQ(WdbSetCursor(&cursor, made, 8, 0, 0), WDB_E_FIELD);
    EXPECT_EQ(WdbSetCursor(&cursor, made, kTitle, -1, 0), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbSetCursor(&cursor, made, kNote, 1, 1), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbSetCursor(&cursor, made, kTitle, 1, 0), WDB_E_ARGUMENT) << "a paragraph of a PHRASE";
    ASSERT_EQ(WdbSetCursor(&cursor, made, kNote, 0, 0), 1);
    EXPECT_EQ(WdbItemCount(cursor, &count), WDB_E_TYPE);
    EXPECT_EQ(WdbGetBlobSize(cursor, &count), WDB_E_TYPE);
    ASSERT_EQ(WdbSetCursor(&cursor, made, kTitle, 0, 0), 1);
    EXPECT_EQ(WdbParaCount(cursor, &count), WDB_E_TYPE);
    EXPECT_EQ(WdbPutLine(cursor, "x", 1), WDB_E_TYPE);
    EXPECT_EQ(WdbReplaceItem(cursor, "x", -2), WDB_E_ARGUMENT);
    ASSERT_EQ(WdbReplaceItem(cursor, "up to the NUL", -1), 1);
    EXPECT_EQ(get(made, kTitle), "up to the NUL");
    ASSERT_EQ(WdbReplaceItem(cursor, "cut \xC3", 5), 1);
    EXPECT_EQ(get(made, kTitle), "cut ") << "an incomplete character at the end is dropped";
    EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
    WdbRecordControl* empty = nullptr;
    ASSERT_EQ(WdbCreateRecordControl(&empty), 1);
    EXPECT_EQ(WdbPutRecord(empty, nullptr), WDB_E_NO_RECORD);
    EXPECT_EQ(WdbGetRecordInBase(empty, 1), WDB_E_NO_RECORD);
    EXPECT_EQ(WdbSetCursor(&cursor, empty, 1, 0, 0), WDB_E_NO_RECORD);
    EXPECT_EQ(WdbDeleteRecordControl(&empty), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Records, LinesAndParagraphs) {
    WdbRecordControl* made = control("ARTICLES", WDB_MODE_WRITE);
    WdbCursor* cursor = nullptr;
    ASSERT_EQ(WdbSetCursor(&cursor, made, kNote, 0, 0), 1);
    const std::string data = "a\r\n\r\nb\nc\n";
    ASSERT_EQ(WdbPutLine(cursor, data.data(), static_cast<int32_t>(data.size())), 1);
    ASSERT_EQ(WdbPutLine(cursor, "d", 1), 1) << "further calls append";
    EXPECT_EQ(lines(made, kNote), "[a][][b][c][d]");
    int32_t count = 0;
    ASSERT_EQ(WdbParaCount(cursor, &count), 1);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(lines(made, kNote, 2), "[b][c][d]");
    EXPECT_EQ(lines(made, kNote, 1), "[a]");
    ASSERT_EQ(WdbSetCursor(&cursor, made, kNote, 4, 0), 1);
    ASSERT_EQ(WdbReplaceItem(cursor, "x", 1), 1);
    EXPECT_EQ(lines(made, kNote), "[a][][b][c][d][][][x]") << "the third paragraph is empty";
    ASSERT_EQ(WdbSetCursor(&cursor, made, kNote, 2, 0), 1);
    ASSERT_EQ(WdbDeleteItem(cursor), 1);
    EXPECT_EQ(lines(made, kNote, 4), "[x]") << "deleting moves nothing";
    ASSERT_EQ(WdbSetCursor(&cursor, made, kNote, 0, 0), 1);
    ASSERT_EQ(WdbPutLine(cursor, "", 0), 1);
    EXPECT_EQ(lines(made, kNote), "") << "length 0 as the first call empties it";
    EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Records, LongLinesComeInPieces) {
    struct Row {
        size_t length;
        std::vector<int32_t> pieces;
    };
    const Row rows[] = {
        {20000, {8191, 8191, 3618}}, {8191, {8191}}, {16382, {8191, 8191}}, {8192, {8191, 1}}, {1, {1}}};
    for (const Row& row : rows) {
        WdbRecordControl* made = control("ARTICLES", WDB_MODE_WRITE);
        ASSERT_EQ(set(made, kNote, 0, std::string(row.length, 'x') + "\n\nend"), 1);
        WdbCursor* cursor = nullptr;
        ASSERT_EQ(WdbSetCursor(&cursor, made, kNote, 0, 0), 1);
        std::vector<int32_t> pieces;
        std::vector<char> buffer(8192);
        for (int32_t length = 8192; WdbGetLine(cursor, buffer.data(), &length) == 1; length = 8192)
            pieces.push_back(length);
        std::vector<int32_t> wanted = row.pieces;
        wanted.insert(wanted.end(), {0, 3});
        EXPECT_EQ(pieces, wanted) << row.length;
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    }
}

// Each piece looks for no more than it delivers, also where the line is delivered in other bytes than it is
// stored.
TEST_F(Records, PiecesOfALineMakeTheLine) {
    std::string line;
    for (int i = 0; line.size() < 1200000; ++i) line += "a\xE9" + std::to_string(i * 7919);
    ASSERT_EQ(WdbSetSessionInfo(10, 1, ""), 1);
    WdbRecordControl* made = control("ARTICLES", WDB_MODE_WRITE);
    ASSERT_EQ(set(made, kNote, 0, line + "\nnext"), 1);
    const auto read = [&](int32_t size) {
        WdbCursor* cursor = nullptr;
        EXPECT_EQ(WdbSetCursor(&cursor, made, kNote, 0, 0), 1);
        std::string all;
        std::vector<char> buffer(static_cast<size_t>(size));
        for (int32_t length = size; WdbGetLine(cursor, buffer.data(), &length) == 1; length = size)
            all.append(buffer.data(), static_cast<size_t>(length));
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        return all;
    };
    for (const int32_t size : {100, 101, 8192, 2000000}) EXPECT_TRUE(read(size) == line + "next") << size;
    ASSERT_EQ(WdbSetSessionInfo(10, 16, ""), 1);
    const std::string stored = read(100);
    EXPECT_EQ(stored.size(), line.size() + 4 + static_cast<size_t>(std::ranges::count(line, '\xE9')));
    EXPECT_TRUE(read(8192) == stored);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Records, SerialNumbersNeverComeAgain) {
    createBase("S", {{"NAME", "PHRASE"}, {"NO", "INTEGER", false, true}});
    const auto last = [&] {
        int32_t number = 0;
        EXPECT_EQ(insert("S", {"x"}, &number), 1);
        WdbRecordControl* made = control("S", WDB_MODE_WRITE);
        EXPECT_EQ(WdbGetRecordInBase(made, number), 1);
        const std::string serial = get(made, 2);
        EXPECT_EQ(WdbDeleteRecordInBase(made), 1);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return serial;
    };
    EXPECT_EQ(last(), "1");
    EXPECT_EQ(last(), "2") << "the highest was deleted";
    ASSERT_EQ(WdbSaveStatus(), 1);
    EXPECT_EQ(last(), "3");
    ASSERT_EQ(WdbLoadStatus(3), 1);
    ASSERT_EQ(WdbCloseSession(&session_), 1);
    session_ = open();
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(last(), "4") << "the base was closed in between";
    ASSERT_EQ(WdbCompactBase("S"), 1);
    EXPECT_EQ(last(), "5") << "written anew";
    ASSERT_EQ(WdbCloseSession(&session_), 1);
    const pid_t child = ::fork();
    if (child == 0) {
        session_ = open();
        const bool done = WdbBindSession(session_) == 1 && last() == "6";
        ::raise(done ? SIGKILL : SIGTERM);
    }
    int state = 0;
    ASSERT_EQ(::waitpid(child, &state, 0), child);
    EXPECT_EQ(WTERMSIG(state), SIGKILL);
    session_ = open();
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(last(), "7") << "a process died";
}

TEST_F(Records, LargeObjects) {
    for (const size_t block : {size_t{10}, size_t{8192}, size_t{3000000}}) {
        WdbRecordControl* made = control("ARTICLES", WDB_MODE_WRITE);
        WdbCursor* cursor = nullptr;
        ASSERT_EQ(WdbSetCursor(&cursor, made, kPicture, 0, 0), 1);
        std::string all;
        for (int i = 0; i < 3; ++i) {
            const std::string bytes(block, static_cast<char>('a' + i));
            ASSERT_EQ(WdbPutBlobBlock(cursor, static_cast<int32_t>(block), bytes.data()), 1);
            all += bytes;
        }
        const auto check = [&](WdbCursor* at, const char* when) {
            int32_t size = 0;
            ASSERT_EQ(WdbGetBlobSize(at, &size), 1) << when;
            ASSERT_EQ(static_cast<size_t>(size), all.size()) << when;
            std::string read(all.size(), '?');
            int32_t both = size;
            ASSERT_EQ(WdbGetBlobBlock(at, 1, both, read.data(), &both), 1) << when;
            EXPECT_EQ(both, size);
            EXPECT_TRUE(read == all) << when;
            char few[7];
            ASSERT_EQ(WdbGetBlobBlock(at, size - 2, 7, few, &both), 1) << when;
            EXPECT_EQ(both, 3) << when;
            EXPECT_EQ(WdbGetBlobBlock(at, size + 1, 7, few, &both), 0) << when;
            EXPECT_EQ(both, 0);
            EXPECT_EQ(WdbGetBlobBlock(at, 0, 7, few, &both), WDB_E_ARGUMENT);
        };
        check(cursor, "before the put");
        int32_t number = 0;
        ASSERT_EQ(WdbPutRecord(made, &number), 1);
        check(cursor, "after the put");
        ASSERT_EQ(WdbPutBlobBlock(cursor, 4, "more"), 1) << "a later call goes on behind what was stored";
        all += "more";
        check(cursor, "extended");
        ASSERT_EQ(WdbPutRecord(made, &number), 1);
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        ASSERT_EQ(WdbGetRecordInBase(made, number), 1);
        ASSERT_EQ(WdbSetCursor(&cursor, made, kPicture, 0, 0), 1);
        check(cursor, "read again");
        ASSERT_EQ(WdbPutBlobBlock(cursor, 3, "new"), 1) << "the first call on a new cursor replaces";
        all = "new";
        check(cursor, "replaced");
        ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
        ASSERT_EQ(WdbDeleteItem(cursor), 1);
        int32_t size = 9;
        ASSERT_EQ(WdbGetBlobSize(cursor, &size), 1);
        EXPECT_EQ(size, 0);
        ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    }
}

TEST_F(Records, DefaultsAtTheEnds) {
    createBase("ENDS", {{"NAME", "PHRASE"}, {"NUMBER", "INTEGER"}});
    WdbFieldSpec field = spec({"NUMBER", "INTEGER"});
    int32_t record = 0;
    for (const char* value : {"-2147483648", "2147483647", "-2147483647"}) {
        WdbBaseDef base{};
        ASSERT_EQ(WdbGetBaseDef("ENDS", &base), 1);
        ASSERT_EQ(WdbPutDefaultValue(&field, value), 1);
        ASSERT_EQ(WdbPutBaseDef(&base), 1);
        ASSERT_EQ(insert("ENDS", {"x"}), 1);
        WdbRecordControl* made = control("ENDS", WDB_MODE_READ);
        ASSERT_EQ(WdbGetRecordInBase(made, ++record), 1);
        EXPECT_EQ(get(made, 2), value);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    }
}

TEST_F(Records, MandatoryObjectsAreNotEmptied) {
    createBase("SCANS", {{"ID", "INTEGER", false, true}, {"IMAGE", "STRING", true}});
    WdbRecordControl* made = control("SCANS", WDB_MODE_WRITE);
    WdbCursor* cursor = nullptr;
    ASSERT_EQ(WdbSetCursor(&cursor, made, 2, 0, 0), 1);
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_MANDATORY);
    ASSERT_EQ(WdbPutBlobBlock(cursor, 5, "bytes"), 1);
    int32_t number = 0;
    ASSERT_EQ(WdbPutRecord(made, &number), 1);
    EXPECT_EQ(WdbDeleteCursor(&cursor), 1);

    ASSERT_EQ(WdbSetCursor(&cursor, made, 2, 0, 0), 1);
    ASSERT_EQ(WdbPutBlobBlock(cursor, 0, ""), 1) << "the first call on a new cursor replaces";
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_MANDATORY);
    EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
    ASSERT_EQ(WdbGetRecordInBase(made, number), 1);
    ASSERT_EQ(WdbSetCursor(&cursor, made, 2, 0, 0), 1);
    int32_t size = 0;
    ASSERT_EQ(WdbGetBlobSize(cursor, &size), 1);
    EXPECT_EQ(size, 5) << "nothing was stored";
    EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Records, KeysMandatoryDefaultsSerials) {
    createBase("KEYED", {{"ID", "INTEGER", false, true}, {"NAME", "PHRASE", true}, {"CITY", "PHRASE"}},
               "NAME");
    WdbBaseDef base{};
    ASSERT_EQ(WdbGetBaseDef("KEYED", &base), 1);
    EXPECT_EQ(base.isNew, 0);
    WdbFieldSpec city = spec({"CITY", "PHRASE"});
    ASSERT_EQ(WdbPutDefaultValue(&city, "Paris"), 1);
    ASSERT_EQ(WdbPutBaseDef(&base), 1);

    EXPECT_EQ(insert("KEYED", {"", ""}), WDB_E_MANDATORY);
    int32_t number = 0;
    ASSERT_EQ(insert("KEYED", {"", "Ann"}, &number), 1);
    EXPECT_EQ(number, 1) << "a refused record takes no number";
    EXPECT_EQ(insert("KEYED", {"", " aNN "}), WDB_E_DUPLICATE) << "keys compare as = does";
    ASSERT_EQ(insert("KEYED", {"10", "Bob", "Rome"}), 1);
    ASSERT_EQ(insert("KEYED", {"", "Cid"}), 1);
    WdbRecordControl* made = control("KEYED", WDB_MODE_WRITE);
    const char* wanted[][2] = {{"1", "Paris"}, {"10", "Rome"}, {"11", "Paris"}};
    for (int32_t record = 1; record <= 3; ++record) {
        ASSERT_EQ(WdbGetRecordInBase(made, record), 1);
        EXPECT_EQ(get(made, 1), wanted[record - 1][0]);
        EXPECT_EQ(get(made, 3), wanted[record - 1][1]);
    }
    ASSERT_EQ(set(made, 2, 0, "ANN"), 1);
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_DUPLICATE);
    ASSERT_EQ(WdbGetRecordInBase(made, 1), 1);
    ASSERT_EQ(set(made, 2, 0, "ANN"), 1);
    EXPECT_EQ(WdbPutRecord(made, nullptr), 1) << "its own key";
    ASSERT_EQ(set(made, 2, 0, "Dora"), 1);
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    EXPECT_EQ(insert("KEYED", {"", "Ann"}), 1) << "the key is free again";
    ASSERT_EQ(WdbGetRecordInBase(made, 2), 1);
    ASSERT_EQ(WdbDeleteRecordInBase(made), 1);
    EXPECT_EQ(insert("KEYED", {"", "bob"}), 1) << "so is that of a deleted record";
    char key[64];
    int32_t length = sizeof key;
    ASSERT_EQ(WdbBaseInfo("KEYED", 3, key, &length), 1);
    EXPECT_STREQ(key, "NAME");
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);

    // Another unique key, and none: the keys follow.
    const std::pair<const char*, int32_t> changes[] = {{"CITY", WDB_E_DUPLICATE}, {"ID", 1}, {"", 1}};
    for (const auto& [name, status] : changes) {
        ASSERT_EQ(WdbGetBaseDef("KEYED", &base), 1);
        copy(base.uniqueKey, std::string(name));
        EXPECT_EQ(WdbPutBaseDef(&base), status) << name;
        int32_t findings = 0;
        const WdbReportFn count = [](void* context, int32_t, int32_t, const char*) {
            return ++*static_cast<int32_t*>(context);
        };
        EXPECT_EQ(WdbVerifyBase("KEYED", 0, count, &findings), 1) << name;
        EXPECT_EQ(findings, 0) << name;
    }
    EXPECT_EQ(insert("KEYED", {"1", "bob"}), 1) << "nothing is unique any more";
}

TEST_F(Records, ChangesByOthersAreSeen) {
    ASSERT_EQ(insert("ARTICLES", {"one"}), 1);
    ASSERT_EQ(insert("ARTICLES", {"two"}), 1);
    WdbRecordControl* made = control("ARTICLES", WDB_MODE_WRITE);
    ASSERT_EQ(WdbGetRecordInBase(made, 1), 1);
    WdbSession* other = open();
    const auto asOther = [&](auto work) {
        ASSERT_EQ(WdbBindSession(other), 1);
        WdbRecordControl* theirs = control("ARTICLES", WDB_MODE_WRITE);
        work(theirs);
        EXPECT_EQ(WdbDeleteRecordControl(&theirs), 1);
        ASSERT_EQ(WdbBindSession(session_), 1);
    };
    asOther([](WdbRecordControl* theirs) {
        ASSERT_EQ(WdbGetRecordInBase(theirs, 1), 1);
        ASSERT_EQ(set(theirs, 1, 0, "theirs"), 1);
        ASSERT_EQ(WdbPutRecord(theirs, nullptr), 1);
    });
    ASSERT_EQ(set(made, 1, 0, "mine"), 1);
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_CHANGED);
    EXPECT_EQ(find("FIND ARTICLES.TITLE=theirs"), std::vector<int32_t>{1});
    ASSERT_EQ(WdbGetRecordInBase(made, 1), 1);
    WdbRecordControl* second = control("ARTICLES", WDB_MODE_WRITE);
    ASSERT_EQ(WdbGetRecordInBase(second, 1), 1);
    ASSERT_EQ(set(second, 1, 0, "own"), 1);
    ASSERT_EQ(WdbPutRecord(second, nullptr), 1);
    ASSERT_EQ(set(made, 1, 0, "mine"), 1);
    EXPECT_EQ(WdbPutRecord(made, nullptr), 1) << "the session's own change is no other session's";
    ASSERT_EQ(WdbGetRecordInBase(made, 2), 1);
    asOther([](WdbRecordControl* theirs) {
        ASSERT_EQ(WdbGetRecordInBase(theirs, 2), 1);
        ASSERT_EQ(WdbDeleteRecordInBase(theirs), 1);
    });
    ASSERT_EQ(set(made, 1, 0, "late"), 1);
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_DELETED);
    EXPECT_EQ(WdbDeleteRecordInBase(made), WDB_E_DELETED);
    EXPECT_EQ(WdbDeleteRecordControl(&second), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    EXPECT_EQ(WdbCloseSession(&other), 1);
}

TEST_F(Records, LoadsAreOneChange) {
    ASSERT_EQ(insert("ARTICLES", {"before"}), 1);
    for (const int32_t commit : {0, 1}) {
        ASSERT_EQ(WdbBeginLoad("ARTICLES", 0), 1);
        WdbRecordControl* made = control("ARTICLES", WDB_MODE_WRITE);
        for (int i = 0; i < 100; ++i) {
            ASSERT_EQ(WdbNewRecord(made), 1);
            ASSERT_EQ(set(made, kTitle, 0, "title " + std::to_string(i)), 1);
            ASSERT_EQ(set(made, kNote, 0, "loaded text"), 1);
            ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
        }
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        EXPECT_EQ(WdbBindSession(nullptr), WDB_E_SESSION_BUSY) << "a load stays on its thread";
        ASSERT_EQ(WdbEndLoad("ARTICLES", commit), 1);
        EXPECT_EQ(find("FIND ARTICLES.NOTE=loaded").size(), commit == 0 ? 0u : 100u);
        EXPECT_EQ(find("FIND ARTICLES.R=FROM 1").size(), commit == 0 ? 1u : 101u);
    }
    EXPECT_EQ(WdbEndLoad("ARTICLES", 1), WDB_E_ARGUMENT) << "none was begun";
    int32_t length = 4, count = 0;
    ASSERT_EQ(WdbBaseInfo("ARTICLES", 7, &count, &length), 1);
    EXPECT_EQ(count, 101);
    EXPECT_EQ(WdbVerifyBase("ARTICLES", 0, nullptr, nullptr), 1);
}

}  // namespace
