#include "kernel/catalog/SystemDirectory.h"
#include "tests/unit/rules/RulesFixture.h"

// Rules of other people's bases.

namespace {

class RuleRightsTest : public RulesFixture {
protected:
    // "boss" owns C, whose rows refer to P; "ann", who may make bases, owns P.
    void SetUp() override {
        RulesFixture::SetUp();
        {
            const auto directory = wdb::SystemDirectory::open(home_, {});
            ASSERT_TRUE(directory);
            const auto hold = (*directory)->acquireWriter(std::chrono::milliseconds(1000));
            ASSERT_TRUE(hold);
            ASSERT_EQ((*directory)->storeUser({"ann", "", WDB_USER_CREATE}, *hold), 1);
        }
        ASSERT_EQ(WdbOpenSession(home_.c_str(), "ann", "", 0, &ann_), 1);
        ASSERT_EQ(WdbBindSession(ann_), 1);
        createBase("P", {{"K", "INTEGER"}, {"N", "INTEGER"}}, "K");
        for (const char* key : {"1", "2"}) ASSERT_EQ(insert("P", {key, ""}), 1);
        ASSERT_EQ(WdbBindSession(session_), 1);
        createBase("C", {{"K", "INTEGER"}, {"N", "INTEGER"}});
    }
    void TearDown() override {
        EXPECT_EQ(WdbCloseSession(&ann_), 1);
        RulesFixture::TearDown();
    }
    void rule(int32_t action) {
        ASSERT_EQ(WdbBindSession(session_), 1);
        ASSERT_EQ(addRule({"C", "K", "P", "K", action, action}), 1);
        ASSERT_EQ(insert("C", {"1", ""}), 1);
        ASSERT_EQ(WdbBindSession(ann_), 1);
    }
    WdbSession* ann_ = nullptr;
};

TEST_F(RuleRightsTest, ActionsNeedTheRightToWriteWhatTheyChange) {
    rule(WDB_ACT_CASCADE);
    EXPECT_EQ(remove("P", 1), WDB_E_RIGHT) << "a record of a base that ann may not write would go";
    EXPECT_EQ(update("P", 1, 1, "5"), WDB_E_RIGHT);
    EXPECT_EQ(update("P", 1, 2, "5"), 1) << "no key changes";
    EXPECT_EQ(remove("P", 2), 1) << "nobody refers to it";
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(contents("P") + "|" + contents("C"), "1=1/5|1=1/");
    EXPECT_EQ(remove("P", 1), 1) << "an administrator may";
    EXPECT_EQ(contents("C"), "");
}

TEST_F(RuleRightsTest, RefusingNeedsNone) {
    rule(WDB_ACT_RESTRICT);
    EXPECT_EQ(remove("P", 1), WDB_E_REFERENCED);
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(insert("C", {"3", ""}), WDB_E_NO_PARENT);
}

}  // namespace
