#include "tests/differential/Pair.h"

#include <algorithm>
#include <cstdlib>

namespace differential {
namespace {

Rows page(Rows all, int size, int number) {
    const std::size_t first = static_cast<std::size_t>(size) * static_cast<std::size_t>(number - 1);
    if (first > 0 && first >= all.rows.size())
        return {"9092 There are no more records in the result set.", {}, 0};
    const std::size_t last = std::min(all.rows.size(), first + static_cast<std::size_t>(size));
    all.rows = {all.rows.begin() + static_cast<std::ptrdiff_t>(first),
                all.rows.begin() + static_cast<std::ptrdiff_t>(last)};
    return all;
}

}  // namespace

Pair::Pair(const std::vector<Table>& tables) {
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

void Pair::engineDoes(const std::string& sql) {
    std::string message;
    ASSERT_TRUE(engine_.change(sql, message)) << sql << "\n" << message;
}

void Pair::twinDoes(const std::string& sql) {
    std::string message;
    ASSERT_TRUE(twin_.change(sql, message)) << sql << "\n" << message;
}

Rows Pair::fromTwin(const Query& query) {
    if (!query.fault.empty()) return {query.fault, {}, 0};
    Rows rows = twin_.select(forTwin(query));
    return query.blockSize == 0 ? rows : page(std::move(rows), query.blockSize, query.block);
}

bool Pair::same(const Query& query, Rows engine, Rows twin) {
    if (!query.sequence) {
        std::sort(engine.rows.begin(), engine.rows.end());
        std::sort(twin.rows.begin(), twin.rows.end());
    }
    return engine.fault == twin.fault && engine.total == twin.total && engine.rows == twin.rows;
}

Query Pair::narrowed(Query failing) {
    for (bool found = true; found;) {
        found = false;
        for (const Query& smaller : simpler(failing)) {
            if (agree(smaller)) continue;
            failing = smaller;
            found = true;
            break;
        }
    }
    return failing;
}

std::string Pair::report(const Query& failing, std::uint64_t seed) {
    const Query smallest = narrowed(failing);
    return "seed " + std::to_string(seed) + "\ndrawn:  " + forEngine(failing) +
           "\nengine: " + forEngine(smallest) + "\nblock:  " + std::to_string(smallest.block) + " of " +
           std::to_string(smallest.blockSize) + "\ntwin:   " + forTwin(smallest) + "\nengine answers\n" +
           print(fromEngine(smallest)) + "twin answers\n" + print(fromTwin(smallest));
}

long fromEnvironment(const char* name, long otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtol(text, nullptr, 10) : otherwise;
}

std::uint64_t firstSeed() {
    return static_cast<std::uint64_t>(fromEnvironment("WELK_DIFFERENTIAL_SEED", 1)) * 1000003U;
}

}  // namespace differential
