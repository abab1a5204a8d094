#include "kernel/jobs/IndexJob.h"

#include <gtest/gtest.h>

#include "kernel/check/BaseVerifier.h"
#include "kernel/index/Merger.h"
#include "kernel/jobs/IndexShrink.h"
#include "tests/unit/catalog/HomeFixture.h"

namespace wdb {
namespace {

using Numbers = std::vector<RecordNumber>;

class IndexJobTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(home_.createBase("T"), WDB_OK);
        base_ = *home_->find("T");
    }
    // Fills in units of `perUnit` rows.
    void fill(int rows, const std::string& note, int perUnit = 1000) {
        for (int done = 0; done < rows;) {
            SessionUnit unit(home_.lock());
            UnitBase* joined = *unit.base(base_);
            for (int i = 0; i < perUnit && done < rows; ++i, ++done) {
                ASSERT_TRUE(putRow(*joined, 0, "row " + std::to_string(joined->writer->meta().nextRecord),
                                   note, done));
            }
            ASSERT_EQ(unit.commit(2000), WDB_OK);
        }
    }
    void expectSound(const char* when) {
        auto snapshot = base_->snapshot();
        ASSERT_TRUE(snapshot);
        EXPECT_EQ(verifyBase(*snapshot, {},
                             [&](Severity, RecordNumber record, const std::string& text) {
                                 ADD_FAILURE() << when << ": record " << record << ": " << text;
                                 return true;
                             }),
                  WDB_OK)
            << when;
    }

    TempDirectory parent_;
    Home home_{parent_ / "home"};
    std::shared_ptr<OpenBase> base_;
};

TEST_F(IndexJobTest, DatesAsTheEngineReadsThem) {
    auto stamps = *base_->stamps();
    EXPECT_EQ(stamps.modified, stamps.indexed) << "a new base";
    ASSERT_TRUE(putRow(home_, base_, 0, "a", "x"));
    stamps = *base_->stamps();
    EXPECT_GT(stamps.modified, stamps.indexed);
    EXPECT_EQ(stamps.pending, 1u);
    EXPECT_EQ(stamps.liveCount, 1u);
    ASSERT_EQ(runIndexJob(*home_, base_, true, 1), WDB_OK);
    const auto after = *base_->stamps();
    EXPECT_GE(after.indexed, after.modified) << "whatever the clock says";
    EXPECT_EQ(after.modified, stamps.modified);
    ASSERT_EQ(runIndexJob(*home_, base_, true, 1), WDB_OK);
    EXPECT_GT(base_->stamps()->indexed, after.indexed) << "also with nothing to do";
    SessionUnit unit(home_.lock());
    UnitBase* joined = *unit.base(base_);
    ASSERT_TRUE(putRow(*joined, 0, "b", "x"));
    EXPECT_GT(base_->stamps(joined)->modified, after.modified);
    EXPECT_EQ(base_->stamps(joined)->liveCount, 2u);
}

TEST_F(IndexJobTest, MergesAboveTheLimitOnly) {
    fill(static_cast<int>(kMergeRecords) - 1, "word");
    ASSERT_EQ(mergeIfDue(*home_, base_), WDB_OK);
    EXPECT_EQ(base_->stamps()->pending, kMergeRecords - 1);
    ASSERT_TRUE(putRow(home_, base_, 0, "last", "word"));
    {
        const WriterHold busy = home_.lock();
        ASSERT_EQ(mergeIfDue(*home_, base_), WDB_OK) << "somebody writes: left to a later try";
        EXPECT_EQ(base_->stamps()->pending, kMergeRecords);
    }
    ASSERT_EQ(mergeIfDue(*home_, base_), WDB_OK);
    EXPECT_EQ(base_->stamps()->pending, 0u);
    EXPECT_EQ(findWord(*base_, "word").size(), kMergeRecords);
    expectSound("after the merge");
}

TEST_F(IndexJobTest, LargeBasesMergeLessOften) {
    const struct {
        uint64_t live, records;
    } rows[] = {{0, 4096}, {262'207, 4096}, {1'000'000, 15'625}, {4'000'000'000, 16'384}};
    for (const auto& row : rows) {
        EXPECT_EQ(mergeLimits(row.live).records, row.records) << row.live;
        EXPECT_EQ(mergeLimits(row.live).bytes, row.records * 2048) << row.live;
    }
}

TEST_F(IndexJobTest, MergesOfChangesAndDeletions) {
    fill(300, "old words here");
    ASSERT_EQ(mergeQueue(*home_, base_, home_.lock()), WDB_OK);
    expectSound("all new");
    ASSERT_TRUE(putRow(home_, base_, 5, "changed", "new words"));
    ASSERT_TRUE(putRow(home_, base_, 5, "changed again", "newer words"));
    ASSERT_EQ(removeRow(home_, base_, 6, "row 6"), WDB_OK);
    ASSERT_TRUE(putRow(home_, base_, 0, "short-lived", "gone"));
    ASSERT_EQ(removeRow(home_, base_, 301, "short-lived"), WDB_OK);
    EXPECT_EQ(findWord(*base_, "newer"), Numbers{5});
    expectSound("before the merge");
    ASSERT_EQ(mergeQueue(*home_, base_, home_.lock()), WDB_OK);
    EXPECT_EQ(findWord(*base_, "newer"), Numbers{5});
    EXPECT_EQ(findWord(*base_, "new"), Numbers{});
    EXPECT_EQ(findWord(*base_, "old").size(), 298u);
    EXPECT_EQ(findWord(*base_, "gone"), Numbers{});
    EXPECT_EQ(base_->stamps()->pending, 0u);
    expectSound("after the merge");
}

// A merge ends in three commits; after each of them the base must be whole.
TEST_F(IndexJobTest, AMergeThatStopsBetweenItsFiles) {
    fill(50, "words");
    const auto files = base_->indexFiles();
    {
        const WriterHold hold = home_.lock();
        const auto snapshot = base_->snapshot();
        std::vector<IndexChange> changes;
        for (RecordNumber number = 1; number <= 50; ++number)
            changes.push_back({number, std::nullopt, *snapshot->record(number)});
        auto txn = files->words->write();
        ASSERT_TRUE(txn);
        ASSERT_EQ(mergeWords(*txn, snapshot->schema(), changes, snapshot->position()), WDB_OK);
        ASSERT_EQ(txn->commit(), WDB_OK);
    }
    EXPECT_EQ(findWord(*base_, "words").size(), 50u);
    expectSound("the word file alone has it");
    ASSERT_TRUE(putRow(home_, base_, 1, "changed", "other"));
    expectSound("and a change behind it");
    ASSERT_EQ(mergeQueue(*home_, base_, home_.lock()), WDB_OK);
    EXPECT_EQ(findWord(*base_, "words").size(), 49u);
    expectSound("after the next merge");
    EXPECT_EQ(base_->stamps()->pending, 0u);
}

TEST_F(IndexJobTest, RebuildsUnderReaders) {
    fill(100, "words");
    const auto before = base_->snapshot();
    ASSERT_TRUE(before);
    const std::string oldFile = base_->definition()->wordPath();
    ASSERT_EQ(rebuildIndex(*home_, base_, home_.lock(), 3000), WDB_OK);
    EXPECT_NE(base_->definition()->wordPath(), oldFile);
    EXPECT_FALSE(std::filesystem::exists(oldFile));
    EXPECT_EQ(toVector(before->index().word(2, Pattern("words"))).size(), 100u)
        << "who reads the old files keeps them";
    EXPECT_EQ(findWord(*base_, "words").size(), 100u);
    EXPECT_EQ(base_->stamps()->pending, 0u);
    expectSound("built anew");
}

TEST_F(IndexJobTest, ShrinksFilesWithManyFreePages) {
    fill(2000, "words");
    ASSERT_EQ(mergeQueue(*home_, base_, home_.lock()), WDB_OK);
    ASSERT_EQ(shrinkIndexIfDue(*home_, *base_, home_.lock(), uint64_t{1} << 30), WDB_OK);
    const std::string first = base_->definition()->wordPath();
    for (int round = 0; round < 3; ++round) {
        SessionUnit unit(home_.lock());
        UnitBase* joined = *unit.base(base_);
        for (RecordNumber number = 1; number <= 2000; number += 4)
            ASSERT_TRUE(putRow(*joined, number, std::to_string(number * 7919 % 2003) + " changed",
                               "other words", round));
        ASSERT_EQ(unit.commit(3000, true), WDB_OK);
        ASSERT_EQ(mergeQueue(*home_, base_, unit.unit().takeHold()), WDB_OK);
    }
    EXPECT_EQ(base_->definition()->wordPath(), first) << "too small to be worth it";
    const auto used = [&] {
        const auto files = base_->indexFiles();
        return files->words->usedBytes() + files->values->usedBytes();
    };
    const uint64_t large = used();
    const auto before = base_->snapshot();
    ASSERT_TRUE(before);
    ASSERT_EQ(shrinkIndexIfDue(*home_, *base_, home_.lock(), 0), WDB_OK);
    EXPECT_LT(used(), large * 2 / 3);
    EXPECT_FALSE(std::filesystem::exists(first));
    EXPECT_EQ(toVector(before->index().word(2, Pattern("other"))).size(), 500u) << "the old files' reader";
    EXPECT_EQ(findWord(*base_, "other").size(), 500u);
    expectSound("copied");
    const std::string second = base_->definition()->wordPath();
    ASSERT_EQ(shrinkIndexIfDue(*home_, *base_, home_.lock(), 0), WDB_OK);
    EXPECT_EQ(base_->definition()->wordPath(), second) << "nothing is free";
    ASSERT_TRUE(putRow(home_, base_, 0, "behind", "other"));
    ASSERT_EQ(mergeQueue(*home_, base_, home_.lock()), WDB_OK);
    EXPECT_EQ(findWord(*base_, "other").size(), 501u);
    expectSound("merged into the copy");
}

TEST_F(IndexJobTest, ALargeQueueIsBuiltRatherThanMerged) {
    fill(17000, "words", 17000);
    ASSERT_EQ(mergeIfDue(*home_, base_), WDB_OK);
    EXPECT_EQ(base_->definition()->generation, 2u);
    EXPECT_EQ(base_->stamps()->pending, 0u);
    EXPECT_EQ(findWord(*base_, "words").size(), 17000u);
}

}  // namespace
}  // namespace wdb
