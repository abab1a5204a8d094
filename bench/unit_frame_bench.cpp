// What a call costs before it does anything, and how fast texts reach a document.
#include <benchmark/benchmark.h>

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "include/sqlengine.h"
#include "include/wdb.h"
#include "src/support/Encoding.h"
#include "src/support/base64.h"

namespace wsql {
namespace {

// A session of a directory of its own, bound to this thread; none when the first argument is 0.
class BoundSession {
public:
    explicit BoundSession(bool wanted) {
        if (!wanted || mkdtemp(home_) == nullptr) return;
        if (WdbOpenSession(home_, "ADMIN", "", WDB_OPEN_CREATE, &session_) == WDB_OK)
            WdbBindSession(session_);
    }
    BoundSession(const BoundSession&) = delete;
    BoundSession& operator=(const BoundSession&) = delete;
    ~BoundSession() {
        if (session_ == nullptr) return;
        WdbCloseSession(&session_);
        std::filesystem::remove_all(home_);
    }
    bool bound() const { return session_ != nullptr; }

private:
    char home_[32] = "/tmp/welk_bench_XXXXXX";
    WdbSession* session_ = nullptr;
};

// One whole call: filter, settings, keywords, parse, answer. The argument tells whether a session is bound.
void Commit(benchmark::State& state) {
    const BoundSession session(state.range(0) != 0);
    if (session.bound() != (state.range(0) != 0)) state.SkipWithError("no session");
    char text[16];
    for (auto _ : state) {
        FilterData data{};
        std::copy_n("COMMIT", 7, text);
        data.text = text;
        data.textLength = sizeof text;
        data.wdb_options = 36;
        if (execsql(&data, nullptr) != 1) state.SkipWithError("no success");
        std::free(data.output);
    }
}
BENCHMARK(Commit)->Arg(0)->Arg(1);

std::string prose(std::size_t size, std::size_t everyMarkup) {
    std::string text(size, 'a');
    for (std::size_t i = 7; i < size; i += 7) text[i] = ' ';
    for (std::size_t i = everyMarkup; everyMarkup > 0 && i < size; i += everyMarkup) text[i] = '&';
    return text;
}

// The first argument is the size, the second the distance between markup characters (0: none), the third the
// session's set.
void XmlText(benchmark::State& state) {
    const std::string text =
        prose(static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1)));
    const CharacterSet set = state.range(2) == 16 ? CharacterSet{16, "", 65001, nullptr}
                                                  : CharacterSet{1, ".28591", 28591, "Cp1252"};
    CStringBuffer buffer;
    for (auto _ : state) {
        buffer.clear();
        appendXmlText(set, buffer, text);
        benchmark::DoNotOptimize(buffer.text());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(XmlText)
    ->Args({1000, 0, 16})
    ->Args({1000000, 0, 16})
    ->Args({1000000, 200, 16})
    ->Args({1000000, 0, 1});

void Base64(benchmark::State& state) {
    const std::string data = prose(1000000, 0);
    CStringBuffer buffer;
    for (auto _ : state) {
        buffer.clear();
        base64Append(data, buffer);
    }
    state.SetBytesProcessed(state.iterations() * 1000000);
}
BENCHMARK(Base64);

}  // namespace
}  // namespace wsql

BENCHMARK_MAIN();
