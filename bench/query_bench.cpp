// SQL text in, answer document out, in one process: what a query over the package catalogue costs.
// WELK_BENCH_DATA names the data directory, made by `wsql --data DIR -c ".import --format deb822 FILE
// PACKAGES"`.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "include/sqlengine.h"
#include "include/wdb.h"

namespace {

struct Query {
    const char* name;
    const char* sql;
};

constexpr Query kQueries[] = {
    {"rare_word", "SELECT NAME, VERSION FROM PACKAGES WHERE DESCRIPTION = 'zeppelin'"},
    {"common_word", "SELECT NAME, VERSION FROM PACKAGES WHERE DESCRIPTION = 'library'"},
    {"and_of_two_words",
     "SELECT NAME, VERSION FROM PACKAGES WHERE DESCRIPTION = 'library' AND DESCRIPTION = 'compiler'"},
    {"exact_varchar", "SELECT NAME, VERSION FROM PACKAGES WHERE SECTION = 'math'"},
    {"integer_range", "SELECT NAME, INSTALLED_SIZE FROM PACKAGES WHERE INSTALLED_SIZE BETWEEN 1000 AND 2000"},
    {"first_page_of_sort", "SELECT NAME, INSTALLED_SIZE FROM PACKAGES ORDER BY INSTALLED_SIZE DESC"},
    {"point_lookup", "SELECT NAME, VERSION FROM PACKAGES WHERE NAME = 'libc6'"},
    {"constant", "SELECT 1"},
};

/// Runs the statement; false when the answer is a fault. rows is the exact number of hits.
bool answer(std::string& sql, std::int32_t& rows, std::int32_t& bytes) {
    FilterData data{};
    data.text = sql.data();
    data.textLength = static_cast<std::int32_t>(sql.size());
    data.wdb_options = 36;
    const bool done = (execsql(&data, nullptr) & 1) != 0;
    if (!done)
        std::fprintf(stderr, "%s\n%s\n", sql.c_str(), data.output != nullptr ? data.output : data.message);
    const char* count = data.output != nullptr ? std::strstr(data.output, "rowCount=\"") : nullptr;
    rows = count != nullptr ? std::atoi(count + std::strlen("rowCount=\"")) : -1;
    bytes = data.outputLength;
    std::free(data.output);
    return done;
}

void run(benchmark::State& state, const Query& query) {
    std::int32_t rows = 0, bytes = 0;
    for (auto _ : state) {
        std::string sql = query.sql;  // the engine may write into the request's text
        if (!answer(sql, rows, bytes)) {
            state.SkipWithError("the statement failed");
            return;
        }
    }
    if (rows <= 0) state.SkipWithError("nothing was found: this is another catalogue than the one meant");
    state.counters["hits"] = rows;
    state.counters["bytes"] = bytes;
}

}  // namespace

int main(int argc, char** argv) {
    const char* directory = std::getenv("WELK_BENCH_DATA");
    if (directory == nullptr) {
        std::fprintf(stderr,
                     "query_bench: set WELK_BENCH_DATA to a data directory that holds the table PACKAGES\n");
        return 2;
    }
    WdbSession* session = nullptr;
    if (!WDB_SUCCESS(WdbOpenSession(directory, "owner", nullptr, 0, &session)) ||
        !WDB_SUCCESS(WdbBindSession(session))) {
        std::fprintf(stderr, "query_bench: cannot open %s\n", directory);
        return 2;
    }
    for (const Query& query : kQueries) {
        benchmark::RegisterBenchmark(query.name, run, query)->Unit(benchmark::kMicrosecond);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    WdbCloseSession(&session);
    return 0;
}
