// How fast statement texts become trees.
#include <benchmark/benchmark.h>

#include <string>

#include "src/parser/Keywords.h"
#include "src/parser/WSQLSymbolTable.h"
#include "src/parser/parse.h"
#include "src/tree/WSQLTimestamp.h"

namespace wsql {
namespace {

class BenchContext : public ParseContext {
public:
    BenchContext() { loadKeywords(symbols_); }
    const WSQLSymbolTable* symbolTable() const override { return &symbols_; }
    void parserMessage(std::string_view text) override { message_ = text; }
    const WSQLTimestamp* statementInstant() override { return &instant_; }
    DateSettings dateSettings() override { return {1, "2026-11-21", 0, 2026}; }

private:
    WSQLSymbolTable symbols_;
    std::string message_;
    WSQLTimestamp instant_{"2026-11-21", "10:11:12"};
};

void parse(benchmark::State& state, const std::string& sql) {
    BenchContext context;
    std::unique_ptr<WSQLStatement> statement;
    for (auto _ : state) {
        const int result = parseStatement(context, sql.c_str(), statement);
        if (result != ParseResult::kSuccess) state.SkipWithError("the statement does not parse");
        statement.reset();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(sql.size()));
}

std::string chain(const std::string& head, const std::string& link, const std::string& term, int64_t terms) {
    std::string sql = head + term;
    for (int64_t i = 1; i < terms; ++i) sql += link + term;
    return sql;
}

void PointLookup(benchmark::State& state) {
    parse(state, "SELECT NAME, VERSION FROM PACKAGES WHERE NAME = 'gcc'");
}
BENCHMARK(PointLookup);

/// 200 bytes with the clauses of an everyday question.
void EverydaySelect(benchmark::State& state) {
    parse(state,
          "SELECT P.NAME, P.VERSION, P.SECTION, P.INSTALLED_SIZE AS SIZE FROM PACKAGES P WHERE P.DESCRIPTION "
          "LIKE "
          "'%compiler%' AND P.SIZE BETWEEN 1000 AND 250000 AND NOT (P.SECTION = 'libs') ORDER BY P.NAME, 4 "
          "DESC");
}
BENCHMARK(EverydaySelect);

void LongWhere(benchmark::State& state) {
    parse(state, chain("SELECT A FROM T WHERE ", " OR ", "A = 1", state.range(0)));
}
BENCHMARK(LongWhere)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);

void LongInsert(benchmark::State& state) {
    parse(state, chain("INSERT INTO T VALUES (", ", ", "'0123456789012345678901234567890'", 30000) + ")");
}
BENCHMARK(LongInsert)->Unit(benchmark::kMicrosecond);

void MegabyteText(benchmark::State& state) {
    parse(state, "INSERT INTO T VALUES ('" + std::string(1 << 20, 'x') + "')");
}
BENCHMARK(MegabyteText)->Unit(benchmark::kMicrosecond);

/// Dashes that could each open a comment, if a line end followed.
void MegabyteOfDashes(benchmark::State& state) {
    parse(state, chain("SELECT ", "--", "1", 4000));
}
BENCHMARK(MegabyteOfDashes)->Unit(benchmark::kMicrosecond);

/// What every call pays before it parses.
void LoadKeywords(benchmark::State& state) {
    for (auto _ : state) {
        WSQLSymbolTable table;
        loadKeywords(table);
        benchmark::DoNotOptimize(table.head());
    }
}
BENCHMARK(LoadKeywords);

}  // namespace
}  // namespace wsql

BENCHMARK_MAIN();
