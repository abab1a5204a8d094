// What UPDATE and DELETE of a thousand records by a condition cost, durable and found by the next statement,
// in a table of twenty thousand. Directories are made below WELK_BENCH_DIR, or where temporary files go, and
// removed again.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/Session.h"

namespace {

constexpr int kGroup = 1000;  ///< records of one group
constexpr int kGroups = 20;
constexpr int kWords = 40;  ///< of the text of a record

std::string body(int record) {
    std::string text;
    for (int i = 0; i < kWords; ++i) text += "word" + std::to_string((record + i * 7919) % 5000) + ' ';
    return text;
}

/// Group g holds the records whose G is g; each has a number of its own in N.
bool fill(const Session& session) {
    if (!session.ready() ||
        !Session::succeeds(
            "CREATE TABLE NOTES (G INTEGER, N INTEGER, NAME VARCHAR, DAY DATE, BODY LONG VARCHAR)"))
        return false;
    for (int i = 0; i < kGroup; ++i) {
        const std::string number = std::to_string(i);
        if (!Session::succeeds("INSERT INTO NOTES VALUES (0, " + number + ", 'note " + number +
                               "', DATE('2024-05-17'), '" + body(i) + "')"))
            return false;
    }
    for (int group = 1; group < kGroups; ++group) {
        if (!Session::succeeds("INSERT INTO NOTES SELECT " + std::to_string(group) +
                               ", N, NAME, DAY, BODY FROM NOTES WHERE G = 0"))
            return false;
    }
    return true;
}

bool counts(const std::string& condition, long expected) {
    long hits = -1;
    return Session::succeeds("SELECT R FROM NOTES WHERE " + condition, &hits) && hits == expected;
}

void update(benchmark::State& state) {
    const Session session;
    if (!fill(session)) state.SkipWithError("no data directory");
    int round = 0;
    for (auto _ : state) {
        const std::string name = "name" + std::to_string(++round);
        if (!Session::succeeds("UPDATE NOTES SET NAME = '" + name +
                               "', DAY = DATE('2024-06-01') WHERE G = " + std::to_string(round % kGroups)) ||
            !counts("NAME = '" + name + "'", kGroup)) {
            state.SkipWithError("the records are not found as they were changed");
            return;
        }
    }
}

void updateOfTexts(benchmark::State& state) {
    const Session session;
    if (!fill(session)) state.SkipWithError("no data directory");
    int round = 0;
    for (auto _ : state) {
        const std::string word = "fresh" + std::to_string(++round);
        if (!Session::succeeds("UPDATE NOTES SET BODY = '" + body(round) + word +
                               "' WHERE G = " + std::to_string(round % kGroups)) ||
            !counts("BODY = '" + word + "'", kGroup)) {
            state.SkipWithError("the records are not found as they were changed");
            return;
        }
    }
}

void remove(benchmark::State& state) {
    const Session session;
    if (!fill(session)) state.SkipWithError("no data directory");
    int group = 0;
    for (auto _ : state) {
        const std::string condition = "G = " + std::to_string(group++);
        if (!Session::succeeds("DELETE FROM NOTES WHERE " + condition) || !counts(condition, 0)) {
            state.SkipWithError("the records are still there");
            return;
        }
    }
}

BENCHMARK(update)
    ->Name("update 1000 records")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(2 * kGroups);
BENCHMARK(updateOfTexts)
    ->Name("update 1000 texts")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(kGroups);
BENCHMARK(remove)
    ->Name("delete 1000 records")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(kGroups);

}  // namespace

BENCHMARK_MAIN();
