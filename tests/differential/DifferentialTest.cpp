// Random statements, answered by the engine and by SQLite. A failure is narrowed down and printed with both
// answers and the seed. WELK_DIFFERENTIAL_SEED and WELK_DIFFERENTIAL_STATEMENTS (statements in all) change
// what is drawn.
#include <gtest/gtest.h>

#include "tests/differential/Generator.h"
#include "tests/differential/Pair.h"

namespace differential {
namespace {

constexpr std::uint64_t kStatementsPerBase = 500;

/// Asks so many queries of one pair; the number of those that are answered differently.
template <class Draw>
int compare(Pair& pair, long statements, std::uint64_t seed, Draw draw) {
    constexpr int kMostReports = 10;
    int failures = 0;
    for (long i = 0; i < statements && failures < kMostReports; ++i) {
        const Query query = draw();
        if (pair.agree(query)) continue;
        ++failures;
        ADD_FAILURE() << pair.report(query, seed);
    }
    pair.engine().database().expectClean("seed " + std::to_string(seed));
    return failures;
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
