#include "kernel/storage/WriterLock.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/unit/storage/ChildProcess.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {
namespace {

using std::chrono::milliseconds;

TEST(WriterLockTest, OneHolderAmongThreads) {
    const TempDirectory directory;
    auto lock = WriterLock::open(directory / "writer.lock");
    ASSERT_TRUE(lock);
    int inside = 0;
    int together = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                const auto hold = (*lock)->acquire(milliseconds(10000));
                if (!hold || ++inside != 1) ++together;
                --inside;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(together, 0);
}

TEST(WriterLockTest, WaitsAsLongAsItMay) {
    const TempDirectory directory;
    auto lock = WriterLock::open(directory / "writer.lock");
    ASSERT_TRUE(lock);
    auto hold = (*lock)->acquire(milliseconds(0));
    ASSERT_TRUE(hold);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ((*lock)->acquire(milliseconds(30)).status(), WDB_E_LOCKED);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(30));
    std::thread releaser([moved = std::move(*hold)]() mutable {
        std::this_thread::sleep_for(milliseconds(20));
        moved.release();
    });
    EXPECT_TRUE((*lock)->acquire(milliseconds(5000))) << "released on another thread";
    releaser.join();
}

TEST(WriterLockTest, DiesWithItsProcess) {
    const TempDirectory directory;
    int held[2];
    ASSERT_EQ(::pipe(held), 0);
    ChildProcess child([&] {
        auto lock = WriterLock::open(directory / "writer.lock");
        auto hold = (*lock)->acquire(milliseconds(0));
        (*lock)->catalogVersion().beginChange();
        if (::write(held[1], "x", 1) != 1) return 1;
        ::pause();
        return 0;
    });
    char mark = 0;
    ASSERT_EQ(::read(held[0], &mark, 1), 1);
    auto lock = WriterLock::open(directory / "writer.lock");
    ASSERT_TRUE(lock);
    EXPECT_EQ((*lock)->acquire(milliseconds(20)).status(), WDB_E_LOCKED) << "another process has it";
    EXPECT_FALSE(SharedCounter::settled((*lock)->catalogVersion().load())) << "its counter is seen here";
    child.kill();
    EXPECT_TRUE((*lock)->acquire(milliseconds(1000)));
    const uint64_t odd = (*lock)->catalogVersion().load();
    (*lock)->catalogVersion().beginChange();
    EXPECT_EQ((*lock)->catalogVersion().load(), odd) << "a change that was cut short goes on as the next one";
    (*lock)->catalogVersion().endChange();
    EXPECT_TRUE(SharedCounter::settled((*lock)->catalogVersion().load()));
    ::close(held[0]);
    ::close(held[1]);
}

}  // namespace
}  // namespace wdb
