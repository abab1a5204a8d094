#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

#include "tests/crash/Rounds.h"
#include "tests/crash/Workload.h"
#include "tests/crash/shim/CrashShim.h"

// Backups are killed at their calls that write, and refused there. The original stays whole; the copy is a
// whole one or cannot be opened, and what is left of it does not keep the next one from another directory.
namespace crash {
namespace {

namespace fs = std::filesystem;

constexpr size_t kPointsInCi = 12;

// What was found in a copy: none, or what it lacks. Copies are opened without making anything.
std::string defectsOfCopy(const std::string& copy, const Contents& contents, bool& present) {
    present = fs::exists(copy + "/system.mdb");
    if (!present) return {};
    Contents found;
    return defects(copy, contents, contents, found);
}

int32_t backup(const std::string& home, const std::string& copy, int64_t at, ShimAction action, int error,
               int64_t& calls) {
    const Session session(home);
    if (session.status() != WDB_OK) return session.status();
    Contents warm;  // whoever opens bases first makes lock files
    if (const int32_t status = readContents(warm); status != WDB_OK) return status;
    const std::string both = fs::path(home).parent_path();
    crashShimWatch(both.c_str(), at, action, error, 0);
    const int32_t status = WdbBackupBase(nullptr, copy.c_str());
    calls = crashShimCount();
    crashShimWatch("", 0, ShimAction::None, 0, 0);
    return status;
}

class BackupTest : public testing::Test {
protected:
    void SetUp() override {
        contents_ = prepare(scratch_ / "prepared");
        fs::create_directory(scratch_ / "work");
        afresh();
        int64_t calls = 0;
        ASSERT_EQ(backup(home_, copy_, 0, ShimAction::None, 0, calls), WDB_OK);
        bool present = false;
        ASSERT_EQ(defectsOfCopy(copy_, contents_, present), "");
        ASSERT_TRUE(present);
        ASSERT_GE(calls, 20) << "files are written, synced, and named";
        calls_ = calls;
    }
    void afresh() {
        copyHome(scratch_ / "prepared", home_);
        fs::remove_all(copy_);
    }

    const Scratch scratch_;
    const std::string home_ = scratch_ / "work/home";
    const std::string copy_ = scratch_ / "work/copy";
    Contents contents_;
    int64_t calls_ = 0;
};

TEST_F(BackupTest, AKilledOneIsWholeOrNone) {
    int whole = 0;
    int none = 0;
    for (const int64_t at : pointsOf(calls_, kPointsInCi)) {
        for (const ShimAction action :
             {ShimAction::KillBefore, ShimAction::KillHalf, ShimAction::KillAfter}) {
            SCOPED_TRACE("call " + std::to_string(at) + " of " + std::to_string(calls_) + ", way " +
                         std::to_string(static_cast<int>(action)));
            afresh();
            Child child([&](int) {
                int64_t calls = 0;
                return backup(home_, copy_, at, action, 0, calls) == WDB_OK ? 0 : 1;
            });
            const int outcome = child.wait();
            EXPECT_TRUE(outcome == -SIGKILL || outcome == 0) << "outcome " << outcome;
            bool present = false;
            EXPECT_EQ(defectsOfCopy(copy_, contents_, present), "");
            EXPECT_TRUE(present || outcome != 0);
            ++(present ? whole : none);
            Contents found;
            EXPECT_EQ(defects(home_, contents_, contents_, found), "") << "the original";
            int64_t calls = 0;
            EXPECT_EQ(backup(home_, scratch_ / "work/other", 0, ShimAction::None, 0, calls), WDB_OK);
            fs::remove_all(scratch_ / "work/other");
        }
    }
    EXPECT_GT(whole, 0);
    EXPECT_GT(none, 10);
}

TEST_F(BackupTest, ARefusedOneLeavesNothingAndCanBeRepeated) {
    int refused = 0;
    for (const int error : {ENOSPC, EIO}) {
        for (const int64_t at : pointsOf(calls_, kPointsInCi)) {
            for (const ShimAction action : {ShimAction::Fail, ShimAction::FailAfter, ShimAction::Short}) {
                SCOPED_TRACE("call " + std::to_string(at) + ", error " + std::to_string(error) + ", way " +
                             std::to_string(static_cast<int>(action)));
                afresh();
                int64_t calls = 0;
                const int32_t status = backup(home_, copy_, at, action, error, calls);
                refused += status != WDB_OK ? 1 : 0;
                bool present = false;
                EXPECT_EQ(defectsOfCopy(copy_, contents_, present), "");
                EXPECT_TRUE(present || status != WDB_OK);
                Contents found;
                EXPECT_EQ(defects(home_, contents_, contents_, found), "") << "the original";
                if (!present) {
                    EXPECT_EQ(backup(home_, copy_, 0, ShimAction::None, 0, calls), WDB_OK);
                }
                EXPECT_EQ(defectsOfCopy(copy_, contents_, present), "");
            }
        }
    }
    EXPECT_GT(refused, 40);
}

}  // namespace
}  // namespace crash
