#include <gtest/gtest.h>

#include "src/support/CStringBuffer.h"
#include "src/tree/Tree.h"
#include "tests/tables/TableFile.h"
#include "tests/tables/TestContext.h"

namespace wsql {
namespace {

std::string textOf(const WSQLExpression& node) {
    CStringBuffer text(1);
    node.toText(text);
    return std::string(text.view());
}

/// The WHERE of "SELECT a FROM t WHERE <condition>".
std::unique_ptr<WSQLCondition> condition(const std::string& text) {
    TestContext context;
    std::unique_ptr<WSQLStatement> statement;
    parseStatement(context, ("SELECT a FROM t WHERE " + text).c_str(), statement);
    auto* select = dynamic_cast<WSQLStmtSelect*>(statement.get());
    return select != nullptr ? std::move(select->where) : nullptr;
}

WSQLComparison& comparison(WSQLCondition& where) {
    return dynamic_cast<WSQLComparison&>(where);
}

TEST(ConditionText, IsWrittenAsLogsShowIt) {
    tables::check(
        "sql/condition_texts.tbl",
        [](const std::string& text) {
            const auto where = condition(text);
            return where ? textOf(*where) : "no condition";
        },
        [](const tables::Row& row, const std::string& actual) {
            EXPECT_EQ(actual, row.expected)
                << "line " << row.line << ": " << row.reason << "\n  " << row.input;
        });
}

TEST(ConditionText, SelfJoinSidesShowTheirAliases) {
    const auto where = condition("x.a = x.b");
    comparison(*where).left->asColumnRef()->correlation = "q";
    comparison(*where).right->asColumnRef()->correlation = "q";
    EXPECT_EQ(textOf(*where), "q.a=q.b");
    comparison(*where).right->asColumnRef()->correlation.clear();
    EXPECT_EQ(textOf(*where), "q.a=x.b") << "a side without alias keeps its table";
    comparison(*where).right->asColumnRef()->table = "y";
    EXPECT_EQ(textOf(*where), "x.a=y.b") << "different tables need no alias";
}

TEST(ConditionText, UnknownOperatorsAndMissingNames) {
    const auto where = condition("a = 5");
    comparison(*where).op = 6;
    EXPECT_EQ(textOf(*where), "a??5");
    comparison(*where).op = -1;
    EXPECT_EQ(textOf(*where), "a??5");
    comparison(*where).op = ComparisonOp::kEqual;
    comparison(*where).left->asColumnRef()->column.clear();
    EXPECT_EQ(textOf(*where), "(null)=5");
}

TEST(ConditionText, InactiveComparisonsAndSubselectsAreSilent) {
    const auto where = condition("a = 5");
    where->deactivate();
    EXPECT_EQ(textOf(*where), "");
    const auto subselect = condition("a IN (SELECT b FROM u)");
    subselect->deactivate();
    EXPECT_EQ(textOf(*subselect), "");
    const auto like = condition("a LIKE 'x'");
    like->deactivate();
    EXPECT_EQ(textOf(*like), "a LIKE 'x'");
}

TEST(ConditionText, EmbeddedCcl) {
    EXPECT_EQ(textOf(WSQLEmbeddedCCL("T.A=1")), "CCL(T.A=1)");
}

TEST(Condition, CompositeIsActiveWhileAnyTermIs) {
    const auto where = condition("a = 1 AND (b = 2 OR c = 3)");
    WSQLCompositeCondition* composite = where->asComposite();
    ASSERT_NE(composite, nullptr);
    composite->left->deactivate();
    EXPECT_TRUE(where->isActive());
    WSQLCompositeCondition* inner = composite->right->asComposite();
    inner->left->deactivate();
    EXPECT_TRUE(where->isActive());
    inner->right->deactivate();
    EXPECT_FALSE(where->isActive());
    composite->left.reset();
    composite->right.reset();
    EXPECT_FALSE(where->isActive());
    EXPECT_EQ(textOf(*where), "( AND )");
}

TEST(Condition, TakingATermCollapsesItsComposite) {
    struct Row {
        const char* path;  // l and r from the root down to the term
        const char* rest;
    };
    const char* text = "(a = 1 AND b = 2) AND (c = 3 OR d = 4)";
    for (const Row& row : {Row{"ll", "(b=2 AND (c=3 OR d=4))"}, Row{"lr", "(a=1 AND (c=3 OR d=4))"},
                           Row{"rl", "((a=1 AND b=2) AND d=4)"}, Row{"rr", "((a=1 AND b=2) AND c=3)"},
                           Row{"l", "(c=3 OR d=4)"}, Row{"r", "(a=1 AND b=2)"}}) {
        auto where = condition(text);
        const WSQLCondition* wanted = where.get();
        for (const char* step = row.path; *step != 0; ++step) {
            const WSQLCompositeCondition* composite = wanted->asComposite();
            wanted = *step == 'l' ? composite->left.get() : composite->right.get();
        }
        const auto taken = takeCondition(where, wanted);
        EXPECT_EQ(taken.get(), wanted) << row.path;
        EXPECT_EQ(textOf(*where), row.rest) << row.path;
        EXPECT_EQ(takeCondition(where, wanted), nullptr) << "it is gone";
    }
    auto whole = condition(text);
    const WSQLCondition* root = whole.get();
    EXPECT_EQ(takeCondition(whole, root).get(), root);
    EXPECT_EQ(whole, nullptr);
}

TEST(Condition, CopiesAreDeep) {
    for (const char* text : {"a = 1", "a LIKE 'x'", "a BETWEEN 1 AND 2", "a IS NOT NULL",
                             "NOT a IN (SELECT b FROM u)", "(a = 1 OR b = 2) AND NOT (c = 3)"}) {
        auto where = condition(text);
        const std::string before = dumpTree(*where);
        const auto copy = where->clone();
        where.reset();
        EXPECT_EQ(dumpTree(*copy), before);
    }
    const auto ccl = WSQLEmbeddedCCL("x").clone();
    EXPECT_EQ(dumpTree(*ccl), "(ccl \"x\")");
}

}  // namespace
}  // namespace wsql
