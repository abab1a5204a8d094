#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/crash/Disk.h"
#include "tests/crash/Rounds.h"
#include "tests/crash/Workload.h"

// wsql imports a file and is killed at its calls that write. When it did not end well the rows are all there
// or none is.
namespace crash {
namespace {

namespace fs = std::filesystem;

constexpr int kRows = 200;
constexpr size_t kPointsInCi = 10;

// Programs and libraries of the build lie around this program.
fs::path built(const char* relative) {
    return fs::canonical(fs::read_symlink("/proc/self/exe").parent_path() / relative);
}

Rows writeCsv(const std::string& path) {
    std::ofstream file(path);
    file << "NAME,NOTE,SIZE\n";
    Rows rows;
    for (int i = 0; i < kRows; ++i) {
        const std::string name = "import" + std::to_string(i);
        const Row row{"word" + std::to_string(i % 7) + " of a file", i * 7 % 1000, ""};
        file << name << "," << row.note << "," << row.size << "\n";
        rows[name] = row;
    }
    return rows;
}

class Import {
public:
    Import(std::string home, std::string csv, std::string trace)
        : home_(std::move(home)), csv_(std::move(csv)), trace_(std::move(trace)) {}

    // The exit code of wsql, or minus the signal that ended it. With a call and an action the shim acts at
    // it, else it traces.
    int run(int64_t at, const char* action) const {
        Child child([&](int) {
            ::setenv("LD_PRELOAD", built("libcrash_shim.so").c_str(), 1);
            ::setenv("WELK_SHIM_DIR", home_.c_str(), 1);
            if (at == 0) ::setenv("WELK_SHIM_TRACE", trace_.c_str(), 1);
            ::setenv("WELK_SHIM_AT", std::to_string(at).c_str(), 1);
            ::setenv("WELK_SHIM_ACTION", action, 1);
            const char* options = std::getenv("ASAN_OPTIONS");
            const std::string given = options == nullptr ? "" : options;
            ::setenv("ASAN_OPTIONS", (given + ":verify_asan_link_order=0").c_str(), 1);
            const std::string command = ".import " + csv_ + " ROWS";
            if (std::freopen("/dev/null", "w", stdout) == nullptr) return 98;
            ::execl(built("../../wsql").c_str(), "wsql", "--data", home_.c_str(), "--user", "OWNER", "-c",
                    command.c_str(), nullptr);
            return 99;
        });
        return child.wait();
    }

    int64_t calls() const { return static_cast<int64_t>(readTrace(trace_).size()); }

private:
    std::string home_;
    std::string csv_;
    std::string trace_;
};

TEST(ImportKill, AKilledImportIsWholeOrAbsent) {
    const Scratch scratch;
    const std::string home = scratch / "home";
    const Contents before = prepare(scratch / "prepared");
    Contents after = before;
    after.bases[0].merge(writeCsv(scratch / "rows.csv"));
    const Import import(home, scratch / "rows.csv", scratch / "trace");
    copyHome(scratch / "prepared", home);
    ASSERT_EQ(import.run(0, "none"), 0);
    Contents found;
    ASSERT_EQ(defects(home, after, after, found), "") << "without a kill";
    const int64_t calls = import.calls();
    ASSERT_GE(calls, 6);
    int kills = 0;
    for (const int64_t at : pointsOf(calls, kPointsInCi)) {
        for (const char* action : {"kill-before", "kill-half", "kill-after"}) {
            copyHome(scratch / "prepared", home);
            const int outcome = import.run(at, action);
            EXPECT_TRUE(outcome == -SIGKILL || outcome == 0) << "outcome " << outcome;
            kills += outcome == -SIGKILL ? 1 : 0;
            EXPECT_EQ(defects(home, outcome == 0 ? after : before, after, found), "")
                << action << " " << at << " of " << calls;
        }
    }
    RecordProperty("kills", kills);
    EXPECT_GE(kills, 18);
}

}  // namespace
}  // namespace crash
