#include <gtest/gtest.h>

#include <cerrno>

#include "tests/crash/Rounds.h"
#include "tests/crash/Sql.h"
#include "tests/crash/Workload.h"
#include "tests/crash/shim/CrashShim.h"
#include "tests/model/WithoutThreads.h"

// A writing or syncing call of a statement fails, once or from then on. The statement answers it, what was
// acknowledged before stays and can be read meanwhile, and the same session works on when the error is gone.
namespace crash {
namespace {

constexpr size_t kPointsInCi = 12;  // per statement and kind of error

struct Fault {
    const char* name;
    ShimAction action;
    int error;
    bool lasting;
};

constexpr Fault kFaults[] = {
    {"disk full once", ShimAction::Fail, ENOSPC, false},
    {"disk full", ShimAction::Fail, ENOSPC, true},
    {"I/O error once", ShimAction::Fail, EIO, false},
    {"I/O error", ShimAction::Fail, EIO, true},
    {"I/O error after the write", ShimAction::FailAfter, EIO, false},
    {"I/O errors after the writes", ShimAction::FailAfter, EIO, true},
    {"short write once", ShimAction::Short, ENOSPC, false},
    {"short writes", ShimAction::Short, ENOSPC, true},
};

// What went wrong around one fault, empty when nothing did. `calls` gets the number of calls of the
// statement.
std::string meetFault(const std::string& home, const Contents& before, const Statement& statement, int64_t at,
                      const Fault& fault, int64_t& calls, bool& refused) {
    Contents after = before;
    statement.expected(after);
    Contents found;
    {
        const Session session(home);
        if (session.status() != WDB_OK) return "open answers " + std::to_string(session.status());
        Contents here;  // with both bases open: whoever opens the first time makes lock files
        if (readContents(here) != WDB_OK || !(here == before)) return "the home is not as it was prepared";
        crashShimWatch(home.c_str(), at, fault.action, fault.error, fault.lasting ? 1 : 0);
        const int32_t status = statement.run();
        calls = crashShimCount();
        Contents meanwhile;
        const int32_t reading = readContents(meanwhile);
        crashShimWatch("", 0, ShimAction::None, 0, 0);
        refused = status != WDB_OK;
        if (reading != WDB_OK) return "reading meanwhile answers " + std::to_string(reading);
        Contents lowest = refused ? before : after;
        const bool halfAllowed = refused && statement.severalBases;
        if (!halfAllowed && !(meanwhile == lowest) && !(meanwhile == after))
            return "what is read meanwhile is neither before nor after";
        std::string wrong = halfAllowed ? "" : defectsHere(lowest, after, found);
        if (!halfAllowed && !(meanwhile == found)) wrong += "what was read meanwhile was something else\n";
        if (!wrong.empty()) return wrong;
        if (!halfAllowed) lowest = after = found;
        Random random(5);
        const Statement later = randomStatement(random, {}, 999999);
        if (const int32_t again = later.run(); again != WDB_OK)
            return "the session answers " + std::to_string(again) + " when the error is gone";
        later.expected(lowest);
        later.expected(after);
        wrong = defectsHere(lowest, after, found);
        if (!wrong.empty()) return "after the next statement: " + wrong;
    }
    Contents last;
    return defects(home, found, found, last);
}

int meetFaults(const std::string& prepared, const std::string& home, const Contents& before,
               const Statement& statement, int pipe) {
    int64_t calls = 0;
    bool refused = false;
    copyHome(prepared, home);
    const std::string plain =
        meetFault(home, before, statement, 0, {"", ShimAction::None, 0, false}, calls, refused);
    if (!plain.empty() || refused) {
        std::fprintf(stderr, "%s without a fault: %s\n", statement.name.c_str(), plain.c_str());
        return 1;
    }
    const int64_t total = calls;
    int64_t met = 0;
    int64_t refusals = 0;
    for (const Fault& fault : kFaults) {
        for (const int64_t at : pointsOf(total, kPointsInCi)) {
            copyHome(prepared, home);
            const std::string wrong = meetFault(home, before, statement, at, fault, calls, refused);
            ++met;
            refusals += refused ? 1 : 0;
            if (wrong.empty()) continue;
            std::fprintf(stderr, "%s, %s at call %lld of %lld (%s): %s\n", statement.name.c_str(), fault.name,
                         static_cast<long long>(at), static_cast<long long>(total),
                         refused ? "refused" : "acknowledged", wrong.c_str());
            return 2;
        }
    }
    tell(pipe, met);
    tell(pipe, refusals);
    return 0;
}

TEST(Errors, AreAnsweredAndForgottenWhenTheyAreGone) {
    const Scratch scratch;
    const Contents before = prepare(scratch / "prepared");
    int64_t all = 0;
    for (const Statement& statement : everyKind()) {
        Child child(
            [&](int pipe) {
                return meetFaults(scratch / "prepared", scratch / "home", before, statement, pipe);
            },
            500);
        int64_t met = 0;
        int64_t refusals = 0;
        child.read(met);
        child.read(refusals);
        EXPECT_EQ(child.wait(), 0) << statement.name;
        EXPECT_GT(refusals, 0) << statement.name;
        all += met;
    }
    RecordProperty("faults", static_cast<int>(all));
}

// Loads, the index files that they end with, merges that build anew, and the index job do what they have to.
TEST(Errors, WithoutThreadsTheWorkIsDoneAllTheSame) {
    const Scratch scratch;
    const std::string home = scratch / "home";
    const Contents before = prepare(home);
    Child child([&](int) {
        if (!withoutThreads(scratch / ".")) return 3;
        const Session session(home);
        Contents after = before;
        std::vector<Statement> statements = queueFilling();
        statements.push_back(bulkLoad("bulk", 2100));
        for (const Statement& statement : statements) {
            const int32_t status = statement.run();
            if (status != WDB_OK) {
                std::fprintf(stderr, "%s answers %d\n", statement.name.c_str(), status);
                return 2;
            }
            statement.expected(after);
        }
        Contents found;
        const std::string wrong = defectsHere(after, after, found);
        std::fputs(wrong.c_str(), stderr);
        return wrong.empty() ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
}

}  // namespace
}  // namespace crash
