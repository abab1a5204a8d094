// Random statements, answered by the engine and by SQLite. A failure is narrowed down and printed with both
// answers and the seed. WELK_DIFFERENTIAL_SEED and WELK_DIFFERENTIAL_STATEMENTS (statements in all) change
// what is drawn.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/differential/Engine.h"
#include "tests/differential/Generator.h"
#include "tests/differential/Twin.h"

namespace differential {
namespace {

constexpr std::uint64_t kStatementsPerBase = 500;

long fromEnvironment(const char* name, long otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtol(text, nullptr, 10) : otherwise;
}

/// Both sides with the same tables.
class Pair {
public:
    explicit Pair(const std::vector<Table>& tables) {
        for (const Table& table : tables) {
            engineDoes(createForEngine(table));
            twinDoes(createForTwin(table));
            if (table.loaded > 0) {
                std::string message;
                EXPECT_TRUE(engine_.load(table, 0, table.loaded, message)) << message;
            }
            twinDoes("BEGIN");
            for (std::size_t i = 0; i < table.rows.size(); ++i) {
                if (i >= table.loaded) engineDoes(insertForEngine(table, table.rows[i]));
                twinDoes(insertForTwin(table, table.rows[i]));
            }
            twinDoes("COMMIT");
        }
    }

    Rows fromEngine(const Query& query) {
        return engine_.select(forEngine(query), query.blockSize, query.block);
    }
    Rows fromTwin(const Query& query) {
        if (!query.fault.empty()) return {query.fault, {}, 0};
        Rows rows = twin_.select(forTwin(query));
        return query.blockSize == 0 ? rows : page(std::move(rows), query.blockSize, query.block);
    }
    bool agree(const Query& query) { return same(query, fromEngine(query), fromTwin(query)); }

    static bool same(const Query& query, Rows engine, Rows twin) {
        if (!query.sequence) {
            std::sort(engine.rows.begin(), engine.rows.end());
            std::sort(twin.rows.begin(), twin.rows.end());
        }
        return engine.fault == twin.fault && engine.total == twin.total && engine.rows == twin.rows;
    }
    const Engine& engine() const { return engine_; }

private:
    void engineDoes(const std::string& sql) {
        std::string message;
        ASSERT_TRUE(engine_.change(sql, message)) << sql << "\n" << message;
    }
    void twinDoes(const std::string& sql) {
        std::string message;
        ASSERT_TRUE(twin_.change(sql, message)) << sql << "\n" << message;
    }
    static Rows page(Rows all, int size, int number) {
        const std::size_t first = static_cast<std::size_t>(size) * static_cast<std::size_t>(number - 1);
        if (first > 0 && first >= all.rows.size())
            return {"9092 There are no more records in the result set.", {}, 0};
        const std::size_t last = std::min(all.rows.size(), first + static_cast<std::size_t>(size));
        all.rows = {all.rows.begin() + static_cast<std::ptrdiff_t>(first),
                    all.rows.begin() + static_cast<std::ptrdiff_t>(last)};
        return all;
    }

    Engine engine_;
    Twin twin_;
};

Query narrowed(Pair& pair, Query failing) {
    for (bool found = true; found;) {
        found = false;
        for (const Query& smaller : simpler(failing)) {
            if (pair.agree(smaller)) continue;
            failing = smaller;
            found = true;
            break;
        }
    }
    return failing;
}

std::string report(Pair& pair, const Query& query, std::uint64_t seed) {
    const Query smallest = narrowed(pair, query);
    return "seed " + std::to_string(seed) + "\ndrawn:  " + forEngine(query) +
           "\nengine: " + forEngine(smallest) + "\nblock:  " + std::to_string(smallest.block) + " of " +
           std::to_string(smallest.blockSize) + "\ntwin:   " + forTwin(smallest) + "\nengine answers\n" +
           print(pair.fromEngine(smallest)) + "twin answers\n" + print(pair.fromTwin(smallest));
}

/// Asks so many queries of one pair; the number of those that are answered differently.
template <class Draw>
int compare(Pair& pair, long statements, std::uint64_t seed, Draw draw) {
    constexpr int kMostReports = 10;
    int failures = 0;
    for (long i = 0; i < statements && failures < kMostReports; ++i) {
        const Query query = draw();
        if (pair.agree(query)) continue;
        ++failures;
        ADD_FAILURE() << report(pair, query, seed);
    }
    pair.engine().database().expectClean("seed " + std::to_string(seed));
    return failures;
}

std::uint64_t firstSeed() {
    return static_cast<std::uint64_t>(fromEnvironment("WELK_DIFFERENTIAL_SEED", 1)) * 1000003U;
}

}  // namespace

TEST(Differential, SelectsAnswerWhatTheTwinAnswers) {
    const long statements = fromEnvironment("WELK_DIFFERENTIAL_STATEMENTS", 20000);
    int failures = 0;
    for (std::uint64_t base = 0; base * kStatementsPerBase < static_cast<std::uint64_t>(statements); ++base) {
        Generator generator(firstSeed() + base);
        const std::vector<Table> tables = generator.tables();
        Pair pair(tables);
        failures += compare(pair, static_cast<long>(kStatementsPerBase), firstSeed() + base,
                            [&] { return generator.query(tables); });
        if (failures > 10) break;
    }
}

// So many records that columns are stored in several pieces and sets in several kinds of containers.
TEST(Differential, LargeTablesToo) {
    Generator generator(firstSeed());
    const std::vector<Table> tables = generator.largeTable(9000);
    Pair pair(tables);
    compare(pair, fromEnvironment("WELK_DIFFERENTIAL_STATEMENTS", 20000) / 50, firstSeed(),
            [&] { return generator.shortQuery(tables); });
}

}  // namespace differential
