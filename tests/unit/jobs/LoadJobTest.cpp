#include "kernel/jobs/LoadJob.h"

#include <gtest/gtest.h>

#include "kernel/check/BaseVerifier.h"
#include "kernel/jobs/IndexJob.h"
#include "tests/unit/catalog/HomeFixture.h"

namespace wdb {
namespace {

class LoadJobTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(home_.createBase("T"), WDB_OK);
        base_ = *home_->find("T");
    }
    std::unique_ptr<LoadJob> begin() {
        auto load = LoadJob::begin(home_.shared(), base_, home_.lock());
        EXPECT_TRUE(load) << load.status();
        return load ? std::move(*load) : nullptr;
    }
    void put(LoadJob& load, int rows, const std::string& note) {
        for (int i = 0; i < rows; ++i) {
            const std::string name = "row " + std::to_string(load.unitBase().writer->meta().nextRecord);
            ASSERT_TRUE(putRow(load.unitBase(), 0, name, note, i));
        }
    }
    void expectSound(const std::string& when) {
        auto snapshot = base_->snapshot();
        ASSERT_TRUE(snapshot) << when;
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

TEST_F(LoadJobTest, AllOrNothing) {
    ASSERT_TRUE(putRow(home_, base_, 0, "there before", "words"));
    {
        const auto load = begin();
        put(*load, 100, "words");
        EXPECT_EQ(home_->acquireWriter(std::chrono::milliseconds(0)).status(), WDB_E_LOCKED)
            << "the load is the writer";
        ASSERT_EQ(load->end(false, 3000), WDB_OK);
        EXPECT_TRUE(home_->acquireWriter(std::chrono::milliseconds(0)));
    }
    EXPECT_EQ(findWord(*base_, "words").size(), 1u);
    { put(*begin(), 100, "words"); }
    EXPECT_EQ(findWord(*base_, "words").size(), 1u) << "a load that nobody ended";
    const auto load = begin();
    put(*load, 100, "words");
    EXPECT_EQ(findWord(*base_, "words").size(), 1u) << "not yet";
    ASSERT_EQ(load->end(true, 3000), WDB_OK);
    EXPECT_EQ(findWord(*base_, "words").size(), 101u);
    EXPECT_EQ(base_->stamps()->pending, 101u) << "a small load is left to the queue";
    expectSound("after a small load");
}

TEST_F(LoadJobTest, LargeLoadsLeaveNewIndexFiles) {
    const struct {
        int before;
        int rows;
        bool merged;
        uint32_t generation;
        const char* reason;
    } rows[] = {
        {0, 3000, true, 2, "into an empty base"},
        {100, 3000, true, 3, "into a small one"},
        {0, 500, false, 3, "too few to be worth it"},
    };
    for (const auto& row : rows) {
        {
            SessionUnit unit(home_.lock());
            UnitBase* joined = *unit.base(base_);
            for (int i = 0; i < row.before; ++i) {
                ASSERT_TRUE(putRow(*joined, 0, std::string("before ") + std::to_string(i), "single", i));
            }
            ASSERT_EQ(unit.commit(2000), WDB_OK);
        }
        const auto load = begin();
        put(*load, row.rows, "loaded");
        ASSERT_EQ(load->end(true, 3000), WDB_OK) << row.reason;
        EXPECT_EQ(base_->definition()->generation, row.generation) << row.reason;
        EXPECT_EQ(base_->stamps()->pending == 0, row.merged) << row.reason;
        expectSound(row.reason);
    }
    EXPECT_EQ(findWord(*base_, "loaded").size(), 6500u);
    EXPECT_EQ(findWord(*base_, "single").size(), 100u);
}

TEST_F(LoadJobTest, ChangesAmongNewRecords) {
    ASSERT_TRUE(putRow(home_, base_, 0, "old", "first"));
    const auto load = begin();
    put(*load, 3000, "loaded");
    ASSERT_TRUE(putRow(load->unitBase(), 1, "old", "second", 1));
    ASSERT_TRUE(putRow(load->unitBase(), 7, "row 7 changed", "second", 1));
    ASSERT_EQ(load->unitBase().remove(8), WDB_OK);
    const ValueKey key = valueKey(FieldType::Phrase, "row 8");
    ASSERT_EQ(load->unitBase().writer->dropKey(uniqueKey(1, key.bytes, key.cut, {})), WDB_OK);
    put(*load, 2000, "loaded");
    ASSERT_EQ(load->end(true, 3000), WDB_OK);
    EXPECT_EQ(findWord(*base_, "loaded").size(), 4998u);
    EXPECT_EQ(findWord(*base_, "second"), (std::vector<RecordNumber>{1, 7}));
    EXPECT_EQ(findWord(*base_, "first").size(), 0u);
    expectSound("after a load that changed records");
    ASSERT_EQ(mergeQueue(*home_, base_, home_.lock()), WDB_OK);
    expectSound("after its merge");
}

TEST_F(LoadJobTest, AnEmptyLoad) {
    const auto before = *base_->stamps();
    ASSERT_EQ(begin()->end(true, 3000), WDB_OK);
    EXPECT_EQ(base_->stamps()->modified, before.modified);
}

}  // namespace
}  // namespace wdb
