// What one INSERT costs, durable and found by the next statement, beside a bare write of one page that is
// synced on the same disk. Directories are made below WELK_BENCH_DIR, or where temporary files go, and
// removed again.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string>

#include "bench/Session.h"

namespace {

constexpr std::size_t kPage = 4096;
constexpr int kFilePages = 256;  ///< written round and round, so that the file does not grow

bool makeTable(const Session& session) {
    return session.ready() &&
           Session::succeeds(
               "CREATE TABLE NOTES (NAME VARCHAR PRIMARY KEY, QTY INTEGER, DAY DATE, BODY LONG VARCHAR)");
}

std::string body(int words) {
    std::string text;
    for (int i = 0; i < words; ++i) text += "word" + std::to_string(i * 7919 % 5000) + ' ';
    return text;
}

std::string insertion(long number, const std::string& text) {
    return "INSERT INTO NOTES (NAME, QTY, DAY, BODY) VALUES ('note-" + std::to_string(number) + "', " +
           std::to_string(number % 1000) + ", DATE('2024-05-17'), '" + text + " n" + std::to_string(number) +
           "')";
}

void rawSync(benchmark::State& state) {
    const Directory directory;
    const int file = open((directory.path() + "/page").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    std::array<char, kPage> page{};
    for (int i = 0; i < kFilePages; ++i) {
        if (pwrite(file, page.data(), kPage, static_cast<off_t>(i * kPage)) < 0)
            state.SkipWithError("no room");
    }
    fsync(file);
    long number = 0;
    for (auto _ : state) {
        page[0] = static_cast<char>(++number);
        const auto at = static_cast<off_t>((number % kFilePages) * static_cast<long>(kPage));
        if (pwrite(file, page.data(), kPage, at) < 0 || fdatasync(file) != 0)
            state.SkipWithError("not written");
    }
    close(file);
}

void insert(benchmark::State& state, int words) {
    const Session session;
    if (!makeTable(session)) state.SkipWithError("no data directory");
    const std::string text = body(words);
    long number = 0;
    for (auto _ : state) {
        if (!Session::succeeds(insertion(++number, text))) {
            state.SkipWithError("the statement failed");
            return;
        }
    }
}

/// The next statement finds what the one before stored, by a word that only it has.
void insertAndFind(benchmark::State& state, int words) {
    const Session session;
    if (!makeTable(session)) state.SkipWithError("no data directory");
    const std::string text = body(words);
    long number = 0, hits = 0;
    for (auto _ : state) {
        const bool stored = Session::succeeds(insertion(++number, text));
        const std::string find = "SELECT NAME FROM NOTES WHERE BODY = 'n" + std::to_string(number) + "'";
        if (!stored || !Session::succeeds(find, &hits) || hits != 1) {
            state.SkipWithError("what was stored is not found");
            return;
        }
    }
}

}  // namespace

BENCHMARK(rawSync)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK_CAPTURE(insert, five_words, 5)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK_CAPTURE(insert, hundred_words, 100)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK_CAPTURE(insertAndFind, hundred_words, 100)->Unit(benchmark::kMicrosecond)->UseRealTime();

BENCHMARK_MAIN();
