#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "kernel/storage/Environment.h"
#include "kernel/storage/PageWalker.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {
namespace {

constexpr TableSpec kTables[] = {{"records", true}, {"keys"}, {"empty"}};
constexpr size_t kPage = 4096;

class PageWalkerTest : public testing::Test {
protected:
    std::shared_ptr<Environment> open(bool create) {
        EnvironmentOptions options;
        options.create = create;
        auto opened = Environment::open(path_, kTables, options);
        return opened ? *opened : nullptr;
    }

    // Some hundred changes of all sizes per transaction.
    void change(Environment& file, std::mt19937& random) {
        auto txn = file.write();
        ASSERT_TRUE(txn);
        for (int i = 0; i < 300; ++i) {
            const auto number = static_cast<uint32_t>(random() % 2000 + 1);
            const std::string key =
                std::string(1 + number % 300, static_cast<char>('a' + number % 23)) + std::to_string(number);
            const std::string value(random() % 10 == 0 ? random() % 30000 : random() % 300, 'v');
            if (random() % 3 == 0) {
                static_cast<void>(txn->remove(0, number));
                static_cast<void>(txn->remove(1, key));
            } else {
                ASSERT_EQ(txn->put(0, number, value), WDB_OK);
                ASSERT_EQ(txn->put(1, key, value.substr(0, 60)), WDB_OK);
            }
        }
        ASSERT_EQ(txn->commit(), WDB_OK);
    }

    Status walk(std::string& reason) const {
        const int file = ::open(path_.c_str(), O_RDONLY);
        const Status status = walkPages(file, WalkDepth::Whole, std::nullopt, reason);
        ::close(file);
        return status;
    }

    std::string bytes() const {
        std::ifstream file(path_, std::ios::binary);
        std::ostringstream all;
        all << file.rdbuf();
        return all.str();
    }

    void overwrite(const std::string& bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }

    const TempDirectory directory_;
    const std::string path_ = directory_ / "file";
};

TEST_F(PageWalkerTest, PassesWhatTheLibraryWrites) {
    std::mt19937 random(5);
    auto file = open(true);
    std::string reason;
    EXPECT_EQ(file->checkPages(reason), WDB_OK) << "without an entry: " << reason;
    for (int round = 0; round < 25; ++round) {
        const auto old = file->read();  // keeps pages from being used again
        change(*file, random);
        ASSERT_EQ(file->checkPages(reason), WDB_OK) << "round " << round << ": " << reason;
    }
    {
        auto txn = file->write();
        ASSERT_EQ(txn->clear(1), WDB_OK);
        ASSERT_EQ(txn->commit(), WDB_OK);
    }
    ASSERT_EQ(file->checkPages(reason), WDB_OK) << "a table cleared: " << reason;
    file.reset();
    EXPECT_EQ(walk(reason), WDB_OK) << reason;
    EXPECT_NE(open(false), nullptr);
}

// Each byte of a page's head that is not its padding, and the list of its nodes.
TEST_F(PageWalkerTest, FindsWhatLeadsTheLibraryAstray) {
    std::mt19937 random(6);
    change(*open(true), random);
    const std::string sound = bytes();
    std::string reason;
    ASSERT_EQ(walk(reason), WDB_OK) << reason;
    size_t found = 0, tried = 0;
    for (size_t page = 2; page < sound.size() / kPage; ++page) {
        for (const size_t at : {0u, 10u, 12u, 13u, 14u, 15u, 17u, 19u}) {
            std::string damaged = sound;
            damaged[page * kPage + at] ^= 0x15;
            overwrite(damaged);
            ++tried;
            if (walk(reason) == WDB_E_CORRUPT) ++found;
        }
    }
    // Free pages and the insides of large values may hold anything.
    EXPECT_GT(found, tried / 3);
    // The second commit is named by the first meta page: number, kind, magic, version, page size, flags,
    // depth, root.
    for (const size_t at : {0u, 10u, 17u, 20u, 41u, 44u, 92u, 94u, 129u}) {
        std::string damaged = sound;
        damaged[at] ^= 0x19;
        overwrite(damaged);
        EXPECT_EQ(walk(reason), WDB_E_CORRUPT) << "byte " << at << " of the meta page";
    }
}

TEST_F(PageWalkerTest, LooksAtFilesThatWereNotClosedCleanly) {
    std::mt19937 random(7);
    change(*open(true), random);
    EXPECT_TRUE(std::filesystem::exists(path_ + "-clean"));
    const std::string sound = bytes();
    // Zeroes a page that holds records: the first table's, whose values are single letters.
    std::string damaged = sound;
    const size_t page = sound.find("vvvvvvvv") / kPage * kPage;
    damaged.replace(page, kPage, kPage, '\0');
    overwrite(damaged);
    EXPECT_EQ(open(false), nullptr) << "the times tell";
    overwrite(sound);
    EXPECT_NE(open(false), nullptr);
    const auto times = std::filesystem::last_write_time(path_);
    overwrite(damaged);
    std::filesystem::last_write_time(path_, times);
    const auto hidden = open(false);
    ASSERT_NE(hidden, nullptr) << "nothing but the bytes tells";
    std::string reason;
    EXPECT_EQ(hidden->checkPages(reason), WDB_E_CORRUPT);
    EXPECT_NE(reason, "");
}

}  // namespace
}  // namespace wdb
