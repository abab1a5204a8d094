#include <gtest/gtest.h>

#include <filesystem>

#include "tests/crash/Disk.h"
#include "tests/crash/Rounds.h"
#include "tests/crash/Workload.h"
#include "tests/crash/shim/CrashShim.h"

// The writing calls of a process are traced and replayed onto a disk that loses what was not synced, in part
// or whole. Whatever is left, every statement that was acknowledged by then is there.
namespace crash {
namespace {

namespace fs = std::filesystem;

// The mark of a statement that begins is even, the one of its acknowledgement odd.
int workTraced(const std::string& home, const std::string& trace, const std::vector<Statement>& statements) {
    const Session session(home);
    if (session.status() != WDB_OK) return 1;
    for (size_t i = 0; i < statements.size(); ++i) {
        if (const int32_t status = statements[i].run(); status != WDB_OK) {
            std::fprintf(stderr, "%s answers %d\n", statements[i].name.c_str(), status);
            return 2;
        }
        crashShimMark(i + 1);
    }
    crashShimTrace("");
    return fs::exists(trace) ? 0 : 3;
}

constexpr Loss kLosses[] = {
    {1, 4096, 0},
    {2, 4096, 50},
    {3, 512, 50},
    {4, 512, 90},
    {5, 4096, 100},
    {6, 512, 10},
    // The page that names a state without the state, and the other way round; and all but some of both.
    {7, 4096, 100, Spared::Names},
    {8, 4096, 100, Spared::Others},
    {9, 4096, 95},
};

class Replay {
public:
    Replay(const Scratch& scratch, Disk disk, Contents before, std::vector<Statement> statements)
        : scratch_(scratch),
          disk_(std::move(disk)),
          before_(std::move(before)),
          statements_(std::move(statements)) {
        after_ = before_;
        next();
    }

    // Loses the power before the calls of some moments, and while they run.
    void run(const std::vector<TraceEvent>& events) {
        const std::vector<int64_t> moments = pointsOf(static_cast<int64_t>(events.size()), 70);
        auto moment = moments.begin();
        for (size_t i = 0; i < events.size() && !testing::Test::HasFailure(); ++i) {
            const TraceEvent& event = events[i];
            if (event.header.kind == TraceKind::Mark) {
                before_ = after_;
                next();
            }
            const bool chosen = moment != moments.end() && *moment == static_cast<int64_t>(i) + 1;
            if (chosen) ++moment;
            if (chosen) lose(i);
            if (chosen && event.header.synchronous != 0) {
                TraceEvent begun = event;
                begun.header.synchronous = 0;
                disk_.apply(begun);
                lose(i);
            }
            disk_.apply(event);
        }
        lose(events.size());
    }
    int losses() const { return losses_; }

private:
    void next() {
        if (done_ < statements_.size()) statements_[done_++].expected(after_);
    }

    void lose(size_t event) {
        const size_t ways = longForm() ? std::size(kLosses) : 2;
        for (size_t way = 0; way < ways; ++way) {
            Loss loss = kLosses[(event + way) % std::size(kLosses)];
            loss.seed += static_cast<uint32_t>(event) * 100;
            disk_.writeImage(scratch_ / "image", loss);
            Child child([&](int) {
                Contents found;
                const std::string wrong = defects(scratch_ / "image", before_, after_, found);
                if (!wrong.empty()) std::fprintf(stderr, "%s", wrong.c_str());
                return wrong.empty() ? 0 : 1;
            });
            ++losses_;
            EXPECT_EQ(child.wait(), 0)
                << "power lost before call " << event << ", " << loss.percent << " percent in pieces of "
                << loss.sector << ", seed " << loss.seed << ", statement " << statements_[done_ - 1].name;
        }
    }

    const Scratch& scratch_;
    Disk disk_;
    Contents before_;
    Contents after_;
    std::vector<Statement> statements_;
    size_t done_ = 0;
    int losses_ = 0;
};

std::vector<Statement> statementsOf(uint32_t seed, Contents contents) {
    std::vector<Statement> statements;
    Random random(seed);
    const auto add = [&](Statement statement) {
        statement.expected(contents);
        statements.push_back(std::move(statement));
    };
    for (int i = 0; i < 10; ++i) add(randomStatement(random, contents, 500 + i));
    add(rebuildIndex(0));
    add(bulkLoad("bulk", 2100));
    for (Statement& statement : queueFilling()) add(std::move(statement));
    for (int i = 0; i < 4; ++i) add(randomStatement(random, contents, 600 + i));
    return statements;
}

TEST(PowerLoss, KeepsWhatWasAcknowledged) {
    int losses = 0;
    for (uint32_t seed = 1; seed <= (longForm() ? 4 : 1); ++seed) {
        const Scratch scratch;
        const Contents before = prepare(scratch / "prepared");
        const std::vector<Statement> statements = statementsOf(seed, before);
        copyHome(scratch / "prepared", scratch / "work");
        Disk disk(scratch / "work");
        Child child([&](int) {
            crashShimWatch((scratch / "work").c_str(), 0, ShimAction::None, 0, 0);
            crashShimTrace((scratch / "trace").c_str());
            return workTraced(scratch / "work", scratch / "trace", statements);
        });
        ASSERT_EQ(child.wait(), 0);
        Replay replay(scratch, std::move(disk), before, statements);
        replay.run(readTrace(scratch / "trace"));
        losses += replay.losses();
    }
    RecordProperty("losses", losses);
    EXPECT_GT(losses, 100);
}

}  // namespace
}  // namespace crash
