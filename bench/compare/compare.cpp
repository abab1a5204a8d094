// Asks the same queries of all engines and prints a table.
//
//   compare load sqlite|xapian|postgres FOLDER    reads the collection's CSV files into FOLDER
//   compare run [--prepared] small|large FOLDER [KEY...]    measures; with keys only those lines of the
//   table.
//       --prepared: the others' statements are prepared, and their rows are read and not written as documents
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "bench/compare/Engine.h"

namespace compare {

void die(const std::string& what) {
    std::fprintf(stderr, "compare: %s\n", what.c_str());
    std::exit(1);
}

namespace {

using Clock = std::chrono::steady_clock;

// How long a cell of the table is measured: rounds over all arguments, at least two.
constexpr double kSeconds = 0.5;
constexpr int kLeastRounds = 2;
constexpr double kLongest = 8;  // no new round after these seconds
// The engines take turns of so many seconds, or a round: a machine whose speed changes is the same for all.
constexpr double kTurn = 0.02;

struct Cell {
    bool answered = false;
    double microseconds = 0;  // median of all calls
    std::vector<long long> totals;
};

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// One engine's part of a line.
class Measure {
public:
    // The first round warms up and is not counted.
    Measure(Engine& engine, const std::vector<Query>& queries) : engine_(engine), queries_(queries) {
        if (queries.empty() || !engine.prepare(queries[0].kind)) return;
        cell_.answered = true;
        for (const Query& query : queries) cell_.totals.push_back(engine.answer(query).total);
    }
    bool done() const {
        return !cell_.answered || seconds_ >= kLongest || (rounds_ >= kLeastRounds && seconds_ >= kSeconds);
    }
    void turn() {
        const Clock::time_point start = Clock::now();
        do {
            for (const Query& query : queries_) answer(query);
            ++rounds_;
        } while (secondsSince(start) < kTurn);
        seconds_ += secondsSince(start);
    }
    Cell result() {
        if (!times_.empty()) {
            const auto middle = times_.begin() + static_cast<ptrdiff_t>(times_.size() / 2);
            std::nth_element(times_.begin(), middle, times_.end());
            cell_.microseconds = *middle;
        }
        return cell_;
    }

private:
    void answer(const Query& query) {
        const Clock::time_point before = Clock::now();
        const Answer answer = engine_.answer(query);
        times_.push_back(secondsSince(before) * 1e6);
        if (answer.total > 0 && answer.rows == 0) die(std::string(engine_.name()) + " delivered no rows");
    }

    Engine& engine_;
    const std::vector<Query>& queries_;
    Cell cell_;
    std::vector<double> times_;
    int rounds_ = 0;
    double seconds_ = 0;
};

std::string timeText(const Cell& cell) {
    char text[32] = "-";
    if (cell.answered)
        std::snprintf(text, sizeof text, "%.*f", cell.microseconds < 100 ? 1 : 0, cell.microseconds);
    return text;
}

// "n of m differ" when the engine's totals are not ours.
std::string differences(const Cell& ours, const Cell& other) {
    size_t count = 0;
    for (size_t i = 0; i < other.totals.size(); ++i) count += other.totals[i] != ours.totals[i] ? 1 : 0;
    return count == 0
               ? ""
               : std::to_string(count) + " of " + std::to_string(other.totals.size()) + " totals differ";
}

class Table {
public:
    Table(const std::string& folder, bool large, Way way) : folder_(folder), large_(large) {
        engines_.push_back(openOwn(folder));
        // Those that were not loaded are left out.
        if (loaded("sqlite")) engines_.push_back(openSqlite(folder, way));
        for (const bool ranked : {false, true})
            if (loaded("xapian")) engines_.push_back(openXapian(folder, way, ranked));
        if (loaded("postgres")) engines_.push_back(openPostgres(folder, way));
    }

    void header() const {
        std::printf("%-36s %9s |", "query, microseconds (median)", "goal");
        for (const auto& engine : engines_) std::printf(" %11s", engine->name());
        std::printf(" | %6s %6s  %s\n", "ahead", "bar", "remarks");
    }

    // True when goal and bar are reached (or there is nothing to compare).
    void line(const QueryKind& kind) {
        const std::vector<Query> queries = readQueries(folder_ + "/arguments.tsv", kind);
        std::vector<Measure> measures;
        for (const auto& engine : engines_) measures.emplace_back(*engine, queries);
        for (bool working = true; working;) {
            working = false;
            for (Measure& one : measures) {
                if (one.done()) continue;
                one.turn();
                working = true;
            }
        }
        std::vector<Cell> cells;
        for (Measure& one : measures) cells.push_back(one.result());
        const double goal = large_ ? kind.goalLarge : kind.goalSmall;
        std::printf("%-36s %9s |", kind.label, goal > 0 ? number(goal, 0).c_str() : "-");
        double best = INFINITY;
        std::string remarks;
        for (size_t i = 0; i < cells.size(); ++i) {
            std::printf(" %11s", timeText(cells[i]).c_str());
            if (i == 0 || !cells[i].answered || !engines_[i]->deliversTheSame()) continue;
            best = std::min(best, cells[i].microseconds);
            const std::string differ = cells[0].answered ? differences(cells[0], cells[i]) : "";
            if (!differ.empty())
                remarks += std::string(remarks.empty() ? "" : "; ") + engines_[i]->name() + ": " + differ;
        }
        const bool compared = cells[0].answered && std::isfinite(best);
        const double ahead = compared ? best / cells[0].microseconds : 0;
        if (cells[0].answered && goal > 0 && cells[0].microseconds > goal)
            remarks = "over the goal" + (remarks.empty() ? "" : "; " + remarks);
        if (compared && kind.ahead > 0 && ahead < kind.ahead)
            remarks = "below the bar" + (remarks.empty() ? "" : "; " + remarks);
        std::printf(" | %6s %6s  %s\n", compared ? number(ahead, 2).c_str() : "-",
                    kind.ahead > 0 ? number(kind.ahead, 2).c_str() : "-", remarks.c_str());
        std::fflush(stdout);
    }

private:
    // The script leaves a file when an engine's loading is complete.
    bool loaded(const char* engine) const {
        return std::filesystem::exists(folder_ + "/" + engine + ".done");
    }
    static std::string number(double value, int digits) {
        char text[32];
        std::snprintf(text, sizeof text, "%.*f", digits, value);
        return text;
    }

    std::string folder_;
    bool large_;
    std::vector<std::unique_ptr<Engine>> engines_;
};

int usage() {
    std::fprintf(stderr,
                 "usage: compare load sqlite|xapian|postgres FOLDER\n"
                 "       compare run [--prepared] small|large FOLDER [KEY...]\n");
    return 2;
}

int load(const std::string& engine, const std::string& folder) {
    const std::map<std::string, void (*)(const std::string&)> loaders = {
        {"sqlite", loadSqlite}, {"xapian", loadXapian}, {"postgres", loadPostgres}};
    const auto loader = loaders.find(engine);
    if (loader == loaders.end()) return usage();
    const Clock::time_point start = Clock::now();
    loader->second(folder);
    std::printf("%s: loaded in %.1f s\n", engine.c_str(), secondsSince(start));
    return 0;
}

}  // namespace

}  // namespace compare

int main(int argc, char** argv) {
    using namespace compare;
    if (argc < 4) return usage();
    if (std::strcmp(argv[1], "load") == 0) return load(argv[2], argv[3]);
    if (std::strcmp(argv[1], "run") != 0) return usage();
    const Way way = std::strcmp(argv[2], "--prepared") == 0 ? Way::Prepared : Way::Text;
    if (way == Way::Prepared) {
        ++argv;
        if (--argc < 4) return usage();
    }
    const bool large = std::strcmp(argv[2], "large") == 0;
    if (!large && std::strcmp(argv[2], "small") != 0) return usage();
    Table table(argv[3], large, way);
    table.header();
    for (const QueryKind& kind : kQueries) {
        const bool wanted = argc == 4 || std::any_of(argv + 4, argv + argc, [&](const char* key) {
                                return std::strcmp(key, kind.key) == 0;
                            });
        if (wanted) table.line(kind);
    }
    return 0;
}
