#include <functional>

#include "tests/unit/api/ApiTest.h"

namespace {

// "boss" owns T(A, B, OBJ) and S(K, N); "ann" has what a case gives to her.
class Rights : public ApiTest {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        ASSERT_EQ(WdbPutUser("ann", "", 0), 1);
        createBase("T", {{"A", "PHRASE"}, {"B", "PHRASE"}, {"OBJ", "STRING"}});
        createBase("S", {{"K", "INTEGER"}, {"N", "INTEGER"}});
        ASSERT_EQ(insert("T", {"one", "red", "bytes"}), 1);
        ASSERT_EQ(insert("T", {"two", "blue"}), 1);
        ASSERT_EQ(insert("S", {"1", "2"}), 1);
        ASSERT_EQ(WdbOpenSession(home_.c_str(), "ann", "", 0, &ann_), 1);
    }
    void TearDown() override {
        EXPECT_EQ(WdbCloseSession(&ann_), 1);
        ASSERT_EQ(WdbBindSession(session_), 1);
        ApiTest::TearDown();
    }
    void grant(const char* user, int all, int fieldwise = 0, std::vector<int> fields = {},
               const char* base = "T") {
        WdbSession* const before = WdbBoundSession();
        ASSERT_EQ(WdbBindSession(session_), 1);
        WdbAccessRecord record{};
        ASSERT_EQ(WdbCheckBase(base, 3), 1);
        ASSERT_EQ(WdbGetDbAccess(user, &record), 1);
        record = WdbAccessRecord{};
        record.baseRights = static_cast<uint8_t>(all);
        record.fieldwise = static_cast<uint8_t>(fieldwise);
        for (size_t i = 0; i < fields.size(); ++i) record.field[i] = static_cast<uint8_t>(fields[i]);
        ASSERT_EQ(WdbPutDbAccess(&record), 1);
        ASSERT_EQ(WdbBindSession(before), 1);
    }
    void asAnn() { ASSERT_EQ(WdbBindSession(ann_), 1); }
    void asBoss() { ASSERT_EQ(WdbBindSession(session_), 1); }

    // What ann may do with T as letters: r reads a field, w writes one, c creates, d deletes; "-" for the
    // base when there is none for her.
    std::string may() {
        asAnn();
        WdbRecordControl* made = nullptr;
        EXPECT_EQ(WdbCreateRecordControl(&made), 1);
        std::string all;
        if (WdbSetBase(made, "T", WDB_MODE_READ) == 1) {
            EXPECT_EQ(WdbGetRecordInBase(made, 2), 1);
            for (const int32_t field : {1, 2}) all += get(made, field)[0] != '#' ? "r" : ".";
            all += WdbSetBase(made, "T", WDB_MODE_WRITE) == 1 ? " " : "!";
            for (const int32_t field : {1, 2}) all += writes(made, field) ? "w" : ".";
            all += " ";
            all += insert_("T") == 1 ? "c" : ".";
            all += deletes() ? "d" : ".";
        } else {
            all = "-";
        }
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        asBoss();
        return all;
    }
    static bool writes(WdbRecordControl* made, int32_t field) {
        if (WdbSetBase(made, "T", WDB_MODE_WRITE) != 1) return false;
        EXPECT_EQ(WdbGetRecordInBase(made, 2), 1);
        const int32_t status = set(made, field, 0, "changed");
        EXPECT_TRUE(status == 1 || status == WDB_E_RIGHT) << status;
        return status == 1 && WdbPutRecord(made, nullptr) == 1;
    }
    static int32_t insert_(const char* base) {
        WdbRecordControl* made = nullptr;
        EXPECT_EQ(WdbCreateRecordControl(&made), 1);
        int32_t status = WdbSetBase(made, base, WDB_MODE_WRITE);
        if (status == 1) status = WdbPutRecord(made, nullptr);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return status;
    }
    bool deletes() {
        asBoss();
        int32_t number = 0;
        EXPECT_EQ(insert("T", {"gone"}, &number), 1);
        asAnn();
        WdbRecordControl* made = nullptr;
        EXPECT_EQ(WdbCreateRecordControl(&made), 1);
        int32_t status = WdbSetBase(made, "T", WDB_MODE_DELETE);
        if (status == 1) status = WdbGetRecordInBase(made, number);
        if (status == 1) status = WdbDeleteRecordInBase(made);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return status == 1;
    }
    WdbSession* ann_ = nullptr;
};

TEST_F(Rights, AreTheUnionOfTheUsersAndPublics) {
    struct Record {
        int all = 0, fieldwise = 0;
        std::vector<int> fields{};
    };
    const struct {
        Record own, common;
        const char *may, *reason;
    } rows[] = {
        {{}, {}, "-", "nothing"},
        {{1}, {}, "rr!.. ..", "reading"},
        {{3}, {}, "rr ww cd", ""},
        {{2}, {}, "-", "who may only write does not get to see the base"},
        {{0, 0, {3, 3}}, {}, "-", "field bytes count when the second byte says so"},
        {{0, 1, {1}}, {}, "r.!.. ..", ""},
        {{0, 2, {1, 3}}, {}, "rr .w ..", "any second byte"},
        {{0, 1, {1, 2}}, {}, "r. .w ..", "written unread"},
        {{16, 1, {17, 48}}, {}, "r.!.. ..", "other bits give nothing"},
        {{1, 1, {2}}, {}, "rr w. ..", "fields add to the table"},
        {{}, {1}, "rr!.. ..", "PUBLIC is everybody"},
        {{0, 1, {1}}, {0, 1, {0, 3}}, "rr .w ..", "both"},
        {{2}, {0, 1, {1}}, "r. ww cd", ""},
    };
    for (const auto& row : rows) {
        grant("ann", row.own.all, row.own.fieldwise, row.own.fields);
        grant("Public", row.common.all, row.common.fieldwise, row.common.fields);
        EXPECT_EQ(may(), row.may) << row.reason;
    }
}

// Every road that could show B, N, or that S has records, to somebody who may read A only.
TEST_F(Rights, AreAskedOnEveryRoad) {
    grant("ann", 0, 1, {1});
    asAnn();
    const auto command = [](const char* text) { return [text] { return ccl(text); }; };
    const auto onField = [](auto&& use) {
        return [use] {
            WdbRecordControl* made = control("T", WDB_MODE_READ);
            EXPECT_EQ(WdbGetRecordInBase(made, 1), 1);
            const int32_t status = use(made);
            EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
            return status;
        };
    };
    const auto cursorOn = [](int32_t field) {
        return [field](WdbRecordControl* made) {
            WdbCursor* cursor = nullptr;
            const int32_t status = WdbSetCursor(&cursor, made, field, 0, 0);
            EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
            return status;
        };
    };
    const auto info = [](const char* base, int32_t item) {
        return [base, item] {
            char text[256];
            int32_t length = sizeof text;
            return WdbBaseInfo(base, item, text, &length);
        };
    };
    const auto term = [](const char* base, int32_t field) {
        return [base, field] {
            char text[64] = "";
            int32_t length = sizeof text, records = 0;
            return WdbNextTerm(base, field, text, &length, &records);
        };
    };
    const auto definition = [](const char* base) {
        return [base] {
            WdbBaseDef record{};
            return WdbGetBaseDef(base, &record);
        };
    };
    ccl("DEF FIN MIN=0");
    const struct {
        const char* road;
        std::function<int32_t()> call;
        int32_t status;
    } rows[] = {
        {"search before there is a base", command("FIN A=one"), WDB_E_CCL_NO_BASE},
        {"search base", command("BAS T"), 1},
        {"search", command("FIN A=one"), 1},
        {"search a hidden field", command("FIN B=red"), WDB_E_CCL_FIELD},
        {"present", command("FIN B=?"), WDB_E_CCL_FIELD},
        {"in an expression", command("FIN A=one OR B=red"), WDB_E_CCL_FIELD},
        {"qualified", command("FIN T.B=red"), WDB_E_CCL_FIELD},
        {"hidden base", command("BAS S"), WDB_E_BASE},
        {"hidden among bases", command("BAS T,S"), WDB_E_BASE},
        {"hidden base by qualifier", command("FIN S.K=1"), WDB_E_CCL_FIELD},
        {"a hidden base is like a name that is no base's", command("FIN S.R=1"), 1},
        {"select", command("SELECT FROM(T) FIELD(T.A,T.R)"), 1},
        {"output", command("SELECT FROM(T) FIELD(T.B)"), WDB_E_CCL_FIELD},
        {"output unqualified", command("SELECT FROM(T) FIELD(B)"), WDB_E_CCL_FIELD},
        {"output of an object", command("SELECT FROM(T) FIELD(T.OBJ)"), WDB_E_CCL_FIELD},
        {"from a hidden base", command("SELECT FROM(S) FIELD(S.K)"), WDB_E_BASE},
        {"records of a hidden base", command("SELECT FROM(S) FIELD(COUNT(*))"), WDB_E_BASE},
        {"condition", command("SELECT FROM(T) FIELD(T.A) WHERE(T.B=red)"), WDB_E_CCL_FIELD},
        {"order", command("SELECT FROM(T) FIELD(T.A) SORT(T.B)"), WDB_E_CCL_FIELD},
        {"group", command("SELECT FROM(T) FIELD(COUNT(*)) GROUP(T.B)"), WDB_E_CCL_FIELD},
        {"aggregate", command("SELECT FROM(T) FIELD(COUNT(T.B))"), WDB_E_CCL_FIELD},
        {"join with a hidden base", command("SELECT FROM(T,S) FIELD(T.A) INNER(T.A=S.K)"), WDB_E_BASE},
        {"join on a hidden field", command("SELECT FROM(T X,T Y) FIELD(X.A) INNER(X.A=Y.B)"),
         WDB_E_CCL_FIELD},
        {"terms", term("T", 1), 1},
        {"terms of a hidden field", term("T", 2), WDB_E_RIGHT},
        {"terms of a hidden base", term("S", 1), WDB_E_BASE},
        {"cursor", onField(cursorOn(1)), 1},
        {"cursor on a hidden field", onField(cursorOn(2)), WDB_E_RIGHT},
        {"cursor on a hidden object", onField(cursorOn(3)), WDB_E_RIGHT},
        {"definition by name", onField([](WdbRecordControl* made) {
             char name[WDB_FIELD_NAME_SIZE] = "B";
             return WdbCheckField(made, name, nullptr, nullptr, nullptr);
         }),
         1},
        {"comment", info("T", 1), 1},
        {"comment of a hidden base", info("S", 1), WDB_E_BASE},
        {"file of a hidden base", info("S", 2), 1},
        {"number of records of a hidden base", info("S", 7), WDB_E_BASE},
        {"check", [] { return WdbCheckBase("T", 1); }, 1},
        {"check a hidden base", [] { return WdbCheckBase("S", 1); }, WDB_E_BASE},
        {"check for changes", [] { return WdbCheckBase("T", 3); }, WDB_E_RIGHT},
        {"definition", definition("T"), WDB_E_RIGHT},
        {"new definition", definition("NEW"), WDB_E_RIGHT},
        {"dates of a hidden base",
         [] { return WdbBaseStatus("S", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr); }, WDB_E_BASE},
        {"index job", [] { return WdbBatchLoadIndex(2, "T", ""); }, 1},
        {"index job of a hidden base", [] { return WdbBatchLoadIndex(2, "S", ""); }, WDB_E_BASE},
        {"index rebuilt", [] { return WdbBatchLoadIndex(1, "T", ""); }, WDB_E_RIGHT},
        {"verify", [] { return WdbVerifyBase("T", 0, nullptr, nullptr); }, WDB_E_RIGHT},
        {"verify a hidden base", [] { return WdbVerifyBase("S", 0, nullptr, nullptr); }, WDB_E_BASE},
        {"copy", [] { return WdbBackupBase("T", "/tmp/none"); }, WDB_E_RIGHT},
        {"copy of everything", [] { return WdbBackupBase(nullptr, "/tmp/none"); }, WDB_E_RIGHT},
        {"compact", [] { return WdbCompactBase("T"); }, WDB_E_RIGHT},
        {"wait for a hidden base", [] { return WdbWaitIndex("S", 0); }, WDB_E_BASE},
        {"owner", [] { return WdbSetBaseOwner("T", "ann"); }, WDB_E_RIGHT},
        {"owner of a hidden base", [] { return WdbSetBaseOwner("S", "ann"); }, WDB_E_BASE},
        {"load", [] { return WdbBeginLoad("T", 0); }, WDB_E_RIGHT},
        {"lasting setting", [] { return WdbSetResource(4, "X", "y"); }, WDB_E_RIGHT},
    };
    for (const auto& row : rows) EXPECT_EQ(row.call(), row.status) << row.road;
}

TEST_F(Rights, RowsOfNoListShowOnlyWhatMayBeRead) {
    grant("ann", 0, 1, {1});
    asAnn();
    ASSERT_EQ(ccl("BAS T"), 1);
    ASSERT_EQ(ccl("FIN A=one"), 1);
    int32_t set = 0;
    ASSERT_EQ(WdbSearchResult(&set, nullptr, nullptr, nullptr, nullptr), 1);
    char* items = nullptr;
    uint32_t* words = nullptr;
    ASSERT_EQ(WdbGetRows(set, 0, 1, &items, &words), 1);
    EXPECT_EQ(words[0], 1u);
    EXPECT_STREQ(items, "one");
    WdbDeallocate(items);
    WdbDeallocate(words);
    grant("ann", 2, 0, {}, "S");
    ASSERT_EQ(WdbShowControl(1, 0, "1", ""), 1);
    std::string listed;
    WdbRecordControl* entry = nullptr;
    while (WdbNextControl(&entry) == 1) listed += get(entry, 44) + "=" + get(entry, 45) + " ";
    EXPECT_EQ(listed, "S=#0 T=2 ") << "any right lists a base, reading tells how many records it has";
}

TEST_F(Rights, ChangeAtTheNextCall) {
    grant("ann", 3);
    asAnn();
    ASSERT_EQ(ccl("BAS T"), 1);
    ASSERT_EQ(ccl("FIN B=red"), 1);
    ASSERT_EQ(ccl("SELECT FROM(T) FIELD(T.A) WHERE(T.B=red)"), 1);
    ASSERT_EQ(ccl("SELECT FROM(T) FIELD(T.A)"), 1);
    ASSERT_EQ(ccl("SELECT FROM(T) FIELD(T.B,COUNT(*)) GROUP(T.B)"), 1);
    WdbRecordControl* made = control("T", WDB_MODE_WRITE);
    ASSERT_EQ(WdbGetRecordInBase(made, 1), 1);
    ASSERT_EQ(ApiTest::set(made, 2, 0, "green"), 1);
    const auto row = [](int32_t set) {
        char* items = nullptr;
        uint32_t* words = nullptr;
        const int32_t status = WdbGetRows(set, 0, 1, &items, &words);
        WdbDeallocate(items);
        WdbDeallocate(words);
        return status;
    };
    for (const int32_t set : {1, 2, 3, 4}) EXPECT_EQ(row(set), 1);
    grant("ann", 0, 1, {3, 0});  // A alone
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_RIGHT) << "B was changed when that was allowed";
    EXPECT_EQ(get(made, 2), "#" + std::to_string(WDB_E_RIGHT));
    EXPECT_EQ(get(made, 1), "one");
    EXPECT_EQ(row(1), WDB_E_CCL_SET) << "found by B";
    EXPECT_EQ(row(2), WDB_E_CCL_SET);
    EXPECT_EQ(row(3), 1) << "B has no part in it";
    EXPECT_EQ(row(4), WDB_E_CCL_SET) << "values that were worked out before";
    EXPECT_EQ(ccl("SELECT ALL UNION(2,3)"), WDB_E_CCL_SET);
    grant("ann", 0);
    EXPECT_EQ(row(3), WDB_E_CCL_SET);
    EXPECT_EQ(WdbGetRecordInBase(made, 2), WDB_E_BASE);
    EXPECT_EQ(get(made, 1), "#" + std::to_string(WDB_E_RIGHT));
    int32_t count = 0;
    EXPECT_EQ(WdbPartCount(made, &count), WDB_E_BASE);
    EXPECT_EQ(ccl("FIN R=1"), WDB_E_BASE) << "T is still the search base";
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    grant("ann", 1);
    EXPECT_EQ(row(4), 1) << "and back";
}

TEST_F(Rights, BelongToTheBaseAndNotToItsName) {
    grant("ann", 3);
    asBoss();
    EXPECT_EQ(WdbPutUser("eve", "", 0), 1);
    grant("eve", 3);
    EXPECT_EQ(WdbDeleteUser("eve"), 1);
    EXPECT_EQ(WdbPutUser("eve", "", 0), 1);
    WdbAccessRecord record{};
    ASSERT_EQ(WdbCheckBase("T", 3), 1);
    ASSERT_EQ(WdbGetDbAccess("EVE", &record), 1);
    EXPECT_EQ(record.baseRights, 0) << "the records went with the user of that name before";
    ASSERT_EQ(WdbGetDbAccess("ann", &record), 1);
    EXPECT_EQ(record.baseRights, 3);
    WdbBaseDef definition{};
    ASSERT_EQ(WdbGetBaseDef("T", &definition), 1);
    ASSERT_EQ(WdbDeleteBaseDef(), 1);
    EXPECT_EQ(WdbPutDbAccess(&record), WDB_E_NOT_CHECKED) << "nothing to give any more";
    createBase("T", {{"A", "PHRASE"}});
    asAnn();
    EXPECT_EQ(ccl("BAS T"), WDB_E_BASE) << "another base";
}

TEST_F(Rights, AreAskedAgainWhenADefinitionIsStored) {
    ASSERT_EQ(WdbSetBaseOwner("T", "ann"), 1);
    asAnn();
    WdbBaseDef definition{};
    ASSERT_EQ(WdbGetBaseDef("T", &definition), 1);
    asBoss();
    ASSERT_EQ(WdbSetBaseOwner("T", "boss"), 1);
    asAnn();
    copy(definition.comment, "mine");
    EXPECT_EQ(WdbPutBaseDef(&definition), WDB_E_RIGHT);
    EXPECT_EQ(WdbDeleteBaseDef(), WDB_E_RIGHT);
    EXPECT_EQ(ccl("BAS T"), WDB_E_BASE);
}

TEST_F(Rights, RecordsAreTakenInHandInOrder) {
    WdbAccessRecord record{};
    EXPECT_EQ(WdbGetDbAccess("ann", &record), WDB_E_NOT_CHECKED);
    EXPECT_EQ(WdbPutDbAccess(&record), WDB_E_NOT_CHECKED);
    ASSERT_EQ(WdbCheckBase("T", 3), 1);
    EXPECT_EQ(WdbPutDbAccess(&record), WDB_E_NOT_CHECKED) << "whose?";
    EXPECT_EQ(WdbGetDbAccess("", &record), WDB_E_NAME);
    EXPECT_EQ(WdbGetDbAccess(std::string(61, 'x').c_str(), &record), WDB_E_NAME);
    EXPECT_EQ(WdbGetDbAccess("later", &record), 1) << "not a user yet";
    record.baseRights = 1;
    record.reserved[799] = 7;
    // What the engine does in between.
    WdbRecordControl* made = control("S", WDB_MODE_READ);
    fieldNumber(made, "K");
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    EXPECT_EQ(WdbPutDbAccess(&record), 1);
    WdbAccessRecord again{};
    EXPECT_EQ(WdbGetDbAccess("LATER", &again), 1);
    EXPECT_EQ(std::memcmp(&record, &again, sizeof record), 0) << "bytes without a meaning are kept";
    EXPECT_EQ(WdbGetDbAccess("", &record), WDB_E_NAME);
    EXPECT_EQ(WdbPutDbAccess(&record), WDB_E_NOT_CHECKED) << "the one in hand is gone after a failure";
    ASSERT_EQ(WdbGetDbAccess("ann", &record), 1);
    ASSERT_EQ(WdbCheckBase("S", 3), 1);
    EXPECT_EQ(WdbPutDbAccess(&record), WDB_E_NOT_CHECKED) << "another base was checked";
    grant("ann", 1);
    asAnn();
    ASSERT_EQ(WdbCheckBase("T", 1), 1);
    EXPECT_EQ(WdbGetDbAccess("ann", &record), WDB_E_RIGHT);
}

TEST_F(Rights, ReferencesAreToWhatMayBeRead) {
    asBoss();
    ASSERT_EQ(WdbPutUser("ann", "", WDB_USER_CREATE), 1);
    createBase("KEYS", {{"K", "INTEGER", false, false, true}, {"L", "INTEGER", false, false, true}});
    asAnn();
    createBase("OWN", {{"X", "INTEGER"}});
    const auto refer = [](const char* column) {
        WdbBaseDef definition{};
        EXPECT_EQ(WdbGetBaseDef("OWN", &definition), 1);
        return WdbSetForeignKey("X", "KEYS", column, 0, 0);
    };
    EXPECT_EQ(refer("K"), WDB_E_BASE);
    grant("ann", 0, 1, {0, 1}, "KEYS");
    EXPECT_EQ(refer("K"), WDB_E_RIGHT);
    EXPECT_EQ(refer("L"), 1);
}

}  // namespace
