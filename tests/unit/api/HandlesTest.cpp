// Handles of every wrong kind, hooks, definitions, rules, the control list.
#include "tests/unit/api/ApiTest.h"

namespace {

class Handles : public ApiTest {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        createBase("T", {{"A", "PHRASE"}, {"B", "TEXT"}, {"C", "STRING"}});
    }
    // What every function answers that takes a control or a cursor.
    static void expectRefused(WdbRecordControl* control, WdbCursor* cursor, const char* why) {
        char text[WDB_FIELD_NAME_SIZE] = "A";
        int32_t number = 1, length = sizeof text;
        WdbCursor* made = nullptr;
        const int32_t answers[] = {WdbSetBase(control, "T", 1),
                                   WdbGetRecordInSearchRis(control, 1, 1, &number, text),
                                   WdbGetRecordInBase(control, 1),
                                   WdbPutRecord(control, &number),
                                   WdbDeleteRecordInBase(control),
                                   WdbNewRecord(control),
                                   WdbHitParts(control, 1, &number, &number, &number),
                                   WdbPartCount(control, &number),
                                   WdbSetRecordPart(nullptr, control, 0),
                                   WdbAddRecordPart(control, &number),
                                   WdbDeleteRecordPart(control, 1),
                                   WdbCheckField(control, text, &number, nullptr, nullptr),
                                   WdbSetCursor(&made, control, 1, 0, 0),
                                   WdbItemCount(cursor, &number),
                                   WdbParaCount(cursor, &number),
                                   WdbGetItem(cursor, text, &length),
                                   WdbReplaceItem(cursor, "x", 1),
                                   WdbDeleteItem(cursor),
                                   WdbGetLine(cursor, text, &length),
                                   WdbPutLine(cursor, "x", 1),
                                   WdbGetBlobSize(cursor, &number),
                                   WdbGetBlobBlock(cursor, 1, 1, text, &number),
                                   WdbPutBlobBlock(cursor, 1, "x")};
        for (size_t i = 0; i < std::size(answers); ++i)
            EXPECT_EQ(answers[i], WDB_E_HANDLE) << why << ", call " << i;
        EXPECT_EQ(made, nullptr);
        EXPECT_STREQ(text, "A") << "outputs are unchanged";
    }
};

TEST_F(Handles, NullDeadAndForeign) {
    expectRefused(nullptr, nullptr, "null");
    WdbRecordControl* dead = control("T", WDB_MODE_WRITE);
    WdbCursor* orphan = nullptr;
    ASSERT_EQ(WdbSetCursor(&orphan, dead, 1, 0, 0), 1);
    WdbRecordControl* copy = dead;
    ASSERT_EQ(WdbDeleteRecordControl(&dead), 1);
    expectRefused(copy, orphan, "dead");
    WdbRecordControl* reused = control("T", WDB_MODE_WRITE);
    expectRefused(copy, orphan, "dead, its place in use again");
    EXPECT_EQ(WdbDeleteRecordControl(&copy), WDB_E_HANDLE);
    EXPECT_EQ(WdbDeleteCursor(&orphan), 1) << "it died with its control";
    EXPECT_EQ(orphan, nullptr);

    int local = 0;
    auto* foreign = reinterpret_cast<WdbRecordControl*>(&local);
    auto* foreignCursor = reinterpret_cast<WdbCursor*>(&local);
    expectRefused(foreign, foreignCursor, "the address of something else");
    EXPECT_EQ(WdbDeleteRecordControl(&foreign), WDB_E_HANDLE);
    EXPECT_EQ(WdbDeleteCursor(&foreignCursor), WDB_E_HANDLE);
    expectRefused(reinterpret_cast<WdbRecordControl*>(uintptr_t{1}),
                  reinterpret_cast<WdbCursor*>(~uintptr_t{0}), "nonsense");
    WdbCursor* alive = nullptr;
    ASSERT_EQ(WdbSetCursor(&alive, reused, 1, 0, 0), 1);
    expectRefused(reinterpret_cast<WdbRecordControl*>(alive), reinterpret_cast<WdbCursor*>(reused),
                  "the other kind");
    EXPECT_EQ(WdbDeallocate(&local), WDB_E_HANDLE);
    auto* rules = reinterpret_cast<WdbIntegrityRules*>(&local);
    EXPECT_EQ(WdbFreeIntegrityRules(&rules), WDB_E_HANDLE);
    EXPECT_EQ(WdbBindSession(reinterpret_cast<WdbSession*>(&local)), WDB_E_HANDLE);

    WdbSession* other = open();
    ASSERT_EQ(WdbBindSession(other), 1);
    expectRefused(reused, alive, "another session's");
    ASSERT_EQ(WdbBindSession(session_), 1);
    WdbSession* closed = other;
    ASSERT_EQ(WdbCloseSession(&other), 1);
    EXPECT_EQ(WdbBindSession(closed), WDB_E_HANDLE);
    EXPECT_EQ(WdbCloseSession(&closed), WDB_E_HANDLE);
    EXPECT_EQ(WdbDeleteCursor(&alive), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&reused), 1);
    EXPECT_EQ(live().controls, 0) << "nothing was left";
}

TEST_F(Handles, NullPointersAreAnswered) {
    WdbRecordControl* made = control("T", WDB_MODE_WRITE);
    EXPECT_EQ(WdbCreateRecordControl(nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbDeleteRecordControl(nullptr), 1);
    EXPECT_EQ(WdbSetBase(made, nullptr, 1), WDB_E_NAME);
    EXPECT_EQ(WdbCheckField(made, nullptr, nullptr, nullptr, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbSetCursor(nullptr, made, 1, 0, 0), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbDeleteCursor(nullptr), 1);
    EXPECT_EQ(WdbGetRows(1, 0, 1, nullptr, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbExecuteCcl(nullptr, nullptr), WDB_E_CCL_SYNTAX);
    EXPECT_EQ(WdbSearchResult(nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(WdbGetSearch(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(WdbDeallocate(nullptr), 1);
    EXPECT_EQ(WdbStrNormalize(nullptr, nullptr, 7), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbShowControl(1, 0, nullptr, nullptr), 1);
    EXPECT_EQ(WdbNextControl(nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbBaseInfo(nullptr, 1, nullptr, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbCheckBase(nullptr, 1), WDB_E_BASE);
    EXPECT_EQ(WdbGetIntegrityRules(nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbGetBaseDef(nullptr, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbPutBaseDef(nullptr), WDB_E_NO_DEFINITION);
    EXPECT_EQ(WdbGetFieldSpec(nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbPutFieldSpec(nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbPutDefaultValue(nullptr, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbSetForeignKey(nullptr, nullptr, nullptr, 0, 0), WDB_E_NO_DEFINITION);
    EXPECT_EQ(WdbBaseStatus(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), WDB_E_BASE);
    EXPECT_EQ(WdbBaseStatus("T", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(WdbVersion(nullptr, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbCurrentDate(nullptr, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbShellSymbol(nullptr, nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbLiveHandles(nullptr), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbOpenSession(nullptr, nullptr, nullptr, 0, nullptr), WDB_E_ARGUMENT);
    WdbSession* session = nullptr;
    EXPECT_EQ(WdbOpenSession("/no/such/directory", "boss", "", 0, &session), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbOpenSession(home_.c_str(), "stranger", "", 0, &session), WDB_E_USER);
    EXPECT_EQ(WdbOpenSession(home_.c_str(), "boss", "wrong", 0, &session), WDB_E_USER);
    EXPECT_EQ(WdbCloseSession(&session), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Handles, RowsOfAClosedSessionGoWithIt) {
    ASSERT_EQ(insert("T", {"x"}), 1);
    ASSERT_EQ(ccl("SEL FRL(T) FIELD(T.A)"), 1);
    char* items = nullptr;
    uint32_t* words = nullptr;
    ASSERT_EQ(WdbGetRows(1, 0, 1, &items, &words), 1);
    EXPECT_EQ(live().rowBuffers, 2);
    ASSERT_EQ(WdbBindSession(nullptr), 1);
    EXPECT_EQ(WdbDeallocate(items), 1) << "works without a session";
    EXPECT_EQ(WdbDeallocate(items), WDB_E_HANDLE) << "but once";
    ASSERT_EQ(WdbBindSession(session_), 1);
    // The other buffer is left to WdbCloseSession: the leak check of the sanitizers sees when it is not
    // freed.
}

TEST_F(Handles, TraceAndInjectedFailures) {
    std::vector<std::string> calls;
    const auto trace = [](void* context, const char* function, int32_t status) {
        static_cast<std::vector<std::string>*>(context)->push_back(std::string(function) + " " +
                                                                   std::to_string(status));
    };
    ASSERT_EQ(WdbSetTrace(trace, &calls), 1);
    ASSERT_EQ(WdbInjectFailure("WdbSetBase", 1, WDB_E_CORRUPT), 1);
    WdbRecordControl* made = nullptr;
    WdbCreateRecordControl(&made);
    WdbSetBase(made, "T", 1);
    WdbSetBase(made, "T", 1);
    WdbSetBase(made, "T", 1);
    WdbDeleteRecordControl(&made);
    ASSERT_EQ(WdbSetTrace(nullptr, nullptr), 1);
    ASSERT_EQ(WdbInjectFailure(nullptr, 0, 0), 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"WdbCreateRecordControl 1", "WdbSetBase 1", "WdbSetBase 16226",
                                               "WdbSetBase 1", "WdbDeleteRecordControl 1"}));
}

TEST_F(Handles, LastError) {
    char text[256];
    int32_t code = 0, position = 0, length = sizeof text;
    EXPECT_EQ(ccl("FIND T.A 5"), WDB_E_CCL_SYNTAX);
    ASSERT_EQ(WdbLastError(&code, &position, text, &length), 1);
    EXPECT_EQ(code, WDB_E_CCL_SYNTAX);
    EXPECT_EQ(position, 9);
    EXPECT_EQ(ccl("BAS NOPE"), WDB_E_BASE);
    length = sizeof text;
    ASSERT_EQ(WdbLastError(&code, &position, text, &length), 1);
    EXPECT_EQ(code, WDB_E_BASE);
    EXPECT_NE(std::string(text).find("NOPE"), std::string::npos) << text;
    EXPECT_EQ(WdbLoadStatus(3), WDB_E_NO_STATUS);
    length = sizeof text;
    ASSERT_EQ(WdbLastError(&code, &position, text, &length), 1);
    EXPECT_EQ(code, WDB_E_NO_STATUS);
    EXPECT_STREQ(text, "No saved status.");
    EXPECT_EQ(position, 0);
}

TEST_F(Handles, DefinitionsThatStopHalfWay) {
    WdbBaseDef base{};
    WdbFieldSpec field = spec({"X", "PHRASE"});
    ASSERT_EQ(WdbGetBaseDef("HALF", &base), 1);
    ASSERT_EQ(WdbPutFieldSpec(&field), 1);
    ASSERT_EQ(WdbGetBaseDef("OTHER", &base), 1);
    EXPECT_EQ(WdbGetFieldSpec(&field), 0) << "the first definition left nothing behind";
    EXPECT_EQ(WdbCheckBase("HALF", 1), WDB_E_BASE);
    EXPECT_EQ(WdbGetBaseDef("bad name", &base), WDB_E_NAME);
    EXPECT_EQ(WdbPutFieldSpec(&field), WDB_E_NO_DEFINITION) << "and no definition is current after a failure";
    EXPECT_EQ(WdbPutBaseDef(&base), WDB_E_NO_DEFINITION);
}

TEST_F(Handles, RulesAndTheControlList) {
    createBase("U", {{"ID", "INTEGER"}}, "ID");
    WdbBaseDef base{};
    createBase("V", {{"UID", "INTEGER"}});
    ASSERT_EQ(WdbGetBaseDef("V", &base), 1);
    EXPECT_EQ(WdbSetForeignKey("UID", "T", "A", 0, 2), WDB_E_TYPE);
    EXPECT_EQ(WdbSetForeignKey("UID", "NOPE", "ID", 0, 2), WDB_E_BASE);
    EXPECT_EQ(WdbSetForeignKey("NOPE", "U", "ID", 0, 2), WDB_E_FIELD);
    ASSERT_EQ(WdbSetForeignKey("UID", "U", "ID", 0, WDB_ACT_CASCADE), 1);
    ASSERT_EQ(WdbPutBaseDef(&base), 1);

    WdbIntegrityRules* rules = nullptr;
    EXPECT_EQ(WdbGetIntegrityRules(&rules), WDB_E_NOT_CHECKED);
    struct Row {
        const char* base;
        int32_t count;
        int32_t kind;
    };
    for (const Row& row : {Row{"T", 0, 0}, Row{"U", 1, 2}, Row{"V", 1, 1}}) {
        ASSERT_EQ(WdbCheckBase(row.base, 3), 1);
        ASSERT_EQ(WdbGetIntegrityRules(&rules), 1);
        ASSERT_EQ(rules->count, row.count) << row.base;
        if (row.count > 0) {
            const WdbIntegrityRule& rule = rules->rule[0];
            EXPECT_EQ(rule.kind, row.kind);
            EXPECT_EQ(rule.deleteAction, WDB_ACT_CASCADE);
            EXPECT_EQ(rule.updateAction, WDB_ACT_RESTRICT);
            EXPECT_EQ(
                std::string(rule.fkTable) + "." + rule.fkColumn + ">" + rule.pkTable + "." + rule.pkColumn,
                "V.UID>U.ID");
        }
        EXPECT_EQ(live().ruleLists, 1);
        EXPECT_EQ(WdbFreeIntegrityRules(&rules), 1);
        EXPECT_EQ(rules, nullptr);
    }
    EXPECT_EQ(WdbCheckBase("NOPE", 1), WDB_E_BASE);
    EXPECT_EQ(WdbGetIntegrityRules(&rules), WDB_E_NOT_CHECKED) << "a failed check leaves no base checked";

    ASSERT_EQ(insert("U", {"1"}), 1);
    ASSERT_EQ(WdbShowControl(1, 0, "1", ""), 1);
    std::string listed;
    WdbRecordControl* entry = nullptr;
    WdbCursor* left = nullptr;
    while (WdbNextControl(&entry) == 1) {
        listed += get(entry, 44) + "/" + get(entry, 4) + "/" + get(entry, 45) + " ";
        EXPECT_EQ(WdbPutRecord(entry, nullptr), WDB_E_READ_ONLY);
        EXPECT_EQ(WdbSetBase(entry, "T", 3), WDB_E_READ_ONLY);
        EXPECT_EQ(set(entry, 44, 0, "x"), WDB_E_READ_ONLY);
        WdbRecordControl* copy = entry;
        EXPECT_EQ(WdbDeleteRecordControl(&copy), 1) << "only sets the pointer to NULL";
        if (left == nullptr) {
            ASSERT_EQ(WdbSetCursor(&left, entry, 44, 0, 0), 1);
        }
    }
    EXPECT_EQ(listed, "T/boss/0 U/boss/1 V/boss/0 ");
    int32_t count = 0;
    EXPECT_EQ(WdbItemCount(left, &count), WDB_E_HANDLE) << "the entry died";
    EXPECT_EQ(WdbDeleteCursor(&left), 1);
    ASSERT_EQ(WdbShowControl(1, 0, "2", "2"), 1);
    ASSERT_EQ(WdbNextControl(&entry), 1);
    EXPECT_EQ(get(entry, 44), "U");
    EXPECT_EQ(WdbNextControl(&entry), 0);
    EXPECT_EQ(WdbShowControl(2, 0, "1", ""), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbShowControl(1, 0, "x", ""), WDB_E_ARGUMENT);
}

TEST_F(Handles, BaseInformation) {
    char text[256];
    int32_t number = -1;
    struct Row {
        int32_t item;
        const char* text;
    };
    for (const Row& row : {Row{1, ""}, Row{2, "WELKSQL$BASES:T.BAF"}, Row{5, "boss"}, Row{6, "MUL"}}) {
        int32_t length = sizeof text;
        ASSERT_EQ(WdbBaseInfo("t", row.item, text, &length), 1) << row.item;
        EXPECT_STREQ(text, row.text);
    }
    int32_t length = 4;
    ASSERT_EQ(WdbBaseInfo("T", 4, &number, &length), 1);
    EXPECT_EQ(number, 3);
    length = 3;
    EXPECT_EQ(WdbBaseInfo("T", 4, &number, &length), WDB_E_BUFFER);
    EXPECT_EQ(length, 4);
    length = sizeof text;
    EXPECT_EQ(WdbBaseInfo("NOPE", 2, text, &length), WDB_E_BASE);
    EXPECT_EQ(WdbBaseInfo("T", 8, text, &length), WDB_E_ARGUMENT);
}

TEST_F(Handles, ReadOnlySessionsWriteNothing) {
    ASSERT_EQ(insert("T", {"x"}), 1);
    WdbSession* reader = open(WDB_OPEN_READ_ONLY);
    ASSERT_EQ(WdbBindSession(reader), 1);
    EXPECT_EQ(find("FIND T.A=x").size(), 1u);
    WdbRecordControl* made = control("T", WDB_MODE_WRITE);
    EXPECT_EQ(WdbPutRecord(made, nullptr), WDB_E_READ_ONLY);
    ASSERT_EQ(WdbGetRecordInBase(made, 1), 1);
    EXPECT_EQ(WdbDeleteRecordInBase(made), WDB_E_READ_ONLY);
    EXPECT_EQ(WdbBeginLoad("T", 0), WDB_E_READ_ONLY);
    EXPECT_EQ(WdbSetResource(4, "X", "y"), WDB_E_READ_ONLY);
    EXPECT_EQ(WdbBatchLoadIndex(2, "T", ""), 1) << "brings memory up to date, writes nothing";
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(WdbCloseSession(&reader), 1);
}

}  // namespace
