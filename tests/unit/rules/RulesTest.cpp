#include "tests/unit/rules/RulesFixture.h"

namespace {

constexpr int32_t kRestrict = WDB_ACT_RESTRICT, kCascade = WDB_ACT_CASCADE, kNone = WDB_ACT_NO_ACTION,
                  kNull = WDB_ACT_SET_NULL, kDefault = WDB_ACT_SET_DEFAULT;

class RulesTest : public RulesFixture {
protected:
    // P(K key, N) with the keys 1 to 3; C(ID, K) with the rows 1:1, 2:2, 3:1 and one without a value.
    void parentAndChild(const std::string& type, int32_t onUpdate, int32_t onDelete,
                        const std::string& fallback) {
        createBase("P", {{"K", type}, {"N", "PHRASE"}}, "K");
        createBase("C", {{"ID", "INTEGER"}, {"K", type}}, "ID");
        if (!fallback.empty()) setDefault("C", "K", fallback);
        ASSERT_EQ(addRule({"C", "K", "P", "K", onUpdate, onDelete}), 1);
        for (const char* key : {"1", "2", "3"}) ASSERT_EQ(insert("P", {key, "n"}), 1);
        for (const char* row : {"1", "2", "3"})
            ASSERT_EQ(insert("C", {row, std::string(row) == "2" ? "2" : "1"}), 1);
    }
};

TEST_F(RulesTest, EveryActionOnBothEvents) {
    const struct {
        int32_t onUpdate, onDelete;
        const char* fallback;
        bool deletes;  // the record with the key 1; else its key becomes `key`
        const char* key;
        int32_t status;
        const char* children;
        const char* reason;
    } rows[] = {
        {kRestrict, kRestrict, "", true, "", WDB_E_REFERENCED, "1=1/1 2=2/2 3=3/1", "refused"},
        {kCascade, kNone, "", true, "", WDB_E_REFERENCED, "1=1/1 2=2/2 3=3/1", "no action refuses as well"},
        {kRestrict, kCascade, "", true, "", 1, "2=2/2", "the referring records go"},
        {kRestrict, kNull, "", true, "", 1, "1=1/ 2=2/2 3=3/", "emptied"},
        {kRestrict, kDefault, "3", true, "", 1, "1=1/3 2=2/2 3=3/3", "the default"},
        {kRestrict, kDefault, "9", true, "", WDB_E_NO_PARENT, "1=1/1 2=2/2 3=3/1",
         "a default without parent"},
        {kRestrict, kDefault, "1", true, "", WDB_E_NO_PARENT, "1=1/1 2=2/2 3=3/1", "the default goes itself"},
        {kRestrict, kCascade, "", false, "4", WDB_E_REFERENCED, "1=1/1 2=2/2 3=3/1", "refused"},
        {kNone, kCascade, "", false, "4", WDB_E_REFERENCED, "1=1/1 2=2/2 3=3/1", "refused"},
        {kCascade, kRestrict, "", false, "4", 1, "1=1/4 2=2/2 3=3/4", "the references follow"},
        {kNull, kRestrict, "", false, "4", 1, "1=1/ 2=2/2 3=3/", "emptied"},
        {kDefault, kRestrict, "2", false, "4", 1, "1=1/2 2=2/2 3=3/2", "the default"},
        {kDefault, kRestrict, "1", false, "4", WDB_E_NO_PARENT, "1=1/1 2=2/2 3=3/1", "was the default"},
        {kCascade, kRestrict, "", false, "2", WDB_E_DUPLICATE, "1=1/1 2=2/2 3=3/1", "the key is another's"},
        {kCascade, kRestrict, "", false, "", 1, "1=1/ 2=2/2 3=3/", "an emptied key is followed too"},
    };
    for (const char* type : {"INTEGER", "PHRASE"}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(type) + ": " + row.reason);
            parentAndChild(type, row.onUpdate, row.onDelete, row.fallback);
            const int32_t status = row.deletes ? remove("P", 1) : update("P", 1, 1, row.key);
            EXPECT_EQ(status, row.status);
            EXPECT_EQ(contents("C"), row.children);
            TearDown();
            SetUp();
        }
    }
}

TEST_F(RulesTest, ValuesMustBeKeys) {
    parentAndChild("PHRASE", kCascade, kCascade, "");
    ASSERT_EQ(insert("P", {"Two  Words", "n"}), 1);
    EXPECT_EQ(insert("C", {"10", "9"}), WDB_E_NO_PARENT);
    EXPECT_EQ(insert("C", {"10", "two words"}), 1) << "keys compare as = does";
    EXPECT_EQ(insert("C", {"11", ""}), 1) << "no value, no reference";
    EXPECT_EQ(insert("C", {"12", "$"}), WDB_E_NO_PARENT) << "wildcards mean themselves";
    EXPECT_EQ(update("C", 1, 2, "9"), WDB_E_NO_PARENT);
    EXPECT_EQ(update("C", 1, 2, "TWO WORDS"), 1);
    EXPECT_EQ(update("P", 4, 1, "two WORDS"), 1) << "the same key in another spelling";
    EXPECT_EQ(contents("C"), "1=1/TWO WORDS 2=2/2 3=3/1 4=10/two words 5=11/");
    EXPECT_EQ(find("FIND C.K=1"), std::vector<int32_t>{3});
}

TEST_F(RulesTest, ItemsOfAFieldAreReferencesOfTheirOwn) {
    parentAndChild("INTEGER", kCascade, kNull, "");
    WdbRecordControl* made = control("C", WDB_MODE_WRITE);
    ASSERT_EQ(set(made, 1, 0, "7"), 1);
    for (int32_t item = 1; item <= 3; ++item) ASSERT_EQ(set(made, 2, item, std::to_string(item)), 1);
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    ASSERT_EQ(set(made, 2, 4, "9"), 1);
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_NO_PARENT) << "every item is looked at";
    ASSERT_EQ(set(made, 2, 4, ""), 1);
    ASSERT_EQ(update("P", 2, 1, "20"), 1);
    ASSERT_EQ(remove("P", 1), 1);
    ASSERT_EQ(WdbGetRecordInBase(made, 4), 1);
    EXPECT_EQ(get(made, 2, 1), "#0");
    EXPECT_EQ(get(made, 2, 2), "20");
    EXPECT_EQ(get(made, 2, 3), "3");
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(RulesTest, ChainsGoAsFarAsTheyReach) {
    createBase("A", {{"K", "INTEGER"}, {"N", "INTEGER"}}, "K");
    createBase("B", {{"K", "INTEGER"}, {"N", "INTEGER"}}, "K");
    createBase("C", {{"K", "INTEGER"}, {"N", "INTEGER"}}, "K");
    // The key of B is itself a reference: a new key of A goes on to C.
    ASSERT_EQ(addRule({"B", "K", "A", "K", kCascade, kCascade}), 1);
    ASSERT_EQ(addRule({"C", "N", "B", "K", kCascade, kRestrict}), 1);
    for (const char* key : {"1", "2"}) {
        ASSERT_EQ(insert("A", {key, ""}), 1);
        ASSERT_EQ(insert("B", {key, ""}), 1);
    }
    ASSERT_EQ(insert("C", {"5", "1"}), 1);
    EXPECT_EQ(remove("A", 1), WDB_E_REFERENCED) << "refused two bases away";
    EXPECT_EQ(contents("A") + "|" + contents("B"), "1=1/ 2=2/|1=1/ 2=2/");
    EXPECT_EQ(update("A", 1, 1, "7"), 1);
    EXPECT_EQ(contents("A") + "|" + contents("B") + "|" + contents("C"), "1=7/ 2=2/|1=7/ 2=2/|1=5/7");
    EXPECT_EQ(remove("A", 2), 1) << "nobody refers to its child";
    EXPECT_EQ(contents("B"), "1=7/");
}

TEST_F(RulesTest, ARecordMayReferToItself) {
    createBase("T", {{"ID", "INTEGER"}, {"UP", "INTEGER"}}, "ID");
    ASSERT_EQ(addRule({"T", "UP", "T", "ID", kCascade, kCascade}), 1);
    EXPECT_EQ(insert("T", {"1", "1"}), 1) << "its own key counts";
    EXPECT_EQ(insert("T", {"2", "1"}), 1);
    EXPECT_EQ(insert("T", {"3", "2"}), 1);
    EXPECT_EQ(insert("T", {"4", "5"}), WDB_E_NO_PARENT);
    EXPECT_EQ(update("T", 1, 1, "10"), 1);
    EXPECT_EQ(contents("T"), "1=10/10 2=2/10 3=3/2");
    EXPECT_EQ(remove("T", 2), 1);
    EXPECT_EQ(contents("T"), "1=10/10");
    EXPECT_EQ(remove("T", 1), 1);
    EXPECT_EQ(contents("T"), "");
}

TEST_F(RulesTest, RestrictionsOfARecordOnItselfDoNotHold) {
    createBase("T", {{"ID", "INTEGER"}, {"UP", "INTEGER"}}, "ID");
    ASSERT_EQ(addRule({"T", "UP", "T", "ID", kRestrict, kRestrict}), 1);
    ASSERT_EQ(insert("T", {"1", "1"}), 1);
    ASSERT_EQ(insert("T", {"2", "1"}), 1);
    EXPECT_EQ(remove("T", 1), WDB_E_REFERENCED) << "the second refers to it";
    EXPECT_EQ(update("T", 1, 1, "3"), WDB_E_NO_PARENT) << "its own reference would lead nowhere";
    EXPECT_EQ(remove("T", 2), 1);
    EXPECT_EQ(remove("T", 1), 1) << "nobody but itself";
}

TEST_F(RulesTest, RulesInACircleComeToAnEnd) {
    createBase("A", {{"K", "INTEGER"}, {"R", "INTEGER"}}, "K");
    createBase("B", {{"K", "INTEGER"}, {"R", "INTEGER"}}, "K");
    ASSERT_EQ(addRule({"B", "R", "A", "K", kCascade, kCascade}), 1);
    ASSERT_EQ(insert("A", {"1", ""}), 1);
    ASSERT_EQ(insert("B", {"2", "1"}), 1);
    ASSERT_EQ(addRule({"A", "R", "B", "K", kCascade, kCascade}), 1);
    ASSERT_EQ(update("A", 1, 2, "2"), 1);
    ASSERT_EQ(update("A", 1, 1, "8"), 1);
    EXPECT_EQ(contents("A") + "|" + contents("B"), "1=8/2|1=2/8");
    ASSERT_EQ(remove("B", 1), 1) << "each takes the other along";
    EXPECT_EQ(contents("A") + "|" + contents("B"), "|");
}

// Two ways to the same record: the order of the rules does not matter.
TEST_F(RulesTest, ARecordThatGoesForbidsNothing) {
    createBase("A", {{"K", "INTEGER"}, {"N", "INTEGER"}}, "K");
    createBase("B", {{"K", "INTEGER"}, {"N", "INTEGER"}}, "K");
    createBase("C", {{"A", "INTEGER"}, {"B", "INTEGER"}});
    ASSERT_EQ(addRule({"B", "N", "A", "K", kCascade, kCascade}), 1);
    ASSERT_EQ(addRule({"C", "A", "A", "K", kCascade, kCascade}), 1);
    ASSERT_EQ(addRule({"C", "B", "B", "K", kCascade, kRestrict}), 1);
    ASSERT_EQ(insert("A", {"1", ""}), 1);
    ASSERT_EQ(insert("B", {"1", "1"}), 1);
    ASSERT_EQ(insert("C", {"1", "1"}), 1);
    EXPECT_EQ(remove("B", 1), WDB_E_REFERENCED);
    EXPECT_EQ(remove("A", 1), 1);
    EXPECT_EQ(contents("B") + "|" + contents("C"), "|");
}

TEST_F(RulesTest, KeysAndDutiesOfTheOthersHold) {
    createBase("P", {{"K", "INTEGER"}, {"N", "INTEGER"}}, "K");
    createBase("C", {{"K", "INTEGER"}, {"N", "INTEGER"}}, "K");
    ASSERT_EQ(addRule({"C", "K", "P", "K", kDefault, kNull}), WDB_E_DEFINITION) << "no default";
    setDefault("C", "K", "2");
    ASSERT_EQ(addRule({"C", "K", "P", "K", kDefault, kNull}), 1);
    for (const char* key : {"1", "2"}) {
        ASSERT_EQ(insert("P", {key, ""}), 1);
        ASSERT_EQ(insert("C", {key, ""}), 1);
    }
    EXPECT_EQ(update("P", 1, 1, "7"), WDB_E_DUPLICATE) << "the default is the key of the other child";
    EXPECT_EQ(contents("P") + "|" + contents("C"), "1=1/ 2=2/|1=1/ 2=2/");
    EXPECT_EQ(remove("P", 1), 1);
    EXPECT_EQ(contents("C"), "1=/ 2=2/");
}

TEST_F(RulesTest, AUnitHoldsWhatItsRulesDid) {
    parentAndChild("INTEGER", kCascade, kCascade, "");
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(ccl("DEF FIN MIN=0"), 1);
    ASSERT_EQ(find("FIND C.K=1").size(), 2u);
    ASSERT_EQ(insert("P", {"4", "n"}), 1);
    ASSERT_EQ(insert("C", {"4", "4"}), 1) << "a key of the same unit";
    ASSERT_EQ(update("P", 1, 1, "5"), 1);
    EXPECT_EQ(find("FIND C.K=5"), (std::vector<int32_t>{1, 3})) << "the unit's own searches see it";
    ASSERT_EQ(remove("P", 1), 1);
    EXPECT_EQ(find("FIND C.K=5"), std::vector<int32_t>{});
    EXPECT_EQ(insert("C", {"9", "5"}), WDB_E_NO_PARENT) << "a refused write leaves the unit going";
    WdbSession* other = open();
    ASSERT_EQ(WdbBoundSession(), session_);
    ASSERT_EQ(WdbLoadStatus(3), 1);
    ASSERT_EQ(WdbBindSession(other), 1);
    EXPECT_EQ(contents("C"), "2=2/2 4=4/4");
    EXPECT_EQ(contents("P"), "2=2/n 3=3/n 4=4/n");
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(WdbCloseSession(&other), 1);
}

TEST_F(RulesTest, LoadsKeepTheRulesToo) {
    parentAndChild("INTEGER", kCascade, kCascade, "");
    ASSERT_EQ(WdbBeginLoad("C", 0), 1);
    EXPECT_EQ(insert("C", {"5", "9"}), WDB_E_NO_PARENT);
    EXPECT_EQ(insert("C", {"5", "3"}), 1);
    ASSERT_EQ(WdbEndLoad("C", 1), 1);
    ASSERT_EQ(WdbBeginLoad("P", 0), 1);
    ASSERT_EQ(insert("P", {"4", "n"}), 1);
    EXPECT_EQ(remove("P", 1), 1) << "other bases change with a load";
    EXPECT_EQ(update("P", 2, 1, "20"), 1);
    ASSERT_EQ(WdbEndLoad("P", 0), 1);
    EXPECT_EQ(contents("C"), "1=1/1 2=2/2 3=3/1 4=5/3") << "nothing of a load that was given up";
    ASSERT_EQ(WdbBeginLoad("P", 0), 1);
    EXPECT_EQ(remove("P", 1), 1);
    EXPECT_EQ(update("P", 2, 1, "20"), 1);
    ASSERT_EQ(WdbEndLoad("P", 1), 1);
    EXPECT_EQ(contents("P") + "|" + contents("C"), "2=20/n 3=3/n|2=2/20 4=5/3");
}

TEST_F(RulesTest, ALoadSeesItsOwnReferences) {
    createBase("T", {{"ID", "INTEGER"}, {"UP", "INTEGER"}}, "ID");
    ASSERT_EQ(addRule({"T", "UP", "T", "ID", kCascade, kCascade}), 1);
    ASSERT_EQ(WdbBeginLoad("T", 0), 1);
    for (const auto& row :
         std::vector<std::vector<std::string>>{{"1", ""}, {"2", "1"}, {"3", "2"}, {"4", ""}})
        ASSERT_EQ(insert("T", row), 1);
    EXPECT_EQ(remove("T", 1), 1);
    ASSERT_EQ(WdbEndLoad("T", 1), 1);
    EXPECT_EQ(contents("T"), "4=4/");
}

TEST_F(RulesTest, RulesAreNamedAsTheBasesSpellThem) {
    createBase("Parent", {{"Key", "INTEGER"}}, "Key");
    createBase("Child", {{"Ref", "INTEGER"}});
    ASSERT_EQ(addRule({"CHILD", "REF", "parent  ", "key ", kNull, kCascade}), 1);
    ASSERT_EQ(WdbCheckBase("PARENT", 1), 1);
    WdbIntegrityRules* rules = nullptr;
    ASSERT_EQ(WdbGetIntegrityRules(&rules), 1);
    ASSERT_EQ(rules->count, 1);
    const WdbIntegrityRule& rule = rules->rule[0];
    EXPECT_STREQ(rule.fkTable, "Child");
    EXPECT_STREQ(rule.fkColumn, "Ref");
    EXPECT_STREQ(rule.pkTable, "Parent");
    EXPECT_STREQ(rule.pkColumn, "Key");
    EXPECT_EQ(rule.kind, 2);
    EXPECT_EQ(rule.deleteAction, kCascade);
    EXPECT_EQ(rule.updateAction, kNull);
    EXPECT_EQ(WdbFreeIntegrityRules(&rules), 1);
}

}  // namespace
