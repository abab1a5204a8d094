// Rows in blocks: the same bytes as row by row.
#include <array>

#include "include/wdb_bulk.h"
#include "tests/unit/api/ApiTest.h"

namespace {

// A row of the kernel's form, copied.
struct Row {
    int32_t status = 0;
    std::vector<uint32_t> words;
    std::string data;
    bool operator==(const Row&) const = default;
};

class RowBlocks : public ApiTest {
protected:
    static constexpr int32_t kRecords = 700;  // more than the kernel numbers ahead at once

    void SetUp() override {
        ApiTest::SetUp();
        createBase("T", {{"NAME", "PHRASE"}, {"NOTE", "TEXT"}, {"SIZE", "INTEGER"}});
        createBase("U", {{"SIZE", "INTEGER"}, {"MORE", "PHRASE"}});
        ASSERT_EQ(WdbSaveStatus(), 1);
        for (int32_t i = 1; i <= kRecords; ++i) {
            const std::string name = i % 11 == 0 ? "" : "n" + std::to_string(i);
            const std::string note = i % 3 == 0 ? "" : "some words " + std::string(size_t(i % 40), 'w');
            ASSERT_EQ(insert("T", {name, note, std::to_string(i * 37 % 500)}), 1);
        }
        for (int32_t i = 1; i <= 60; ++i)
            ASSERT_EQ(insert("U", {std::to_string(i), "m" + std::to_string(i % 7)}), 1);
        ASSERT_EQ(WdbLoadStatus(3), 1);
        ASSERT_EQ(ccl("DEF FIN MIN=0"), 1);
    }
    static Row alone(int32_t set, int32_t index) {
        char* items = nullptr;
        uint32_t* words = nullptr;
        Row row;
        row.status = WdbGetRows(set, index, 1, &items, &words);
        if (row.status != 1) return row;
        row.words.assign(words, words + words[1]);
        row.data.assign(items, sizeOf(words));
        EXPECT_EQ(WdbDeallocate(items), 1);
        EXPECT_EQ(WdbDeallocate(words), 1);
        return row;
    }
    static size_t sizeOf(const uint32_t* words) {
        size_t size = 1;
        for (uint32_t item = 0; item < words[0]; ++item)
            size += words[2 + 2 * item] + ((words[3 + 2 * item] & 128) != 0 ? 1 : 0);
        return size;
    }
    // The rows of a block; when there is none, the status alone.
    static std::vector<Row> block(int32_t set, int32_t index, int32_t count) {
        char* items = nullptr;
        uint32_t* words = nullptr;
        const int32_t status = WdbGetRowBlock(set, index, &count, &items, &words);
        if (status != 1) {
            EXPECT_EQ(count, 0);
            EXPECT_TRUE(items == nullptr && words == nullptr);
            return {{status, {}, {}}};
        }
        std::vector<Row> rows;
        const uint32_t* descriptor = words;
        const char* data = items;
        for (int32_t i = 0; i < count; ++i) {
            Row& row = rows.emplace_back();
            row.status = 1;
            row.words.assign(descriptor, descriptor + descriptor[1]);
            row.data.assign(data, sizeOf(descriptor));
            data += row.data.size();
            descriptor += descriptor[1];
        }
        EXPECT_EQ(WdbDeallocate(words), 1) << "one piece of memory";
        return rows;
    }
    // All rows of the current set, once alone and once in blocks of a size.
    static void expectSame(int32_t blockSize, const std::string& what) {
        int32_t set = 0, hits = 0;
        ASSERT_EQ(WdbSearchResult(&set, &hits, nullptr, nullptr, nullptr), 1) << what;
        for (int32_t at = 0; at < hits;) {
            const std::vector<Row> rows = block(set, at, blockSize);
            ASSERT_LE(rows.size(), static_cast<size_t>(blockSize)) << what;
            for (const Row& row : rows) {
                ASSERT_EQ(row, alone(set, at)) << what << ", row " << at;
                ++at;
            }
        }
        EXPECT_EQ(block(set, hits, blockSize).front().status, 0) << what << ": behind the last row";
    }
};

TEST_F(RowBlocks, AreTheRowsThatComeAlone) {
    const struct {
        const char* what;
        const char* command;
    } rows[] = {
        {"all records in their order", "SEL FRL(T) FIELD(T.NAME, T.SIZE, T.0)"},
        {"texts, which come as references", "SEL FRL(T) FIELD(T.NOTE, T.NAME) WHR(T.SIZE=100 TO 300)"},
        {"ordered", "SEL FRL(T) FIELD(T.SIZE, T.NAME) SORT(T.SIZE DES, T.NAME)"},
        {"arithmetic and constants", "SEL FRL(T) FIELD(T.SIZE + 1, \"c\", NULL) WHR(T.NAME=n1$)"},
        {"a join", "SEL FRL(U, T) FIELD(U.MORE, T.NAME) INNER(U.SIZE=T.SIZE)"},
        {"an outer join", "SEL FRL(T, U) FIELD(T.NAME, U.MORE) LEFT(T.SIZE=U.SIZE) WHR(T.SIZE=50 TO 70)"},
        {"groups", "SEL FRL(U) FIELD(U.MORE, COUNT(*), SUM(U.SIZE)) GROUP(U.MORE)"},
        {"without any row", "SEL FRL(T) FIELD(T.NAME) WHR(T.NAME=absent)"},
        {"no base at all", "SEL FRL() FIELD(\"c\")"},
        {"a record set", "FIN T.SIZE=7 TO 90"},
    };
    ASSERT_EQ(ccl("BAS T"), 1);
    for (const auto& row : rows) {
        ASSERT_EQ(ccl(row.command), 1) << row.what;
        for (const int32_t size : {1, 7, 256}) expectSame(size, row.what);
    }
    EXPECT_EQ(ccl("BAS T, U"), 1);
    ASSERT_EQ(ccl("FIN SIZE=10 TO 12"), 1);
    for (const int32_t size : {1, 7, 256}) expectSame(size, "records of two bases");
    ASSERT_EQ(ccl("SEL FRL(T) FIELD(T.NAME) WHR(T.SIZE=1 TO 40)"), 1);
    const WdbLiveCounts counts = live();
    EXPECT_EQ(counts.rowBuffers, 0) << "everything was given back";
}

TEST_F(RowBlocks, EndWhereARowCannotBeGiven) {
    ASSERT_EQ(ccl("SEL FRL(T) FIELD(T.NAME, T.SIZE)"), 1);
    WdbRecordControl* made = control("T", WDB_MODE_DELETE);
    for (const int32_t number : {1, 5, 6}) {
        ASSERT_EQ(WdbGetRecordInBase(made, number), 1);
        ASSERT_EQ(WdbDeleteRecordInBase(made), 1);
    }
    ASSERT_EQ(WdbDeleteRecordControl(&made), 1);
    const struct {
        int32_t first;
        size_t rows;
        int32_t status;
        const char* reason;
    } rows[] = {
        {0, 1, WDB_E_DELETED, "the first one is gone: its status"},
        {1, 3, 1, "up to the one before"},
        {4, 1, WDB_E_DELETED, "gone"},
        {5, 1, WDB_E_DELETED, "gone too"},
        {6, 20, 1, "as many as were asked for"},
        {kRecords - 2, 2, 1, "no more than there are"},
        {kRecords, 1, 0, "none behind the last"},
    };
    for (const auto& row : rows) {
        const std::vector<Row> found = block(1, row.first, 20);
        ASSERT_EQ(found.size(), row.rows) << row.reason;
        EXPECT_EQ(found.front().status, row.status) << row.reason;
        EXPECT_EQ(alone(1, row.first), found.front()) << row.reason;
    }
}

TEST_F(RowBlocks, LargeRowsComeInSeveralBlocks) {
    createBase("W", {{"WIDE", "PHRASE"}});
    ASSERT_EQ(WdbSaveStatus(), 1);
    const std::string wide(4000, 'w');
    for (int32_t i = 0; i < 200; ++i) ASSERT_EQ(insert("W", {wide + std::to_string(i)}), 1);
    ASSERT_EQ(WdbLoadStatus(3), 1);
    ASSERT_EQ(ccl("SEL FRL(W) FIELD(W.WIDE, W.WIDE)"), 1);
    const size_t first = block(0, 0, 200).size();
    EXPECT_GT(first, 20u);
    EXPECT_LT(first, 60u) << "some 256 KB";
    expectSame(200, "wide rows");
}

TEST_F(RowBlocks, WhatIsRefused) {
    ASSERT_EQ(ccl("SEL FRL(U) FIELD(U.SIZE)"), 1);
    char* items = nullptr;
    uint32_t* words = nullptr;
    int32_t count = 3;
    EXPECT_EQ(WdbGetRowBlock(1, 0, nullptr, &items, &words), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbGetRowBlock(1, 0, &count, nullptr, &words), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbGetRowBlock(1, 0, &(count = 3), &items, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(block(1, -1, 3).front().status, WDB_E_ARGUMENT);
    EXPECT_EQ(block(1, 0, 0).front().status, WDB_E_ARGUMENT);
    EXPECT_EQ(block(1, 0, -3).front().status, WDB_E_ARGUMENT);
    EXPECT_EQ(block(9, 0, 3).front().status, WDB_E_CCL_SET);
    EXPECT_EQ(block(1, 0, INT32_MAX).size(), 60u);
    ASSERT_EQ(WdbInjectFailure("WdbGetRows", 0, WDB_E_STORAGE), 1);
    EXPECT_EQ(block(1, 0, 3).front().status, WDB_E_UNSUPPORTED)
        << "who watches the calls sees the single ones";
    ASSERT_EQ(WdbInjectFailure(nullptr, 0, 0), 1);
    ASSERT_EQ(WdbSetTrace([](void*, const char*, int32_t) {}, nullptr), 1);
    EXPECT_EQ(block(1, 0, 3).front().status, WDB_E_UNSUPPORTED);
    ASSERT_EQ(WdbSetTrace(nullptr, nullptr), 1);
    EXPECT_EQ(block(1, 0, 3).size(), 3u);
    ASSERT_EQ(WdbBindSession(nullptr), 1);
    EXPECT_EQ(block(1, 0, 3).front().status, WDB_E_NO_SESSION);
    ASSERT_EQ(WdbBindSession(session_), 1);
}

}  // namespace
