// What loaders use: inserted items, walks through the records, given numbers.
#include "tests/unit/api/ApiTest.h"

namespace {

class Loaders : public ApiTest {
protected:
    enum : int32_t { kName = 1, kSize, kNote, kPicture };
    void SetUp() override {
        ApiTest::SetUp();
        createBase("T", {{"NAME", "PHRASE"}, {"SIZE", "INTEGER"}, {"NOTE", "TEXT"}, {"PICTURE", "STRING"}},
                   "NAME");
    }
    static std::string items(WdbRecordControl* control, int32_t field) {
        WdbCursor* cursor = nullptr;
        int32_t count = 0;
        EXPECT_EQ(WdbSetCursor(&cursor, control, field, 0, 0), 1);
        EXPECT_EQ(WdbItemCount(cursor, &count), 1);
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        std::string all;
        for (int32_t item = 1; item <= count; ++item) {
            const std::string text = get(control, field, item);
            all += (item == 1 ? "" : "|") + (text == "#0" ? std::string() : text);
        }
        return all;
    }
    static int32_t putAs(int32_t number, const std::string& name) {
        WdbRecordControl* made = control("T", WDB_MODE_WRITE);
        EXPECT_EQ(set(made, kName, 0, name), 1);
        const int32_t status = WdbPutRecordAs(made, number);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return status;
    }
    static std::vector<int32_t> walk() {
        std::vector<int32_t> numbers;
        WdbRecordControl* made = control("T", WDB_MODE_READ);
        int32_t number = 0;
        while (WdbNextRecordInBase(made, &number) == 1) numbers.push_back(number);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return numbers;
    }
};

TEST_F(Loaders, ItemsAreInsertedBeforeTheCursor) {
    const struct {
        int32_t position;
        std::vector<const char*> inserted;
        const char* result;
        const char* reason;
    } rows[] = {
        {2, {"x"}, "1|x|2|3", "before the second"},
        {2, {"x", "y"}, "1|x|y|2|3", "the cursor moves behind what it inserted"},
        {0, {"x"}, "x|1|2|3", "the whole field: before the first"},
        {4, {"x"}, "1|2|3|x", "behind the last"},
        {6, {"x"}, "1|2|3|||x", "the gap stays empty"},
        {1, {""}, "|1|2|3", "an empty item moves the others too"},
    };
    for (const auto& row : rows) {
        WdbRecordControl* made = control("T", WDB_MODE_WRITE);
        for (int32_t item = 1; item <= 3; ++item) ASSERT_EQ(set(made, kName, item, std::to_string(item)), 1);
        WdbCursor* cursor = nullptr;
        ASSERT_EQ(WdbSetCursor(&cursor, made, kName, 0, row.position), 1);
        for (const char* text : row.inserted) EXPECT_EQ(WdbInsertItem(cursor, text, -1), 1) << row.reason;
        EXPECT_EQ(items(made, kName), row.result) << row.reason;
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    }
}

TEST_F(Loaders, ParagraphsAreInsertedBeforeTheCursor) {
    const struct {
        const char* before;
        int32_t paragraph;
        const char* inserted;
        const char* lines;
        const char* reason;
    } rows[] = {
        {"a\n\nb", 2, "x", "[a][][x][][b]", "between two"},
        {"a\n\nb", 0, "x\ny", "[x][y][][a][][b]", "the whole field: before the first"},
        {"a", 2, "x", "[a][][x]", "behind the last"},
        {"a", 4, "x", "[a][][][][x]", "empty paragraphs fill the gap"},
        {"", 1, "x", "[x]", "into an empty text"},
        {"a\n\nb", 2, "x\n\ny", "[a][][x][][y][][b]", "two at once"},
        {"a\n\nb", 2, "", "[a][][][b]", "an empty one"},
        {"a\n\nb", 3, "", "[a][][b][]", "an empty one at the end"},
    };
    for (const auto& row : rows) {
        WdbRecordControl* made = control("T", WDB_MODE_WRITE);
        ASSERT_EQ(set(made, kNote, 0, row.before), 1);
        WdbCursor* cursor = nullptr;
        ASSERT_EQ(WdbSetCursor(&cursor, made, kNote, row.paragraph, 0), 1);
        EXPECT_EQ(WdbInsertItem(cursor, row.inserted, -1), 1) << row.reason;
        EXPECT_EQ(lines(made, kNote), row.lines) << row.reason;
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    }
}

TEST_F(Loaders, InsertionsThatAreRefused) {
    WdbRecordControl* made = control("T", WDB_MODE_WRITE);
    WdbCursor* cursor = nullptr;
    ASSERT_EQ(WdbSetCursor(&cursor, made, kPicture, 0, 0), 1);
    EXPECT_EQ(WdbInsertItem(cursor, "x", 1), WDB_E_TYPE) << "an object has no items";
    ASSERT_EQ(WdbSetCursor(&cursor, made, kSize, 0, 1), 1);
    EXPECT_EQ(WdbInsertItem(cursor, "x", 1), WDB_E_VALUE);
    EXPECT_EQ(WdbInsertItem(cursor, "5", -2), WDB_E_ARGUMENT);
    ASSERT_EQ(WdbSetCursor(&cursor, made, kSize, 0, 65535), 1);
    EXPECT_EQ(WdbInsertItem(cursor, "5", 1), 1);
    EXPECT_EQ(WdbInsertItem(cursor, "5", 1), WDB_E_VALUE) << "positions are used up";
    ASSERT_EQ(WdbSetCursor(&cursor, made, kNote, 0, 0), 1);
    EXPECT_EQ(WdbInsertItem(cursor, "a\0b", 3), WDB_E_VALUE);
    EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    EXPECT_EQ(WdbInsertItem(nullptr, "x", 1), WDB_E_HANDLE);
}

TEST_F(Loaders, RecordsAreWalkedInOrder) {
    EXPECT_EQ(walk(), std::vector<int32_t>{});
    for (const char* name : {"a", "b", "c", "d"}) ASSERT_EQ(insert("T", {name}), 1);
    WdbRecordControl* made = control("T", WDB_MODE_DELETE);
    ASSERT_EQ(WdbGetRecordInBase(made, 2), 1);
    ASSERT_EQ(WdbDeleteRecordInBase(made), 1);
    EXPECT_EQ(walk(), (std::vector<int32_t>{1, 3, 4}));
    int32_t number = 1;
    ASSERT_EQ(WdbNextRecordInBase(made, &number), 1);
    EXPECT_EQ(number, 3);
    EXPECT_EQ(get(made, kName), "c");
    number = 4;
    EXPECT_EQ(WdbNextRecordInBase(made, &number), 0);
    EXPECT_EQ(number, 4) << "unchanged at the end";
    EXPECT_EQ(get(made, kName), "c") << "and so is the record";
    number = -1;
    EXPECT_EQ(WdbNextRecordInBase(made, &number), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbNextRecordInBase(made, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    ASSERT_EQ(WdbBeginLoad("T", 0), 1);
    ASSERT_EQ(insert("T", {"e"}), 1);
    EXPECT_EQ(walk(), (std::vector<int32_t>{1, 3, 4, 5})) << "a load's own records too";
    ASSERT_EQ(WdbEndLoad("T", 0), 1);
}

TEST_F(Loaders, NumbersAreGivenByTheLoader) {
    const struct {
        int32_t number;
        const char* name;
        int32_t status;
        const char* reason;
    } rows[] = {
        {10, "ten", 1, "numbers may be left out"}, {10, "again", WDB_E_DUPLICATE, "a number in use"},
        {4, "four", 1, "one that was left out"},   {11, "ten", WDB_E_DUPLICATE, "a unique key in use"},
        {0, "none", WDB_E_ARGUMENT, "no number"},  {2147483647, "last", 1, "the highest of all"},
    };
    for (const auto& row : rows) EXPECT_EQ(putAs(row.number, row.name), row.status) << row.reason;
    WdbRecordControl* changed = control("T", WDB_MODE_WRITE);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(WdbGetRecordInBase(changed, 4), 1);
    ASSERT_EQ(set(changed, kSize, 0, "44"), 1);
    ASSERT_EQ(WdbPutRecord(changed, nullptr), 1);
    EXPECT_EQ(insert("T", {"next"}), WDB_E_STORAGE) << "the numbers are used up";
    EXPECT_EQ(WdbLoadStatus(3), 1) << "the rest of the statement is stored";
    EXPECT_EQ(WdbDeleteRecordControl(&changed), 1);
    EXPECT_EQ(find("FIND T.SIZE=44"), std::vector<int32_t>{4});
    EXPECT_EQ(walk(), (std::vector<int32_t>{4, 10, 2147483647}));
    WdbRecordControl* made = control("T", WDB_MODE_WRITE);
    ASSERT_EQ(WdbGetRecordInBase(made, 4), 1);
    EXPECT_EQ(WdbPutRecordAs(made, 5), WDB_E_ARGUMENT) << "a stored record is no new one";
    ASSERT_EQ(WdbDeleteRecordInBase(made), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    EXPECT_EQ(putAs(4, "other"), WDB_E_DUPLICATE) << "deleted numbers were used";
    EXPECT_EQ(find("FIND T.NAME=last"), std::vector<int32_t>{2147483647});
    EXPECT_EQ(WdbVerifyBase("T", 0, nullptr, nullptr), 1);
}

TEST_F(Loaders, GivenNumbersInALoad) {
    ASSERT_EQ(WdbBeginLoad("T", 0), 1);
    for (const int32_t number : {3, 5, 100000, 100001, 2000000000})
        EXPECT_EQ(putAs(number, "n" + std::to_string(number)), 1) << number;
    EXPECT_EQ(putAs(4, "late"), 1) << "a gap may be filled later";
    ASSERT_EQ(WdbEndLoad("T", 1), 1);
    EXPECT_EQ(find("FIND T.NAME=n$"), (std::vector<int32_t>{3, 5, 100000, 100001, 2000000000}));
    EXPECT_EQ(find("FIND T.NAME=late"), std::vector<int32_t>{4});
    EXPECT_EQ(WdbVerifyBase("T", 0, nullptr, nullptr), 1);
    ASSERT_EQ(WdbRebuildIndex("T", nullptr), 1);
    EXPECT_EQ(find("FIND T.NAME=n$").size(), 5u);
}

}  // namespace
