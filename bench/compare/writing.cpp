// Writes the same to this engine and to SQLite FTS5 and prints what it took: `compare_writing FOLDER`, where
// FOLDER holds the packages.csv of a collection. See bench/compare/run-writing.
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/compare/Csv.h"
#include "bench/compare/Writer.h"

namespace compare {

void die(const std::string& what) {
    std::fprintf(stderr, "compare_writing: %s\n", what.c_str());
    std::exit(1);
}

long long bytesOf(const std::string& folder) {
    long long bytes = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        struct stat info {};
        if (::stat(entry.path().c_str(), &info) == 0) bytes += info.st_blocks * 512;
    }
    return bytes;
}

namespace {

constexpr int kInserts = 300;
constexpr int kLoads = 4;  // and one more, of a collection of few records; else two
constexpr size_t kFew = 200000;
constexpr int kRounds = 9;      // of changes by a condition
constexpr size_t kMany = 1000;  // records of each

std::vector<Package> readPackages(const std::string& path) {
    CsvReader file(path);
    if (!file.opened()) die("cannot read " + path);
    std::vector<Package> packages;
    std::vector<std::string> fields;
    while (file.row(fields))
        packages.push_back({fields[0], fields[1], fields[2], std::atoll(fields[3].c_str()), fields[4], {}});
    return packages;
}

struct Range {
    long long low;
    long long high;
};

// Ranges of sizes with about so many records each, none in two of them.
std::vector<Range> rangesOf(const std::vector<Package>& packages, size_t count) {
    std::vector<long long> sizes;
    for (const Package& package : packages) sizes.push_back(package.size);
    std::sort(sizes.begin(), sizes.end());
    std::vector<Range> ranges;
    size_t at = sizes.size() / 3;
    while (ranges.size() < count && at + 2 * kMany < sizes.size()) {
        const long long low = sizes[at];
        long long high = sizes[at + kMany - 1];
        ranges.push_back({low, high});
        at = static_cast<size_t>(std::upper_bound(sizes.begin(), sizes.end(), high) - sizes.begin());
    }
    if (ranges.size() < count) die("the collection is too small");
    return ranges;
}

template <typename Work>
double micros(Work&& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

struct Line {
    const char* what;
    double bar;  // how far ahead of SQLite, in times of its figure; below 1: it may be behind
    double value[2] = {0, 0};
    long long count[2] = {0, 0};
};

std::vector<Line> lines() {
    return {{"bulk load, searchable and durable", 1.4},
            {"size on disk after it", 1 / 1.2},
            {"durable INSERT", 1 / 1.5},
            {"durable INSERT and the SELECT that finds it", 1 / 1.5},
            {"UPDATE of 1,000, a short column", 1},
            {"UPDATE of 1,000, the text", 1},
            {"DELETE of 1,000", 1},
            {"size on disk at the end", 1 / 1.2}};
}

// Both writers side by side: each step is done by one and then by the other, the order changes from time to
// time, so that a machine whose speed changes is the same for both.
class Comparison {
public:
    Comparison(std::string folder, const std::vector<Package>& packages, std::vector<Line>& table)
        : folder_(std::move(folder)), packages_(packages), table_(table) {}

    void run() {
        loads();
        inserts();
        changes();
        for (size_t side = 0; side < 2; ++side)
            take(7, side, static_cast<double>(writers_[side]->close()), 0);
        writers_ = {};
        for (size_t side = 0; side < 2; ++side) std::filesystem::remove_all(folderOf(side));
    }

private:
    std::string folderOf(size_t side) const {
        return folder_ + (side == 0 ? "/writing-own" : "/writing-sqlite");
    }
    std::unique_ptr<Writer> open(size_t side) const {
        return side == 0 ? writeOwn(folderOf(side)) : writeSqlite(folderOf(side));
    }
    void take(size_t line, size_t side, double value, long long count) {
        table_[line].value[side] = value;
        table_[line].count[side] = count;
    }
    template <typename Work>
    static void inTurn(int round, Work&& work) {
        for (const size_t side : {static_cast<size_t>(round % 2), static_cast<size_t>((round + 1) % 2)})
            work(side);
    }

    // The size is that of the first load, whose files are closed; the last one's stay open for the rest.
    void loads() {
        const int rounds = packages_.size() > kFew ? 1 : kLoads;
        std::vector<double> times[2];
        for (int round = 0; round <= rounds; ++round) {
            inTurn(round, [&](size_t side) {
                writers_[side] = open(side);
                long long found = 0;
                const double time = micros([&] {
                    writers_[side]->load(packages_);
                    found = writers_[side]->found("library");
                });
                times[side].push_back(time);
                take(0, side, median(times[side]), found);
                if (round == 0) take(1, side, static_cast<double>(writers_[side]->close()), 0);
                if (round < rounds) writers_[side].reset();
            });
        }
    }

    void inserts() {
        std::vector<double> inserted[2], searched[2];
        for (int i = 0; i < kInserts; ++i) {
            const std::string number = std::to_string(i);
            Package package = packages_[static_cast<size_t>(i) * 7];
            package.name = "zzfresh" + number;
            package.description += " zzword" + number;
            inTurn(i, [&](size_t side) {
                long long found = 0;
                inserted[side].push_back(micros([&] { writers_[side]->insert(package); }));
                searched[side].push_back(inserted[side].back() +
                                         micros([&] { found = writers_[side]->found("zzword" + number); }));
                if (found != 1) die("an inserted record is not found");
            });
        }
        for (size_t side = 0; side < 2; ++side) {
            take(2, side, median(inserted[side]), kInserts);
            take(3, side, median(searched[side]), kInserts);
        }
    }

    void changes() {
        const std::vector<Range> ranges = rangesOf(packages_, kRounds);
        std::vector<double> times[3][2];
        long long counts[3][2] = {};
        for (int round = 0; round < kRounds; ++round) {
            for (size_t kind = 0; kind < 3; ++kind) {
                inTurn(round, [&](size_t side) {
                    times[kind][side].push_back(micros([&] {
                        counts[kind][side] +=
                            change(*writers_[side], kind, ranges[static_cast<size_t>(round)], round);
                    }));
                });
            }
        }
        for (size_t kind = 0; kind < 3; ++kind)
            for (size_t side = 0; side < 2; ++side)
                take(4 + kind, side, median(times[kind][side]), counts[kind][side]);
    }

    static long long change(Writer& writer, size_t kind, const Range& range, int round) {
        if (kind == 0) return writer.setVersion(range.low, range.high, "9." + std::to_string(round));
        if (kind == 2) return writer.erase(range.low, range.high);
        return writer.setDescription(range.low, range.high,
                                     "A text that was written anew in round " + std::to_string(round) +
                                         ", with some twenty words that are like those of a description, so "
                                         "that both indexes have to be changed.");
    }

    const std::string folder_;
    const std::vector<Package>& packages_;
    std::vector<Line>& table_;
    std::array<std::unique_ptr<Writer>, 2> writers_;
};

void print(const std::vector<Line>& table) {
    std::printf("%-46s %14s %14s %8s %8s\n", "microseconds (bytes for sizes)", "WELKsql", "SQLite FTS5",
                "ahead", "bar");
    for (const Line& line : table) {
        std::printf("%-46s %14.0f %14.0f %7.2fx %7.2fx%s%s\n", line.what, line.value[0], line.value[1],
                    line.value[1] / line.value[0], line.bar,
                    line.value[1] / line.value[0] >= line.bar ? "" : "  missed",
                    line.count[0] == line.count[1] ? "" : "  COUNTS DIFFER");
    }
}

}  // namespace
}  // namespace compare

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: compare_writing FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    const auto packages = compare::readPackages(folder + "/packages.csv");
    auto table = compare::lines();
    compare::Comparison(folder, packages, table).run();
    std::printf("%zu records\n", packages.size());
    compare::print(table);
    return 0;
}
