#include "kernel/storage/CommitSeal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>

#include "kernel/storage/Environment.h"
#include "kernel/storage/NewPages.h"
#include "kernel/storage/PageFormat.h"
#include "kernel/storage/PageWalker.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {
namespace {

constexpr TableSpec kTables[] = {{"records", true}, {"keys"}};
constexpr size_t kPage = 4096;
constexpr uint32_t kRound = 1000000;  // the key that tells the number of the change

class CommitSealTest : public testing::Test {
protected:
    void SetUp() override {
        auto opened = Environment::open(path_, kTables, {.create = true});
        ASSERT_TRUE(opened);
        file_ = *opened;
    }

    // Changes of all sizes in one commit: trees grow and shrink, large values come and go.
    void change(uint32_t round) {
        auto txn = file_->write();
        ASSERT_TRUE(txn);
        if (round % 40 == 39) {
            ASSERT_EQ(txn->clear(1), WDB_OK);
        }
        const uint32_t changes = round % 7 == 0 ? 300 : round % 3;
        for (uint32_t i = 0; i < changes; ++i) {
            const auto number = static_cast<uint32_t>(random_() % 2000 + 1);
            const std::string key(1 + number % 300, static_cast<char>('a' + number % 23));
            const std::string value(random_() % 10 == 0 ? random_() % 30000 : random_() % 300,
                                    static_cast<char>('a' + random_() % 26));
            if (random_() % 3 == 0) {
                static_cast<void>(txn->remove(0, number));
                static_cast<void>(txn->remove(1, Slice(key)));
            } else {
                ASSERT_EQ(txn->put(0, number, value), WDB_OK);
                ASSERT_EQ(txn->put(1, Slice(key), value.substr(0, 60)), WDB_OK);
            }
        }
        ASSERT_EQ(txn->put(0, kRound, std::to_string(round)), WDB_OK);
        ASSERT_EQ(txn->commit(), WDB_OK);
    }

    std::string bytes() const {
        std::ifstream file(path_, std::ios::binary);
        std::ostringstream all;
        all << file.rdbuf();
        return all.str();
    }

    // The number of the last change that a process finds which opens these bytes after the machine fell; the
    // file is sound, and takes another change.
    std::string opened(const std::string& image) {
        const std::string path = directory_ / "image";
        std::filesystem::remove(path + "-clean");
        std::filesystem::remove(path);
        std::ofstream(path, std::ios::binary) << image;
        auto file = Environment::open(path, kTables, {});
        if (!file) return "status " + std::to_string(file.status());
        std::string reason;
        EXPECT_EQ((*file)->checkPages(reason), WDB_OK) << reason;
        auto txn = (*file)->write();
        if (!txn) return "write answers " + std::to_string(txn.status());
        Slice value;
        if (!ok(txn->get(0, kRound, value))) return "nothing";
        std::string round(value);
        EXPECT_EQ(txn->put(0, uint32_t{1}, "later"), WDB_OK);
        EXPECT_EQ(txn->commit(), WDB_OK);
        EXPECT_EQ((*file)->checkPages(reason), WDB_OK) << reason;
        return round;
    }

    static std::set<uint64_t> changedPages(const std::string& before, const std::string& after) {
        std::set<uint64_t> pages;
        for (size_t at = 0; at < after.size(); at += kPage)
            if (before.compare(std::min(at, before.size()), kPage, after, at, kPage) != 0)
                pages.insert(at / kPage);
        return pages;
    }

    // `page` as it is in `from`, or zeros.
    static void putPage(std::string& image, uint64_t page, const std::string& from) {
        std::string old = from.substr(std::min(page * kPage, from.size()), kPage);
        old.resize(kPage, '\0');
        image.replace(page * kPage, kPage, old);
    }

    TempDirectory directory_;
    const std::string path_ = directory_ / "file";
    std::shared_ptr<Environment> file_;
    std::mt19937 random_{7};
};

TEST_F(CommitSealTest, FindsThePagesOfACommit) {
    for (uint32_t round = 1; round <= 120 && !HasFailure(); ++round) {
        const std::string before = bytes();
        change(round);
        std::set<uint64_t> changed = changedPages(before, bytes());
        changed.erase(0);
        changed.erase(1);
        const int file = ::open(path_.c_str(), O_RDONLY);
        std::array<MetaPage, 2> metas;
        ASSERT_TRUE(readMetas(file, metas));
        const bool second = metas[1].txn > metas[0].txn;
        std::vector<PageRun> runs;
        ASSERT_TRUE(newPages(file, metas[second ? 0 : 1], metas[second ? 1 : 0], runs));
        ::close(file);
        std::set<uint64_t> found;
        for (const PageRun& run : runs)
            for (uint64_t i = 0; i < run.count; ++i)
                EXPECT_TRUE(found.insert(run.first + i).second) << "page " << run.first + i << " twice";
        // What was written and is not found was given back again before the commit: nobody misses it.
        std::string image = bytes();
        for (const uint64_t page : changed)
            if (!found.contains(page)) image.replace(page * kPage, kPage, std::string(kPage, '\0'));
        EXPECT_EQ(opened(image), std::to_string(round));
        // A page may come out as it was before it was given back, and then does not show as changed.
        EXPECT_LE(found.size(), changed.size() + 8) << "round " << round;
    }
}

TEST_F(CommitSealTest, AnyPageThatIsMissingUnmakesTheCommit) {
    for (uint32_t round = 1; round <= 60 && !HasFailure(); ++round) {
        const std::string before = bytes();
        change(round);
        if (round < 40 && round % 8 != 0) continue;
        const std::string after = bytes();
        const std::string was = std::to_string(round - 1), is = std::to_string(round);
        EXPECT_EQ(opened(after), is);
        const std::set<uint64_t> changed = changedPages(before, after);
        std::vector<uint64_t> some(changed.begin(), changed.end());
        std::shuffle(some.begin(), some.end(), random_);
        if (some.size() > 12) some.resize(12);
        for (const uint64_t page : some) {
            std::string image = after;
            putPage(image, page, before);
            EXPECT_EQ(opened(image), was) << "round " << round << ", without page " << page;
        }
        // Nothing but the page that names the state.
        std::string named = before;
        for (const uint64_t page : {0, 1}) putPage(named, page, after);
        EXPECT_EQ(opened(named), was) << "round " << round;
        // Everything but that page.
        std::string unnamed = after;
        for (const uint64_t page : {0, 1}) putPage(unnamed, page, before);
        EXPECT_EQ(opened(unnamed), was) << "round " << round;
    }
}

// The meta page of the commit that fell is that of two commits ago, against which the last one would be
// proved.
TEST_F(CommitSealTest, TheNextCommitMayHaveNamedItselfByHalf) {
    constexpr size_t kFrom = 32, kBytes = page_format::kMetaEnd - kFrom;  // as the library writes it
    for (uint32_t round = 1; round <= 24 && !HasFailure(); ++round) {
        const std::string before = bytes();
        change(round);
        if (round < 3) continue;  // the first state has no seal
        const std::string after = bytes();
        const std::set<uint64_t> changed = changedPages(before, after);
        const size_t meta = changed.contains(0) ? 0 : kPage;
        ASSERT_FALSE(changed.contains(0) && changed.contains(1));
        for (const size_t written : {size_t{8}, kBytes / 2, kBytes - 16, kBytes - 8}) {
            std::string image = after;
            putPage(image, meta / kPage, before);
            image.replace(meta + kFrom, written, after, meta + kFrom, written);
            EXPECT_EQ(opened(image), std::to_string(round - 1)) << "round " << round << ", " << written;
        }
    }
}

TEST_F(CommitSealTest, TellsLossFromDamageAndOlderFiles) {
    change(1);
    change(2);
    const std::string running = bytes();
    file_.reset();
    const std::string closed = bytes();
    const auto meta = [](const std::string& image, size_t page) {
        uint64_t txn = 0;
        std::memcpy(&txn, image.data() + page * kPage + page_format::kTxnAt, sizeof txn);
        return txn;
    };
    const size_t newest = meta(running, 1) > meta(running, 0) ? 1 : 0;
    const size_t seal = newest * kPage + page_format::kSealAt;
    constexpr size_t kBoth = 96, kOne = 48;
    const auto zeroed = [](std::string image, size_t at, size_t size) {
        return image.replace(at, size, std::string(size, '\0'));
    };
    const auto unsealed = [&](const std::string& image) {
        return zeroed(zeroed(image, page_format::kSealAt, kBoth), kPage + page_format::kSealAt, kBoth);
    };
    const auto flipped = [](std::string image, size_t at) {
        image[at] = static_cast<char>(image[at] ^ 4);
        return image;
    };
    const struct {
        const char* reason;
        std::string image;
        const char* wanted;
    } cases[] = {
        {"as the machine left it", running, "2"},
        {"closed", closed, "2"},
        {"fell between the commit and its seal", zeroed(running, seal, kBoth), "1"},
        {"one copy of the seal is enough", flipped(running, seal + 8), "2"},
        {"the other one too", flipped(running, seal + kOne + 8), "2"},
        {"a file that never had a seal synced each state before it was named", unsealed(running), "2"},
    };
    for (const auto& each : cases) EXPECT_EQ(opened(each.image), each.wanted) << each.reason;
}

}  // namespace
}  // namespace wdb
