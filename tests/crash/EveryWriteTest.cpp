#include <gtest/gtest.h>
#include <signal.h>

#include "tests/crash/Rounds.h"
#include "tests/crash/Sql.h"
#include "tests/crash/Workload.h"
#include "tests/crash/shim/CrashShim.h"

// One statement of each kind is killed at each of its calls that write: before it, in its middle, after it.
namespace crash {
namespace {

// Runs the statement in a process of its own under the shim; tells the number of its writing calls when it
// is acknowledged.
int runWatched(const std::string& home, const Statement& statement, int64_t at, ShimAction action, int pipe) {
    const Session session(home);
    if (session.status() != WDB_OK) return 1;
    crashShimWatch(home.c_str(), at, action, 0, 0);
    const int32_t status = statement.run();
    const int64_t count = crashShimCount();
    crashShimWatch("", 0, ShimAction::None, 0, 0);
    if (status != WDB_OK) return 2;
    tell(pipe, count);
    return 0;
}

// Kills the statement everywhere, each time on a fresh copy of the prepared home.
int killEverywhere(const std::string& prepared, const std::string& home, const Contents& before,
                   const Statement& statement) {
    Contents after = before;
    statement.expected(after);
    copyHome(prepared, home);
    int64_t calls = 0;
    {
        Child whole([&](int pipe) { return runWatched(home, statement, 0, ShimAction::None, pipe); });
        EXPECT_TRUE(whole.read(calls)) << statement.name;
        EXPECT_EQ(whole.wait(), 0) << statement.name;
    }
    EXPECT_GE(calls, 3) << statement.name << " writes its pages, syncs, and names the new state";
    int kills = 0;
    for (int64_t at = 1; at <= calls; ++at) {
        for (const ShimAction action :
             {ShimAction::KillBefore, ShimAction::KillHalf, ShimAction::KillAfter}) {
            copyHome(prepared, home);
            Child child([&](int pipe) { return runWatched(home, statement, at, action, pipe); });
            int64_t told = 0;
            const bool acknowledged = child.read(told);
            const int outcome = child.wait();
            EXPECT_TRUE(outcome == -SIGKILL || (acknowledged && outcome == 0))
                << statement.name << " at " << at << ": outcome " << outcome;
            kills += outcome == -SIGKILL ? 1 : 0;
            Contents found;
            EXPECT_EQ(defects(home, acknowledged ? after : before, after, found), "")
                << statement.name << " killed at call " << at << " of " << calls << ", way "
                << static_cast<int>(action);
            if (testing::Test::HasFailure()) return kills;
        }
    }
    return kills;
}

TEST(EveryWrite, AKilledStatementIsWholeOrAbsent) {
    const Scratch scratch;
    const Contents before = prepare(scratch / "prepared");
    int kills = 0;
    for (const Statement& statement : everyKind()) {
        kills += killEverywhere(scratch / "prepared", scratch / "home", before, statement);
        if (HasFailure()) break;
    }
    RecordProperty("kills", kills);
    EXPECT_GT(kills, 100);
}

// A load that is large enough to make new index files, and the insert that fills the queue, so that its
// commit is followed by a merge.
TEST(EveryWrite, AKilledBulkLoadOrMergeIsWholeOrAbsent) {
    const Scratch scratch;
    Contents before = prepare(scratch / "prepared");
    const Statement load = bulkLoad("bulk", 2100);
    EXPECT_GE(killEverywhere(scratch / "prepared", scratch / "home", before, load), 20);
    std::vector<Statement> filling = queueFilling();
    const Statement last = filling.back();
    filling.pop_back();
    {
        const Session session(scratch / "prepared");
        for (const Statement& part : filling) {
            ASSERT_EQ(part.run(), WDB_OK) << part.name;
            part.expected(before);
        }
    }
    EXPECT_GE(killEverywhere(scratch / "prepared", scratch / "home", before, last), 20);
}

}  // namespace
}  // namespace crash
