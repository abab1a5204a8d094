#include "kernel/search/SearchSet.h"
#include "tests/unit/search/SearchFixture.h"

namespace wdb {
namespace {

struct Row {
    const char* condition;
    const char* records;
    const char* reason;
};

class SearchTest : public SearchFixture {
protected:
    // Rows of a command that makes a set k, and what a criterion with its values finds: "criterion: records".
    void expectValues(std::span<const Row> rows) {
        for (const Row& row : rows) {
            ASSERT_EQ(search.execute(row.condition), WDB_OK) << row.condition;
            SearchCounts made;
            ASSERT_EQ(search.currentResult(made), WDB_OK);
            std::string criterion = row.records;
            const size_t end = criterion.find(": ");
            const std::string expected = criterion.substr(end + 2);
            criterion.resize(end);
            criterion.replace(criterion.find("k."), 1, std::to_string(made.set));
            EXPECT_EQ(find(criterion), expected)
                << row.condition << ", " << row.records << ": " << row.reason;
        }
    }
    void SetUp() override {
        SearchFixture::SetUp();
        create("ART", {{"NAME", FieldType::Phrase},
                       {"QTY", FieldType::Integer},
                       {"PRICE", FieldType::Number},
                       {"DAY", FieldType::Date},
                       {"AT", FieldType::Time},
                       {"NOTE", FieldType::Text},
                       {"DATA", FieldType::String},
                       {"SECRET", FieldType::Phrase}});
        put("ART", {{{"NAME", {"Alpha Beta"}},
                     {"QTY", {"10"}},
                     {"PRICE", {"1.50"}},
                     {"DAY", {"2024-01-05"}},
                     {"AT", {"9:30"}},
                     {"NOTE", {"War and peace\n\nsecond paragraph"}}},
                    {{"NAME", {"alpha  gamma", "delta"}},
                     {"QTY", {"-3", "20"}},
                     {"PRICE", {"1.5"}},
                     {"DAY", {"2023-12-31"}}},
                    {{"NAME", {"Beta"}}, {"NOTE", {"peace and war"}}},
                    {{"QTY", {"", "7"}}, {"NAME", {"50$"}}},
                    {{"SECRET", {"x"}}}});
        put("ART", {{{"NAME", {"doomed"}}, {"QTY", {"10"}}}});
        remove("ART", 6);
        ASSERT_EQ(search.execute("DEF FIN MIN=0"), WDB_OK);
        ASSERT_EQ(search.execute("BAS ART"), WDB_OK);
    }
};

TEST_F(SearchTest, ConditionsFindTheirRecords) {
    const Row rows[] = {
        {"R=FROM 1", "1 2 3 4 5", "deleted records never come"},
        {"R=2", "2", "one record"},
        {"R=6", "", "deleted"},
        {"R=77", "", "never there"},
        {"R<>2", "1 3 4 5", "the others"},
        {"R=2 TO 4", "2 3 4", "a range"},
        {"R<=2", "1 2", "up to"},
        {"R>4", "5", "above"},
        {"R<-1", "", "no number is negative"},
        {"R=$", "1 2 3 4 5", "every record has a number"},
        {"R=\"\"", "", "none is without"},
        {"(R=TO 1) NOT (R=TO 1)", "", "nothing"},
        {"NAME=\"ALPHA BETA\"", "1", "case does not count"},
        {"NAME=alpha gamma", "2", "runs of blanks are one"},
        {"NAME=alpha", "", "the whole item is compared"},
        {"NAME=alpha$", "1 2", "truncation"},
        {"NAME=$a", "1 2 3", "in front"},
        {"NAME=!eta", "3", "one character"},
        {"NAME=$a!b$", "1", "inside"},
        {"NAME=delta", "2", "the second item"},
        {"NAME<>delta", "1 3 4", "no item, and some value"},
        {"NAME<>alpha$", "3 4", "not like"},
        {"NAME=\"50\\$\"", "4", "a dollar itself"},
        {"NAME=$", "1 2 3 4", "any value"},
        {"NAME<>$", "", "no value is unlike any"},
        {"NAME=\"\"", "5", "no value"},
        {"NAME=", "5", "no value"},
        {"NAME<>\"\"", "1 2 3 4", "some value"},
        {"NAME<beta", "1 2 4", "before"},
        {"NAME<=beta", "1 2 3 4", "up to"},
        {"NAME>alpha z", "2 3", "behind"},
        {"NAME>=b$", "2 3", "cut before the wildcard"},
        {"NAME=b TO c", "3", "one and the same item"},
        {"NAME<\"\"", "", "order with the empty value"},
        {"NAME=\"\" TO z", "", "a range from the empty value"},
        {"NAME=$ TO b", "1 2 4", "a range from the beginning"},
        {"NAME.2=delta", "2", "the second item"},
        {"NAME.1=delta", "", "not the first"},
        {"NAME.2=$", "2", "there is a second"},
        {"NAME.2=\"\"", "1 3 4 5", "there is none"},
        {"NAME.2<>x", "2", "a second one, and another"},
        {"QTY=10", "1", "a number"},
        {"QTY=+010", "1", "as a number"},
        {"QTY=10.0", "1", "a decimal beside whole numbers"},
        {"QTY=10.5", "", "no whole number"},
        {"QTY<10.5", "1 2 4", "below it"},
        {"QTY>10", "2", "an item above"},
        {"QTY=0 TO 15", "1 4", "no item of 2 lies inside"},
        {"QTY<>10", "2 4", "with a value"},
        {"QTY=1$", "1", "wildcards look at the text"},
        {"QTY.1=\"\"", "3 4 5", "a gap in front"},
        {"QTY.2=7", "4", "behind the gap"},
        {"QTY<99999999999999999999", "1 2 4", "above every number"},
        {"QTY>99999999999999999999", "", "above every number"},
        {"PRICE=1.5", "1 2", "decimals compare as numbers"},
        {"PRICE>=1.500 AND PRICE<2", "1 2", "exactly"},
        {"DAY=2024-01-05", "1", "a day"},
        {"DAY<2024-01-01", "2", "before"},
        {"DAY=2023-02-29 TO 2024-13-45", "1 2", "days that no calendar has"},
        {"AT=09:30:00", "1", "a time"},
        {"NOTE=war", "1 3", "a word"},
        {"NOTE=\"war and peace\"", "1", "next to each other, in order"},
        {"NOTE=\"peace second\"", "", "not over a paragraph break"},
        {"NOTE=pea$", "1 3", "a truncated word"},
        {"NOTE=\"w!r and\"", "1", "a masked word in a phrase"},
        {"NOTE.2=second", "1", "the second paragraph"},
        {"NOTE.2=war", "", "not in the second"},
        {"NOTE=\"...\"", "", "no words"},
        {"NOTE<>war", "", "texts without it"},
        {"NOTE<b", "1 3", "some word before"},
        {"NOTE=second TO t", "1", "some word inside"},
        {"NOTE=\"\"", "2 4 5", "no text"},
        {"DATA=\"\"", "1 2 3 4 5", "no object"},
        {"DATA=$", "", "no object"},
        {"(NAME=alpha$) AND (QTY=10)", "1", "both"},
        {"(NAME=alpha$) OR (QTY=7)", "1 2 4", "either"},
        {"(NAME=alpha$) NOT (QTY=10)", "2", "without"},
        {"QTY=$a AND NAME=zzz", "", "no record is left to look at"},
        {"QTY=$0 AND NAME=alpha$", "1 2", "the costly side waits"},
        {"R=FROM 1 NOT QTY=10 TO 20", "3 4 5", "not between"},
        {"X.QTY=10", "1", "a correlation name"},
        {"ART.QTY=10", "1", "the base's name"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(find(row.condition), row.records) << row.condition << ": " << row.reason;
}

TEST_F(SearchTest, ConditionsThatAreRefused) {
    const Row rows[] = {
        {"NOPE=1", "#16994", "no such field"},
        {"SECRET=x", "#16994", "a field that may not be read"},
        {"QTY=ten", "#16706", "no number"},
        {"DAY=yesterday", "#16706", "no day"},
        {"AT=25:00", "#16706", "no time"},
        {"DATA=x", "#16418", "objects are not compared"},
        {"DATA<>$", "#16418", "nor is any value"},
        {"DATA<\"\"", "#16418", "nor no value"},
        {"S=99", "#17058", "no such set"},
        {"QTY=99.X", "#17058", "no such set"},
        {"QTY<1 TO 5", "#17154", "a range stands so to nothing"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(find(row.condition), row.records) << row.condition << ": " << row.reason;
    EXPECT_EQ(search.execute("FIN NAME=x AND NOPE=1"), WDB_E_CCL_FIELD);
    EXPECT_EQ(search.error().position, 15);
    EXPECT_EQ(search.error().subject, "NOPE");
}

TEST_F(SearchTest, SetsAndTheirValues) {
    EXPECT_EQ(find("QTY=$"), "1 2 4");
    EXPECT_EQ(find("(S=1) AND (NAME=$a$)"), "1 2");
    EXPECT_EQ(find("R=1.R"), "1 2 4");
    ASSERT_EQ(search.execute("SEL SFX FRL(ART) FIELD(ART.QTY) WHERE(ART.R<=2)"), WDB_OK);
    SearchCounts counts;
    ASSERT_EQ(search.currentResult(counts), WDB_OK);
    EXPECT_EQ(counts.set, 4);
    EXPECT_EQ(counts.kind, 2);
    EXPECT_EQ(find("QTY=4.QTY"), "1 2") << "10, -3, 20";
    EXPECT_EQ(find("QTY<>4.\"MAX(QTY)\""), "4");
    EXPECT_EQ(find("QTY>4.QTY"), "1 2 4") << "above the least";
    EXPECT_EQ(find("QTY>=4.QTY"), "1 2 4");
    EXPECT_EQ(find("QTY<4.QTY"), "1 2 4") << "below the greatest";
    EXPECT_EQ(find("R=4.QTY"), "") << "no record 10 or 20";
    ASSERT_EQ(search.execute("SEL SFX FRL(ART) FIELD(ART.QTY) WHERE(ART.R=3)"), WDB_OK);
    SearchCounts empty;
    ASSERT_EQ(search.currentResult(empty), WDB_OK);
    const std::string n = std::to_string(empty.set);
    EXPECT_EQ(find("QTY=" + n + ".QTY"), "");
    EXPECT_EQ(find("QTY<>" + n + ".QTY"), "1 2 4") << "nothing to be equal to";
    EXPECT_EQ(find("QTY<" + n + ".QTY"), "");
    // Values of other types than the field's: each is read as the field's.
    const Row rows[] = {
        {"SEL SFX FRL() FIELD(9.5)", "QTY>k.A: 1 2", "a decimal beside whole numbers"},
        {"SEL SFX FRL() FIELD(9.5)", "QTY<k.A: 2 4", "below it"},
        {"SEL SFX FRL() FIELD(9.5)", "QTY=k.A: ", "equal to none"},
        {"SEL SFX FRL() FIELD(99999999999999999999)", "QTY<k.A: 1 2 4", "beyond all"},
        {"SEL SFX FRL() FIELD(99999999999999999999)", "QTY>k.A: ", "beyond all"},
        {"SEL SFX FRL() FIELD(2.5)", "R>k.A: 3 4 5", "record numbers"},
        {"SEL SFX FRL() FIELD(2.5)", "R<k.A: 1 2", "record numbers"},
        {"SEL SFX FRL() FIELD(2.5)", "R>=k.A: 3 4 5", "record numbers"},
        {"SEL SFX FRL() FIELD(\"Second \")", "NOTE>=k.A: 1 3", "some word of a text"},
        {"SEL SFX FRL() FIELD(\"b\")", "NOTE<k.A: 1 3", "some word of a text"},
        {"SEL SFX FRL() FIELD(\" \")", "NOTE>k.A: ", "nothing stands so to the empty value"},
        {"SEL SFX FRL() FIELD(NULL)", "NOTE>k.A: ", "NULLs are left out"},
    };
    const Row named[] = {
        {"SEL SFX FRL(ART) FIELD(ART.QTY) WHERE(ART.R<3)", "R=k.R: 1 2", "the rows' record numbers"},
        {"SEL FRL(ART) FIELD(ART.R,ART.QTY) WHERE(ART.R<3)", "R=k.R: 1 2", "a column of record numbers"},
        {"SEL SFX FRL() FIELD(2)", "R=k.R: ", "a row without a record"},
        {"SEL SFX FRL(ART) FIELD(ART.QTY) WHERE(ART.R<3) GROUP(ART.QTY)", "R=k.R: ", "groups are no records"},
        {"SEL FRL(ART) FIELD(MIN(ART.QTY),MAX(ART.QTY))", "QTY=k.MAX(ART.QTY): 2", "the aggregate asked for"},
        {"SEL FRL(ART) FIELD(MIN(ART.QTY),MAX(ART.QTY))", "QTY=k.SUM(ART.QTY): #16994", "none of several"},
        {"SEL FRL(ART) FIELD(ART.QTY,ART.NOTE)", "QTY=k.NAME: #16994", "none of several"},
        {"SEL FRL(ART) FIELD(MAX(ART.QTY))", "QTY=k.SUM(ART.QTY): 2", "the only one"},
    };
    expectValues(rows);
    expectValues(named);
}

TEST_F(SearchTest, TheSetOfAllRecordsBelongsToTheCommandThatMadeIt) {
    ASSERT_EQ(search.execute("BAS ART"), WDB_OK);
    EXPECT_EQ(search.execute("FIN S=0 AND QTY=ten"), WDB_E_VALUE);
    EXPECT_EQ(search.save().counter, 0) << "a failing command leaves none";
    EXPECT_TRUE(search.save().current.wholeBases);
    ASSERT_EQ(search.execute("FIN S=0 AND QTY=10"), WDB_OK);
    EXPECT_EQ(search.find(1)->command, "FIN RXX = FRL 1");
    EXPECT_EQ(search.find(2)->command, "FIN S=0 AND QTY=10") << "each set its own";
    const std::pair<const char*, int> faults[] = {{"SEL ALL UNION(1,99)", 14},
                                                  {"SEL DISTINCT UNION(98,2)", 19},
                                                  {"SELECT FROM() FIELD(1) SORT(9)", 28}};
    for (const auto& [line, position] : faults) {
        EXPECT_NE(search.execute(line), WDB_OK) << line;
        EXPECT_EQ(search.error().position, position) << line;
    }
}

TEST_F(SearchTest, SelectionsGiveRows) {
    const Row rows[] = {
        {"SEL FRL(ART A) FIELD(A.NAME,A.QTY)", "Alpha Beta|10 alpha  gamma;delta|-3;20 Beta|- 50$|-;7 -|-",
         "all records"},
        {"SEL FRL(ART) FIELD(ART.R,ART.NOTE) WHERE(ART.NOTE=$)", "1|NOTE,1,0 3|NOTE,3,0",
         "texts by reference"},
        {"SEL FRL(ART) FIELD(5,\"a\"\"b\",NULL,-1.25) WHERE(R=1)", "5|a\"b|-|-1.25", "constants are echoed"},
        {"SEL FRL(ART) FIELD(ART.QTY.2,ART.QTY.1-3) WHERE(R<=2)", "-|10 20|-3;20", "subfields"},
        {"SEL FRL(ART) FIELD(ART.QTY.2-2,ART.QTY.1-1) WHERE(R=4)", "-;7|-", "ranges of one item"},
        {"SEL FRL(ART) FIELD(ART.PRICE,ART.DAY,ART.AT) WHERE(R=1)", "1.50|2024-01-05|09:30:00", "rendered"},
        {"SEL FRL() FIELD(1,\"x\",NULL)", "1|x|-", "a row of constants"},
        {"SEL FRL() FIELD(1) WHERE(R=FRL 1)", "1", "a condition that is true"},
        {"SEL FRL() FIELD(1) WHERE((R=TO 1) NOT (R=TO 1))", "", "one that is not"},
        {"SEL FRL() FIELD(1) WHERE(((R=2) ORX (R=$)) AND (R<>\"\"))", "1", "made of several"},
        {"SEL FRL() FIELD(1) WHERE(A=1)", "#16994", "there are no columns"},
        {"SEL FRL() FIELD(1) WHERE(S=1)", "#17154", "nor records"},
        {"SEL FRL(ART) FIELD() WHERE(R=1)", "Alpha Beta|10|1.50|2024-01-05|09:30:00|NOTE,1,0|-",
         "all readable fields"},
        {"SEL FRL(ART) FIELD(ART.R) WHERE((R=TO 1) NOT (R=TO 1))", "", "no row"},
        {"SEL FRL(NOPE) FIELD(NOPE.A)", "#610", "no such base"},
        {"SEL FRL(ART) FIELD(ART.NOPE)", "#16994", "no such field"},
        {"SEL FRL(ART) FIELD(ART.SECRET)", "#16994", "may not be read"},
        {"SEL FRL(ART) FIELD(X.NAME)", "#16994", "no such table"},
        {"SEL FRL(ART) FIELD(ART.R) WHERE(X.NAME=a)", "#16994", "no such table in the condition"},
        {"SEL FRL(ART) FIELD(ART.R) SORT(2)", "#16994", "no such position"},
        {"SEL FRL(ART) FIELD(ART.R) SORT(ART.DATA)", "#16418", "objects have no order"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(select(row.condition), row.records) << row.condition << ": " << row.reason;
}

TEST_F(SearchTest, AFailingCommandChangesNothing) {
    ASSERT_EQ(search.execute("FIN QTY=10"), WDB_OK);
    ASSERT_EQ(search.execute("DEF FIN MIN=1"), WDB_OK);
    EXPECT_EQ(search.execute("FIN QTY=11"), WDB_E_CCL_NO_HITS);
    EXPECT_EQ(search.execute("FIN QTY=ten"), WDB_E_VALUE);
    EXPECT_EQ(search.execute("BAS NOPE"), WDB_E_BASE);
    EXPECT_EQ(search.error().position, 4);
    EXPECT_EQ(search.execute("nonsense"), WDB_E_CCL_SYNTAX);
    EXPECT_EQ(records(), "1");
    EXPECT_EQ(search.save().counter, 1);
}

TEST_F(SearchTest, TheCurrentResultAndSavedStates) {
    SearchCounts counts;
    ASSERT_EQ(search.currentResult(counts), WDB_OK);
    EXPECT_EQ(counts.set, 1) << "the set of all records, made when it is first asked for";
    EXPECT_EQ(counts.rows, 5);
    EXPECT_EQ(counts.kind, 0);
    const SearchState saved = search.save();
    ASSERT_EQ(search.execute("FIN QTY=10"), WDB_OK);
    ASSERT_EQ(search.execute("FIN QTY=7"), WDB_OK);
    EXPECT_EQ(records(), "4");
    EXPECT_EQ(records(2), "1");
    search.restore(saved);
    EXPECT_EQ(search.liveSets(), 1);
    EXPECT_EQ(records(), "1 2 3 4 5");
    ASSERT_EQ(search.execute("FIN QTY=7"), WDB_OK);
    ASSERT_EQ(search.currentResult(counts), WDB_OK);
    EXPECT_EQ(counts.set, 2) << "the counter went back";
    RowItems row;
    EXPECT_EQ(search.fetchRow(3, 0, row), WDB_E_CCL_SET);
    EXPECT_EQ(search.drop(2), WDB_OK);
    EXPECT_EQ(search.fetchRow(2, 0, row), WDB_E_CCL_SET);
    ASSERT_EQ(search.execute("FIN QTY=7"), WDB_OK);
    ASSERT_EQ(search.currentResult(counts), WDB_OK);
    EXPECT_EQ(counts.set, 3) << "a dropped set's number stays taken";
}

TEST_F(SearchTest, LaterChangesDoNotRenumberASet) {
    ASSERT_EQ(search.execute("SEL FRL(ART) FIELD(ART.QTY) WHERE(ART.QTY=$)"), WDB_OK);
    remove("ART", 2);
    replace("ART", 4, {{"QTY", {"8"}}});
    EXPECT_EQ(rows(), "10 #2882 8");
    EXPECT_EQ(records(), "1 2 4");
    EXPECT_EQ(find("R=FROM 1"), "1 3 4 5");
    EXPECT_EQ(find("QTY=7"), "");
    EXPECT_EQ(find("QTY=8"), "4");
}

TEST_F(SearchTest, SeveralSearchBases) {
    create("BOOK", {{"TITLE", FieldType::Phrase}, {"QTY", FieldType::Integer}});
    put("BOOK", {{{"QTY", {"10"}}, {"TITLE", {"alpha"}}}});
    renew();
    ASSERT_EQ(search.execute("BASE X=ART,,BOOK"), WDB_OK);
    EXPECT_EQ(find("QTY=10"), "1 1");
    EXPECT_EQ(find("TITLE=alpha"), "1") << "a base without the field contributes nothing";
    EXPECT_EQ(find("NOPE=1"), "#16994");
    EXPECT_EQ(find("BOOK.QTY=10"), "1");
    EXPECT_EQ(find("BOOK.QTY=10 AND ART.QTY=10"), "#17154");
    ASSERT_EQ(search.execute("BAS BOOK"), WDB_OK);
    EXPECT_EQ(find("ART.QTY=7"), "4") << "a base that is not searched is named";
    EXPECT_EQ(find("(R=FROM 1) AND (ART.QTY=7)"), "4") << "what has no qualifier follows";
    EXPECT_EQ(find("Z.TITLE=alpha"), "1");
}

TEST_F(SearchTest, WithoutASearchBase) {
    search.restore({});
    EXPECT_EQ(find("QTY=10"), "#17026");
    EXPECT_EQ(find("Z.QTY=10"), "#17026");
    EXPECT_EQ(find("ART.QTY=10"), "1");
    search.restore({});
    SearchCounts counts;
    EXPECT_EQ(search.currentResult(counts), WDB_FAIL);
}

}  // namespace
}  // namespace wdb
