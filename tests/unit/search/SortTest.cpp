#include <algorithm>
#include <random>
#include <set>

#include "tests/unit/search/SearchFixture.h"

namespace wdb {
namespace {

class SortTest : public SearchFixture {
protected:
    void SetUp() override {
        SearchFixture::SetUp();
        create("T", {{"NAME", FieldType::Phrase}, {"N", FieldType::Integer}, {"NOTE", FieldType::Text}});
        ASSERT_EQ(search.execute("DEF FIN MIN=0"), WDB_OK);
    }

    // Rows of a page of the records from one number on, sorted by N.
    void expectPage(const std::vector<RecordNumber>& expected, size_t page, RecordNumber from,
                    bool descending) {
        if (page + 5 > expected.size()) return;
        const std::string command = "SEL FRL(T) FIELD(T.R) WHERE(R=FROM " + std::to_string(from) +
                                    ") SORT(T.N" + (descending ? " DESC)" : ")");
        ASSERT_EQ(search.execute(command), WDB_OK);
        RowItems row;
        for (size_t i = page; i < page + 5; ++i) {
            ASSERT_EQ(search.fetchRow(0, static_cast<int32_t>(i), row), WDB_OK);
            EXPECT_EQ(print(row), std::to_string(expected[i])) << command << " row " << i;
        }
        ASSERT_EQ(search.fetchRow(0, 0, row), WDB_OK);
        EXPECT_EQ(print(row), std::to_string(expected[0])) << command;
    }
};

struct Row {
    const char* command;
    const char* rows;
    const char* reason;
};

TEST_F(SortTest, OrdersOfFewRows) {
    put("T", {{{"NAME", {"b"}}, {"N", {"3"}}, {"NOTE", {"zeta"}}},
              {{"NAME", {"a"}}, {"N", {"3"}}},
              {{"N", {"", "1"}}},
              {{"NAME", {"C", "0"}}, {"N", {"-1", "9"}}, {"NOTE", {"Alpha"}}},
              {{"NAME", {"b"}}, {"N", {"10"}}}});
    const Row rows[] = {
        {"SEL FRL(T) FIELD(T.R) SORT(T.NAME)", "3 2 1 5 4", "empty values first, equal ones by number"},
        {"SEL FRL(T) FIELD(T.R) SORT(T.NAME DESC)", "4 1 5 2 3",
         "empty values last, equal ones by number all the same"},
        {"SEL FRL(T) FIELD(T.R) SORT(T.N)", "3 4 1 2 5", "by the first item, a gap is empty"},
        {"SEL FRL(T) FIELD(T.R) SORT(T.N.2)", "1 2 5 3 4", "by the second item"},
        {"SEL FRL(T) FIELD(T.R) SORT(T.N,T.NAME)", "3 4 2 1 5", "equal rows by the second key"},
        {"SEL FRL(T) FIELD(T.R) SORT(T.N DESC,T.NAME DESC)", "5 1 2 4 3", "each key its own direction"},
        {"SEL FRL(T) FIELD(T.R) SORT(T.R DESC)", "5 4 3 2 1", "by record number"},
        {"SEL FRL(T) FIELD(T.R) SORT(T.R,T.NAME)", "1 2 3 4 5", "nothing is equal in the number"},
        {"SEL FRL(T) FIELD(T.R,T.NAME,1) SORT(3,2 DESC)", "4|C;0|1 1|b|1 5|b|1 2|a|1 3|-|1",
         "positions; a constant sorts nothing"},
        {"SEL FRL(T) FIELD(T.R) SORT(T.NOTE)", "2 3 5 4 1", "texts as a whole"},
        {"SEL FRL(T) FIELD(T.R) WHERE(T.N=3) SORT(T.NAME)", "2 1", "hits only"},
        {"SEL FRL(T) FIELD(T.R) WHERE(R=77) SORT(T.NAME)", "", "no hits"},
    };
    for (const bool stay : {true, false}) {
        stay_ = stay;
        for (const Row& row : rows)
            EXPECT_EQ(select(row.command), row.rows) << row.command << ": " << row.reason;
    }
}

// A record that is deleted while the rows of its set are read costs one row, however the set is sorted.
TEST_F(SortTest, ADeletedRecordIsOneRow) {
    constexpr RecordNumber kRecords = 900;
    RecordNumber low = 0, high = kRecords + 1, victim = 0;
    for (const bool merged : {false, true}) {
        std::vector<Record> records;
        for (RecordNumber i = 0; i < kRecords / 2; ++i)
            records.push_back(
                {{"NAME", {"n" + std::to_string(i % 50)}}, {"N", {std::to_string(i % 7)}}, {"NOTE", {"t"}}});
        put("T", records);
        if (merged) merge("T");
    }
    struct Case {
        const char* order;
        int32_t readBefore;
    };
    const Case cases[] = {{"T.NAME", 1},   {"T.NAME DESC", 1}, {"T.NAME", 0},           {"T.N,T.NAME", 0},
                          {"T.N,T.R", 70}, {"T.NOTE", 0},      {"T.NAME DESC,T.N", 65}, {"T.N DESC", 300}};
    for (const char* where : {"", " WHERE(T.R<=40)"}) {
        for (const Case& one : cases) {
            ASSERT_EQ(
                search.execute(std::string("SEL FRL(T) FIELD(T.R)") + where + " SORT(" + one.order + ")"),
                WDB_OK);
            SearchCounts counts;
            ASSERT_EQ(search.currentResult(counts), WDB_OK);
            const bool few = *where != 0;
            RowItems row;
            std::set<RecordNumber> seen;
            for (int32_t i = 0; i < std::min(one.readBefore, counts.rows); ++i) {
                ASSERT_EQ(search.fetchRow(0, i, row), WDB_OK);
                seen.insert(row.words[row.words.size() - 2]);
            }
            victim = few ? ++low : --high;
            const bool told = seen.contains(victim);
            remove("T", victim);
            int32_t delivered = static_cast<int32_t>(seen.size()), deleted = 0;
            for (int32_t i = delivered; i < counts.rows; ++i) {
                const Status status = search.fetchRow(0, i, row);
                ASSERT_TRUE(status == WDB_OK || status == WDB_E_DELETED)
                    << one.order << " row " << i << status;
                deleted += status == WDB_E_DELETED;
                if (status != WDB_OK) continue;
                ++delivered;
                EXPECT_TRUE(seen.insert(row.words[row.words.size() - 2]).second) << one.order << " row " << i;
            }
            EXPECT_EQ(deleted, told ? 0 : 1) << one.order << where;
            EXPECT_EQ(delivered + deleted, counts.rows) << one.order << where;
        }
    }
}

// Many rows, pages taken at random: whatever way the order is worked out, it is the same. Before the merge
// all records are placed one by one; after it walks come first, and ranks once they pay.
TEST_F(SortTest, PagesOfManyRowsAgreeWithASortOfAll) {
    std::mt19937 random(7);
    constexpr RecordNumber kRecords = 6000;
    std::vector<Record> records;
    std::vector<int64_t> values(kRecords + 1, INT64_MIN);
    for (RecordNumber i = 1; i <= kRecords; ++i) {
        Record& record = records.emplace_back();
        if (random() % 50 == 0) continue;
        values[i] = static_cast<int64_t>(random() % 2000);
        record["N"] = {std::to_string(values[i])};
    }
    put("T", records);
    for (const bool merged : {false, true}) {
        if (merged) merge("T");
        for (RecordNumber i = 1; merged && i <= kRecords; i += 701) {
            values[i] = 1000 + i % 3;
            replace("T", i, {{"N", {std::to_string(values[i])}}});
        }
        for (const bool descending : {false, true}) {
            // All records; so many that their set is a bitmap; a list of them.
            for (const RecordNumber from : {RecordNumber{1}, RecordNumber{1000}, RecordNumber{5900}}) {
                std::vector<RecordNumber> expected;
                for (RecordNumber i = from; i <= kRecords; ++i) expected.push_back(i);
                std::stable_sort(expected.begin(), expected.end(), [&](RecordNumber a, RecordNumber b) {
                    return descending ? values[a] > values[b] : values[a] < values[b];
                });
                for (const size_t page : {size_t{0}, size_t{30}, size_t{1500}, expected.size() - 5})
                    expectPage(expected, page, from, descending);
            }
        }
    }
    const auto base = *directory_->find("T");
    const auto state = base->snapshot();
    ASSERT_TRUE(state);
    const FieldNumber number = state->schema().find("N")->number;
    EXPECT_NE(base->ranks().find(number, state->valuePosition()), nullptr)
        << "walks after the merge have paid for ranks";
}

TEST_F(SortTest, WritesAfterTheFirstRowsNeitherLoseNorRepeatARow) {
    std::vector<Record> records;
    for (int i = 0; i < 300; ++i) records.push_back({{"N", {std::to_string(i)}}});
    put("T", records);
    ASSERT_EQ(search.execute("SEL FRL(T) FIELD(T.R) SORT(T.N)"), WDB_OK);
    RowItems row;
    ASSERT_EQ(search.fetchRow(0, 0, row), WDB_OK);
    replace("T", 250, {{"N", {"-5"}}});
    std::vector<std::string> seen;
    for (int32_t i = 0; search.fetchRow(0, i, row) == WDB_OK; ++i) seen.push_back(print(row));
    EXPECT_EQ(seen.size(), 300u);
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::unique(seen.begin(), seen.end()) - seen.begin(), 300) << "every record once";
}

TEST_F(SortTest, AStateThatWasGivenUpEndsAnUnfinishedOrder) {
    std::vector<Record> records;
    for (int i = 0; i < 300; ++i) records.push_back({{"N", {std::to_string(i)}}});
    put("T", records);
    ASSERT_EQ(search.execute("SEL FRL(T) FIELD(T.R) SORT(T.N)"), WDB_OK);
    RowItems row;
    ASSERT_EQ(search.fetchRow(0, 0, row), WDB_OK);
    search.snapshotGivenUp(**directory_->find("T"));
    EXPECT_EQ(search.fetchRow(0, 1, row), WDB_OK) << "known already";
    EXPECT_EQ(search.fetchRow(0, 299, row), WDB_E_CHANGED);
}

}  // namespace
}  // namespace wdb
