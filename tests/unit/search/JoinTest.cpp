#include "tests/unit/search/SearchFixture.h"

namespace wdb {
namespace {

struct Row {
    const char* command;
    const char* rows;
    const char* reason;
};

class JoinTest : public SearchFixture {
protected:
    void SetUp() override {
        SearchFixture::SetUp();
        create("P", {{"NAME", FieldType::Phrase},
                     {"SIZE", FieldType::Integer},
                     {"TAG", FieldType::Phrase},
                     {"NOTE", FieldType::Text}});
        create("D", {{"PKG", FieldType::Phrase},
                     {"TARGET", FieldType::Phrase},
                     {"N", FieldType::Number},
                     {"REF", FieldType::Integer}});
        create("E", {{"KEY", FieldType::Phrase}, {"X", FieldType::Integer}});
        put("P", {{{"NAME", {"a"}}, {"SIZE", {"1"}}, {"TAG", {"x", "y"}}, {"NOTE", {"red fox"}}},
                  {{"NAME", {"B"}}, {"SIZE", {"2"}}, {"TAG", {"y"}}, {"NOTE", {"brown fox"}}},
                  {{"NAME", {"c"}}},
                  {{"SIZE", {"10"}}, {"TAG", {"z"}}}});
        put("D", {{{"PKG", {"b"}}, {"TARGET", {"a"}}, {"N", {"1.0"}}, {"REF", {"2"}}},
                  {{"PKG", {"a"}}, {"TARGET", {"y", "x"}}, {"N", {"2.5"}}, {"REF", {"1"}}},
                  {{"PKG", {"A"}}, {"TARGET", {"c"}}, {"N", {"2"}}},
                  {{"TARGET", {"fox"}}, {"N", {"10.00"}}},
                  {{"PKG", {"zz"}}}});
        put("E", {{{"KEY", {"a"}}, {"X", {"5"}}}, {{"KEY", {"c"}}, {"X", {"7"}}}});
        ASSERT_EQ(search.execute("DEF FIN MIN=0"), WDB_OK);
    }
    void expectAll(std::span<const Row> rows) {
        for (const Row& row : rows)
            EXPECT_EQ(select(row.command), row.rows) << row.command << ": " << row.reason;
    }
};

TEST_F(JoinTest, OneComparison) {
    const Row rows[] = {
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.NAME=D.PKG)", "1|2 1|3 2|1",
         "without regard to case, by the numbers of both"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(D.PKG=P.NAME)", "1|2 1|3 2|1",
         "the from-list orders, not the clause"},
        {"SEL FRL(D,P) FIELD(P.R,D.R) INNER(P.NAME=D.PKG)", "2|1 1|2 1|3", "by the first table"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(P.NAME=D.PKG)", "1|2 1|3 2|1 3|- 4|-",
         "every row of the left table"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) RIGHT(P.NAME=D.PKG)", "-|4 -|5 1|2 1|3 2|1",
         "every row of the right table"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(D.PKG=P.NAME)", "-|4 -|5 1|2 1|3 2|1",
         "the left one is the one written left"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.TAG=D.TARGET)", "1|2 2|2", "some pair of items, once"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.TAG.2=D.TARGET.1)", "1|2", "these items only"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.SIZE=D.N)", "1|1 2|3 4|4", "numbers of both kinds"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.SIZE<D.N)", "1|2 1|3 1|4 2|2 2|4", "less"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.SIZE>=D.N)", "1|1 2|1 2|3 4|1 4|2 4|3 4|4", "at least"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.SIZE<>D.N)", "1|2 1|3 1|4 2|1 2|2 2|4 4|1 4|2 4|3",
         "both have a value, different ones"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.R=D.REF)", "1|2 2|1", "record numbers are whole numbers"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.NOTE=D.TARGET)", "1|4 2|4", "a word of the text"},
        {"SEL FRL(D,P) FIELD(P.R,D.R) INNER(D.TARGET=P.NOTE)", "1|4 2|4",
         "the text is searched, wherever it stands"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.NAME=D.REF)", "", "numbers read as texts"},
        {"SEL FRL(P A,P B) FIELD(A.R,B.R) INNER(A.TAG=B.TAG)", "1|1 1|2 2|1 2|2 4|4", "a table with itself"},
        {"SEL FRL(P) FIELD(P.R) INNER(P.NAME=D.PKG)", "1 1 2", "a table that the from-list does not name"},
        {"SEL FRL(P,D) FIELD() INNER(P.R=D.REF) WHERE(P.R=2)", "B|2|y|NOTE,2,0|b|a|1.0|2",
         "all fields of all tables"},
    };
    expectAll(rows);
}

TEST_F(JoinTest, SeveralComparisonsAndTables) {
    const Row rows[] = {
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.NAME=D.PKG) INNER(P.SIZE<D.N)", "1|2 1|3", "both hold"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(P.NAME=D.PKG) LEFT(P.SIZE>D.N)", "1|- 2|1 3|- 4|-",
         "one condition of the outer join"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(P.NAME=D.PKG) INNER(P.SIZE>D.N)", "2|1",
         "another kind filters what is there"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.NAME=D.PKG) INNER(D.N>P.SIZE)", "1|2 1|3", "sides exchanged"},
        {"SEL FRL(P,D,E) FIELD(P.R,D.R,E.R) INNER(P.NAME=D.PKG) INNER(E.KEY=D.TARGET)", "1|3|2 2|1|1",
         "three tables"},
        {"SEL FRL(P,D,E) FIELD(P.R,D.R,E.R) INNER(E.KEY=D.TARGET) INNER(P.NAME=D.PKG)", "1|3|2 2|1|1",
         "a clause waits for its table"},
        {"SEL FRL(P,D,E) FIELD(P.R,D.R,E.R) LEFT(P.NAME=D.PKG) LEFT(D.TARGET=E.KEY)",
         "1|2|- 1|3|2 2|1|1 3|-|- 4|-|-", "an empty side fits nothing"},
        {"SEL FRL(P,D,E) FIELD(P.R,D.R,E.R) LEFT(P.NAME=D.PKG) RIGHT(D.TARGET=E.KEY)", "1|3|2 2|1|1",
         "nothing is missing on the right"},
        {"SEL FRL(P,E) FIELD(P.R,E.R) RIGHT(P.NAME=E.KEY) WHERE(E.X>5)", "3|2", "narrowed on the kept side"},
    };
    expectAll(rows);
}

TEST_F(JoinTest, Where) {
    const Row rows[] = {
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.NAME=D.PKG) WHERE((P.SIZE=1) AND (D.N>2))", "1|2",
         "each table by itself"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(P.NAME=D.PKG) WHERE(D.PKG=\"\")", "3|- 4|-",
         "an empty side is empty"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(P.NAME=D.PKG) WHERE(D.N>2)", "1|2", "nothing else holds for it"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(P.NAME=D.PKG) WHERE(D.R=\"\")", "3|- 4|-", "nor has it a number"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(P.NAME=D.PKG) WHERE((P.SIZE=10) OR (D.N=2))", "1|3 4|-",
         "either table"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(P.NAME=D.PKG) WHERE(((P.SIZE=10) OR (D.N=2)) AND (P.R>1))", "4|-",
         "and one more"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) RIGHT(P.NAME=D.PKG) WHERE(R=FROM 1)", "-|4 -|5 1|2 1|3 2|1",
         "true for every row"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.NAME=D.PKG) WHERE((R=TO 1) NOT (R=TO 1))", "", "true for none"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) RIGHT(P.NAME=D.PKG) WHERE((P.SIZE=1) OR (R=5))", "-|5 1|2 1|3",
         "the number of the first record in the row"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) RIGHT(P.NAME=D.PKG) WHERE(P.NAME<>b)", "1|2 1|3",
         "a row without the record has no value"},
        {"SEL FRL(P,D) FIELD(P.R,D.R) LEFT(P.NAME=D.PKG) WHERE((P.R=FROM 1) NOT (D.N=2 TO 3))", "2|1 3|- 4|-",
         "the left without the right"},
    };
    expectAll(rows);
}

TEST_F(JoinTest, SortAndValues) {
    const Row rows[] = {
        {"SEL FRL(P,D) FIELD(P.NAME,D.N) LEFT(P.NAME=D.PKG) SORT(D.N DESC)", "a|2.5 a|2 B|1.0 c|- -|-",
         "empty values last, descending"},
        {"SEL FRL(P,D) FIELD(P.NAME,D.N) LEFT(P.NAME=D.PKG) SORT(1 DESC,2)", "c|- B|1.0 a|2 a|2.5 -|-",
         "positions"},
        {"SEL FRL(P,D) FIELD(P.SIZE+D.N) INNER(P.NAME=D.PKG) SORT(1)", "3 3.0 3.5", "arithmetic over both"},
        {"SEL DISTINCT FRL(P,D) FIELD(P.NAME) INNER(P.NAME=D.PKG)", "a B", "rows that deliver the same"},
    };
    expectAll(rows);
    ASSERT_EQ(search.execute("SEL SFX FRL(D,P) FIELD(P.SIZE) INNER(P.NAME=D.PKG)"), WDB_OK);
    SearchCounts counts;
    ASSERT_EQ(search.currentResult(counts), WDB_OK);
    EXPECT_EQ(counts.rows, 3);
    EXPECT_EQ(counts.records, 3);
    EXPECT_EQ(counts.kind, 2);
    EXPECT_EQ(records(), "1 2 3");
    EXPECT_EQ(select("SEL FRL(P) FIELD(P.R) WHERE(P.SIZE=" + std::to_string(counts.set) + ".SIZE)"), "1 2");
    EXPECT_EQ(select("SEL FRL(P) FIELD(P.R) WHERE(S=" + std::to_string(counts.set) + ")"), "1 2");
}

TEST_F(JoinTest, RowsWhoseRecordsGo) {
    ASSERT_EQ(search.execute("SEL FRL(P,D) FIELD(P.NAME,D.N) LEFT(P.NAME=D.PKG)"), WDB_OK);
    remove("P", 1);
    remove("P", 3);
    remove("D", 2);
    EXPECT_EQ(rows(), "#2882 -|2 B|1.0 #2882 -|-")
        << "rows without any record left; empty columns where one is gone";
    RowItems row;
    ASSERT_EQ(search.fetchRow(0, 1, row), WDB_OK);
    EXPECT_EQ(row.words, (std::vector<uint32_t>{2, 8, 0, 8 | 2 | 32, 1, 137, 1, 0}));
    EXPECT_EQ(select("SEL FRL(P,D) FIELD(P.R,D.R) INNER(P.NAME=D.PKG)"), "2|1") << "a new search knows it";
}

TEST_F(JoinTest, Faults) {
    const Row rows[] = {
        {"SEL FRL(P,D) FIELD(P.R)", "#17154", "no cross products"},
        {"SEL FRL(P,D,E) FIELD(P.R) INNER(P.NAME=D.PKG)", "#17154", "a table that no join reaches"},
        {"SEL FRL(P,NONE) FIELD(P.R) INNER(P.NAME=NONE.X)", "#610", "no such base"},
        {"SEL FRL(P) FIELD(P.R) INNER(P.NAME=NONE.X)", "#610", "nor for a join"},
        {"SEL FRL(P,D) FIELD(P.R) INNER(P.NAME=D.NONE)", "#16994", "no such field"},
        {"SEL FRL(P,D) FIELD(Q.R) INNER(P.NAME=D.PKG)", "#16994", "no such table"},
        {"SEL FRL(P,D) FIELD(P.R) INNER(P.NAME=D.PKG) WHERE(Q.X=1)", "#16994", "nor in the condition"},
        {"SEL FRL(P,D) FIELD(P.R) INNER(P.NAME=D.PKG) SORT(3)", "#16994", "a position without a column"},
    };
    expectAll(rows);
}

}  // namespace
}  // namespace wdb
