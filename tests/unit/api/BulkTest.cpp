// The calls that answer at once: they tell what the small calls tell.
#include <cstring>

#include "include/wdb_bulk.h"
#include "tests/unit/api/ApiTest.h"

namespace {

class Bulk : public ApiTest {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        createBase("T", {{"NAME", "PHRASE"}, {"NOTE", "TEXT"}, {"SIZE", "INTEGER"}}, "NAME");
    }
    static int32_t behind(const char* base) {
        int32_t answer = -1;
        EXPECT_EQ(WdbIndexBehind(base, &answer), 1);
        char modified[64], indexed[64];
        int32_t modifiedSize = sizeof modified, indexedSize = sizeof indexed;
        EXPECT_EQ(WdbBaseStatus(base, modified, &modifiedSize, indexed, &indexedSize, nullptr, nullptr), 1);
        EXPECT_EQ(answer, std::strcmp(modified, indexed) > 0 ? 1 : 0) << modified << " and " << indexed;
        return answer;
    }
};

TEST_F(Bulk, FieldsAreThoseOfTheSingleLookUps) {
    WdbFieldEntry fields[4];
    int32_t count = 4;
    ASSERT_EQ(WdbBaseFields("t ", fields, &count), 1) << "names as everywhere: any case, blanks behind";
    ASSERT_EQ(count, 3);
    WdbRecordControl* made = control("T", WDB_MODE_READ);
    for (int32_t n = 1; n <= count; ++n) {
        const WdbFieldEntry& entry = fields[n - 1];
        char name[WDB_FIELD_NAME_SIZE] = "";
        int32_t number = n, type = 0;
        uint32_t flags = 0;
        ASSERT_EQ(WdbCheckField(made, name, &number, &type, &flags), 1);
        EXPECT_STREQ(entry.name, name);
        EXPECT_EQ(entry.number, number) << name;
        EXPECT_EQ(entry.type, type) << name;
        EXPECT_EQ(entry.flags, flags) << name;
        EXPECT_EQ(entry.key, n == 1 ? 1 : 0) << name;
    }
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Bulk, WhatIsRefused) {
    WdbFieldEntry fields[3];
    std::memset(fields, 'x', sizeof fields);
    int32_t answer = -7;
    const struct {
        const char* base;
        WdbFieldEntry* fields;
        int32_t count;
        int32_t status;
        int32_t countAfter;
        const char* reason;
    } rows[] = {
        {"T", fields, 2, WDB_E_BUFFER, 3, "one entry is missing"},
        {"T", nullptr, 0, WDB_E_BUFFER, 3, "asked for the number alone"},
        {"T", nullptr, 3, WDB_E_ARGUMENT, 3, "no array"},
        {"T", fields, -1, WDB_E_ARGUMENT, -1, "a negative size"},
        {"ABSENT", fields, 3, WDB_E_BASE, 3, "no such base"},
        {nullptr, fields, 3, WDB_E_BASE, 3, "no name"},
    };
    for (const auto& row : rows) {
        int32_t count = row.count;
        EXPECT_EQ(WdbBaseFields(row.base, row.fields, &count), row.status) << row.reason;
        EXPECT_EQ(count, row.countAfter) << row.reason;
        EXPECT_EQ(fields[0].name[0], 'x') << row.reason;
    }
    EXPECT_EQ(WdbBaseFields("T", fields, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbIndexBehind("ABSENT", &answer), WDB_E_BASE);
    EXPECT_EQ(WdbIndexBehind("T", nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(answer, -7);
}

TEST_F(Bulk, OpeningABaseIsWhatTheCommandsDo) {
    int32_t rows = 0, late = -1;
    ASSERT_EQ(insert("T", {"a", "words"}), 1);
    EXPECT_EQ(WdbOpenIndexed("T", &late), 1);
    EXPECT_EQ(late, 1) << "the index is behind";
    EXPECT_EQ(WdbSearchResult(nullptr, &rows, nullptr, nullptr, nullptr), WDB_FAIL) << "nothing was opened";
    ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
    for (const bool saved : {false, true}) {
        if (saved) {
            ASSERT_EQ(WdbSaveStatus(), 1);
        }
        ASSERT_EQ(WdbOpenIndexed("t ", &late), 1);
        EXPECT_EQ(late, 0);
        ASSERT_EQ(WdbSearchResult(nullptr, &rows, nullptr, nullptr, nullptr), 1);
        EXPECT_EQ(rows, 1) << "all records of the base are the result";
    }
    ASSERT_EQ(insert("T", {"b", "words"}), 1);
    EXPECT_EQ(WdbOpenIndexed("T", &late), 1);
    EXPECT_EQ(late, 1) << "by what the session has not committed yet";
    ASSERT_EQ(WdbLoadStatus(3), 1);
    EXPECT_EQ(WdbOpenIndexed("ABSENT", &late), WDB_E_BASE);
    EXPECT_EQ(WdbOpenIndexed("T", nullptr), WDB_E_ARGUMENT);

    ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
    ASSERT_EQ(WdbOpenIndexed("T", &late), 1);
    EXPECT_EQ(WdbExecuteCcl("FIND T.NAME=nobody", nullptr), WDB_E_CCL_NO_HITS);
    EXPECT_EQ(WdbAllowNoHits(), 1);
    EXPECT_EQ(WdbExecuteCcl("FIND T.NAME=nobody", nullptr), 1);
}

// A state that the session keeps under its saved status tells nothing of what others wrote since.
TEST_F(Bulk, TheIndexIsBehindByWhatAnotherSessionWrote) {
    int32_t late = -1;
    ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(WdbOpenIndexed("T", &late), 1);
    EXPECT_EQ(late, 0);
    WdbSession* other = open();
    ASSERT_EQ(WdbBindSession(other), 1);
    EXPECT_EQ(insert("T", {"c", "words"}), 1);
    EXPECT_EQ(WdbCloseSession(&other), 1);
    ASSERT_EQ(WdbBindSession(session_), 1);
    ASSERT_EQ(WdbOpenIndexed("T", &late), 1);
    EXPECT_EQ(late, 1);
    ASSERT_EQ(WdbLoadStatus(3), 1);
}

TEST_F(Bulk, WhoWatchesTheCallsSeesTheSingleOnes) {
    WdbFieldEntry fields[3];
    int32_t count = 3, answer = 0;
    ASSERT_EQ(WdbInjectFailure("WdbCheckField", 0, WDB_E_STORAGE), 1);
    EXPECT_EQ(WdbBaseFields("T", fields, &count), WDB_E_UNSUPPORTED);
    EXPECT_EQ(WdbIndexBehind("T", &answer), WDB_E_UNSUPPORTED);
    EXPECT_EQ(WdbOpenIndexed("T", &answer), WDB_E_UNSUPPORTED);
    EXPECT_EQ(WdbAllowNoHits(), WDB_E_UNSUPPORTED);
    ASSERT_EQ(WdbInjectFailure(nullptr, 0, 0), 1);
    EXPECT_EQ(WdbBaseFields("T", fields, &count), 1);
    ASSERT_EQ(WdbSetTrace([](void*, const char*, int32_t) {}, nullptr), 1);
    EXPECT_EQ(WdbBaseFields("T", fields, &count), WDB_E_UNSUPPORTED);
    ASSERT_EQ(WdbSetTrace(nullptr, nullptr), 1);
    ASSERT_EQ(WdbSetProfile([](void*, int32_t, const char*, int64_t, int64_t) {}, nullptr), 1);
    EXPECT_EQ(WdbOpenIndexed("T", &answer), WDB_E_UNSUPPORTED) << "commands are profiled";
    EXPECT_EQ(WdbAllowNoHits(), WDB_E_UNSUPPORTED);
    ASSERT_EQ(WdbSetProfile(nullptr, nullptr), 1);
    EXPECT_EQ(WdbIndexBehind("T", &answer), 1);
    EXPECT_EQ(WdbOpenIndexed("T", &answer), 1);
}

TEST_F(Bulk, TheIndexIsBehindAsItsDatesSay) {
    ASSERT_EQ(insert("T", {"a", "words"}), 1);
    EXPECT_EQ(behind("T"), 1);
    ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
    EXPECT_EQ(behind("T"), 0);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"b", "words"}), 1);
    EXPECT_EQ(behind("T"), 1) << "by what the session has not committed yet";
    ASSERT_EQ(WdbLoadStatus(3), 1);
    EXPECT_EQ(behind("T"), 1);
    ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
    EXPECT_EQ(behind("T"), 0);
}

}  // namespace
