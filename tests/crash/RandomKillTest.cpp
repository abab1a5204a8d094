#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/crash/Rounds.h"
#include "tests/crash/Workload.h"

// A process that inserts, updates, deletes and loads is killed at a random moment. Each statement that it
// acknowledged is there, the one in flight is there whole or not at all, the bases are sound and are searched
// right.
namespace crash {
namespace {

// The statements of one process, the same for parent and child.
class Plan {
public:
    Plan(uint32_t seed, const Contents& contents, int serial)
        : random_(seed), contents_(contents), serial_(serial) {}

    Statement next() { return randomStatement(random_, contents_, ++serial_); }
    void done(const Statement& statement) { statement.expected(contents_); }
    const Contents& contents() const { return contents_; }
    int serial() const { return serial_; }

private:
    Random random_;
    Contents contents_;
    int serial_;
};

int workUntilKilled(const std::string& home, Plan plan, int pipe) {
    const Session session(home);
    if (session.status() != WDB_OK) return 1;
    for (int64_t step = 1;; ++step) {
        const Statement statement = plan.next();
        if (const int32_t status = statement.run(); status != WDB_OK) {
            std::fprintf(stderr, "%s answers %d\n", statement.name.c_str(), status);
            return 2;
        }
        plan.done(statement);
        tell(pipe, step);
    }
}

TEST(RandomKill, KeepsWhatWasAcknowledged) {
    const int rounds = longForm() ? 1000 : 50;
    const Scratch scratch;
    const std::string home = scratch / "home";
    Contents contents = prepare(home);
    Random random(20261121);
    int serial = 1000;
    int64_t acknowledged = 0;
    int whole = 0;
    for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
        Plan plan(static_cast<uint32_t>(round), contents, serial);
        Child child([&](int pipe) { return workUntilKilled(home, plan, pipe); });
        int64_t steps = 0;
        const int64_t enough = random() % 12;
        int64_t step = 0;
        while (steps < enough && child.read(step)) steps = step;
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
        child.kill();
        ASSERT_EQ(child.wait(), -SIGKILL) << "the child gave up";
        while (child.read(step)) steps = step;
        for (int64_t i = 0; i < steps; ++i) plan.done(plan.next());
        const Contents before = plan.contents();
        const Statement inFlight = plan.next();
        plan.done(inFlight);
        Contents found;
        EXPECT_EQ(defects(home, before, plan.contents(), found), "")
            << "round " << round << " after " << steps << " statements, in flight: " << inFlight.name;
        whole += found == plan.contents() ? 1 : 0;
        acknowledged += steps;
        contents = found;
        serial = plan.serial();
        if (contents.bases[0].size() > 300) {  // so that a round takes as long as the first ones did
            std::filesystem::remove_all(home);
            contents = prepare(home);
        }
    }
    RecordProperty("acknowledged", static_cast<int>(acknowledged));
    RecordProperty("whole", whole);
    EXPECT_GT(acknowledged, rounds);
}

}  // namespace
}  // namespace crash
