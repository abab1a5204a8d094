#include <algorithm>
#include <random>

#include "tests/unit/search/SearchFixture.h"

namespace wdb {
namespace {

struct Row {
    const char* command;
    const char* rows;
    const char* reason;
};

class GroupTest : public SearchFixture {
protected:
    void SetUp() override {
        SearchFixture::SetUp();
        create("T", {{"S", FieldType::Phrase},
                     {"N", FieldType::Integer},
                     {"D", FieldType::Number},
                     {"NOTE", FieldType::Text},
                     {"DAY", FieldType::Date}});
        put("T", {{{"S", {"net"}}, {"N", {"5"}}, {"D", {"1.50"}}, {"NOTE", {"one"}}},
                  {{"S", {"Games"}}, {"N", {"-2"}}, {"D", {"1.5"}}},
                  {{"S", {"NET"}}, {"N", {"5", "7"}}, {"NOTE", {"One"}}, {"DAY", {"2024-01-05"}}},
                  {{"N", {"1"}}, {"D", {"0.1"}}, {"DAY", {"2023-12-31"}}},
                  {{"S", {"games"}}, {"D", {"-3"}}}});
        ASSERT_EQ(search.execute("DEF FIN MIN=0"), WDB_OK);
    }
    void expectAll(std::span<const Row> rows) {
        for (const Row& row : rows)
            EXPECT_EQ(select(row.command), row.rows) << row.command << ": " << row.reason;
    }
};

TEST_F(GroupTest, AggregatesOverAllRows) {
    const Row rows[] = {
        {"SEL FRL(T) FIELD(COUNT(*),COUNT(T.S),COUNT(T.N),COUNT(DISTINCT T.S),COUNT(DISTINCT T.N))",
         "5|4|5|2|4", "rows, items, different ones"},
        {"SEL FRL(T) FIELD(SUM(T.N),SUM(T.D),AVG(T.N),AVG(T.D))", "16|0.10|3.20|0.025",
         "exact; quotients to 6 decimals, at least two"},
        {"SEL FRL(T) FIELD(MIN(T.N),MAX(T.N),MIN(T.S),MAX(T.S),MIN(T.D),MIN(T.DAY),MAX(T.R))",
         "-2|7|Games|net|-3|2023-12-31|5", "as the type orders"},
        {"SEL FRL(T) FIELD(SUM(DISTINCT T.N),SUM(DISTINCT T.D),COUNT(DISTINCT T.NOTE))", "11|-1.40|1",
         "equal items once"},
        {"SEL FRL(T) FIELD(COUNT(*),COUNT(T.S),SUM(T.N),AVG(T.N),MIN(T.S)) WHERE(T.N=99)", "0|0|-|-|-",
         "one row of no rows"},
        {"SEL FRL(T) FIELD(COUNT(*),\"x\",T.S) WHERE(T.N=99)", "0|x|-", "nothing to take a value from"},
        {"SEL FRL(T) FIELD(COUNT(*)*2+SUM(T.N)/0,COUNT(*)*2)", "-|10", "arithmetic over aggregates"},
        {"SEL FRL(T) FIELD(AVG(T.N)) WHERE(T.S=games)", "-2.00", "of one"},
        {"SEL FRL(T) FIELD(SUM(T.S))", "#16418", "texts have no sum"},
        {"SEL FRL(T) FIELD(MIN(T.NOTE))", "#16418", "nor has a text a place"},
        {"SEL FRL() FIELD(COUNT(*))", "#17154", "no rows to count"},
    };
    expectAll(rows);
}

TEST_F(GroupTest, Groups) {
    const Row rows[] = {
        {"SEL FRL(T) FIELD(T.S,COUNT(*),SUM(T.N)) GROUP(T.S)", "net|2|17 Games|2|-2 -|1|1",
         "in the order of their first rows, NULLs are one"},
        {"SEL FRL(T) FIELD(T.S,COUNT(*)) SORT(1) GROUP(T.S)", "-|1 Games|2 net|2", "sorted"},
        {"SEL FRL(T) FIELD(T.S,SUM(T.D)) SORT(2 DESC) GROUP(T.S)", "net|1.50 -|0.1 Games|-1.5",
         "by an aggregate"},
        {"SEL FRL(T) FIELD(COUNT(*)) SORT(T.S DESC) GROUP(T.S)", "2 2 1",
         "by a column that is not delivered"},
        {"SEL FRL(T) FIELD(T.D,COUNT(*)) SORT(T.D) GROUP(T.D)", "-|1 -3|1 0.1|1 1.50|2", "equal numbers"},
        {"SEL FRL(T) FIELD(T.S,T.D,COUNT(*)) SORT(T.S,T.D) GROUP(T.S,T.D)",
         "-|0.1|1 games|-3|1 Games|1.5|1 NET|-|1 net|1.50|1", "two columns"},
        {"SEL FRL(T) FIELD(T.R,MIN(T.N)) GROUP(T.0)", "1|5 2|-2 3|5 4|1 5|-", "every record"},
        {"SEL FRL(T) FIELD(T.S,T.NOTE) GROUP(T.S)", "net|NOTE,1,0 Games|- -|-",
         "other columns as in the first row"},
        {"SEL FRL(T) FIELD(T.N,COUNT(*)) GROUP(T.N)", "5|1 -2|1 5;7|1 1|1 -|1", "all items"},
        {"SEL FRL(T) FIELD(T.N.1,COUNT(*)) GROUP(T.N.1)", "5|2 -2|1 1|1 -|1", "one item"},
        {"SEL FRL(T) FIELD(T.S,MAX(T.N)-MIN(T.N)) GROUP(T.S)", "net|2 Games|0 -|0",
         "arithmetic over aggregates"},
        {"SEL FRL(T) FIELD(T.S) GROUP(T.S) WHERE(T.N=99)", "#16962", "in this order only"},
        {"SEL FRL(T) FIELD(T.S) WHERE(T.N=99) GROUP(T.S)", "", "no rows, no groups"},
        {"SEL FRL(T) FIELD(T.S) GROUP(T.NONE)", "#16994", "no such field"},
    };
    expectAll(rows);
    RowItems row;
    ASSERT_EQ(search.execute("SEL FRL(T) FIELD(COUNT(*)) GROUP(T.S)"), WDB_OK);
    ASSERT_EQ(search.fetchRow(0, 0, row), WDB_OK);
    EXPECT_EQ(row.words, (std::vector<uint32_t>{1, 6, 1, 137, 0, 0})) << "a computed row has no record";
}

TEST_F(GroupTest, Distinct) {
    const Row rows[] = {
        {"SEL DISTINCT FRL(T) FIELD(T.S)", "- Games net", "the first of equal ones, in their order"},
        {"SEL DISTINCT FRL(T) FIELD(T.S) SORT(1 DESC)", "net Games -", "sorted"},
        {"SEL DISTINCT FRL(T) FIELD(T.D)", "- -3 0.1 1.50 1.5", "texts of different lengths differ"},
        {"SEL DISTINCT FRL(T) FIELD(T.N)", "- -2 1 5 5;7", "all items count"},
        {"SEL DISTINCT FRL(T) FIELD(T.S,T.N.1) WHERE(T.S=$)", "games|- Games|-2 net|5", "rows as a whole"},
        {"SEL DISTINCT FRL(T) FIELD(T.NOTE) WHERE(T.NOTE=$)", "NOTE,1,0 NOTE,3,0",
         "texts by their references"},
        {"SEL DISTINCT FRL(T) FIELD(1,\"x\")", "1|x", "constants"},
        {"SEL DISTINCT FRL(T) FIELD(COUNT(*)) GROUP(T.S)", "1 2", "groups"},
        {"SEL DISTINCT FRL(T) FIELD(T.S) WHERE(T.N=99)", "", "no rows"},
        {"SEL DISTINCT FRL(T) FIELD(T.N*0)", "- 0", "arithmetic"},
    };
    expectAll(rows);
    textsInline_ = true;
    EXPECT_EQ(select("SEL DISTINCT FRL(T) FIELD(T.NOTE) WHERE(T.NOTE=$)"), "NOTE,1,0") << "by their contents";
}

TEST_F(GroupTest, DistinctObjects) {
    create("O", {{"DATA", FieldType::String}});
    withUnit("O", [&](UnitBase& base) {
        const std::string large(kObjectChunk + 10, 'x');
        // The last byte of all is another one.
        for (const std::string& bytes : {std::string("ab"), large, std::string("ab"), large.substr(1) + 'y',
                                         large, std::string("abc")}) {
            ObjectReference object{base.writer->newObject(), static_cast<uint32_t>(bytes.size()),
                                   static_cast<uint32_t>(kObjectChunk)};
            for (uint32_t chunk = 0; chunk < object.chunks(); ++chunk) {
                ASSERT_EQ(base.writer->putObjectChunk(
                              object.id, chunk, Slice(bytes).substr(chunk * kObjectChunk, kObjectChunk)),
                          WDB_OK);
            }
            auto number = base.writer->newRecord();
            ASSERT_TRUE(number);
            ASSERT_EQ(base.put(*number, image(base, {{"DATA", {object.encode()}}})), WDB_OK);
        }
    });
    const std::string command = "SEL DISTINCT FRL(O) FIELD(O.DATA)";
    EXPECT_EQ(select(command), "DATA,1,0 DATA,2,0 DATA,3,0 DATA,4,0 DATA,5,0 DATA,6,0") << "by reference";
    objectsInline_ = true;
    EXPECT_EQ(select(command), "DATA,1,0 DATA,2,0 DATA,4,0 DATA,6,0") << "by contents";
}

TEST_F(GroupTest, Unions) {
    create("U", {{"NAME", FieldType::Phrase}, {"QTY", FieldType::Number}, {"NOTE", FieldType::Text}});
    put("U", {{{"NAME", {"Net"}}, {"QTY", {"2.0"}}, {"NOTE", {"n"}}}, {{"NAME", {"web"}}, {"QTY", {"-1"}}}});
    ASSERT_EQ(search.execute("SEL FRL(T) FIELD(T.S,T.N.1) WHERE(T.S=$)"), WDB_OK);         // 1
    ASSERT_EQ(search.execute("SEL FRL(U) FIELD(U.NAME,U.QTY)"), WDB_OK);                   // 2
    ASSERT_EQ(search.execute("SEL FRL() FIELD(\"web\",-1)"), WDB_OK);                      // 3
    ASSERT_EQ(search.execute("SEL FRL(T) FIELD(T.NOTE,COUNT(*)) WHERE(T.N=99)"), WDB_OK);  // 4
    ASSERT_EQ(search.execute("SEL FRL(U) FIELD(U.NAME)"), WDB_OK);                         // 5
    ASSERT_EQ(search.execute("FIN T.R=FROM 1"), WDB_OK);                                   // 6
    ASSERT_EQ(search.execute("SEL FRL(U) FIELD(U.NOTE,U.QTY)"), WDB_OK);                   // 7
    const Row rows[] = {
        {"SEL ALL UNION(1,2)", "net|5 Games|-2 NET|5 games|- Net|2.0 web|-1", "left, then right"},
        {"SEL DISTINCT UNION(1,2)", "games|- Games|-2 Net|2.0 net|5 web|-1",
         "the first of equal ones, neighbours by the columns"},
        {"SEL DISTINCT UNION(2,3)", "Net|2.0 web|-1", "a row of constants"},
        {"SEL ALL UNION(1,2) SORT(2 DESC,1)", "net|5 NET|5 Net|2.0 web|-1 Games|-2 games|-",
         "numbers of both kinds; ties as they came"},
        {"SEL ALL UNION(3,2) SORT(1)", "Net|2.0 web|-1 web|-1", "by position"},
        {"SEL DISTINCT UNION(99,3)", "#17058", "no such set"},
        {"SEL ALL UNION(1,5)", "#17058", "different numbers of columns"},
        {"SEL ALL UNION(1,6)", "#17058", "a record set has no columns"},
        {"SEL ALL UNION(1,2) SORT(3)", "#16994", "no such column"},
        {"SEL ALL UNION(4,7)", "-|0 U.NOTE,1,0|2.0 -|-1", "references tell the base"},
    };
    // Constants in their columns' order: 10 and NULL beside numbers, an empty text beside NULL.
    const std::pair<const char*, const char*> constants[] = {
        {"SEL FRL() FIELD(10,\"\")", "SEL FRL() FIELD(9.0,NULL)"},
        {"SEL FRL() FIELD(NULL,1)", "SEL FRL() FIELD(\"x\",2)"},
    };
    expectAll(rows);
    ASSERT_EQ(search.liveSets(), 13);
    for (const auto& [left, right] : constants) {
        ASSERT_EQ(search.execute(left), WDB_OK);
        ASSERT_EQ(search.execute(right), WDB_OK);
    }
    EXPECT_EQ(select("SEL DISTINCT UNION(14,15) SORT(1)"), "9.0|- 10|") << "as numbers";
    EXPECT_EQ(select("SEL ALL UNION(16,17) SORT(2 DES)"), "x|2 -|1") << "beside NULL";
    EXPECT_EQ(select("SEL ALL UNION(16,18) SORT(1)"), "-|1 9.0|- 10|") << "NULL does not change the type";
    // The left column's type orders; what it cannot read stands behind.
    const Row mixed[] = {
        {"10|SEL FRL() FIELD(\"9\")", "9 10", "a text that reads as a number"},
        {"\"10\"|SEL FRL() FIELD(9)", "10 9", "a number as a text"},
        {"10|SEL FRL() FIELD(\"-\")", "10 -", "no number"},
        {"1|SEL FRL(T) FIELD(T.S) WHERE(T.R<3)", "1 Games net", "no numbers, as texts"},
    };
    for (const Row& row : mixed) {
        const std::string sides = row.command;
        const size_t split = sides.find('|');
        const int32_t left = search.save().counter + 1;
        ASSERT_EQ(search.execute("SEL FRL() FIELD(" + sides.substr(0, split) + ")"), WDB_OK);
        ASSERT_EQ(search.execute(sides.substr(split + 1)), WDB_OK) << sides;
        const std::string both = std::to_string(left) + "," + std::to_string(left + 1);
        EXPECT_EQ(select("SEL ALL UNION(" + both + ") SORT(1)"), row.rows) << sides << ": " << row.reason;
    }
    const int32_t first = 8;  // the first union above
    EXPECT_EQ(select("SEL ALL UNION(" + std::to_string(first) + ",3)"),
              "net|5 Games|-2 NET|5 games|- Net|2.0 web|-1 web|-1")
        << "a union of a union";
    ASSERT_EQ(search.drop(1), WDB_OK);
    EXPECT_EQ(this->rows(), "net|5 Games|-2 NET|5 games|- Net|2.0 web|-1 web|-1") << "members live on in it";
    EXPECT_EQ(select("SEL FRL(U) FIELD(U.R) WHERE(U.NAME=" + std::to_string(search.liveSets() + 1) + ".S)"),
              "1 2")
        << "as values";
}

// Unions of unions in any order, against lists of texts: chains have their members and keys in common,
// whichever link is gone on from, and failing links leave nothing behind.
TEST_F(GroupTest, UnionsOfUnions) {
    using Texts = std::vector<std::string>;
    const Texts texts{"b", "A", "c", "a", "B", "d", "D", "e", "C", "a"};
    create("W", {{"S", FieldType::Phrase}});
    for (const std::string& text : texts) put("W", {{{"S", {text}}}});
    std::mt19937 random(7);
    std::vector<std::pair<int32_t, Texts>> sets;
    for (const int to : {2, 4, 7, 11}) {
        const std::string where = to == 11 ? "" : " WHERE(W.R<" + std::to_string(to) + ")";
        ASSERT_EQ(search.execute("SEL FRL(W) FIELD(W.S)" + where), WDB_OK);
        sets.emplace_back(search.save().counter, Texts(texts.begin(), texts.begin() + to - 1));
    }
    const auto less = [](const std::string& a, const std::string& b) { return (a[0] | 32) < (b[0] | 32); };
    int made = 0;
    for (int step = 0; step < 400; ++step) {
        // Mostly the newest goes on.
        const size_t left = random() % 3 != 0 ? sets.size() - 1 : random() % sets.size();
        const size_t right = random() % 2 != 0 ? random() % 4 : random() % sets.size();
        Texts expected = sets[left].second;
        expected.insert(expected.end(), sets[right].second.begin(), sets[right].second.end());
        const bool all = random() % 3 == 0;
        const char* const sorts[] = {"", "", "", " SORT(1)", " SORT(1 DESC)", " SORT(2)"};
        const std::string sort = sorts[random() % 6];
        const std::string command = std::string(all ? "SEL ALL" : "SEL DISTINCT") + " UNION(" +
                                    std::to_string(sets[left].first) + "," +
                                    std::to_string(sets[right].first) + ")" + sort;
        if (sort == " SORT(2)") {
            ASSERT_EQ(search.execute(command), WDB_E_CCL_FIELD);
            continue;
        }
        if (expected.size() > 300) continue;
        if (!all) {
            Texts first;
            for (const std::string& text : expected) {
                const bool known = std::any_of(first.begin(), first.end(), [&](const std::string& one) {
                    return !less(one, text) && !less(text, one);
                });
                if (!known) first.push_back(text);
            }
            expected = first;
        }
        if (!all || !sort.empty()) {
            std::stable_sort(expected.begin(), expected.end(), [&](const auto& a, const auto& b) {
                return sort.ends_with("DESC)") ? less(b, a) : less(a, b);
            });
        }
        std::string shown;
        for (const std::string& text : expected) shown += (shown.empty() ? "" : " ") + text;
        ASSERT_EQ(select(command), shown) << command << " in step " << step;
        sets.emplace_back(search.save().counter, expected);
        ++made;
    }
    EXPECT_GT(made, 200);
    for (const auto& [number, expected] : sets) {
        std::string shown;
        for (const std::string& text : expected) shown += (shown.empty() ? "" : " ") + text;
        EXPECT_EQ(rows(number), shown) << "set " << number << " as it was";
    }
}

TEST_F(GroupTest, Arithmetic) {
    const Row rows[] = {
        {"SEL FRL(T) FIELD(T.N*2+1) WHERE(T.R<4)", "11 -3 11", "a column stands with its first item"},
        {"SEL FRL(T) FIELD((T.D+T.N)/2) WHERE(T.R<3)", "3.25 -0.25", "exact"},
        {"SEL FRL(T) FIELD(T.N/3,T.N/-8,T.R/0,T.S+1,T.D-T.N) WHERE(T.R=1)", "1.666667|-0.625|-|-|-3.50",
         "rounded half up to 6 decimals; NULL for what is no number"},
        {"SEL FRL(T) FIELD(T.R,T.D*T.D) SORT(2)", "3|- 4|0.01 1|2.2500 2|2.25 5|9", "sorted as numbers"},
        {"SEL FRL(T) FIELD(9223372036854775807*T.N) WHERE(T.R=1)", "46116860184273879035", "no overflow"},
        {"SEL FRL() FIELD(1+2*3,(1+2)*3)", "7|9", "without a table"},
    };
    expectAll(rows);
}

}  // namespace
}  // namespace wdb
