// Writes the same to this engine and to SQLite FTS5 and prints what it took: `compare_writing FOLDER`, where
// FOLDER holds the packages.csv of a collection. See bench/compare/run-writing.
#include <sys/stat.h>

#include <algorithm>
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
constexpr int kRounds = 5;      // of changes by a condition
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

void measure(const std::string& folder, std::unique_ptr<Writer> (*open)(const std::string&),
             const std::vector<Package>& packages, const std::vector<Range>& ranges, size_t column,
             std::vector<Line>& table) {
    const auto take = [&](size_t line, double value, long long count) {
        table[line].value[column] = value;
        table[line].count[column] = count;
    };
    auto writer = open(folder);
    long long found = 0;
    const double loading = micros([&] {
        writer->load(packages);
        found = writer->found("library");
    });
    take(0, loading, found);
    std::vector<double> inserts, searches;
    for (int i = 0; i < kInserts; ++i) {
        Package package = packages[static_cast<size_t>(i) * 7];
        package.name = "zzfresh" + std::to_string(i);
        package.description += " zzword" + std::to_string(i);
        inserts.push_back(micros([&] { writer->insert(package); }));
        searches.push_back(inserts.back() +
                           micros([&] { found = writer->found("zzword" + std::to_string(i)); }));
        if (found != 1) die("an inserted record is not found");
    }
    take(2, median(inserts), kInserts);
    take(3, median(searches), kInserts);
    std::vector<double> times[3];
    long long counts[3] = {0, 0, 0};
    for (int round = 0; round < kRounds; ++round) {
        for (int kind = 0; kind < 3; ++kind) {
            const Range& range = ranges[static_cast<size_t>(round)];
            const std::string text = "A text that was written anew in round " + std::to_string(round) +
                                     ", with some twenty words that are like those of a description, so that "
                                     "both indexes have to be changed.";
            times[kind].push_back(micros([&] {
                counts[kind] += kind == 0
                                    ? writer->setVersion(range.low, range.high, "9." + std::to_string(round))
                                : kind == 1 ? writer->setDescription(range.low, range.high, text)
                                            : writer->erase(range.low, range.high);
            }));
        }
    }
    for (size_t kind = 0; kind < 3; ++kind) take(4 + kind, median(times[kind]), counts[kind]);
    take(7, static_cast<double>(writer->close()), 0);
    writer.reset();
    writer = open(folder);
    writer->load(packages);
    take(1, static_cast<double>(writer->close()), 0);
    writer.reset();
    std::filesystem::remove_all(folder);
}

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
    const auto ranges = compare::rangesOf(packages, compare::kRounds);
    auto table = compare::lines();
    compare::measure(folder + "/writing-sqlite", compare::writeSqlite, packages, ranges, 1, table);
    compare::measure(folder + "/writing-own", compare::writeOwn, packages, ranges, 0, table);
    std::printf("%zu records\n", packages.size());
    compare::print(table);
    return 0;
}
