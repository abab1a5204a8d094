#include "kernel/storage/FreeSpace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <random>

#include "kernel/storage/Environment.h"
#include "kernel/storage/PageWalker.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {
namespace {

constexpr TableSpec kTables[] = {{"numbers", true}};
constexpr uint32_t kCount = 6000;

class FreeSpaceTest : public testing::Test {
protected:
    std::shared_ptr<Environment> open(bool create = false) const {
        EnvironmentOptions options;
        options.create = create;
        auto opened = Environment::open(path_, kTables, options);
        EXPECT_TRUE(opened) << opened.status();
        return opened ? *opened : nullptr;
    }
    uint64_t space() const {
        struct stat info {};
        EXPECT_EQ(::stat(path_.c_str(), &info), 0);
        return static_cast<uint64_t>(info.st_blocks) * 512;
    }
    // Changes every tenth value, so that nearly every page is written anew.
    void round(Environment& file) {
        auto txn = file.write();
        ASSERT_TRUE(txn);
        for (uint32_t i = random_() % 10; i < kCount; i += 10) {
            values_[i] = std::string(600 + random_() % 100, static_cast<char>('a' + random_() % 26));
            ASSERT_EQ(txn->put(0, i, values_[i]), WDB_OK);
        }
        ASSERT_EQ(txn->commit(), WDB_OK);
    }
    void fill(Environment& file) {
        for (uint32_t i = 0; i < kCount; i += 1000) {
            auto txn = file.write();
            ASSERT_TRUE(txn);
            for (uint32_t n = i; n < i + 1000; ++n)
                ASSERT_EQ(txn->put(0, n, values_[n] = std::string(650, 'x'), PutMode::Append), WDB_OK);
            ASSERT_EQ(txn->commit(), WDB_OK);
        }
    }
    void check(Environment& file) const {
        std::string reason;
        EXPECT_EQ(file.checkPages(reason), WDB_OK) << reason;
        const auto txn = file.read();
        ASSERT_TRUE(txn);
        for (const auto& [number, value] : values_) {
            Slice found;
            ASSERT_EQ(txn->get(0, number, found), WDB_OK);
            ASSERT_EQ(found, value);
        }
    }

    TempDirectory directory_;
    const std::string path_ = directory_ / "F";
    std::map<uint32_t, std::string> values_;
    std::minstd_rand random_{1};
};

TEST_F(FreeSpaceTest, TheLastToCloseGivesItBack) {
    fill(*open(true));
    const uint64_t filled = space();
    uint64_t grown = 0;
    for (int times = 0; times < 3; ++times) {
        {
            const auto file = open();
            ASSERT_NE(file, nullptr);
            check(*file);
            for (int i = 0; i < 4; ++i) round(*file);
            grown = space();
            ASSERT_GT(grown, filled * 2) << "the rounds leave free pages";
        }
        EXPECT_LT(space(), grown / 4 * 3);
        std::string reason;
        const int bytes = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(walkPages(bytes, WalkDepth::Whole, std::nullopt, reason), WDB_OK) << reason;
        ::close(bytes);
    }
    check(*open());
}

TEST_F(FreeSpaceTest, ALittleStays) {
    {
        const auto file = open(true);
        fill(*file);
        for (int i = 0; i < 10; ++i) {
            auto txn = file->write();
            ASSERT_EQ(txn->put(0, uint32_t{7}, values_[7] = std::to_string(i)), WDB_OK);
            ASSERT_EQ(txn->commit(), WDB_OK);
        }
    }
    const uint64_t before = space();
    { check(*open()); }
    EXPECT_EQ(space(), before);
}

// A reader of an older state needs pages that the last state has given back: as long as anybody has the file
// open they stay.
TEST_F(FreeSpaceTest, WhoReadsKeepsItsState) {
    const auto file = open(true);
    fill(*file);
    auto txn = file->read();
    const std::map<uint32_t, std::string> then = values_;
    for (int i = 0; i < 4; ++i) round(*file);
    const uint64_t before = space();
    { const auto again = open(); }
    EXPECT_GE(space(), before);
    for (const auto& [number, value] : then) {
        Slice found;
        ASSERT_EQ(txn->get(0, number, found), WDB_OK);
        ASSERT_EQ(found, value);
    }
}

}  // namespace
}  // namespace wdb
