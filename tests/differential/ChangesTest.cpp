// Random statements that change tables, made by the engine and by SQLite: both refuse the same ones, count
// the same rows and hold the same records afterwards. WELK_CHANGES_SEED and WELK_CHANGES_STATEMENTS
// (statements in all) change what is drawn.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/differential/Change.h"
#include "tests/differential/Expressions.h"
#include "tests/differential/Pair.h"
#include "tests/differential/Text.h"

namespace differential {
namespace {

constexpr long kStatementsPerBase = 250;
constexpr std::size_t kPlacesOfItems = 5;

/// All records with all that they hold, by record number.
Query contents(const Table& table) {
    Query query;
    query.from = {table.name, table.name};
    query.items.push_back({"R", "R"});
    for (const Column& column : table.columns) {
        query.items.push_back(shown({"", column.name, column.kind, 0}));
        if (column.kind != Kind::kItems) continue;
        for (std::size_t place = 1; place <= kPlacesOfItems; ++place)
            query.items.push_back(shown({"", column.name, column.kind, static_cast<int>(place)}));
    }
    query.records = {"R"};
    return query;
}

/// Some tables get a key; rows that could not stand beside the others go.
void addKeys(std::vector<Table>& tables, Random& random) {
    for (Table& table : tables) {
        if (random.percent(40)) continue;
        table.key = table.columns.front().name;
        std::vector<std::string> taken;
        std::vector<Row> rows;
        for (Row& row : table.rows) {
            const std::string key = row.front().empty() ? "" : normalized(row.front().front());
            if (!key.empty() && std::find(taken.begin(), taken.end(), key) != taken.end()) continue;
            taken.push_back(key);
            rows.push_back(std::move(row));
        }
        table.rows = std::move(rows);
        table.loaded = std::min(table.loaded, table.rows.size());
    }
}

class Base {
public:
    explicit Base(std::uint64_t seed)
        : seed_(seed),
          generator_(seed),
          tables_(drawTables()),
          pair_(tables_),
          changes_(generator_, tables_) {
        for (const Table& table : tables_) {
            contents_.push_back(contents(table));
            highest_.push_back(table.rows.size());
            last_.push_back(table.rows.size());
            rows_.push_back(table.rows.size());
        }
    }

    /// One statement; false after a difference, which is reported.
    bool step() {
        std::size_t rows = 0;
        for (const std::size_t count : rows_) rows += count;
        const Change change = changes_.draw(rows);
        std::string expected = "";
        if (change.possible.empty() || pair_.twin().select(change.possible).rows.at(0).at(0) == "1") {
            std::string message;
            if (!pair_.twin().change(change.twin, message)) expected = faultFor(message);
        } else {
            expected = change.refusal;
        }
        const Answer answer = pair_.engine().run(change.engine);
        const std::string made = outcome(answer, expected);
        const std::string wanted =
            expected.empty() ? std::to_string(pair_.twin().changes()) + " rows" : expected;
        if (!expected.empty()) ++refused_;
        if (made != wanted) return differ(change, "engine: " + made + "\ntwin:   " + wanted);
        return sameContents(change);
    }

    /// A query of what the statements have made.
    bool ask() {
        const Query query = generator_.query(tables_);
        if (pair_.agree(query)) return true;
        ADD_FAILURE() << pair_.report(query, seed_) << "after " << latest_;
        return false;
    }

    void expectClean() { pair_.engine().database().expectClean("seed " + std::to_string(seed_)); }
    int refused() const { return refused_; }

private:
    std::vector<Table> drawTables() {
        std::vector<Table> tables = generator_.tables();
        addKeys(tables, generator_.random());
        return tables;
    }

    static std::string faultFor(const std::string& message) {
        return message.rfind("UNIQUE constraint failed", 0) == 0 ? "The key value is already in use."
                                                                 : "twin: " + message;
    }

    /// "n rows", the expected part of a fault's text, or all of the answer.
    static std::string outcome(const Answer& answer, const std::string& expected) {
        if (answer.status == 1) return answer.rows().substr(3, answer.rows().find('<', 3) - 3) + " rows";
        const bool same = !expected.empty() && answer.document.find(expected) != std::string::npos;
        return same ? expected : answer.document;
    }

    bool differ(const Change& change, const std::string& how) {
        ADD_FAILURE() << "seed " << seed_ << "\nengine: " << change.engine << "\ntwin:   " << change.twin
                      << "\n"
                      << how;
        return false;
    }

    bool sameContents(const Change& change) {
        const Query& query = contents_[change.table];
        const Rows engine = pair_.fromEngine(query), twin = pair_.fromTwin(query);
        if (engine.fault != twin.fault || engine.rows.size() != twin.rows.size())
            return differ(change, print(engine) + print(twin));
        std::string renumbered;
        for (std::size_t i = 0; i < engine.rows.size(); ++i) {
            std::vector<Value> made = engine.rows[i], wanted = twin.rows[i];
            const std::string number = *made.front(), twins = *wanted.front();
            // The twin gives the numbers of deleted records anew; here they go with the record.
            if (number != twins && std::stoul(number) > highest_[change.table] &&
                std::stoul(twins) > last_[change.table]) {
                renumbered += "UPDATE " + tables_[change.table].name + " SET R = -" + number +
                              " WHERE R = " + twins + ";";
                made.front() = wanted.front();
            }
            if (made != wanted)
                return differ(change, print({"", {engine.rows[i]}, 1}) + print({"", {wanted}, 1}));
        }
        rows_[change.table] = engine.rows.size();
        last_[change.table] = engine.rows.empty() ? 0 : std::stoul(*engine.rows.back().front());
        highest_[change.table] = std::max(highest_[change.table], last_[change.table]);
        std::string message;
        if (!renumbered.empty())
            renumbered += "UPDATE " + tables_[change.table].name + " SET R = -R WHERE R < 0";
        EXPECT_TRUE(pair_.twin().change(renumbered, message)) << message;
        latest_ = change.engine;
        return true;
    }

    std::uint64_t seed_;
    Generator generator_;
    std::vector<Table> tables_;
    Pair pair_;
    Changes changes_;
    std::vector<Query> contents_;
    // Of each table: the highest record number that there ever was, that of the last record, the records.
    std::vector<std::size_t> highest_, last_, rows_;
    std::string latest_;
    int refused_ = 0;
};

}  // namespace

TEST(Changes, LeaveWhatTheTwinHolds) {
    const long statements = fromEnvironment("WELK_CHANGES_STATEMENTS", 3000);
    const auto first = static_cast<std::uint64_t>(fromEnvironment("WELK_CHANGES_SEED", 1000003));
    int failures = 0, refused = 0;
    for (long done = 0; done < statements && failures < 3; done += kStatementsPerBase) {
        const std::uint64_t seed = first + static_cast<std::uint64_t>(done / kStatementsPerBase);
        Base base(seed);
        bool same = true;
        for (long i = 0; same && i < kStatementsPerBase; ++i)
            same = base.step() && (i % 5 != 4 || base.ask());
        if (!same) ++failures;
        base.expectClean();
        refused += base.refused();
    }
    EXPECT_GT(refused, statements / 100) << "statements that both refuse have to be among them";
}

}  // namespace differential
