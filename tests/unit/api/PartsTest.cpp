// Records with parts; sets looked at; commands read without being run.
#include <algorithm>
#include <set>

#include "tests/unit/api/ApiTest.h"

namespace {

class Parts : public ApiTest {
protected:
    enum : int32_t { kTitle = 1, kPage, kNote, kPicture };
    void SetUp() override {
        ApiTest::SetUp();
        WdbBaseDef base{};
        ASSERT_EQ(WdbGetBaseDef("BOOKS", &base), 1);
        const Field fields[] = {
            {"TITLE", "PHRASE"}, {"PAGE", "PHRASE"}, {"NOTE", "TEXT"}, {"PICTURE", "STRING"}};
        for (const Field& field : fields) {
            WdbFieldSpec record = spec(field);
            record.part = field.name != "TITLE";
            ASSERT_EQ(WdbPutFieldSpec(&record), 1);
        }
        fill(base, "BOOKS", "");
        ASSERT_EQ(WdbPutBaseDef(&base), 1);
    }
    // "head|part 1|part 2 ..." of a field.
    static std::string all(WdbRecordControl* control, int32_t field) {
        int32_t count = -1;
        EXPECT_EQ(WdbPartCount(control, &count), 1);
        std::string text;
        for (int32_t part = 0; part <= count; ++part) {
            EXPECT_EQ(WdbSetRecordPart(nullptr, control, part), 1);
            const std::string value = get(control, field);
            text += (part == 0 ? "" : "|") + (value == "#0" ? "-" : value);
        }
        return text;
    }
    static WdbRecordControl* book(const std::vector<std::string>& pages) {
        WdbRecordControl* made = control("BOOKS", WDB_MODE_WRITE);
        EXPECT_EQ(set(made, kTitle, 0, "book"), 1);
        int32_t part = 0;
        for (size_t i = 0; i < pages.size(); ++i) {
            EXPECT_EQ(WdbAddRecordPart(made, &part), 1);
            EXPECT_EQ(part, static_cast<int32_t>(i + 1));
            EXPECT_EQ(set(made, kPage, 0, pages[i]), 1);
        }
        return made;
    }
};

TEST_F(Parts, AreStoredReadAndTakenOut) {
    WdbRecordControl* made = book({"one", "two", "three"});
    EXPECT_EQ(get(made, kTitle), "book") << "a head field is the same in every part";
    int32_t number = 0;
    ASSERT_EQ(WdbPutRecord(made, &number), 1);
    ASSERT_EQ(WdbGetRecordInBase(made, number), 1);
    EXPECT_EQ(get(made, kPage), "#0") << "no part is chosen after a record is loaded";
    EXPECT_EQ(all(made, kPage), "-|one|two|three");
    EXPECT_EQ(all(made, kTitle), "book|book|book|book");

    ASSERT_EQ(WdbSetRecordPart(nullptr, made, 0), 1);
    ASSERT_EQ(set(made, kPage, 0, "cover"), 1) << "the head keeps a value of a part field as part 0";
    ASSERT_EQ(WdbDeleteRecordPart(made, 2), 1);
    EXPECT_EQ(all(made, kPage), "cover|one|three");
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    ASSERT_EQ(WdbGetRecordInBase(made, number), 1);
    EXPECT_EQ(all(made, kPage), "cover|one|three");
    EXPECT_EQ(WdbVerifyBase("BOOKS", 0, nullptr, nullptr), 1);
    for (const char* page : {"cover", "one", "three"})
        EXPECT_EQ(find(std::string("FIND BOOKS.PAGE=") + page).size(), 1u) << page;
    EXPECT_EQ(find("FIND BOOKS.PAGE=two").size(), 0u);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Parts, CursorsAndObjectsStayWithTheirParts) {
    WdbRecordControl* made = book({"one", "two", "three"});
    WdbCursor* cursors[4] = {};
    for (int32_t part = 1; part <= 3; ++part) {
        ASSERT_EQ(WdbSetRecordPart(nullptr, made, part), 1);
        ASSERT_EQ(WdbSetCursor(&cursors[part], made, kPicture, 0, 0), 1);
        ASSERT_EQ(WdbPutBlobBlock(cursors[part], part, "xxx"), 1);
    }
    ASSERT_EQ(WdbDeleteRecordPart(made, 2), 1);
    int32_t size = 0;
    EXPECT_EQ(WdbGetBlobSize(cursors[2], &size), WDB_E_HANDLE) << "it died with its part";
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    const std::pair<int32_t, int32_t> sizes[] = {{1, 1}, {3, 3}};
    for (const auto& [cursor, wanted] : sizes) {
        ASSERT_EQ(WdbGetBlobSize(cursors[cursor], &size), 1);
        EXPECT_EQ(size, wanted);
    }
    WdbCursor* moving = nullptr;
    ASSERT_EQ(WdbSetRecordPart(nullptr, made, 0), 1);
    ASSERT_EQ(WdbSetCursor(&moving, made, kPicture, 0, 0), 1);
    ASSERT_EQ(WdbSetRecordPart(moving, made, 2), 1) << "a cursor that is given goes along";
    ASSERT_EQ(WdbGetBlobSize(moving, &size), 1);
    EXPECT_EQ(size, 3);
    EXPECT_EQ(WdbSetRecordPart(cursors[2], made, 1), WDB_E_HANDLE);
    for (WdbCursor*& cursor : cursors) EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    EXPECT_EQ(WdbDeleteCursor(&moving), 1);
}

TEST_F(Parts, WhatIsRefused) {
    WdbRecordControl* made = control("BOOKS", WDB_MODE_READ);
    int32_t number = 7;
    EXPECT_EQ(WdbPartCount(made, &number), WDB_E_NO_RECORD);
    EXPECT_EQ(WdbSetRecordPart(nullptr, made, 0), WDB_E_NO_RECORD);
    EXPECT_EQ(WdbHitParts(made, 1, &number, nullptr, nullptr), WDB_E_NO_RECORD);
    EXPECT_EQ(WdbAddRecordPart(made, &number), WDB_E_READ_ONLY);
    ASSERT_EQ(WdbSetBase(made, "BOOKS", WDB_MODE_WRITE), 1);
    EXPECT_EQ(WdbDeleteRecordPart(made, 1), WDB_E_NO_RECORD);
    ASSERT_EQ(WdbAddRecordPart(made, &number), 1) << "a control without a record gets a new one";
    for (const int32_t part : {-1, 2}) {
        EXPECT_EQ(WdbSetRecordPart(nullptr, made, part), WDB_E_PART) << part;
        EXPECT_EQ(WdbDeleteRecordPart(made, part), WDB_E_PART) << part;
    }
    EXPECT_EQ(WdbDeleteRecordPart(made, 0), WDB_E_PART) << "the head is no part";
    int32_t hits = 7, head = 7;
    EXPECT_EQ(WdbHitParts(made, 1, &number, &hits, &head), 0) << "not from a search";
    EXPECT_EQ(hits, 0);
    EXPECT_EQ(head, 0);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Parts, HitsOfASearch) {
    WdbRecordControl* made = book({"one", "two", "two"});
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    const auto hits = [&](const char* command) {
        EXPECT_EQ(find(command).size(), 1u) << command;
        EXPECT_EQ(WdbGetRecordInSearchRis(made, 0, 1, nullptr, nullptr), 1);
        std::string parts;
        int32_t part = 0, count = -1;
        for (int32_t ordinal = 1; WdbHitParts(made, ordinal, &part, &count, nullptr) == 1; ++ordinal)
            parts += std::to_string(part) + " ";
        return parts + "of " + std::to_string(count);
    };
    EXPECT_EQ(hits("FIND BOOKS.PAGE=two"), "2 3 of 2");
    EXPECT_EQ(hits("FIND (BOOKS.TITLE=book) AND (BOOKS.PAGE=one)"), "1 of 1");
    EXPECT_EQ(hits("FIND BOOKS.PAGE=one OR BOOKS.PAGE=two"), "1 2 3 of 3");
    int32_t head = -1, count = -1;
    EXPECT_EQ(WdbHitParts(made, 4, nullptr, &count, &head), 0) << "fewer";
    EXPECT_EQ(count, 3);
    EXPECT_EQ(head, 0) << "the head has no page";
    createBase("PLAIN", {{"A", "PHRASE"}});
    ASSERT_EQ(insert("PLAIN", {"x"}), 1);
    ASSERT_EQ(find("FIND PLAIN.A=x").size(), 1u);
    ASSERT_EQ(WdbGetRecordInSearchRis(made, 0, 1, nullptr, nullptr), 1);
    EXPECT_EQ(WdbHitParts(made, 1, nullptr, &count, &head), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(head, 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

TEST_F(Parts, SetsAreDescribedAndDropped) {
    WdbRecordControl* made = book({"one"});
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    WdbSetInfoRecord info{};
    EXPECT_EQ(WdbSetInfo(0, &info), 0) << "no current result";
    EXPECT_EQ(WdbSetInfo(1, &info), WDB_E_CCL_SET);
    EXPECT_EQ(WdbSetInfo(1, nullptr), WDB_E_ARGUMENT);
    ASSERT_EQ(ccl("BAS BOOKS"), 1);
    ASSERT_EQ(WdbSetInfo(0, &info), 1) << "all records of the search bases";
    EXPECT_EQ(info.number, 1);
    EXPECT_EQ(info.records, 1);
    ASSERT_EQ(ccl("SEL  FRL(BOOKS) FIELD(BOOKS.TITLE,1)"), 1);
    ASSERT_EQ(WdbSetInfo(2, &info), 1);
    EXPECT_EQ(info.kind, 1);
    EXPECT_EQ(info.columns, 2);
    EXPECT_EQ(info.bases, 1);
    EXPECT_STREQ(info.base, "BOOKS");
    EXPECT_STREQ(info.command, "SEL  FRL(BOOKS) FIELD(BOOKS.TITLE,1)");
    EXPECT_EQ(live().sets, 2);
    EXPECT_EQ(WdbDropSet(2), 1);
    EXPECT_EQ(live().sets, 1);
    EXPECT_EQ(WdbDropSet(2), WDB_E_CCL_SET);
    EXPECT_EQ(WdbSetInfo(2, &info), WDB_E_CCL_SET);
    ASSERT_EQ(ccl("FIND BOOKS.TITLE=book"), 1);
    ASSERT_EQ(WdbSetInfo(0, &info), 1);
    EXPECT_EQ(info.number, 3) << "the number stays taken";
}

TEST_F(Parts, TermsAreWalkedUpwards) {
    createBase(
        "W",
        {{"P", "PHRASE"}, {"T", "TEXT"}, {"N", "NUMBER"}, {"I", "INTEGER"}, {"D", "DATE"}, {"O", "STRING"}});
    const std::string longest(450, 'z'), wide = std::string(398, 'y') + "\u00C9\u00C9";
    const std::vector<std::vector<std::string>> rows = {{"b b", "Beta alpha", "1.50", "-7", "2024-02-29"},
                                                        {"a", "alpha", "1.5", "7", "2023-01-01"},
                                                        {"B  B", "Gamma", "-0.02", "7", "2023-01-01"},
                                                        {longest, "", "1200", "", ""},
                                                        {wide, "", "", "", ""}};
    for (const auto& row : rows) ASSERT_EQ(insert("W", row), 1);
    ASSERT_EQ(WdbBatchLoadIndex(1, "W", ""), 1);
    ASSERT_EQ(insert("W", {"c", "delta", "0", "9000000000", "0001-01-01"}), 1);
    const auto walk = [](int32_t field, const std::string& from) {
        std::string all;
        char term[1024];
        std::snprintf(term, sizeof term, "%s", from.c_str());
        for (int i = 0; i < 20; ++i) {
            int32_t length = sizeof term, records = 0;
            const int32_t status = WdbNextTerm("W", field, term, &length, &records);
            if (status != 1) return all + "#" + std::to_string(status);
            all += std::string(term).substr(0, 12) + "(" + std::to_string(records) + ") ";
        }
        return all;
    };
    const std::tuple<int32_t, const char*, const char*> walks[] = {
        {1, "", "A(1) B B(2) C(1) YYYYYYYYYYYY(1) ZZZZZZZZZZZZ(1) #0"},
        {1, "b", "B B(2) C(1) YYYYYYYYYYYY(1) ZZZZZZZZZZZZ(1) #0"},
        {2, "", "alpha(2) beta(1) delta(1) gamma(1) #0"},
        {2, "BETA", "delta(1) gamma(1) #0"},
        {3, "", "-0.02(1) 0(1) 1.5(2) 1200(1) #0"},
        {3, "1.49", "1.5(2) 1200(1) #0"},
        {4, "", "-7(1) 7(2) 9000000000(1) #0"},
        {4, "x", "#16706"},
        {5, "", "0001-01-01(1) 2023-01-01(2) 2024-02-29(1) #0"},
        {6, "", "#16418"},
        {7, "", "#16386"}};
    for (const auto& [field, from, terms] : walks)
        EXPECT_EQ(walk(field, from), terms) << field << " from " << from;
    char term[4] = "", nothing[4] = "zz";
    int32_t length = 2, records = 5;
    EXPECT_EQ(WdbNextTerm("W", 2, term, &length, &records), WDB_E_BUFFER);
    EXPECT_EQ(length, 6);
    EXPECT_EQ(records, 5);
    EXPECT_EQ(WdbNextTerm("NONE", 2, nothing, &length, &records), WDB_E_BASE);
}

// Around the length at which values are known by their beginning only, in steps of a byte and with characters
// of two.
TEST_F(Parts, NoLongTermIsSkipped) {
    createBase("W", {{"P", "PHRASE"}});
    std::vector<std::string> expected;
    for (size_t length = 390; length <= 405; ++length) {
        ASSERT_EQ(insert("W", {std::string(length, 'Y')}), 1);
        if (length <= 400) expected.push_back(std::string(length, 'Y'));
        ASSERT_EQ(insert("W", {std::string(length, 'Z') + "\u00C9\u00C9\u00C9"}), 1);
    }
    ASSERT_EQ(WdbBatchLoadIndex(1, "W", ""), 1);
    std::vector<std::string> found;
    char term[1024] = "";
    for (int i = 0; i < 40; ++i) {
        int32_t length = sizeof term, records = 0;
        if (WdbNextTerm("W", 1, term, &length, &records) != 1) break;
        EXPECT_GE(records, 1);
        found.push_back(term);
    }
    std::string ends;
    for (const std::string& one : found) ends += one[0] + std::to_string(one.size()) + " ";
    ASSERT_LT(found.size(), 40u) << "the walk ends: " << ends;
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()).size(), found.size())
        << "each once: " << ends;
    EXPECT_EQ(found.size(), 22u) << ends;
    std::erase_if(found, [](const std::string& one) { return one.starts_with('Z'); });
    EXPECT_TRUE(found == expected) << ends;
}

struct Step {
    int32_t depth;
    std::string text;
    int64_t count;
};

TEST_F(Parts, TheProfileTellsOfCommands) {
    std::vector<Step> steps;
    const WdbStepFn note = [](void* context, int32_t depth, const char* text, int64_t count, int64_t time) {
        EXPECT_GE(time, 0);
        EXPECT_EQ(WdbSaveStatus(), WDB_E_SESSION_BUSY) << "in the middle of a command";
        static_cast<std::vector<Step>*>(context)->push_back({depth, text, count});
    };
    WdbRecordControl* made = book({"one"});
    ASSERT_EQ(WdbPutRecord(made, nullptr), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    ASSERT_EQ(WdbSetProfile(note, &steps), 1);
    ASSERT_EQ(ccl("BAS BOOKS"), 1);
    ASSERT_EQ(ccl("FIND BOOKS.TITLE=book"), 1);
    ASSERT_EQ(ccl("FIND nonsense"), WDB_E_CCL_SYNTAX);
    ASSERT_EQ(WdbSetProfile(nullptr, nullptr), 1);
    ASSERT_EQ(ccl("FIND BOOKS.TITLE=book"), 1);
    std::string commands;
    for (const Step& step : steps) {
        if (step.depth == 0) commands += step.text + " " + std::to_string(step.count) + "; ";
    }
    EXPECT_EQ(commands, "BAS BOOKS 0; FIND BOOKS.TITLE=book 1; FIND nonsense 0; ");
}

TEST_F(Parts, CommandsAreReadWithoutBeingRun) {
    char canonical[64];
    int32_t length = sizeof canonical, position = -1;
    ASSERT_EQ(WdbCheckCcl("find NOWHERE.A=x   or(B=1)", canonical, &length, &position), 1);
    EXPECT_STREQ(canonical, "FIN ( NOWHERE.A = x ORX B = 1 )");
    EXPECT_EQ(position, -1);
    length = 5;
    EXPECT_EQ(WdbCheckCcl("BAS BOOKS", canonical, &length, nullptr), WDB_E_BUFFER);
    length = sizeof canonical;
    EXPECT_EQ(WdbCheckCcl("FIND T.A 5", canonical, &length, &position), WDB_E_CCL_SYNTAX);
    EXPECT_EQ(position, 9);
    EXPECT_EQ(WdbSearchResult(nullptr, nullptr, nullptr, nullptr, nullptr), 0) << "nothing was run";
}

}  // namespace
