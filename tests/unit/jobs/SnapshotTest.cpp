#include <gtest/gtest.h>

#include <thread>

#include "kernel/jobs/IndexJob.h"
#include "tests/unit/catalog/HomeFixture.h"

namespace wdb {
namespace {

using Numbers = std::vector<RecordNumber>;

class SnapshotTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(home_.createBase("T"), WDB_OK);
        base_ = *home_->find("T");
    }
    TempDirectory parent_;
    Home home_{parent_ / "home"};
    std::shared_ptr<OpenBase> base_;
};

TEST_F(SnapshotTest, SeesItsStateWhateverFollows) {
    ASSERT_TRUE(putRow(home_, base_, 0, "a", "red"));
    const auto before = base_->snapshot();
    ASSERT_TRUE(before);
    ASSERT_TRUE(putRow(home_, base_, 1, "a", "blue"));
    ASSERT_TRUE(putRow(home_, base_, 0, "b", "red"));
    ASSERT_EQ(mergeQueue(*home_, base_, home_.lock()), WDB_OK);
    ASSERT_EQ(removeRow(home_, base_, 2, "b"), WDB_OK);
    EXPECT_EQ(toVector(before->index().word(2, Pattern("red"))), Numbers{1});
    EXPECT_EQ(toVector(before->index().live()), Numbers{1});
    EXPECT_EQ(before->liveCount(), 1u);
    EXPECT_EQ(before->record(1)->items(2).first(), "red");
    EXPECT_EQ(findWord(*base_, "red"), Numbers{});
    EXPECT_EQ(findWord(*base_, "blue"), Numbers{1});
    EXPECT_EQ(base_->snapshot()->record(2).status(), WDB_E_DELETED);
    EXPECT_EQ(base_->snapshot()->record(3).status(), WDB_FAIL);
}

TEST_F(SnapshotTest, AUnitIsSeenByItsOwnSessionOnly) {
    ASSERT_TRUE(putRow(home_, base_, 0, "a", "red"));
    {
        SessionUnit unit(home_.lock());
        UnitBase* joined = *unit.base(base_);
        ASSERT_TRUE(putRow(*joined, 0, "b", "red"));
        ASSERT_TRUE(putRow(*joined, 1, "a", "blue"));
        EXPECT_EQ(findWord(*base_, "red", joined), Numbers{2});
        EXPECT_EQ(findWord(*base_, "red"), Numbers{1});
        const auto own = base_->snapshot(joined);
        EXPECT_EQ(own->liveCount(), 2u);
        EXPECT_EQ(own->record(2)->items(2).first(), "red");
        EXPECT_GT(own->commitNumber(), base_->snapshot()->commitNumber());
    }
    EXPECT_EQ(findWord(*base_, "red"), Numbers{1}) << "the unit was dropped";
    EXPECT_EQ(*putRow(home_, base_, 0, "b", "red"), 2u) << "its numbers are free again, nobody has seen them";
    EXPECT_EQ(findWord(*base_, "red"), (Numbers{1, 2}));
}

TEST_F(SnapshotTest, WritersAndReadersInThreads) {
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back([&] {
            size_t last = 0;
            while (!done) {
                const auto snapshot = base_->snapshot();
                if (!snapshot) {
                    ++wrong;
                    continue;
                }
                const size_t found = toVector(snapshot->index().word(2, Pattern("word"))).size();
                if (found != snapshot->liveCount() || found < last) ++wrong;
                last = found;
            }
        });
    }
    for (int i = 0; i < 60; ++i) {
        ASSERT_TRUE(putRow(home_, base_, 0, std::to_string(i), "a word"));
        if (i % 20 != 19) continue;
        ASSERT_EQ(mergeQueue(*home_, base_, home_.lock()), WDB_OK);
    }
    done = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(findWord(*base_, "word").size(), 60u);
}

TEST_F(SnapshotTest, ALateReaderInvertsWhatTheQueueHasReplaced) {
    home_.close();
    base_.reset();
    {
        const Home home(parent_ / "home", false);
        const auto base = *home->find("T");
        ASSERT_TRUE(putRow(home, base, 0, "a", "first"));
        ASSERT_TRUE(putRow(home, base, 1, "a", "second"));
        ASSERT_TRUE(putRow(home, base, 0, "b", "first"));
        ASSERT_EQ(removeRow(home, base, 2, "b"), WDB_OK);
    }
    const Home home(parent_ / "home", false);
    const auto base = *home->find("T");
    EXPECT_EQ(findWord(*base, "first"), Numbers{});
    EXPECT_EQ(findWord(*base, "second"), Numbers{1});
}

}  // namespace
}  // namespace wdb
