#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <random>
#include <thread>

#include "tests/model/Home.h"

// A process that inserts rows and acknowledges each through a pipe is killed at a random moment. Afterwards
// every acknowledged row is there exactly once and is found, the base is sound, and at most the row in flight
// came on top.
namespace model {
namespace {

constexpr int32_t kName = 1;
constexpr int32_t kNote = 2;

void insertRow(int serial) {
    WdbRecordControl* control = nullptr;
    require(WdbCreateRecordControl(&control), "create control");
    require(WdbSetBase(control, "ROWS", WDB_MODE_WRITE), "set base");
    require(putItem(control, kName, 0, "row" + std::to_string(serial)), "NAME");
    require(putItem(control, kNote, 0, "word" + std::to_string(serial % 7) + " and some text"), "NOTE");
    int32_t number = 0;
    require(WdbPutRecord(control, &number), "put");
    WdbDeleteRecordControl(&control);
}

[[noreturn]] void insertUntilKilled(const Home& home, int first, int acknowledge) {
    BoundSession session(home);
    for (int serial = first;; ++serial) {
        insertRow(serial);
        if (serial % 50 == 0) require(WdbBatchLoadIndex(2, "ROWS", ""), "index job");
        if (write(acknowledge, &serial, sizeof serial) != sizeof serial) _exit(1);
    }
}

// A load of many rows that never gets to its end.
[[noreturn]] void loadUntilKilled(const Home& home, int acknowledge) {
    BoundSession session(home);
    require(WdbBeginLoad("ROWS", 0), "begin load");
    for (int serial = 1000000;; ++serial) {
        insertRow(serial);
        if (serial % 100 == 0 && write(acknowledge, &serial, sizeof serial) != sizeof serial) _exit(1);
    }
}

// Runs the child until it has acknowledged so many numbers, lets it go on for a moment and kills it; the last
// number that it acknowledged. The moment is in microseconds, so that the kill meets every stage of a row.
template <typename Child>
int lastAcknowledged(Child child, int acknowledgements, int moment, int before) {
    int ends[2];
    if (pipe(ends) != 0) return before;
    const pid_t pid = fork();
    if (pid == 0) {
        close(ends[0]);
        child(ends[1]);
    }
    close(ends[1]);
    int last = before;
    int serial = 0;
    while (acknowledgements-- > 0 && read(ends[0], &serial, sizeof serial) == sizeof serial) last = serial;
    std::this_thread::sleep_for(std::chrono::microseconds(moment));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    while (read(ends[0], &serial, sizeof serial) == sizeof serial) last = serial;
    close(ends[0]);
    return last;
}

int32_t report(void*, int32_t severity, int32_t record, const char* text) {
    ADD_FAILURE() << "severity " << severity << " record " << record << ": " << text;
    return WDB_OK;
}

// The number of rows, after checking that the base is sound and that every acknowledged row is found.
int rowsWhenSound(const Home& home, int acknowledged) {
    BoundSession session(home);
    int32_t status = 0;
    require(WdbExecuteCcl("DEFINE FIND MIN=0", &status), "DEFINE");
    require(WdbExecuteCcl("BASE ROWS", &status), "BASE");
    EXPECT_EQ(WDB_OK, WdbVerifyBase("ROWS", 0, report, nullptr));
    const auto all = find("R=FROM 1");
    std::vector<size_t> perWord(7);
    for (int serial = 1; serial <= acknowledged; ++serial) ++perWord[static_cast<size_t>(serial % 7)];
    size_t found = 0;
    for (int word = 0; word < 7; ++word) {
        const auto hits = find("NOTE=word" + std::to_string(word));
        EXPECT_GE(hits.size(), perWord[static_cast<size_t>(word)]) << "word" << word;
        found += hits.size();
    }
    EXPECT_EQ(all.size(), found) << "every row has one of the words";
    for (int serial = acknowledged; serial > acknowledged - 20 && serial > 0; --serial) {
        EXPECT_EQ(1u, find("NAME=row" + std::to_string(serial)).size()) << "row" << serial;
    }
    return static_cast<int>(all.size());
}

TEST(KernelKill, LosesNoAcknowledgedRow) {
    Home home;
    {
        BoundSession session(home);
        createBase("ROWS", {{"NAME", "PHRASE"}, {"NOTE", "TEXT"}}, "NAME");
    }
    std::mt19937 random(20261121);
    int rows = 0;
    for (int round = 0; round < 12; ++round) {
        const int moment = static_cast<int>(random() % 3000);
        const int acknowledgements = 5 + static_cast<int>(random() % 60);
        if (round % 4 == 3) {
            lastAcknowledged([&](int pipe) { loadUntilKilled(home, pipe); }, acknowledgements / 4, moment, 0);
            EXPECT_EQ(rows, rowsWhenSound(home, rows)) << "a load that was cut short leaves nothing";
            continue;
        }
        const int acknowledged = lastAcknowledged([&](int pipe) { insertUntilKilled(home, rows + 1, pipe); },
                                                  acknowledgements, moment, rows);
        const int there = rowsWhenSound(home, acknowledged);
        EXPECT_GE(there, acknowledged);
        EXPECT_LE(there, acknowledged + 1);
        rows = there;
    }
    EXPECT_GT(rows, 100);
}

}  // namespace
}  // namespace model
