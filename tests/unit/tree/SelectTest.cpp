#include <gtest/gtest.h>

#include "src/tree/Tree.h"
#include "tests/tables/TestContext.h"

namespace wsql {
namespace {

std::unique_ptr<WSQLStmtSelect> select(const std::string& sql) {
    TestContext context;
    std::unique_ptr<WSQLStatement> statement;
    EXPECT_EQ(parseStatement(context, sql.c_str(), statement), ParseResult::kSuccess)
        << sql << ": " << context.message;
    auto* parsed = dynamic_cast<WSQLStmtSelect*>(statement.get());
    if (parsed != nullptr) statement.release();
    return std::unique_ptr<WSQLStmtSelect>(parsed);
}

/// Fields 1 and 3 of a table, the first its key; the second lives in part records when asked for.
void loadFields(WSQLTableRef& table, const std::string& first, const std::string& second,
                uint32_t secondFlags = 0) {
    table.fields = std::make_unique<WELKFieldInfoList>();
    table.fields->Add(table.table, first, 1, 0, 3).primaryKey = true;
    table.fields->Add(table.table, second, 3, secondFlags, 9);
}

TEST(Select, CountsItsItemsAsTheyChange) {
    auto tree = select("SELECT a, COUNT(*), 1, b, VALUELIST(a, ',') FROM t");
    EXPECT_EQ(tree->columnItemCount(), 2);
    EXPECT_EQ(tree->functionItemCount(), 2);
    tree->replaceItem(0, std::make_unique<WSQLInt>(5));
    tree->replaceItem(99, std::make_unique<WSQLColumnRef>("never"));
    tree->takeItem(1).reset();
    EXPECT_EQ(tree->columnItemCount(), 1);
    EXPECT_EQ(tree->functionItemCount(), 1);
    tree->insertItem(0, std::make_unique<WSQLColumnRef>("c"));
    EXPECT_EQ(tree->columnItemCount(), 2);
    EXPECT_EQ(
        dumpTree(*tree),
        "(select (items (col c) (int 5) (int 1) (col b) (VALUELIST (col a) \",\")) (from (table USER.t)))");
}

TEST(Select, ExpandsAStarIntoTheColumnsOfEveryTable) {
    auto tree = select("SELECT * FROM t, u x");
    tree->insertItem(0, std::make_unique<WSQLInt>(1));
    tree->addItem(std::make_unique<WSQLInt>(2));
    EXPECT_FALSE(tree->expandItem(1)) << "no field list is loaded";
    loadFields(tree->tables->at(0), "A", "B");
    EXPECT_FALSE(tree->expandItem(1)) << "one is missing";
    loadFields(tree->tables->at(1), "K", "P", WSQLColumnRef::kPartField);
    ASSERT_TRUE(tree->expandItem(1));
    EXPECT_EQ(
        dumpTree(*tree),
        "(select (items (int 1) (col t.A field=1:3:0) (col t.B field=3:9:0) (col u.K alias=x field=1:3:0) "
        "(col u.P alias=x field=3:9:4) (int 2)) (from (table USER.t) (table USER.u alias=x)))");
    EXPECT_EQ(tree->columnItemCount(), 4);
    EXPECT_TRUE(tree->item(1)->asColumnRef()->keyTable);
    EXPECT_TRUE(tree->needsPartRecords);
}

TEST(Select, ExpandsATablesStarByNameOrAlias) {
    for (const char* sql : {"SELECT X.* FROM t, u x", "SELECT U.* FROM t, u x"}) {
        auto tree = select(sql);
        loadFields(tree->tables->at(1), "K", "P");
        ASSERT_TRUE(tree->expandItem(0)) << sql;
        EXPECT_EQ(tree->itemCount(), 2);
        EXPECT_EQ(tree->item(0)->asColumnRef()->correlation, "x");
        EXPECT_FALSE(tree->needsPartRecords);
    }
    EXPECT_FALSE(select("SELECT v.* FROM t, u x")->expandItem(0));
}

TEST(Select, ExpandsIntoAnEmptyListOrInFrontOfAnItem) {
    auto tree = select("SELECT 1 FROM t");
    loadFields(tree->tables->at(0), "A", "B");
    tree->takeItem(0).reset();
    ASSERT_TRUE(tree->expandItem(0));
    EXPECT_EQ(tree->itemCount(), 2);
}

TEST(Select, AttachesAJoin) {
    auto tree = select("SELECT a FROM t WHERE t.z = 9");
    auto inner = select(
        "SELECT 1 FROM t, u y WHERE Y.b < t.a AND y.c = 1 AND y.d = y.e AND t.f LIKE 'g' AND NOT t.a = y.h");
    std::string error;
    ASSERT_TRUE(tree->attachJoin(JoinKind::kInner, inner->tables->at(0).clone(), inner->tables->at(1).clone(),
                                 std::move(inner->where), error))
        << error;
    EXPECT_EQ(
        dumpTree(*tree),
        "(select (items (col a)) (from (table USER.t) (table USER.u alias=y)) "
        "(joins (inner (table USER.t) (col t.a) > (table USER.u alias=y) (col Y.b))) "
        "(where (and (and (and (and (= (col t.z) (int 9)) (= (col y.c) (int 1))) (= (col y.d) (col y.e))) "
        "(like (col t.f) (char \"g\"))) (= (col t.a) (col y.h) not))))");
}

TEST(Select, AttachesEveryComparisonOfAChainOnce) {
    auto tree = select("SELECT a FROM t, u");
    auto inner = select("SELECT 1 FROM t, u WHERE t.a = u.a AND (t.b >= u.b AND u.c >= t.c)");
    std::string error;
    ASSERT_TRUE(tree->attachJoin(JoinKind::kLeft, tree->tables->at(0).clone(), tree->tables->at(1).clone(),
                                 std::move(inner->where), error));
    EXPECT_EQ(dumpTree(*tree),
              "(select (items (col a)) (from (table USER.t) (table USER.u)) "
              "(joins (left (table USER.t) (col t.a) = (table USER.u) (col u.a)) "
              "(left (table USER.t) (col t.b) >= (table USER.u) (col u.b)) "
              "(left (table USER.t) (col t.c) <= (table USER.u) (col u.c))))");
}

TEST(Select, RefusesAJoinThatComparesNothing) {
    for (const char* where : {"t.a = 1", "t.a = u.a OR t.b = u.b", "NOT t.a = u.a", "t.a = v.a"}) {
        auto tree = select("SELECT a FROM t, u");
        auto inner = select(std::string("SELECT 1 FROM t, u WHERE ") + where);
        const std::string before = dumpTree(*tree);
        std::string error;
        EXPECT_FALSE(tree->attachJoin(JoinKind::kInner, tree->tables->at(0).clone(),
                                      tree->tables->at(1).clone(), std::move(inner->where), error));
        EXPECT_FALSE(error.empty());
        EXPECT_EQ(dumpTree(*tree), before) << where;
    }
}

TEST(Select, CombinesASecondWhereByAnd) {
    auto tree = select("SELECT a FROM t WHERE a = 1 OR b = 2");
    tree->addWhere(std::move(select("SELECT a FROM t WHERE c = 3")->where));
    tree->addWhere(nullptr);
    EXPECT_EQ(dumpTree(*tree->where),
              "(and (or (= (col a) (int 1)) (= (col b) (int 2))) (= (col c) (int 3)))");
}

TEST(Select, UnionChainKnowsItsEnd) {
    auto tree = select("SELECT 1 UNION SELECT 2 UNION ALL SELECT 3");
    EXPECT_EQ(tree->memberCount(), 3);
    EXPECT_FALSE(tree->unionAll);
    EXPECT_TRUE(tree->nextUnion->unionAll);
    tree->appendUnion(select("SELECT 4 UNION SELECT 5"), true);
    EXPECT_EQ(tree->memberCount(), 5);
    EXPECT_EQ(dumpTree(*tree->lastMember()), "(select (items (int 5)))");
    EXPECT_EQ(dumpTree(*tree->clone()), dumpTree(*tree));
    EXPECT_FALSE(tree->lastMember()->hasUnion());
}

TEST(Select, CopiesAreDeep) {
    auto tree = select(
        "SELECT DISTINCT a, COUNT(*) FROM t JOIN u x ON t.a = x.b AND t.c < x.d NATURAL JOIN v JOIN w USING "
        "(k) "
        "WHERE a IN (SELECT b FROM y ORDER BY 1) GROUP BY a, t.b ORDER BY a DESC, 2");
    ASSERT_NE(tree, nullptr);
    const std::string before = dumpTree(*tree);
    const auto copy = tree->clone();
    tree.reset();
    EXPECT_EQ(dumpTree(*copy), before);
    EXPECT_EQ(copy->columnItemCount(), 1);
    EXPECT_EQ(copy->functionItemCount(), 1);
}

TEST(Select, FindsATableByAliasOrName) {
    const auto tree = select("SELECT a FROM t, u x");
    EXPECT_EQ(tree->findTable("X"), tree->tables->Get(1));
    EXPECT_EQ(tree->findTable("U"), tree->tables->Get(1));
    EXPECT_EQ(tree->findTable("v"), nullptr);
    EXPECT_EQ(tree->findTable(""), nullptr);
}

}  // namespace
}  // namespace wsql
