// Posting tables and the runs made of them, beside a map that holds the same.
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <random>

#include "kernel/index/SpilledRun.h"
#include "kernel/index/Varint.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {
namespace {

using Model = std::map<std::string, std::map<RecordNumber, std::vector<uint32_t>>>;

std::vector<uint32_t> positionsIn(Slice stored) {
    std::vector<uint32_t> positions;
    uint32_t position = 0, distance = 0;
    for (const char* at = stored.data(); readVarint(at, stored.data() + stored.size(), distance);)
        positions.push_back(position += distance);
    return positions;
}

Model contentsOf(RunMerger runs) {
    Model found;
    std::string before;
    while (runs.nextKey()) {
        EXPECT_LT(before, runs.key());
        before = runs.key();
        RecordNumber last = 0;
        while (runs.nextPosting()) {
            EXPECT_GT(runs.record(), last) << before;
            last = runs.record();
            found[before][last] = positionsIn(runs.positions());
        }
    }
    return found;
}

// Lengths on both sides of what an entry and its parts hold, and keys with the same beginnings.
std::string keyOf(uint32_t number) {
    std::string key(number % 5 == 0 ? 24 : number % 7 == 0 ? 25 : number % 11 == 0 ? 400 : 8, 'k');
    for (size_t at = key.size(); number > 0; number /= 10) key[--at] = static_cast<char>('0' + number % 10);
    return key;
}

struct Case {
    const char* reason;
    Postings kind;
    size_t tables;
    bool spilled;  // all but the last
};

class PostingTableTest : public testing::TestWithParam<Case> {};

TEST_P(PostingTableTest, HoldsWhatWasAdded) {
    const Case& test = GetParam();
    const TempDirectory directory;
    const bool withPositions = test.kind == Postings::Positions;
    std::mt19937 random(7);
    Model model;
    std::deque<PostingTable> tables;
    while (tables.size() < test.tables) tables.emplace_back(test.kind);
    for (RecordNumber record = 1; record <= 200000; record += random() % 50 == 0 ? 20000 : 1) {
        PostingTable& table = tables[random() % tables.size()];
        for (uint32_t i = 0; i < 40; ++i) {
            // A few keys are in nearly every record, most in few.
            const std::string key = keyOf(random() % 3 == 0 ? random() % 20 : random() % 30000);
            auto& positions = model[key][record];
            if (!withPositions) {
                table.add(key, record);
            } else if (positions.size() < 4) {
                const uint32_t first = positions.empty() ? 0 : positions.back() + 1;
                positions.push_back(positions.size() == 3 ? UINT32_MAX - 1 : first + random() % 300);
                table.add(key, record, positions.back());
            }
        }
    }
    std::vector<std::unique_ptr<PostingRun>> runs;
    for (PostingTable& table : tables) {
        const auto order = table.finish();
        if (!test.spilled || &table == &tables.back()) {
            runs.push_back(memoryRun(table, order));
            continue;
        }
        auto run = spillRun(table, order, directory.path());
        ASSERT_TRUE(run) << test.reason;
        runs.push_back(std::move(*run));
        table.clear();
    }
    EXPECT_EQ(contentsOf(RunMerger(std::move(runs), test.kind)), model) << test.reason;
}

INSTANTIATE_TEST_SUITE_P(Kinds, PostingTableTest,
                         testing::Values(Case{"one worker", Postings::Positions, 1, false},
                                         Case{"keys in several tables", Postings::Positions, 3, false},
                                         Case{"runs that end before others", Postings::Positions, 4, true},
                                         Case{"numbers alone", Postings::Records, 2, true}));

TEST(PostingTable, IsEmptyAgainAfterClear) {
    PostingTable table(Postings::Records);
    EXPECT_TRUE(table.finish().empty()) << "nothing was added";
    for (RecordNumber record = 1; record < 5; ++record) table.add("key", record);
    table.clear();
    table.add("other", 9);
    const auto order = table.finish();
    ASSERT_EQ(order.size(), 1u);
    EXPECT_EQ(table.key(order[0]), "other");
    EXPECT_EQ(table.stream(order[0]), Slice("\x09", 1));
}

}  // namespace
}  // namespace wdb
