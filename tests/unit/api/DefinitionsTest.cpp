// Definitions that are taken back: bases, fields, rules, owners.
#include "tests/unit/api/ApiTest.h"

namespace {

class Definitions : public ApiTest {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        createBase("P", {{"K", "INTEGER"}, {"L", "INTEGER", false, false, true}}, "K");
        createBase("T", {{"NAME", "PHRASE"}, {"NOTE", "TEXT"}, {"REF", "INTEGER"}, {"PICTURE", "STRING"}},
                   "NAME");
    }
    static int32_t addRule(const char* base, const char* column, const char* table, const char* referred) {
        WdbBaseDef definition{};
        EXPECT_EQ(WdbGetBaseDef(base, &definition), 1);
        const int32_t status = WdbSetForeignKey(column, table, referred, WDB_ACT_CASCADE, WDB_ACT_CASCADE);
        return status == 1 ? WdbPutBaseDef(&definition) : status;
    }
    static int32_t ruleCount(const char* base) {
        WdbIntegrityRules* rules = nullptr;
        EXPECT_EQ(WdbCheckBase(base, 1), 1);
        EXPECT_EQ(WdbGetIntegrityRules(&rules), 1);
        const int32_t count = rules == nullptr ? -1 : rules->count;
        EXPECT_EQ(WdbFreeIntegrityRules(&rules), 1);
        return count;
    }
    size_t files() const {
        size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(home_ + "/bases"))
            count += entry.path().string().ends_with("F") ? 1 : 0;  // no locks, no notes
        return count;
    }
};

TEST_F(Definitions, ABaseIsDroppedWithItsFilesAndRules) {
    ASSERT_EQ(addRule("T", "REF", "P", "K"), 1);
    ASSERT_EQ(insert("P", {"1", ""}), 1);
    ASSERT_EQ(insert("T", {"a", "x", "1"}), 1);
    EXPECT_EQ(files(), 6u);
    EXPECT_EQ(WdbDeleteBaseDef(), 1) << "the definition in hand is that of T";
    EXPECT_EQ(WdbDeleteBaseDef(), WDB_E_NO_DEFINITION) << "and no other is there now";
    EXPECT_EQ(files(), 3u);
    EXPECT_EQ(ruleCount("P"), 0);
    WdbBaseDef definition{};
    ASSERT_EQ(WdbGetBaseDef("T", &definition), 1);
    EXPECT_EQ(definition.isNew, 1);
    EXPECT_EQ(WdbDeleteBaseDef(), WDB_E_NO_DEFINITION) << "never stored";
    createBase("T", {{"OTHER", "PHRASE"}});
    EXPECT_EQ(find("FIND T.R=FROM 1").size(), 0u) << "a base of that name begins afresh";
    ASSERT_EQ(insert("T", {"b"}), 1);
    EXPECT_EQ(WdbVerifyBase("T", 0, nullptr, nullptr), 1);
}

TEST_F(Definitions, DroppingTheReferredBaseTakesTheRulesAlong) {
    ASSERT_EQ(addRule("T", "REF", "P", "K"), 1);
    ASSERT_EQ(insert("T", {"a", "", "1"}), WDB_E_NO_PARENT);
    WdbBaseDef definition{};
    ASSERT_EQ(WdbGetBaseDef("P", &definition), 1);
    ASSERT_EQ(WdbDeleteBaseDef(), 1);
    EXPECT_EQ(ruleCount("T"), 0);
    EXPECT_EQ(insert("T", {"a", "", "1"}), 1) << "nothing to refer to, nothing to check";
}

TEST_F(Definitions, WhatIsLeftOfADroppedBase) {
    ASSERT_EQ(insert("T", {"a", "x"}), 1);
    ASSERT_EQ(ccl("BASE T"), 1);
    int32_t set = 0, count = 0;
    ASSERT_EQ(find("FIND T.NOTE=x").size(), 1u);
    ASSERT_EQ(WdbGetSearch(&set, &count, nullptr), 1);
    WdbRecordControl* held = control("T", WDB_MODE_WRITE);
    WdbSession* other = open();
    ASSERT_EQ(WdbBindSession(other), 1);
    WdbBaseDef definition{};
    ASSERT_EQ(WdbGetBaseDef("T", &definition), 1);
    ASSERT_EQ(WdbBindSession(session_), 1);
    ASSERT_EQ(WdbGetBaseDef("T", &definition), 1);
    ASSERT_EQ(WdbCheckBase("T", 3), 1);
    ASSERT_EQ(WdbDeleteBaseDef(), 1);
    EXPECT_EQ(WdbGetRecordInBase(held, 1), WDB_E_BASE);
    EXPECT_EQ(WdbPutRecord(held, nullptr), WDB_E_BASE);
    EXPECT_EQ(WdbDeleteRecordControl(&held), 1);
    char* items = nullptr;
    uint32_t* counts = nullptr;
    EXPECT_EQ(WdbGetRows(set, 0, 1, &items, &counts), WDB_E_CCL_SET);
    WdbIntegrityRules* rules = nullptr;
    EXPECT_EQ(WdbGetIntegrityRules(&rules), WDB_E_NOT_CHECKED);
    createBase("T", {{"NAME", "PHRASE"}});
    ASSERT_EQ(WdbBindSession(other), 1);
    EXPECT_EQ(WdbDeleteBaseDef(), WDB_E_NO_DEFINITION) << "the base of that name is another one by now";
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(insert("T", {"still here"}), 1);
    EXPECT_EQ(WdbCloseSession(&other), 1);
}

TEST_F(Definitions, FieldsByNumber) {
    WdbFieldSpec record{};
    WdbBaseDef definition{};
    ASSERT_EQ(WdbGetBaseDef("no name", &definition), WDB_E_NAME) << "which leaves no definition in hand";
    EXPECT_EQ(WdbGetFieldSpecByNumber(1, &record), WDB_E_NO_DEFINITION);
    ASSERT_EQ(WdbGetBaseDef("T", &definition), 1);
    ASSERT_EQ(WdbGetFieldSpecByNumber(3, &record), 1);
    EXPECT_STREQ(record.name, "REF");
    EXPECT_EQ(WdbGetFieldSpecByNumber(5, &record), 0);
    EXPECT_EQ(WdbGetFieldSpecByNumber(0, &record), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbGetFieldSpecByNumber(1, nullptr), WDB_E_ARGUMENT);
    EXPECT_STREQ(record.name, "REF") << "unchanged by a failure";
}

TEST_F(Definitions, ADeletedFieldTakesItsValuesAlong) {
    WdbRecordControl* made = control("T", WDB_MODE_WRITE);
    ASSERT_EQ(set(made, 1, 0, "a"), 1);
    ASSERT_EQ(set(made, 2, 0, "words"), 1);
    ASSERT_EQ(set(made, 4, 0, std::string(70000, 'x')), 1);
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    WdbBaseDef definition{};
    ASSERT_EQ(WdbGetBaseDef("no name", &definition), WDB_E_NAME);
    EXPECT_EQ(WdbDeleteFieldSpec("NOTE"), WDB_E_NO_DEFINITION);
    ASSERT_EQ(WdbGetBaseDef("T", &definition), 1);
    EXPECT_EQ(WdbDeleteFieldSpec("ABSENT"), WDB_E_FIELD);
    EXPECT_EQ(WdbDeleteFieldSpec("NAME"), WDB_E_REFERENCED) << "the unique key";
    EXPECT_EQ(WdbDeleteFieldSpec("note "), 1);
    EXPECT_EQ(WdbDeleteFieldSpec("PICTURE"), 1);
    WdbFieldSpec record{};
    EXPECT_EQ(WdbGetFieldSpecByNumber(2, &record), 0) << "a gap";
    EXPECT_EQ(find("FIND T.NOTE=words").size(), 1u) << "nothing is stored yet";
    record = spec({"NOTE", "PHRASE"});
    ASSERT_EQ(WdbPutFieldSpec(&record), 1);
    WdbRecordControl* filled = control("T", WDB_MODE_WRITE);
    ASSERT_EQ(set(filled, 1, 0, "late"), 1);
    ASSERT_EQ(set(filled, 2, 0, "words"), 1);
    ASSERT_EQ(set(filled, 4, 0, "object"), 1);
    ASSERT_EQ(WdbPutBaseDef(&definition), 1);
    EXPECT_EQ(WdbPutRecord(filled, nullptr), 1) << "without what is no field any more";
    EXPECT_EQ(WdbDeleteRecordControl(&filled), 1);
    std::string noted;
    const auto note = [](void* to, int32_t, int32_t, const char* text) -> int32_t {
        static_cast<std::string*>(to)->append(text);
        return 1;
    };
    EXPECT_EQ(WdbVerifyBase("T", 0, note, &noted), WDB_OK);
    EXPECT_EQ(noted, "");
    EXPECT_EQ(find("FIND T.NOTE=$").size(), 0u);
    EXPECT_EQ(find("FIND T.NAME=a").size(), 1u);
    ASSERT_EQ(WdbGetRecordInBase(made, 1), 1);
    EXPECT_EQ(fieldNumber(made, "NOTE"), 5) << "numbers are never given again";
    char name[WDB_FIELD_NAME_SIZE] = {};
    int32_t number = 2;
    EXPECT_EQ(WdbCheckField(made, name, &number, nullptr, nullptr), WDB_E_FIELD);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    EXPECT_EQ(WdbVerifyBase(
                  "T", 0,
                  [](void*, int32_t, int32_t, const char* text) -> int32_t {
                      ADD_FAILURE() << text;
                      return 1;
                  },
                  nullptr),
              1);
}

TEST_F(Definitions, FieldsAndKeysThatRulesNeedStay) {
    ASSERT_EQ(addRule("T", "REF", "P", "L"), 1);
    WdbBaseDef definition{};
    ASSERT_EQ(WdbGetBaseDef("T", &definition), 1);
    EXPECT_EQ(WdbDeleteFieldSpec("REF"), WDB_E_REFERENCED);
    ASSERT_EQ(WdbGetBaseDef("P", &definition), 1);
    EXPECT_EQ(WdbDeleteFieldSpec("L"), WDB_E_REFERENCED);
    WdbFieldSpec plain = spec({"L", "INTEGER"});
    ASSERT_EQ(WdbPutFieldSpec(&plain), 1);
    EXPECT_EQ(WdbPutBaseDef(&definition), WDB_E_DEFINITION) << "a referred field stays unique";

    ASSERT_EQ(WdbGetBaseDef("T", &definition), 1);
    EXPECT_EQ(WdbDeleteForeignKey("NAME"), 0) << "no rule there";
    EXPECT_EQ(WdbDeleteForeignKey("ABSENT"), WDB_E_FIELD);
    EXPECT_EQ(WdbDeleteForeignKey("ref"), 1);
    EXPECT_EQ(insert("T", {"a", "", "1"}), WDB_E_NO_PARENT) << "nothing is stored yet";
    ASSERT_EQ(WdbPutBaseDef(&definition), 1);
    EXPECT_EQ(insert("T", {"a", "", "1"}), 1);
    EXPECT_EQ(WdbDeleteFieldSpec("REF"), 1);
    ASSERT_EQ(WdbGetBaseDef("P", &definition), 1);
    ASSERT_EQ(WdbPutFieldSpec(&plain), 1);
    EXPECT_EQ(WdbPutBaseDef(&definition), 1);
}

TEST_F(Definitions, ARuleOverOldValuesIsLookedAtByTheVerifier) {
    ASSERT_EQ(insert("P", {"1", ""}), 1);
    ASSERT_EQ(insert("T", {"a", "", "1"}), 1);
    ASSERT_EQ(insert("T", {"b", "", "2"}), 1);
    ASSERT_EQ(addRule("T", "REF", "P", "K"), 1);
    std::vector<int32_t> records;
    const auto note = [](void* context, int32_t severity, int32_t record, const char*) -> int32_t {
        EXPECT_EQ(severity, 3);
        static_cast<std::vector<int32_t>*>(context)->push_back(record);
        return 1;
    };
    EXPECT_EQ(WdbVerifyBase("T", 0, note, &records), WDB_E_CORRUPT);
    EXPECT_EQ(records, std::vector<int32_t>{2});
    ASSERT_EQ(insert("P", {"2", ""}), 1);
    EXPECT_EQ(WdbVerifyBase("T", 0, nullptr, nullptr), 1);
}

TEST_F(Definitions, OwnersAreUsers) {
    EXPECT_EQ(WdbSetBaseOwner("T", "nobody"), WDB_E_USER);
    EXPECT_EQ(WdbSetBaseOwner("ABSENT", "boss"), WDB_E_BASE);
    EXPECT_EQ(WdbSetBaseOwner("t", "BOSS"), 1);
    char text[64];
    int32_t length = sizeof text;
    ASSERT_EQ(WdbBaseInfo("T", 5, text, &length), 1);
    EXPECT_STREQ(text, "boss") << "as the user is spelled";
}

}  // namespace
