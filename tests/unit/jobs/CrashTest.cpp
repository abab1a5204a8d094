#include <gtest/gtest.h>

#include "kernel/check/BaseVerifier.h"
#include "kernel/jobs/IndexJob.h"
#include "kernel/jobs/LoadJob.h"
#include "tests/unit/catalog/HomeFixture.h"
#include "tests/unit/storage/ChildProcess.h"

namespace wdb {
namespace {

void expectSound(OpenBase& base, const std::string& when) {
    auto snapshot = base.snapshot();
    ASSERT_TRUE(snapshot) << when;
    EXPECT_EQ(verifyBase(*snapshot, {},
                         [&](Severity, RecordNumber record, const std::string& text) {
                             ADD_FAILURE() << when << ": record " << record << ": " << text;
                             return true;
                         }),
              WDB_OK)
        << when;
}

// Stores rows one by one, telling the parent of each that is acknowledged, and merges now and then.
int insertForever(const std::string& path, int told) {
    const Home home(path, false);
    const auto base = home->find("T");
    if (!base) return 1;
    for (;;) {
        const auto number =
            putRow(home, *base, 0, "row " + std::to_string(::getpid()) + " " + std::to_string(::rand()),
                   "kept word");
        if (!number) return 2;
        if (::write(told, &*number, sizeof *number) != sizeof *number) return 3;
        if (*number % 16 == 0 && !ok(mergeQueue(*home, *base, home.lock()))) return 4;
        if (*number % 40 == 0 && !ok(rebuildIndex(*home, *base, home.lock(), 1))) return 5;
    }
}

TEST(CrashTest, AcknowledgedRowsAreThereOnceAndFound) {
    const TempDirectory parent;
    {
        const Home home(parent / "home");
        ASSERT_EQ(home.createBase("T"), WDB_OK);
    }
    std::vector<RecordNumber> acknowledged;
    for (int round = 0; round < 12; ++round) {
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        ChildProcess child([&] { return insertForever(parent / "home", told[1]); });
        ::close(told[1]);
        const size_t enough = acknowledged.size() + 3 + static_cast<size_t>(round) * 5;
        RecordNumber number = 0;
        while (acknowledged.size() < enough && ::read(told[0], &number, sizeof number) == sizeof number)
            acknowledged.push_back(number);
        ::usleep(static_cast<useconds_t>(round) * 370);
        child.kill();
        while (::read(told[0], &number, sizeof number) == sizeof number) acknowledged.push_back(number);
        ::close(told[0]);
        ASSERT_GE(acknowledged.size(), enough) << "the writer gave up";
        const Home home(parent / "home", false);
        const auto base = home->find("T");
        ASSERT_TRUE(base) << base.status();
        const std::vector<RecordNumber> found = findWord(**base, "kept");
        EXPECT_TRUE(std::includes(found.begin(), found.end(), acknowledged.begin(), acknowledged.end()))
            << "round " << round;
        EXPECT_LE(found.size(), acknowledged.size() + 1 + static_cast<size_t>(round))
            << "at most one per kill was not told";
        expectSound(**base, "round " + std::to_string(round));
    }
}

TEST(CrashTest, AKilledLoadLeavesTheBaseAsItWasOrWhole) {
    constexpr int kRows = 4000;
    for (const int delay : {0, 5, 20, 60, 100, 150, 200, 300}) {
        const TempDirectory parent;
        {
            const Home home(parent / "home");
            ASSERT_EQ(home.createBase("T"), WDB_OK);
            ASSERT_TRUE(putRow(home, *home->find("T"), 0, "before", "word"));
        }
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        ChildProcess child([&] {
            const Home home(parent / "home", false);
            const auto base = home->find("T");
            auto load = LoadJob::begin(home.shared(), *base, home.lock());
            char mark = 0;
            if (!load || ::write(told[1], &mark, 1) != 1) return 1;
            for (int i = 0; i < kRows; ++i) {
                if (!putRow((*load)->unitBase(), 0, "row " + std::to_string(i), "word " + std::to_string(i),
                            i))
                    return 2;
            }
            if (!ok((*load)->end(true, 3000))) return 3;
            if (::write(told[1], &mark, 1) != 1) return 4;
            ::pause();
            return 0;
        });
        ::close(told[1]);
        char mark = 0;
        ASSERT_EQ(::read(told[0], &mark, 1), 1);
        ::usleep(static_cast<useconds_t>(delay) * 1000);
        child.kill();
        const bool acknowledged = ::read(told[0], &mark, 1) == 1;
        ::close(told[0]);
        const Home home(parent / "home", false);
        const auto base = home->find("T");
        ASSERT_TRUE(base) << base.status();
        const size_t found = findWord(**base, "word").size();
        EXPECT_TRUE(found == 1 || found == 1 + kRows) << found;
        EXPECT_TRUE(!acknowledged || found == size_t{1} + kRows);
        expectSound(**base, "delay " + std::to_string(delay));
        size_t files = 0;
        for (const auto& entry : std::filesystem::directory_iterator(parent / "home/bases")) {
            if (!entry.path().string().ends_with("-lock") && !entry.path().string().ends_with("-clean"))
                ++files;
        }
        EXPECT_EQ(files, 3u) << "what the load left is removed";
    }
}

// Units of two bases, one row in each, of the same name.
int insertPairsForever(const std::string& path, int told) {
    const Home home(path, false);
    const auto first = home->find("T"), second = home->find("U");
    if (!first || !second) return 1;
    for (int i = 0;; ++i) {
        const std::string name = std::to_string(::getpid()) + " " + std::to_string(i);
        SessionUnit unit(home.lock(), home.shared());
        for (const auto& base : {*first, *second}) {
            const auto joined = unit.base(base);
            if (!joined || !putRow(**joined, 0, name, "pair " + std::string(20000, 'x'))) return 2;
        }
        if (!ok(unit.commit(2000))) return 3;
        if (::write(told, &i, sizeof i) != sizeof i) return 4;
    }
}

TEST(CrashTest, AUnitOfTwoBasesIsInBothOrInNone) {
    const TempDirectory parent;
    {
        const Home home(parent / "home");
        for (const char* name : {"T", "U"}) ASSERT_EQ(home.createBase(name), WDB_OK);
    }
    size_t acknowledged = 0;
    for (int round = 0; round < 12; ++round) {
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        ChildProcess child([&] { return insertPairsForever(parent / "home", told[1]); });
        ::close(told[1]);
        int number = 0;
        for (int i = 0; i < 3 && ::read(told[0], &number, sizeof number) == sizeof number; ++i)
            ++acknowledged;
        ::usleep(static_cast<useconds_t>(round) * 230);
        child.kill();
        while (::read(told[0], &number, sizeof number) == sizeof number) ++acknowledged;
        ::close(told[0]);
        const Home home(parent / "home", false);
        const auto found = findWord(**home->find("T"), "pair");
        EXPECT_EQ(found, findWord(**home->find("U"), "pair")) << "round " << round;
        EXPECT_GE(found.size(), acknowledged);
        for (const char* name : {"T", "U"}) expectSound(**home->find(name), "round " + std::to_string(round));
    }
}

TEST(CrashTest, ANewBaseIsThereWholeOrNotAtAll) {
    for (int round = 0; round < 10; ++round) {
        const TempDirectory parent;
        { const Home home(parent / "home"); }
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        ChildProcess child([&] {
            const Home home(parent / "home", false);
            char mark = 0;
            if (::write(told[1], &mark, 1) != 1) return 1;
            if (!ok(home.createBase("T"))) return 2;
            ::pause();
            return 0;
        });
        char mark = 0;
        ASSERT_EQ(::read(told[0], &mark, 1), 1);
        ::usleep(static_cast<useconds_t>(round) * 1000);
        child.kill();
        for (const int file : told) ::close(file);
        const Home home(parent / "home", false);
        const auto base = home->find("T");
        if (!base) {
            EXPECT_EQ(base.status(), WDB_E_BASE) << "round " << round;
            EXPECT_TRUE(std::filesystem::is_empty(parent / "home/bases")) << "round " << round;
            ASSERT_EQ(home.createBase("T"), WDB_OK);
        }
        ASSERT_TRUE(putRow(home, *home->find("T"), 0, "a", "word"));
        EXPECT_EQ(findWord(**home->find("T"), "word").size(), 1u);
    }
}

}  // namespace
}  // namespace wdb
