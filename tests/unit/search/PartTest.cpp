#include "tests/unit/search/SearchFixture.h"

namespace wdb {
namespace {

struct Row {
    const char* command;
    const char* rows;
    const char* reason;
};

// Records 1 with two parts, 2 with one, 3 without parts but a value of a part field in its head, 4 without
// any, 5 with a part and such a value.
class PartTest : public SearchFixture {
protected:
    void SetUp() override {
        SearchFixture::SetUp();
        create("B", {{"NAME", FieldType::Phrase}, {"PARTN", FieldType::Integer}, {"PARTT", FieldType::Text}});
        putParts("B",
                 {{{{"NAME", {"a"}}},
                   {{{"PARTN", {"1"}}, {"PARTT", {"red fox"}}}, {{"PARTN", {"2", "3"}}, {"PARTT", {"fox"}}}}},
                  {{{"NAME", {"b"}}}, {{{"PARTN", {"3"}}}}},
                  {{{"NAME", {"a"}}, {"PARTN", {"1"}}}, {}},
                  {{{"NAME", {"c"}}}, {}},
                  {{{"NAME", {"a"}}, {"PARTT", {"red"}}}, {{{"PARTN", {"1"}}}}}});
        ASSERT_EQ(search.execute("DEF FIN MIN=0"), WDB_OK);
        ASSERT_EQ(search.execute("BAS B"), WDB_OK);
    }
    // Records found, each with its hit parts and "h" when the head satisfied the search by itself.
    std::string hits(const std::string& condition) {
        const Status status = search.execute("FIN " + condition);
        if (status != WDB_OK) return "#" + std::to_string(status);
        std::string result;
        FoundRecord found;
        for (int32_t i = 1; search.recordAt(0, i, found) == WDB_OK; ++i) {
            std::vector<PartNumber> parts;
            bool head = false;
            const Status known = search.hitParts(found.set, *found.base, found.record, parts, head);
            EXPECT_EQ(known == WDB_OK, !parts.empty());
            result += (i > 1 ? " " : "") + std::to_string(found.record) + ":";
            for (const PartNumber part : parts) result += std::to_string(part);
            if (head) result += 'h';
        }
        return result;
    }
};

TEST_F(PartTest, HitParts) {
    const Row rows[] = {
        {"PARTN=1", "1:1 3:h 5:1", "the parts that satisfy it, part 0 for a value in the head"},
        {"PARTN=3", "1:2 2:1", "some item of the part"},
        {"NAME=a", "1:12h 3:h 5:1h", "a head field holds for every part"},
        {"(NAME=a) AND (PARTN=3)", "1:2", "both in one row"},
        {"(PARTN=1) AND (PARTT=fox)", "1:1", "in one and the same part"},
        {"(PARTN=2) AND (PARTT=red)", "", "not in different parts"},
        {"(PARTN=1) OR (PARTT=fox)", "1:12 3:h 5:1", "either"},
        {"(PARTN=1) NOT (PARTT=red)", "3:h 5:1", "part 1 of record 1 has the word"},
        {"PARTN<>1", "1:2 2:1", "parts with a value, and another one"},
        {"PARTT=\"\"", "2:1h 3:h 4:h 5:1", "parts without a value, heads too"},
        {"PARTN.2=3", "1:2", "the second item of a part"},
        {"R=5", "5:1h", "a record number holds for every part"},
        {"PARTT=$", "1:12 5:h", "any value"},
    };
    for (const Row& row : rows) EXPECT_EQ(hits(row.command), row.rows) << row.command << ": " << row.reason;
    ASSERT_EQ(search.execute("FIN PARTN=1"), WDB_OK);
    SearchCounts counts;
    ASSERT_EQ(search.currentResult(counts), WDB_OK);
    EXPECT_EQ(counts.records, 3);
    EXPECT_EQ(counts.parts, 2);
    std::vector<PartNumber> parts;
    bool head = false;
    EXPECT_EQ(search.hitParts(99, snapshots_.begin()->second.base(), 1, parts, head), WDB_E_CCL_SET);
}

TEST_F(PartTest, RowsOfParts) {
    create("H", {{"REF", FieldType::Integer}, {"WHAT", FieldType::Phrase}});
    put("H", {{{"REF", {"1"}}, {"WHAT", {"x"}}}, {{"REF", {"3"}}, {"WHAT", {"y"}}}});
    const Row rows[] = {
        {"SEL FRL(B) FIELD(B.R,B.NAME)", "1|a 2|b 3|a 4|c 5|a", "head fields only: a row for each record"},
        {"SEL FRL(B) FIELD(B.R,B.PARTN)", "1|1 1|2;3 2|3 3|1 4|- 5|- 5|1",
         "a row for each part, one with part 0 without parts or with a value there"},
        {"SEL FRL(B) FIELD(B.R,B.PARTT) WHERE(B.PARTT=fox)", "1|PARTT,1,1 1|PARTT,1,2",
         "references name the part"},
        {"SEL FRL(B) FIELD(B.R) WHERE(B.PARTN=1)", "1 3 5", "the condition alone makes rows of parts"},
        {"SEL FRL(B) FIELD(B.R) WHERE(B.PARTT=fox)", "1 1", "as many as there are"},
        {"SEL FRL(B) FIELD(B.R,B.PARTN) SORT(B.PARTN DESC)", "2|3 1|2;3 1|1 3|1 5|1 4|- 5|-",
         "sorted by the part's first item"},
        {"SEL FRL(B) FIELD(B.PARTN.1,COUNT(*)) SORT(1) GROUP(B.PARTN.1)", "-|2 1|3 2|1 3|1", "grouped"},
        {"SEL FRL(B) FIELD(COUNT(B.PARTN),SUM(B.PARTN))", "6|11", "every part's items"},
        {"SEL DISTINCT FRL(B) FIELD(B.PARTN)", "- 1 2;3 3", "different ones"},
        {"SEL FRL(B,H) FIELD(B.R,B.PARTN,H.WHAT) INNER(B.PARTN=H.REF)", "1|1|x 1|2;3|y 2|3|y 3|1|x 5|1|x",
         "joined by the part's items"},
        {"SEL FRL(B,H) FIELD(B.R,H.R) INNER(B.PARTN=H.REF)", "1|1 1|2 2|2 3|1 5|1",
         "a join alone makes no rows of parts"},
    };
    for (const Row& row : rows) EXPECT_EQ(select(row.command), row.rows) << row.command << ": " << row.reason;
    RowItems row;
    ASSERT_EQ(search.execute("SEL FRL(B) FIELD(B.PARTN)"), WDB_OK);
    ASSERT_EQ(search.fetchRow(0, 1, row), WDB_OK);
    EXPECT_EQ(row.words[row.words.size() - 2], 1u);
    EXPECT_EQ(row.words.back(), 2u) << "the row's part";
}

TEST_F(PartTest, JoinsByTheTextOfAPart) {
    create("U", {{"X", FieldType::Phrase}});
    put("U", {{{"X", {"red"}}}, {{"X", {"fox"}}}, {{"X", {"zebra"}}}});
    const Row rows[] = {
        {"SEL FRL(B,U) FIELD(B.R,B.PARTN,U.X) INNER(B.PARTT=U.X)", "1|1|red 1|1|fox 1|2;3|fox 5|-|red",
         "each part by its own text"},
        {"SEL FRL(U,B) FIELD(U.X,B.R,B.PARTN) INNER(U.X=B.PARTT)", "red|1|1 red|5|- fox|1|1 fox|1|2;3",
         "from the other side"},
        {"SEL FRL(B,U) FIELD(B.R,B.PARTN,U.X) INNER(B.PARTT<>U.X) WHERE(B.R=1)",
         "1|1|zebra 1|2;3|red 1|2;3|zebra", "a part with a text, and another one"},
        {"SEL FRL(B,U) FIELD(B.R,B.PARTN) INNER(B.PARTT>U.X) WHERE(U.X=fox)", "1|1 5|-",
         "some word of the part behind"},
    };
    for (const Row& row : rows) EXPECT_EQ(select(row.command), row.rows) << row.command << ": " << row.reason;
}

TEST_F(PartTest, HitPartsOfSeveralBases) {
    create("C", {{"NAME", FieldType::Phrase}, {"PARTN", FieldType::Integer}});
    putParts("C", {{{{"NAME", {"z"}}}, {{{"PARTN", {"9"}}}, {{"PARTN", {"1"}}}}}, {{{"NAME", {"a"}}}, {}}});
    ASSERT_EQ(search.execute("BAS X=B,C"), WDB_OK);
    EXPECT_EQ(hits("PARTN=1"), "1:1 3:h 5:1 1:2") << "of each base its own";
    EXPECT_EQ(hits("NAME=a"), "1:12h 3:h 5:1h 2:h") << "heads too";
    FoundRecord found;
    ASSERT_EQ(search.recordAt(0, 1, found), WDB_OK);
    const SearchState none;
    search.restore(none);
    ASSERT_EQ(search.execute("FIN PARTN=2"), WDB_E_CCL_NO_BASE);
    ASSERT_EQ(search.execute("BAS X=B,C"), WDB_OK);
    ASSERT_EQ(search.execute("FIN PARTN=2"), WDB_OK);
    std::vector<PartNumber> parts;
    bool head = false;
    EXPECT_EQ(search.hitParts(found.set, *found.base, 1, parts, head), WDB_E_CCL_SET)
        << "a later set with the number of one that is gone is another set";
}

}  // namespace
}  // namespace wdb
