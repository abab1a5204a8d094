// What a commit, a single put and a bulk load cost, and what a snapshot costs a statement. Files go below
// TMPDIR, or the current directory: a temporary file system in memory says nothing about syncs.
#include <benchmark/benchmark.h>
#include <lmdb.h>
#include <stdlib.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <random>

#include "kernel/catalog/DefinitionEditor.h"
#include "kernel/catalog/SessionUnit.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/jobs/IndexJob.h"
#include "kernel/jobs/LoadJob.h"
#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"

namespace {

using namespace wdb;

// A home directory with one base: NAME (unique), NOTE (text), COUNT.
class Bench {
public:
    Bench() {
        const char* given = ::getenv("TMPDIR");
        std::string path = std::string(given != nullptr ? given : ".") + "/wdb-bench-XXXXXX";
        path_ = ::mkdtemp(path.data());
        DirectoryOptions options;
        options.create = true;
        options.owner = "bench";
        directory_ = *SystemDirectory::open(path_, options);
        DefinitionEditor editor(directory_);
        const Actor actor{"bench", true, true, false};
        WdbBaseDef def{};
        editor.getBaseDef(actor, "T", &def);
        std::snprintf(def.baseFile, sizeof def.baseFile, "WELKSQL_BASES:T.BAF");
        std::snprintf(def.indexFile, sizeof def.indexFile, "WELKSQL_BASES:T.BIF");
        std::snprintf(def.valueFile, sizeof def.valueFile, "WELKSQL_BASES:T.VIF");
        std::snprintf(def.uniqueKey, sizeof def.uniqueKey, "NAME");
        for (const auto& [name, type] :
             {std::pair{"NAME", "PHRASE"}, {"NOTE", "TEXT"}, {"COUNT", "INTEGER"}}) {
            WdbFieldSpec spec{};
            std::snprintf(spec.name, sizeof spec.name, "%s", name);
            std::snprintf(spec.typeName, sizeof spec.typeName, "%s", type);
            spec.indexed = 1;
            editor.putFieldSpec(spec);
        }
        editor.putBaseDef(
            actor, def, [this](Slice name) { return directory_->setting(name); }, std::chrono::seconds(1), 1);
        base_ = *directory_->find("T");
    }
    ~Bench() {
        base_.reset();
        directory_.reset();
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::string& path() const { return path_; }
    SystemDirectory& directory() { return *directory_; }
    const std::shared_ptr<SystemDirectory>& sharedDirectory() { return directory_; }
    const std::shared_ptr<OpenBase>& base() { return base_; }
    WriterHold lock() { return std::move(*directory_->acquireWriter(std::chrono::seconds(1))); }

    bool put(UnitBase& unit, size_t textSize) {
        const RecordNumber number = *unit.writer->newRecord();
        RecordData record;
        record.head.at(1).items = {"name " + std::to_string(number)};
        record.head.at(2).items = {text(textSize)};
        record.head.at(3).items = {encodeInteger(static_cast<int64_t>(number) * 7919 % 100000)};
        const ValueKey key = valueKey(FieldType::Phrase, record.head.at(1).items[0]);
        return ok(unit.writer->setKey(uniqueKey(1, key.bytes, false, {}), number)) &&
               ok(unit.put(number, *encodeRecord(record, unit.writer->commitNumber())));
    }
    bool insert(size_t textSize) {
        SessionUnit unit(lock());
        return put(**unit.base(base_), textSize) && ok(unit.commit(1));
    }

private:
    // Words with the frequencies of a natural text, roughly: the k-th word is chosen with a chance of about 1
    // / k.
    std::string text(size_t size) {
        std::string text;
        while (text.size() < size) {
            const double chance = std::uniform_real_distribution<>(0.0, 1.0)(random_);
            text += "word" + std::to_string(static_cast<int>(std::pow(40000.0, chance))) +
                    (text.size() % 60 < 8 ? "\n" : " ");
        }
        return text;
    }

    std::string path_;
    std::shared_ptr<SystemDirectory> directory_;
    std::shared_ptr<OpenBase> base_;
    std::mt19937 random_{1};
};

// The floor: one small value, one commit, default durability.
void bareCommit(benchmark::State& state) {
    Bench bench;
    MDB_env* env = nullptr;
    mdb_env_create(&env);
    mdb_env_set_mapsize(env, size_t{1} << 30);
    mdb_env_open(env, (bench.path() + "/bare").c_str(), MDB_NOSUBDIR, 0600);
    uint64_t number = 0;
    for (auto _ : state) {
        MDB_txn* txn = nullptr;
        MDB_dbi table = 0;
        mdb_txn_begin(env, nullptr, 0, &txn);
        mdb_dbi_open(txn, nullptr, 0, &table);
        ++number;
        MDB_val key{sizeof number, &number};
        MDB_val value{sizeof number, &number};
        mdb_put(txn, table, &key, &value, 0);
        if (mdb_txn_commit(txn) != 0) state.SkipWithError("commit failed");
    }
    mdb_env_close(env);
}
BENCHMARK(bareCommit)->Unit(benchmark::kMicrosecond)->UseRealTime();

// A row of a short text: record, unique key, queue entry, delta, one commit.
void singlePut(benchmark::State& state) {
    Bench bench;
    for (auto _ : state) {
        if (!bench.insert(static_cast<size_t>(state.range(0)))) state.SkipWithError("put failed");
    }
}
BENCHMARK(singlePut)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond)->UseRealTime();

// The same with the merges that it causes now and then.
void putsWithMerges(benchmark::State& state) {
    Bench bench;
    for (auto _ : state) {
        if (!bench.insert(100) || !ok(mergeIfDue(bench.directory(), bench.base())))
            state.SkipWithError("put failed");
    }
}
BENCHMARK(putsWithMerges)->Unit(benchmark::kMicrosecond)->UseRealTime()->Iterations(9000);

void load(benchmark::State& state) {
    const auto rows = state.range(0);
    for (auto _ : state) {
        state.PauseTiming();
        auto bench = std::make_unique<Bench>();
        state.ResumeTiming();
        auto job = LoadJob::begin(bench->sharedDirectory(), bench->base(), bench->lock());
        bool good = static_cast<bool>(job);
        for (int64_t i = 0; good && i < rows; ++i) good = bench->put((*job)->unitBase(), 1000);
        if (!good || !ok((*job)->end(true, 1))) state.SkipWithError("load failed");
        state.PauseTiming();
        if (bench->base()->stamps()->pending != 0)
            state.SkipWithError("the load left its records to the queue");
        bench.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * rows);
}
BENCHMARK(load)->Arg(64000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

// What every statement pays before it searches, with nothing new since the one before.
void snapshot(benchmark::State& state) {
    Bench bench;
    bench.insert(100);
    for (auto _ : state) {
        const auto taken = bench.directory().find("T");
        const auto state_ = (*taken)->snapshot();
        if (!state_) state.SkipWithError("no snapshot");
    }
}
BENCHMARK(snapshot);

}  // namespace

BENCHMARK_MAIN();
