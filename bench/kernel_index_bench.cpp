// What the indexes cost: over the package catalogue when /tmp/catalogue.deb822 exists, else over made-up
// records.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kernel/index/BulkIndexBuilder.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/index/IndexView.h"
#include "kernel/index/Merger.h"
#include "kernel/record/Value.h"
#include "kernel/text/Analyzer.h"
#include "kernel/text/Normalize.h"

namespace {

using namespace wdb;

constexpr FieldNumber kName = 1, kSection = 2, kSize = 3, kMaintainer = 4, kDay = 5, kText = 6;
constexpr size_t kRecords = 64000;

FieldDefinition field(FieldNumber number, const char* name, FieldType type) {
    FieldDefinition out;
    out.number = number;
    out.name = name;
    out.type = type;
    return out;
}

std::shared_ptr<const Schema> schema() {
    return std::make_shared<const Schema>(std::vector<FieldDefinition>{
        field(kName, "NAME", FieldType::Phrase), field(kSection, "SECTION", FieldType::Phrase),
        field(kSize, "SIZE", FieldType::Integer), field(kMaintainer, "MAINTAINER", FieldType::Phrase),
        field(kDay, "DAY", FieldType::Date), field(kText, "TEXT", FieldType::Text)});
}

std::string imageOf(std::map<std::string, std::string>& paragraph, size_t number) {
    RecordData record;
    record.head.at(kName).items = {paragraph["Package"]};
    record.head.at(kSection).items = {paragraph["Section"]};
    record.head.at(kSize).items = {encodeInteger(std::atoll(paragraph["Installed-Size"].c_str()))};
    record.head.at(kMaintainer).items = {paragraph["Maintainer"]};
    record.head.at(kDay).items = {
        encodeDay(dayNumber(2000 + static_cast<int>(number % 25), 1 + static_cast<int>(number % 12), 1))};
    record.head.at(kText).items = {paragraph["Description"]};
    record.trim();
    return *encodeRecord(record, 1);
}

std::vector<std::string> catalogue() {
    std::vector<std::string> images;
    std::ifstream file("/tmp/catalogue.deb822");
    std::map<std::string, std::string> paragraph;
    std::string key;
    for (std::string line; images.size() < kRecords && std::getline(file, line);) {
        if (line.empty()) {
            if (!paragraph.empty()) images.push_back(imageOf(paragraph, images.size()));
            paragraph.clear();
        } else if (line[0] == ' ') {
            paragraph[key] += line == " ." ? "\n" : "\n" + line.substr(1);
        } else if (const size_t colon = line.find(": "); colon != std::string::npos) {
            key = line.substr(0, colon);
            paragraph[key] = line.substr(colon + 2);
        }
    }
    return images;
}

std::vector<std::string> madeUp() {
    std::mt19937 random(1);
    std::vector<std::string> images;
    for (size_t i = 0; i < kRecords; ++i) {
        std::string text;
        while (text.size() < 1000) {
            const double u = static_cast<double>(random() % 100000 + 1) / 100000;
            text += (random() % 40 == 0 ? "library " : "w" + std::to_string(static_cast<int>(20.0 / u))) +
                    (random() % 80 == 0 ? ".\n" : " ");
        }
        std::map<std::string, std::string> paragraph = {{"Package", "package-" + std::to_string(random())},
                                                        {"Section", "s" + std::to_string(i % 60)},
                                                        {"Installed-Size", std::to_string(random() % 100000)},
                                                        {"Maintainer", "m" + std::to_string(random() % 3000)},
                                                        {"Description", text}};
        images.push_back(imageOf(paragraph, i));
    }
    return images;
}

// The records, their index files, and a snapshot of them.
class Fixture : public RecordSource {
public:
    static Fixture& get() {
        static Fixture fixture;
        return fixture;
    }

    Result<RecordView> record(RecordNumber number) override {
        return RecordView::validate(images[number - 1]);
    }

    Status build(const std::string& wordPath, const std::string& valuePath) const {
        BulkIndexBuilder builder(fields, {});
        for (size_t i = 0; i < images.size(); ++i) {
            const Status status =
                builder.add(static_cast<RecordNumber>(i + 1), *RecordView::validate(images[i]));
            if (!ok(status)) return status;
        }
        return builder.write(wordPath, valuePath, 1);
    }

    IndexView view(const std::shared_ptr<const Delta>& delta = nullptr) {
        IndexSources sources;
        sources.schema = fields;
        sources.words = &words;
        sources.values = &values;
        sources.wordPosition = sources.valuePosition = 1;
        sources.delta = delta;
        sources.position = delta ? delta->caughtUpTo() : 1;
        sources.records = this;
        sources.ranks = &ranks;
        return IndexView(sources);
    }

    std::string directory;
    std::shared_ptr<const Schema> fields = schema();
    std::vector<std::string> images;
    std::shared_ptr<Environment> wordFile;
    std::shared_ptr<Environment> valueFile;
    ReadTxn words;
    ReadTxn values;
    RankCache ranks;

private:
    Fixture() {
        std::string pattern = "/tmp/welk-bench-XXXXXX";
        directory = mkdtemp(pattern.data());
        images = std::filesystem::exists("/tmp/catalogue.deb822") ? catalogue() : madeUp();
        if (!ok(build(directory + "/w", directory + "/v"))) std::abort();
        wordFile = *Environment::open(directory + "/w", wordFileTables(), {});
        valueFile = *Environment::open(directory + "/v", valueFileTables(), {});
        words = std::move(*wordFile->read());
        values = std::move(*valueFile->read());
    }
    ~Fixture() override {
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }
};

std::vector<Pattern> words(std::string_view text) {
    Pattern value;
    for (const char c : text) {
        if (c == '$')
            value.addAnyRun();
        else
            value.addLiteral({&c, 1});
    }
    return Analyzer().wordPatterns(value);
}

// Counts the hits that the operation answers.
template <typename Operation>
void run(benchmark::State& state, Operation&& operation) {
    IndexView view = Fixture::get().view();
    uint64_t hits = 0;
    for (auto _ : state) {
        Result<RecordSet> set = operation(view);
        if (!set) return state.SkipWithError("status");
        hits = set->cardinality();
        benchmark::DoNotOptimize(hits);
    }
    state.counters["hits"] = static_cast<double>(hits);
}

void wordRare(benchmark::State& state) {
    const auto pattern = words("postgresql");
    run(state, [&](IndexView& view) { return view.word(kText, pattern[0]); });
}
BENCHMARK(wordRare);

void wordCommon(benchmark::State& state) {
    const auto pattern = words("library");
    run(state, [&](IndexView& view) { return view.word(kText, pattern[0]); });
}
BENCHMARK(wordCommon);

void andOfTwoCommonWords(benchmark::State& state) {
    const auto a = words("library");
    const auto b = words("package");
    run(state, [&](IndexView& view) -> Result<RecordSet> {
        Result<RecordSet> left = view.word(kText, a[0]);
        const Result<RecordSet> right = view.word(kText, b[0]);
        if (left && right) left->intersect(*right);
        return left;
    });
}
BENCHMARK(andOfTwoCommonWords);

void wordPrefix(benchmark::State& state) {
    const auto pattern = words("comp$");
    run(state, [&](IndexView& view) { return view.word(kText, pattern[0]); });
}
BENCHMARK(wordPrefix);

void wordInfix(benchmark::State& state) {
    const auto pattern = words("$mpil$");
    run(state, [&](IndexView& view) { return view.word(kText, pattern[0]); });
}
BENCHMARK(wordInfix);

void phraseOfTwo(benchmark::State& state) {
    const auto patterns = words("shared library");
    run(state, [&](IndexView& view) { return view.phrase(kText, patterns); });
}
BENCHMARK(phraseOfTwo);

void phraseOfCommonWords(benchmark::State& state) {
    const auto patterns = words("this package contains");
    run(state, [&](IndexView& view) { return view.phrase(kText, patterns); });
}
BENCHMARK(phraseOfCommonWords);

void phraseWithWildcard(benchmark::State& state) {
    const auto patterns = words("shared librar$");
    run(state, [&](IndexView& view) { return view.phrase(kText, patterns); });
}
BENCHMARK(phraseWithWildcard);

void equalPhrase(benchmark::State& state) {
    run(state, [&](IndexView& view) { return view.equal(kName, "bash"); });
}
BENCHMARK(equalPhrase);

void rangeOfIntegersWide(benchmark::State& state) {
    run(state, [&](IndexView& view) {
        return view.range(kSize, Bound{encodeInteger(100), true}, Bound{encodeInteger(5000), true});
    });
}
BENCHMARK(rangeOfIntegersWide);

void rangeOfIntegersNarrow(benchmark::State& state) {
    run(state, [&](IndexView& view) {
        return view.range(kSize, Bound{encodeInteger(100), true}, Bound{encodeInteger(110), true});
    });
}
BENCHMARK(rangeOfIntegersNarrow);

void rangeOfDates(benchmark::State& state) {
    run(state, [&](IndexView& view) {
        return view.range(kDay, Bound{encodeDay(20030101), true}, Bound{encodeDay(20121231), true});
    });
}
BENCHMARK(rangeOfDates);

void matchPhrasePrefix(benchmark::State& state) {
    Pattern value("libg");
    value.addAnyRun();
    const Pattern pattern = phrasePattern(value);
    run(state, [&](IndexView& view) { return view.match(kName, pattern); });
}
BENCHMARK(matchPhrasePrefix);

void live(benchmark::State& state) {
    run(state, [](IndexView& view) { return view.live(); });
}
BENCHMARK(live);

void firstPageOfOrder(benchmark::State& state) {
    IndexView view = Fixture::get().view();
    for (auto _ : state) {
        Result<OrderWalk> walk = view.order(kName, state.range(0) != 0);
        size_t records = 0;
        while (records < 20 && ok(walk->next())) records += walk->records().cardinality();
        benchmark::DoNotOptimize(records);
    }
}
BENCHMARK(firstPageOfOrder)->Arg(0)->Arg(1);

void makeRanks(benchmark::State& state) {
    IndexView view = Fixture::get().view();
    for (auto _ : state) {
        Fixture::get().ranks.clear();
        benchmark::DoNotOptimize(*view.ranks(kName));
    }
}
BENCHMARK(makeRanks);

void placesOfAll(benchmark::State& state) {
    IndexView view = Fixture::get().view();
    const Result<RecordSet> all = view.live();
    std::vector<OrderedRecord> places;
    for (auto _ : state) benchmark::DoNotOptimize(view.places(kName, *all, places));
}
BENCHMARK(placesOfAll);

void setsIntersectArrays(benchmark::State& state) {
    std::vector<RecordNumber> a, b;
    for (RecordNumber n = 1; n < 64000; ++n) {
        if (n % 20 == 0) a.push_back(n);
        if (n % 17 == 0) b.push_back(n);
    }
    const RecordSet x = RecordSet::of(a), y = RecordSet::of(b);
    for (auto _ : state) benchmark::DoNotOptimize(RecordSet::intersection(x, y));
}
BENCHMARK(setsIntersectArrays);

void setsIntersectBitmaps(benchmark::State& state) {
    std::vector<RecordNumber> a, b;
    for (RecordNumber n = 1; n < 64000; ++n) {
        if (n % 3 == 0) a.push_back(n);
        if (n % 4 == 0) b.push_back(n);
    }
    const RecordSet x = RecordSet::of(a), y = RecordSet::of(b);
    for (auto _ : state) benchmark::DoNotOptimize(RecordSet::intersection(x, y));
}
BENCHMARK(setsIntersectBitmaps);

// One commit's worth: a record of the catalogue into a delta that holds up to 4,000 others.
void deltaAdd(benchmark::State& state) {
    Fixture& fixture = Fixture::get();
    auto delta = std::make_shared<Delta>(fixture.fields, 1);
    size_t next = 0;
    size_t bytes = 0;
    for (auto _ : state) {
        if (next % 4000 == 0) delta = std::make_shared<Delta>(fixture.fields, next + 1);
        const std::string& image = fixture.images[next * 7 % fixture.images.size()];
        bytes += image.size();
        const RecordView view = *RecordView::validate(image);
        Delta::Appender appender = delta->append();
        benchmark::DoNotOptimize(appender.add(next + 2, static_cast<RecordNumber>(next + 1), &view));
        appender.advance(next + 2);
        ++next;
    }
    state.counters["record_bytes"] = static_cast<double>(bytes) / static_cast<double>(next);
}
BENCHMARK(deltaAdd);

// A common word while the queue holds changes.
void wordCommonOverDelta(benchmark::State& state) {
    Fixture& fixture = Fixture::get();
    auto delta = std::make_shared<Delta>(fixture.fields, 1);
    for (Position n = 0; n < static_cast<Position>(state.range(0)); ++n) {
        const RecordView view = *RecordView::validate(fixture.images[n * 7]);
        Delta::Appender appender = delta->append();
        benchmark::DoNotOptimize(appender.add(n + 2, static_cast<RecordNumber>(n * 7 + 1), &view));
        appender.advance(n + 2);
    }
    IndexView view = fixture.view(delta);
    const auto pattern = words("library");
    for (auto _ : state) benchmark::DoNotOptimize(view.word(kText, pattern[0]));
}
BENCHMARK(wordCommonOverDelta)->Arg(10)->Arg(1000)->Arg(4000);

// 2,000 changed records into both files (not committed).
void merge(benchmark::State& state) {
    Fixture& fixture = Fixture::get();
    std::vector<IndexChange> changes;
    for (RecordNumber n = 1; n <= 2000; ++n) {
        changes.push_back({n * 30, *RecordView::validate(fixture.images[n * 30 - 1]),
                           *RecordView::validate(fixture.images[n * 30])});
    }
    for (auto _ : state) {
        WriteTxn words = std::move(*fixture.wordFile->write());
        WriteTxn values = std::move(*fixture.valueFile->write());
        if (!ok(mergeWords(words, *fixture.fields, changes, 2)) ||
            !ok(mergeValues(values, *fixture.fields, changes, 2)))
            return state.SkipWithError("status");
        words.abort();
        values.abort();
    }
}
BENCHMARK(merge)->Unit(benchmark::kMillisecond)->Iterations(5);

void bulkBuild(benchmark::State& state) {
    Fixture& fixture = Fixture::get();
    for (auto _ : state) {
        if (!ok(fixture.build(fixture.directory + "/w2", fixture.directory + "/v2")))
            return state.SkipWithError("status");
        state.PauseTiming();
        state.counters["word_MB"] =
            static_cast<double>(std::filesystem::file_size(fixture.directory + "/w2")) / 1e6;
        state.counters["value_MB"] =
            static_cast<double>(std::filesystem::file_size(fixture.directory + "/v2")) / 1e6;
        for (const char* name : {"/w2", "/v2", "/w2-lock", "/v2-lock"})
            std::filesystem::remove(fixture.directory + name);
        state.ResumeTiming();
    }
    state.counters["records"] = static_cast<double>(fixture.images.size());
}
BENCHMARK(bulkBuild)->Unit(benchmark::kMillisecond)->Iterations(3)->MeasureProcessCPUTime()->UseRealTime();

void analyze(benchmark::State& state) {
    std::string text;
    for (const std::string& image : Fixture::get().images) {
        text += RecordView::validate(image)->items(kText).first();
        if (text.size() > (size_t{4} << 20)) break;
    }
    if (state.range(0) == 0) std::erase_if(text, [](char c) { return static_cast<unsigned char>(c) >= 128; });
    Analyzer analyzer;
    size_t letters = 0;
    for (auto _ : state) analyzer.words(text, [&](const Word& word) { letters += word.term.size(); });
    benchmark::DoNotOptimize(letters);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(analyze)->ArgName("high_bytes")->Arg(0)->Arg(1);

void normalizeShort(benchmark::State& state) {
    std::string out;
    for (auto _ : state) {
        out.clear();
        normalizeTo("Debian Packaging Team  <team@example.org>", kNormalizeValue, out);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(normalizeShort);

}  // namespace

BENCHMARK_MAIN();
