#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "tests/model/Home.h"

// Sessions side by side: in threads of one process, and in processes on one directory. Nothing is lost,
// nothing is seen twice, and a reader never sees less than before.
namespace model {
namespace {

constexpr int kRowsPerWriter = 60;

int insertRows(int writer) {
    for (int row = 0; row < kRowsPerWriter; ++row) {
        WdbRecordControl* control = nullptr;
        if (!WDB_SUCCESS(WdbCreateRecordControl(&control))) return 1;
        if (!WDB_SUCCESS(WdbSetBase(control, "ROWS", WDB_MODE_WRITE))) return 2;
        const std::string name = "w" + std::to_string(writer) + "r" + std::to_string(row);
        if (!WDB_SUCCESS(putItem(control, 1, 0, name))) return 3;
        if (!WDB_SUCCESS(putItem(control, 2, 0, "common text of " + name))) return 4;
        int32_t number = 0;
        if (!WDB_SUCCESS(WdbPutRecord(control, &number))) return 5;
        WdbDeleteRecordControl(&control);
        if (row % 20 == 19 && !WDB_SUCCESS(WdbBatchLoadIndex(2, "ROWS", ""))) return 6;
    }
    return 0;
}

// Searches until the given number of rows is there; 0 when the count never fell on the way.
int readUntil(size_t rows) {
    int32_t status = 0;
    WdbExecuteCcl("DEFINE FIND MIN=0", &status);
    WdbExecuteCcl("BASE ROWS", &status);
    size_t seen = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (int round = 0; seen < rows && std::chrono::steady_clock::now() < deadline; ++round) {
        const auto hits = find("NOTE=common text");
        if (!hits.empty() && hits.front() < 0) return 1;
        if (hits.size() < seen) return 2;
        seen = hits.size();
        int32_t set = 0;
        if (WDB_SUCCESS(WdbGetSearch(&set, nullptr, nullptr)) && round % 64 == 63) {
            // Keep the list of sets short: a saved status drops what came after it.
            WdbSaveStatus();
            WdbLoadStatus(3);
        }
    }
    return seen == rows ? 0 : 3;
}

Home& prepare(Home& home) {
    BoundSession session(home);
    createBase("ROWS", {{"NAME", "PHRASE"}, {"NOTE", "TEXT"}}, "NAME");
    return home;
}

void expectRows(const Home& home, size_t count) {
    BoundSession session(home);
    int32_t status = 0;
    require(WdbExecuteCcl("DEFINE FIND MIN=0", &status), "DEFINE");
    require(WdbExecuteCcl("BASE ROWS", &status), "BASE");
    EXPECT_EQ(count, find("NOTE=common").size());
    EXPECT_EQ(count, find("R=FROM 1").size());
    EXPECT_EQ(1u, find("NAME=w0r0").size());
    EXPECT_EQ(WDB_OK, WdbVerifyBase("ROWS", 0, nullptr, nullptr));
}

TEST(KernelProcesses, ThreadsWithTheirOwnSessions) {
    Home home;
    prepare(home);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            BoundSession session(home);
            const int failure = i < 2 ? insertRows(i) : readUntil(2 * kRowsPerWriter);
            if (failure != 0) {
                ADD_FAILURE() << (i < 2 ? "writer" : "reader") << " failed at " << failure;
                ++failures;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, failures.load());
    expectRows(home, 2 * kRowsPerWriter);
}

TEST(KernelProcesses, ProcessesOnOneDirectory) {
    Home home;
    prepare(home);
    std::vector<pid_t> children;
    for (int i = 0; i < 4; ++i) {
        const pid_t pid = fork();
        if (pid == 0) {
            int failure = 0;
            {
                BoundSession session(home);
                failure = i < 2 ? insertRows(i) : readUntil(2 * kRowsPerWriter);
            }
            _exit(failure);
        }
        children.push_back(pid);
    }
    for (const pid_t pid : children) {
        int outcome = 0;
        waitpid(pid, &outcome, 0);
        EXPECT_TRUE(WIFEXITED(outcome) && WEXITSTATUS(outcome) == 0) << "outcome " << outcome;
    }
    expectRows(home, 2 * kRowsPerWriter);
}

}  // namespace
}  // namespace model
