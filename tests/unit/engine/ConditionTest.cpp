// WHERE conditions as the search expressions that they become.
#include <gtest/gtest.h>

#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "tests/unit/engine/Articles.h"

namespace {

struct Row {
    const char* where;
    const char* ccl;
    const char* reason;
};

/// The expression inside WHERE(...) of the command that the statement sent last.
std::string expressionOf(const std::string& sql) {
    loadArticles();
    Request request(sql, 36);
    runSql(request);
    const std::string start = " WHERE(";
    const std::string command = fakeKernel().commands.empty() ? "" : fakeKernel().commands.back();
    const std::size_t at = command.find(start);
    if (at == std::string::npos) return "no condition: " + command + request.document();
    return command.substr(at + start.size(), command.size() - at - start.size() - 1);
}

void check(const Row* rows, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        EXPECT_EQ(expressionOf(std::string("SELECT A FROM T WHERE ") + rows[i].where), rows[i].ccl)
            << rows[i].where << "\n  " << rows[i].reason;
    }
}

template <std::size_t N>
void check(const Row (&rows)[N]) {
    check(rows, N);
}

}  // namespace

TEST(Condition, Comparisons) {
    const Row rows[] = {
        {"A = 5", "T.A=5", "the plain case"},
        {"A <> 5", "T.A<>5", "every operator has its own text"},
        {"A < 5", "T.A<5", ""},
        {"A > 5", "T.A>5", ""},
        {"A <= 5", "T.A<=5", ""},
        {"A >= -5", "T.A>=-5", "a sign belongs to the number"},
        {"5 < A", "T.A<5", "the operator is not mirrored when the column stands on the right"},
        {"A = 1 + 2 * 3", "T.A=7", "constant arithmetic is a constant"},
        {"P = 3.14159", "T.P=3.14", "real numbers carry two decimals"},
        {"P = 5 / 0", "T.P=\"\"", "a division by zero is NULL, and NULL the empty value"},
        {"A = NULL", "T.A=\"\"", "the same as IS NULL"},
        {"A <> NULL", "T.A<>\"\"", "the same as IS NOT NULL"},
        {"D = DATE('2024-1-5')", "T.D=2024-01-05", "dates stand bare, in the session's form"},
        {"H = CURRENT_TIME", "T.H=02:27:00", "times stand bare"},
        {"NAME[2] = 'x'", "T.NAME.2=x", "a subfield follows the field"},
        {"R = 12", "T.R=12", "the row identifier is never quoted: it would be a field then"},
        {"\"AND\" = 1", "(R=TO 1) NOT (R=TO 1)", "a bare quoted operand is a text, not a column"},
        {"T.\"AND\" = 1", "T.\"AND\"=1", "a field named like a command word"},
        {"T.'odd name' = 'x'", "T.\"odd name\"=x", "a field with a blank"},
    };
    check(rows);
}

TEST(Condition, ValuesCannotLeaveTheirPlace) {
    const Row rows[] = {
        {"NAME = 'plain'", "T.NAME=plain", "a word stands bare"},
        {"NAME = 'x) OR (R=FROM 1'", "T.NAME=\"x) OR (R=FROM 1\"", "parentheses"},
        {"NAME = 'a\" OR \"b'", "T.NAME=\"a\"\" OR \"\"b\"", "a double quote is doubled"},
        {"NAME = '1 TO 9'", "T.NAME=\"1 TO 9\"", "a range"},
        {"NAME = 'to'", "T.NAME=\"to\"", "a command word in any case"},
        {"NAME = 'FROM 1'", "T.NAME=\"FROM 1\"", ""},
        {"NAME = '3.B'", "T.NAME=\"3.B\"", "a set reference"},
        {"NAME = '5'", "T.NAME=\"5\"", "a text of digits"},
        {"NAME = ''", "T.NAME=\"\"", "the empty text"},
        {"NAME = '$'", "T.NAME=\"\\$\"", "the kernel's wildcards mean themselves in a comparison"},
        {"NAME = 'wow!'", "T.NAME=wow\\!", ""},
        {"NAME = 'a\\_b'", "T.NAME=a\\\\_b", "and so does a backslash in front of an underscore"},
        {"NAME = 'x%'", "T.NAME=x$", "only the percent sign is a wildcard"},
        {"NAME = '%'", "T.NAME=$", ""},
        {"NAME = 'a%b c'", "T.NAME=\"a$b c\"", "which works in quotes, too"},
        {"NAME = \"dq\"", "T.NAME=dq", "a quoted operand that names no column is a text"},
        {"NAME = '\xC3\xA4rger'", "T.NAME=\xC3\xA4rger", "letters beyond ASCII are letters"},
    };
    check(rows);
}

TEST(Condition, LikePatterns) {
    const Row rows[] = {
        {"NAME LIKE 'ab%c_'", "T.NAME=ab$c!", "both wildcards"},
        {"NAME NOT LIKE 'ab%'", "T.NAME<>ab$", ""},
        {"NAME LIKE 'a\\%b'", "T.NAME=\"a%b\"", "an escaped percent sign means itself"},
        {"NAME LIKE 'a\\_b'", "T.NAME=a\\_b", "an escaped underscore keeps its backslash for the kernel"},
        {"NAME LIKE 'a\\!b'", "T.NAME=a!b", "an escaped exclamation mark is the kernel's wildcard"},
        {"NAME LIKE 'a\\\\'", "T.NAME=a\\\\", "an escaped backslash"},
        {"NAME LIKE 'a$b'", "T.NAME=a$b", "the kernel's own wildcards work in patterns"},
        {"NAME LIKE ''", "T.NAME=\"\"", ""},
        {"NAME LIKE NULL", "T.NAME=\"\"", ""},
        {"NOTE LIKE '%com%'", "T.NOTE=$com$", "truncated on both ends, in a text"},
        {"NAME LIKE 'a b'", "T.NAME=\"a b\"", ""},
        {"NAME LIKE 'x) OR (R=FROM 1'", "T.NAME=\"x) OR (R=FROM 1\"", ""},
    };
    check(rows);
}

TEST(Condition, RangesAndNull) {
    const Row rows[] = {
        {"A BETWEEN 1 AND 5", "T.A=1 wFTL 5", "the word is the session's"},
        {"A NOT BETWEEN 1 AND 5", "T.wRXX=wFRL 1 wNOT T.A=1 wFTL 5", "all records but those of the range"},
        {"NAME BETWEEN 'to' AND 'x y'", "T.NAME=\"to\" wFTL \"x y\"", ""},
        {"A IS NULL", "T.A=\"\"", ""},
        {"A IS NOT NULL", "T.A=$", ""},
        {"NAME[3] IS NULL", "T.NAME.3=\"\"", "one value of a field"},
        {"NAME[3] IS NOT NULL", "T.NAME.3=$", ""},
        {"NAME[3] LIKE 'x%'", "T.NAME.3=x$", ""},
        {"NAME[3] NOT LIKE 'x%'", "T.NAME.3<>x$", ""},
        {"NAME[3] >= 'x%'", "T.NAME.3>=x$", ""},
        {"NAME[3] BETWEEN 'a' AND 'b'", "T.NAME.3=a wFTL b", ""},
        {"NAME[3] NOT BETWEEN 'a' AND 'b'", "T.wRXX=wFRL 1 wNOT T.NAME.3=a wFTL b", ""},
        {"R BETWEEN 2 AND 3", "T.R=2 wFTL 3", "the row identifier"},
        {"D BETWEEN DATE('2024-1-5') AND DATE('2025-2-1')", "T.D=2024-01-05 wFTL 2025-02-01",
         "dates stand bare"},
    };
    check(rows);
}

TEST(Condition, Composites) {
    const Row rows[] = {
        {"(A=1 OR P=2) AND A=3", "((T.A=1) wORX (T.P=2)) wAND (T.A=3)", ""},
        {"A=1 AND A=2 AND A=3", "((T.A=1) wAND (T.A=2)) wAND (T.A=3)", "chains lean to the left"},
        {"A=1 OR A=2 AND A=3", "(T.A=1) wORX ((T.A=2) wAND (T.A=3))", "AND binds before OR"},
        {"A=1 OR (A=2 OR (A=3 AND A=4))", "(T.A=1) wORX ((T.A=2) wORX ((T.A=3) wAND (T.A=4)))",
         "nested to the right"},
        {"1 = 1", "R=FROM 1", "every record"},
        {"1 = 2", "(R=TO 1) NOT (R=TO 1)", "no record"},
        {"'a' < 'B'", "(R=TO 1) NOT (R=TO 1)", "constant texts compare with case"},
        {"2 < 10", "R=FROM 1", "integers compare as numbers"},
        {"2 < '10'", "(R=TO 1) NOT (R=TO 1)", "a mixed pair compares as texts"},
        {"2.0 < 10.0", "R=FROM 1", "real numbers compare as numbers"},
        {"1 = 1 AND A = 2", "(R=FROM 1) wAND (T.A=2)", ""},
    };
    check(rows);
}

TEST(Condition, Negation) {
    const Row rows[] = {
        {"NOT A = 5", "T.A<>5", "the opposite operator"},
        {"NOT A <> 5", "T.A=5", ""},
        {"NOT A < 5", "T.A>=5", ""},
        {"NOT A > 5", "T.A<=5", ""},
        {"NOT A <= 5", "T.A>5", ""},
        {"NOT A >= 5", "T.A<5", ""},
        {"NOT NAME LIKE 'x%'", "T.NAME<>x$", "tests that have a negated form take it"},
        {"NOT NAME NOT LIKE 'x%'", "T.NAME=x$", ""},
        {"NOT A IS NULL", "T.A=$", ""},
        {"NOT A BETWEEN 1 AND 2", "T.wRXX=wFRL 1 wNOT T.A=1 wFTL 2", ""},
        {"NOT 1 = 1", "(R=TO 1) NOT (R=TO 1)", "a constant comparison inverts its outcome"},
        {"NOT (A=1 AND P=2)", "(T.A<>1) wORX (T.P<>2)", "pushed down into the operands"},
        {"NOT (A=1 OR NOT P=2)", "(T.A<>1) wAND (T.P=2)", ""},
        {"NOT (A=1 AND (A=2 OR A=3)) OR A=4", "((T.A<>1) wORX ((T.A<>2) wAND (T.A<>3))) wORX (T.A=4)", ""},
    };
    check(rows);
}

TEST(Condition, AnAliasIsThePrefix) {
    EXPECT_EQ(expressionOf("SELECT A FROM T x WHERE x.A = 1 AND T.A = 2 AND A = 3"),
              "((x.A=1) wAND (x.A=2)) wAND (x.A=3)");
    EXPECT_EQ(expressionOf("SELECT A FROM T \"x) y(\" WHERE A = 1"), "\"x) y(\".A=1");
}

TEST(Condition, LongChainsAreWrittenInOnePass) {
    std::string sql = "SELECT A FROM T WHERE A=0";
    std::string expected = "T.A=0";
    constexpr int kTerms = 20000;
    for (int i = 1; i < kTerms; ++i) {
        sql += " OR A=" + std::to_string(i);
        expected += ") wORX (T.A=" + std::to_string(i) + ")";
    }
    EXPECT_EQ(expressionOf(sql), std::string(kTerms - 1, '(') + expected);
}

TEST(Condition, FaultsOfConditionsThatNoSearchCanExpress) {
    const struct {
        const char* where;
        const char* line;
        const char* text;
    } rows[] = {
        {"A = P", "268", "A comparison must include an expression that evaulates to a constant value."},
        {"A + 1 = 2", "151", "A constant comparison must be between constant values."},
        {"1 BETWEEN 0 AND 2", "353", "Scalar type in BETWEEN predicate must be a column reference."},
        {"A BETWEEN P AND 2", "359", "Range specification in BETWEEN predicate must be simple expressions."},
        {"A = 1 OR A = P", "268",
         "A comparison must include an expression that evaulates to a constant value."},
    };
    for (const auto& row : rows) {
        loadArticles();
        Request request(std::string("SELECT A FROM T WHERE ") + row.where);
        EXPECT_EQ(runSql(request), 0) << row.where;
        EXPECT_EQ(request.document(), faultDocument("0", std::string("WSQLExecSelect:") + row.line,
                                                    "WSQLFilter::TranslateCondition", row.text));
    }
}

namespace {

std::unique_ptr<wsql::WSQLColumnRef> boundColumn(const char* table, const char* alias, const char* name) {
    auto column = std::make_unique<wsql::WSQLColumnRef>(name);
    column->table = table;
    column->correlation = alias;
    column->fieldNumber = 1;
    return column;
}

std::unique_ptr<wsql::WSQLCondition> equals(const char* name, std::int32_t value) {
    return std::make_unique<wsql::WSQLComparison>(wsql::ComparisonOp::kEqual, boundColumn("T", "x", name),
                                                  std::make_unique<wsql::WSQLInt>(value));
}

}  // namespace

TEST(Condition, WhatNoStatementHolds) {
    loadArticles();
    fakeKernel().searches = true;
    FilterData data{};
    wsql::WSQLFilter filter(&data);
    auto fragment = std::make_unique<wsql::WSQLEmbeddedCCL>("T.A=x OR T.B=y");
    wsql::WSQLCompositeCondition both(wsql::WSQLCompositeCondition::kAnd, std::move(fragment),
                                      equals("A", 1));
    wsql::CStringBuffer text(64);
    EXPECT_TRUE(filter.TranslateCondition(&both, 1, nullptr, &text));
    EXPECT_EQ(text.view(), "((T.A=x OR T.B=y)) wAND (x.A=1)") << "a fragment in the kernel's own words";
    wsql::WSQLStmtSelect query;
    query.addItem(boundColumn("U", "", "ID"));
    query.tables->append(std::make_unique<wsql::WSQLTableRef>("U"));
    wsql::CStringBuffer reference(16);
    EXPECT_TRUE(filter.ExecuteSelect(&query, 0, &reference, nullptr, false));
    EXPECT_EQ(reference.view(), "S=3") << "the records of a set";
}

namespace {

class OddTest : public wsql::WSQLPredicate {
public:
    void toText(wsql::CStringBuffer& /*out*/) const override {}
    void dump(wsql::TreeDump& /*out*/) const override {}
    std::unique_ptr<wsql::WSQLCondition> clone() const override { return std::make_unique<OddTest>(); }
};

}  // namespace

TEST(Condition, GuardsAgainstTreesThatNoStatementMakes) {
    const auto faultOf = [](wsql::WSQLCondition& condition) {
        loadArticles();
        Request request("");
        wsql::WSQLFilter filter(&request.data);
        wsql::CStringBuffer text(64);
        EXPECT_FALSE(filter.TranslateCondition(&condition, 1, nullptr, &text));
        EXPECT_EQ(text.length(), 0);
        return request.document();
    };
    const auto expected = [](const char* line, const char* text) {
        return faultDocument("0", std::string("WSQLExecSelect:") + line, "WSQLFilter::TranslateCondition",
                             text);
    };
    wsql::WSQLLikePredicate like(boundColumn("T", "", "NAME"), std::make_unique<wsql::WSQLInt>(2));
    like.left = std::make_unique<wsql::WSQLInt>(1);
    EXPECT_EQ(faultOf(like), expected("71", "The LIKE predicate requires a column reference as an LVALUE."));
    OddTest odd;
    EXPECT_EQ(faultOf(odd), expected("645", "Condition type not yet supported"));
}

TEST(Condition, NumbersEndWhereTheyEnd) {
    for (const char* where : {"P < 1e999", "P < 1e308 * 10 * 1e308"}) {
        const std::string text = expressionOf(std::string("SELECT A FROM T WHERE ") + where);
        EXPECT_EQ(text.substr(0, 12), "T.P<17976931") << where;
        EXPECT_EQ(text.size(), 4U + 309 + 3) << where;
    }
}

TEST(Condition, SearchesRunUnderTheTablesOwnName) {
    loadArticles();
    fakeKernel().searches = true;
    FilterData data{};
    wsql::WSQLFilter filter(&data);
    std::int32_t status = 77;
    auto both = std::make_unique<wsql::WSQLCompositeCondition>(wsql::WSQLCompositeCondition::kAnd,
                                                               equals("A", 1), equals("P", 2));
    EXPECT_TRUE(filter.TranslateCondition(both.get(), 0, &status, nullptr));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(fakeKernel().commands, (std::vector<std::string>{"wFIN (T.A=1) wAND (T.P=2)"}))
        << "a search knows no aliases";
    fakeKernel().commands.clear();
    fakeKernel().cclStatus = WDB_E_CCL_NO_HITS;
    EXPECT_FALSE(filter.TranslateCondition(equals("A", 1).get(), 0, &status, nullptr));
    EXPECT_EQ(status, WDB_E_CCL_NO_HITS) << "what the kernel says is the result";
    fakeKernel().cclStatus = WDB_OK;
    EXPECT_TRUE(filter.TranslateCondition(nullptr, 0, &status, nullptr)) << "nothing to search for";
    fakeKernel().commands.clear();

    auto query = std::make_unique<wsql::WSQLStmtSelect>();
    query->addItem(boundColumn("U", "", "ID"));
    query->tables->append(std::make_unique<wsql::WSQLTableRef>("U"));
    auto subselect = std::make_unique<wsql::WSQLSubselect>(boundColumn("T", "x", "A"),
                                                           wsql::ComparisonOp::kIn, std::move(query));
    EXPECT_TRUE(filter.TranslateCondition(subselect.get(), 0, &status, nullptr));
    EXPECT_EQ(fakeKernel().commands, (std::vector<std::string>{"wBAS U", "wSEL wSFX wFRL(U) FIELD(U.ID) ",
                                                               "wBAS T", "wFIN T.A=3.ID"}))
        << "the sub-query opened its own table";
}
