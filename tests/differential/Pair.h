// The engine and its twin with the same tables.
#pragma once

#include <string>
#include <vector>

#include "tests/differential/Engine.h"
#include "tests/differential/Query.h"
#include "tests/differential/Twin.h"

namespace differential {

class Pair {
public:
    explicit Pair(const std::vector<Table>& tables);

    Rows fromEngine(const Query& query) {
        return engine_.select(forEngine(query), query.blockSize, query.block);
    }
    Rows fromTwin(const Query& query);
    bool agree(const Query& query) { return same(query, fromEngine(query), fromTwin(query)); }
    static bool same(const Query& query, Rows engine, Rows twin);
    /// The smallest form of a query that is answered differently, with both answers and the seed.
    std::string report(const Query& failing, std::uint64_t seed);

    Engine& engine() { return engine_; }
    Twin& twin() { return twin_; }

private:
    void engineDoes(const std::string& sql);
    void twinDoes(const std::string& sql);
    Query narrowed(Query failing);

    Engine engine_;
    Twin twin_;
};

/// The number in the environment variable.
long fromEnvironment(const char* name, long otherwise);

/// Of the bases that a test draws: WELK_DIFFERENTIAL_SEED times a prime.
std::uint64_t firstSeed();

}  // namespace differential
