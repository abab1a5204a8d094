#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <thread>

#include "tests/crash/Rounds.h"
#include "tests/crash/Workload.h"
#include "tests/model/Home.h"

// Processes that write and processes that read one directory, while a writer is stopped now and then, between
// two statements or in the middle of one. Readers go on and see whole statements only; writers that waited as
// long as they were to answer that somebody else is writing; nothing is lost.
namespace crash {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kWriters = 4;
constexpr int kReaders = 3;
constexpr int kUnitRows = 3;  // each statement stores so many rows in a unit
constexpr int kLockWait = 300;

// The word is the writer's, so that the rows of each can be counted.
int32_t storeUnit(int writer, int serial, bool pause) {
    WdbSaveStatus();
    int32_t status = WDB_OK;
    for (int i = 0; i < kUnitRows && WDB_SUCCESS(status); ++i) {
        WdbRecordControl* control = nullptr;
        status = WdbCreateRecordControl(&control);
        if (WDB_SUCCESS(status)) status = WdbSetBase(control, kBases[0], WDB_MODE_WRITE);
        const std::string name = "w" + std::to_string(writer) + "n" + std::to_string(serial * kUnitRows + i);
        if (WDB_SUCCESS(status)) status = model::putItem(control, 1, 0, name);
        if (WDB_SUCCESS(status))
            status = model::putItem(control, 2, 0, "common text of writer" + std::to_string(writer));
        int32_t number = 0;
        if (WDB_SUCCESS(status)) status = WdbPutRecord(control, &number);
        WdbDeleteRecordControl(&control);
        if (pause && i == 1) ::raise(SIGSTOP);  // inside the unit, with the writer's lock
    }
    const int32_t committed = WdbLoadStatus(3);
    return WDB_SUCCESS(status) ? committed : status;
}

// Tells the number of its acknowledged statements and of its refused ones, and its longest wait.
int write(const std::string& home, int writer, Clock::time_point end, int pipe) {
    const Session session(home);
    if (session.status() != WDB_OK) return 1;
    UpdateRCS("WDB_LOCK_WAIT", std::to_string(kLockWait).c_str());
    int64_t stored = 0;
    int64_t refused = 0;
    int64_t longest = 0;
    for (int serial = 0; Clock::now() < end; ++serial) {
        const auto begin = Clock::now();
        // The first one stops in the middle of its sixth statement.
        const int32_t status = storeUnit(writer, serial, writer == 0 && serial == 5);
        const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - begin).count();
        if (writer != 0) longest = std::max<int64_t>(longest, took);
        if (status == WDB_E_LOCKED)
            ++refused;
        else if (status != WDB_OK)
            return 2;
        else
            ++stored;
        if (serial % 40 == 39 && !WDB_SUCCESS(WdbBatchLoadIndex(2, kBases[0], ""))) return 3;
        std::this_thread::sleep_for(milliseconds(2));  // others get their turn
    }
    tell(pipe, stored);
    tell(pipe, refused);
    tell(pipe, longest);
    return 0;
}

// Tells how often it read, and its longest wait for an answer.
int read(const std::string& home, Clock::time_point end, int pipe) {
    const Session session(home);
    if (session.status() != WDB_OK) return 1;
    int64_t times = 0;
    int64_t longest = 0;
    size_t before = 0;
    while (Clock::now() < end) {
        const auto begin = Clock::now();
        WdbSaveStatus();
        int32_t status = WDB_OK;
        WdbExecuteCcl((std::string("BASE ") + kBases[0]).c_str(), &status);
        if (!WDB_SUCCESS(status)) return 2;
        const auto hits = model::find("NOTE=common");
        const auto all = model::find("R=FROM 1");
        if (!WDB_SUCCESS(WdbLoadStatus(3))) return 3;
        if (!hits.empty() && hits.front() < 0) return 4;
        if (hits.size() % kUnitRows != 0) return 5;  // half a statement
        if (hits != all) return 6;                   // two states in one statement
        if (hits.size() < before) return 7;          // something lost
        before = hits.size();
        longest = std::max<int64_t>(longest,
                                    std::chrono::duration_cast<milliseconds>(Clock::now() - begin).count());
        ++times;
        std::this_thread::sleep_for(milliseconds(5));
    }
    tell(pipe, times);
    tell(pipe, longest);
    return 0;
}

size_t rowsOf(const std::string& criterion) {
    const auto found = model::find(criterion);
    return !found.empty() && found.front() < 0 ? 0 : found.size();
}

TEST(StoppedWriter, StopsNobodyButWriters) {
    const Scratch scratch;
    const std::string home = scratch / "home";
    {
        const Session session(home);
        ASSERT_EQ(session.status(), WDB_OK);
        model::createBase(kBases[0], {{"NAME", "PHRASE"}, {"NOTE", "TEXT"}}, "NAME");
    }
    const auto end = Clock::now() + std::chrono::seconds(30);
    std::vector<std::unique_ptr<Child>> writers;
    std::vector<std::unique_ptr<Child>> readers;
    for (int i = 0; i < kWriters; ++i)
        writers.push_back(std::make_unique<Child>([&, i](int pipe) { return write(home, i, end, pipe); }));
    for (int i = 0; i < kReaders; ++i)
        readers.push_back(std::make_unique<Child>([&](int pipe) { return read(home, end, pipe); }));
    // The first writer stops itself inside a unit; afterwards it is stopped wherever it is.
    std::this_thread::sleep_for(milliseconds(1500));
    ::kill(writers[0]->id(), SIGCONT);
    while (Clock::now() + milliseconds(1200) < end) {
        std::this_thread::sleep_for(milliseconds(237));
        ::kill(writers[0]->id(), SIGSTOP);
        std::this_thread::sleep_for(milliseconds(600));
        ::kill(writers[0]->id(), SIGCONT);
    }
    std::vector<int64_t> stored(kWriters);
    int64_t refusals = 0;
    for (int i = 0; i < kWriters; ++i) {
        int64_t refused = 0;
        int64_t longest = 0;
        auto& writer = *writers[static_cast<size_t>(i)];
        EXPECT_TRUE(writer.read(stored[static_cast<size_t>(i)]) && writer.read(refused) &&
                    writer.read(longest));
        EXPECT_EQ(writer.wait(), 0) << "writer " << i;
        EXPECT_LT(longest, kLockWait + 1500)
            << "writer " << i << " waited for the lock no longer than it may";
        refusals += refused;
    }
    EXPECT_GT(refusals, 0) << "while one was stopped inside a unit the others were refused";
    for (auto& reader : readers) {
        int64_t times = 0;
        int64_t longest = 0;
        EXPECT_TRUE(reader->read(times) && reader->read(longest));
        EXPECT_EQ(reader->wait(), 0);
        EXPECT_GT(times, 20) << "readers go on";
        EXPECT_LT(longest, 1500);
    }
    const Session session(home);
    int32_t status = WDB_OK;
    WdbExecuteCcl((std::string("BASE ") + kBases[0]).c_str(), &status);
    ASSERT_EQ(status, WDB_OK);
    size_t all = 0;
    for (int i = 0; i < kWriters; ++i) {
        const auto rows = static_cast<size_t>(stored[static_cast<size_t>(i)]) * kUnitRows;
        EXPECT_EQ(rowsOf("NOTE=writer" + std::to_string(i)), rows) << "writer " << i;
        all += rows;
    }
    EXPECT_EQ(rowsOf("R=FROM 1"), all);
    EXPECT_EQ(WdbVerifyBase(kBases[0], 0, nullptr, nullptr), WDB_OK);
    RecordProperty("rows", static_cast<int>(all));
}

}  // namespace
}  // namespace crash
