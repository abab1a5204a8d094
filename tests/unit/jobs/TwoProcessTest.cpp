#include <gtest/gtest.h>

#include "kernel/check/BaseVerifier.h"
#include "kernel/jobs/IndexJob.h"
#include "tests/unit/catalog/HomeFixture.h"
#include "tests/unit/storage/ChildProcess.h"

namespace wdb {
namespace {

constexpr int kRows = 120;

// Inserts, changes and deletes; after every write what was written must be found, and counts never disagree.
int work(const std::string& path, const std::string& word) {
    const Home home(path, false);
    const auto base = home->find("T");
    if (!base) return 10;
    for (int i = 0; i < kRows; ++i) {
        const std::string name = word + std::to_string(i);
        const auto number = putRow(home, *base, 0, name, word + " common");
        if (!number) return 11;
        const auto own = findWord(**base, word);
        if (static_cast<int>(own.size()) != i + 1 - i / 10) return 12;
        if (i % 10 == 9 && !ok(removeRow(home, *base, *number, name))) return 13;
        if (i % 30 == 29 && !ok(mergeQueue(*home, *base, home.lock()))) return 14;
        if (i % 50 == 49 && !ok(rebuildIndex(*home, *base, home.lock(), 1))) return 15;
        const auto snapshot = (*base)->snapshot();
        if (!snapshot) return 16;
        if (toVector(snapshot->index().word(2, Pattern("common"))).size() != snapshot->liveCount()) return 17;
    }
    return 0;
}

TEST(TwoProcessTest, ReadAndWriteAtOnce) {
    const TempDirectory parent;
    {
        const Home home(parent / "home");
        ASSERT_EQ(home.createBase("T"), WDB_OK);
    }
    ChildProcess one([&] { return work(parent / "home", "one"); });
    ChildProcess two([&] { return work(parent / "home", "two"); });
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(two.wait(), 0);
    const Home home(parent / "home", false);
    const auto base = *home->find("T");
    EXPECT_EQ(findWord(*base, "common").size(), 2u * (kRows - kRows / 10));
    auto snapshot = base->snapshot();
    EXPECT_EQ(verifyBase(*snapshot, {},
                         [](Severity, RecordNumber record, const std::string& text) {
                             ADD_FAILURE() << record << ": " << text;
                             return true;
                         }),
              WDB_OK);
}

}  // namespace
}  // namespace wdb
