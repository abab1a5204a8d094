// Laws between answers of the engine alone, whatever the right rows are: a condition, its negation and the
// rows that neither finds are all rows; COUNT counts what a query delivers; pages are slices of the whole.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/differential/Engine.h"
#include "tests/differential/Features.h"
#include "tests/differential/Generator.h"

namespace differential {
namespace {

constexpr int kBases = 10;
constexpr int kConditionsPerBase = 60;

/// The record numbers that a condition finds; none and a failure when it is refused.
std::vector<std::string> records(Engine& engine, const std::string& tail) {
    std::vector<std::string> found;
    const Rows rows = engine.select("SELECT R FROM T" + tail);
    EXPECT_EQ(rows.fault, "") << tail;
    EXPECT_EQ(rows.total, static_cast<std::int64_t>(rows.rows.size())) << tail;
    for (const auto& row : rows.rows) found.push_back(row[0].value_or("NULL"));
    return found;
}

std::vector<std::string> sorted(std::vector<std::string> values) {
    std::sort(values.begin(), values.end());
    return values;
}

std::vector<std::string> operator+(std::vector<std::string> left, const std::vector<std::string>& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

void fill(Engine& engine, const Table& table) {
    std::string message;
    ASSERT_TRUE(engine.change(createForEngine(table), message)) << message;
    if (table.loaded > 0) {
        ASSERT_TRUE(engine.load(table, 0, table.loaded, message)) << message;
    }
    for (std::size_t i = table.loaded; i < table.rows.size(); ++i)
        ASSERT_TRUE(engine.change(insertForEngine(table, table.rows[i]), message)) << message;
}

/// Calls the body with many conditions over many tables.
template <class Body>
void forConditions(std::uint64_t seed, int depth, Body body) {
    for (std::uint64_t base = 0; base < kBases; ++base) {
        Generator generator(seed + base);
        const Table table = generator.tables().front();
        Engine engine;
        fill(engine, table);
        for (int i = 0; i < kConditionsPerBase; ++i) {
            SCOPED_TRACE("seed " + std::to_string(seed + base));
            body(engine, generator, table, *generator.condition({{&table, ""}}, depth));
        }
    }
}

}  // namespace

TEST(Partition, AConditionItsNegationAndNullAreAllRows) {
    forConditions(100, 0, [](Engine& engine, Generator&, const Table&, const Condition& test) {
        if (test.type == Condition::Type::kSubquery) return;
        const std::string text = conditionForEngine(test);
        const std::vector<std::string> all = records(engine, ""), holds = records(engine, " WHERE " + text),
                                       not_ = records(engine, " WHERE NOT " + text);
        std::vector<std::string> neither;
        // A test of a value says nothing about rows without one, but "outside of a range" and "is NULL" do.
        const bool total = test.type == Condition::Type::kNull || test.type == Condition::Type::kBetween ||
                           test.type == Condition::Type::kConstants || test.low.isAbsent() ||
                           test.column.isRecord();
        if (!total) {
            const std::string column = columnForEngine(test.column);
            neither = records(engine, " WHERE " + column + " IS NULL");
        }
        if (test.low.isAbsent() && test.type == Condition::Type::kCompare && test.op > Operator::kNotEqual) {
            EXPECT_TRUE(holds.empty() && not_.empty())
                << text << ": nothing stands in front of or behind NULL";
            return;
        }
        // One record may hold an item above a value and another below it.
        const bool several = test.column.item == 0 &&
                             (test.column.kind == Kind::kItems || test.column.kind == Kind::kText) &&
                             test.type == Condition::Type::kCompare && test.op > Operator::kNotEqual;
        std::vector<std::string> parts = sorted(holds + not_ + neither);
        if (several) parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
        EXPECT_EQ(parts, sorted(all)) << text;
    });
}

TEST(Partition, OneMoreConditionSplitsTheRows) {
    forConditions(
        200, 2, [](Engine& engine, Generator& generator, const Table& table, const Condition& condition) {
            const std::string text = conditionForEngine(condition);
            const std::string column =
                columnForEngine(ColumnUse{"", generator.random().pick(table.columns).name});
            const std::vector<std::string> whole = records(engine, " WHERE " + text);
            const std::vector<std::string> with = records(engine, " WHERE (" + text + ") AND " + column +
                                                                      " IS NOT NULL"),
                                           without = records(
                                               engine, " WHERE " + column + " IS NULL AND (" + text + ")");
            EXPECT_EQ(sorted(with + without), sorted(whole)) << text << " and " << column;
        });
}

TEST(Partition, CountIsTheNumberOfRows) {
    if (!has(Feature::kAggregate)) GTEST_SKIP() << "aggregates are not executed yet";
    forConditions(300, 2, [](Engine& engine, Generator&, const Table&, const Condition& condition) {
        const std::string tail = " WHERE " + conditionForEngine(condition);
        const Rows counted = engine.select("SELECT COUNT(*) FROM T" + tail);
        ASSERT_EQ(counted.rows.size(), 1U) << tail << counted.fault;
        EXPECT_EQ(counted.rows[0][0], std::to_string(records(engine, tail).size())) << tail;
    });
}

TEST(Partition, PagesAreSlicesOfTheWhole) {
    forConditions(400, 1,
                  [](Engine& engine, Generator& generator, const Table& table, const Condition& condition) {
                      const std::string sql = "SELECT R, V FROM T WHERE " + conditionForEngine(condition) +
                                              " ORDER BY " + generator.random().pick(table.columns).name +
                                              (generator.random().percent(50) ? " DESC" : "");
                      const Rows whole = engine.select(sql);
                      ASSERT_EQ(whole.fault, "") << sql;
                      const int size = generator.random().between(1, 9);
                      std::vector<std::vector<Value>> together;
                      for (int block = 1; together.size() < whole.rows.size(); ++block) {
                          const Rows page = engine.select(sql, size, block);
                          ASSERT_FALSE(page.rows.empty())
                              << sql << " block " << block << " of " << size << ": " << page.fault;
                          EXPECT_EQ(page.total, whole.total) << sql;
                          together.insert(together.end(), page.rows.begin(), page.rows.end());
                      }
                      EXPECT_EQ(together, whole.rows) << sql << " in blocks of " << size;
                  });
}

}  // namespace differential
