#include "kernel/storage/PageTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <vector>

#include "kernel/common/ByteOrder.h"
#include "kernel/storage/Environment.h"
#include "kernel/storage/MetaPage.h"
#include "kernel/storage/PageFormat.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {
namespace {

using namespace page_format;

constexpr std::array kTables{TableSpec{"texts"}, TableSpec{"numbers", true}, TableSpec{"wide", true}};
constexpr Table kTexts = 0;
constexpr Table kNumbers = 1;
constexpr Table kWide = 2;

Slice bytesOf(const uint32_t& key) {
    return {reinterpret_cast<const char*>(&key), sizeof key};
}
Slice bytesOf(const uint64_t& key) {
    return {reinterpret_cast<const char*>(&key), sizeof key};
}

// Values of many sizes, those of several pages included.
std::string valueFor(uint32_t key) {
    return std::string(key % 97 == 0 ? 3000 + key % 20000 : key % 300, static_cast<char>('a' + key % 26));
}

// Keys that share long beginnings, some of them the beginning of others.
std::string textKey(uint32_t key) {
    std::string text = "key " + std::to_string(key / 10);
    return key % 10 == 0 ? text : text + std::string(key % 10 * 20, static_cast<char>('0' + key % 3));
}

class PageTreeTest : public testing::Test {
protected:
    void SetUp() override {
        auto made = Environment::open(directory_ / "file", kTables, {.create = true});
        ASSERT_TRUE(made) << made.status();
        file_ = *made;
    }
    // Keys first, first + step, ... in all three tables; what the tables hold then is in the expected lists.
    void put(uint32_t first, uint32_t last, uint32_t step) {
        auto txn = file_->write();
        ASSERT_TRUE(txn);
        for (uint32_t key = first; key <= last; key += step) {
            const std::string value = valueFor(key);
            const uint64_t wide = uint64_t{key} << 30;
            ASSERT_EQ(txn->put(kNumbers, key, value), WDB_OK);
            ASSERT_EQ(txn->put(kWide, wide, value), WDB_OK);
            ASSERT_EQ(txn->put(kTexts, textKey(key), value), WDB_OK);
            numbers_[key] = value;
            texts_[textKey(key)] = value;
        }
        ASSERT_EQ(txn->commit(), WDB_OK);
    }
    // The last committed state's tree of a table and the pages of the file, as bytes of the test.
    struct Copy {
        std::vector<char> bytes;
        std::string record;
        PageTree tree() const { return {bytes.data(), bytes.size() / PageTree::kPage, record}; }
    };
    Copy copyOf(Table table) {
        Copy copy;
        copy.bytes.resize(std::filesystem::file_size(directory_ / "file"));
        std::ifstream in(directory_ / "file", std::ios::binary);
        in.read(copy.bytes.data(), static_cast<std::streamsize>(copy.bytes.size()));
        const char* const newest = loadLittle<uint64_t>(copy.bytes.data() + kTxnAt) >
                                           loadLittle<uint64_t>(copy.bytes.data() + PageTree::kPage + kTxnAt)
                                       ? copy.bytes.data()
                                       : copy.bytes.data() + PageTree::kPage;
        // The tree of tables has one page; its root is a leaf with their names.
        const auto root = loadLittle<uint64_t>(newest + kMainTreeAt + kTreeRootAt);
        const char* const page = copy.bytes.data() + root * PageTree::kPage;
        const size_t nodes = (loadLittle<uint16_t>(page + kLowerAt) - kPageHeader) / 2;
        for (size_t i = 0; i < nodes; ++i) {
            const char* const node = page + loadLittle<uint16_t>(page + kPageHeader + i * 2);
            const Slice name(node + kNodeHeader, loadLittle<uint16_t>(node + 6));
            if (name == kTables[table].name)
                copy.record.assign(node + kNodeHeader + name.size(), kTreeRecord);
        }
        return copy;
    }

    TempDirectory directory_;
    std::shared_ptr<Environment> file_;
    std::map<uint32_t, std::string> numbers_;
    std::map<std::string, std::string> texts_;
};

TEST_F(PageTreeTest, FindsWhatIsThereAndNothingElse) {
    for (const uint32_t upTo : {0u, 1u, 40u, 30000u}) {
        put(1, upTo, 7);
        const Copy numbers = copyOf(kNumbers), wide = copyOf(kWide), texts = copyOf(kTexts);
        ASSERT_TRUE(numbers.tree().known() && wide.tree().known() && texts.tree().known()) << upTo;
        for (uint32_t key = 0; key <= upTo + 8; ++key) {
            const auto expected = numbers_.find(key);
            const Look look = expected == numbers_.end() ? Look::Missing : Look::Found;
            const uint64_t wideKey = uint64_t{key} << 30;
            Slice ofNumber, ofWide, ofText;
            ASSERT_EQ(numbers.tree().find(bytesOf(key), ofNumber), look) << key << " of " << upTo;
            ASSERT_EQ(wide.tree().find(bytesOf(wideKey), ofWide), look) << key << " of " << upTo;
            ASSERT_EQ(texts.tree().find(textKey(key), ofText), look) << key << " of " << upTo;
            if (look == Look::Missing) continue;
            ASSERT_TRUE(ofNumber == expected->second && ofWide == expected->second &&
                        ofText == expected->second)
                << key << " of " << upTo;
        }
    }
}

// A look guesses where a number lies: right among numbers without gaps, wrong in as many ways as there are
// here.
TEST_F(PageTreeTest, FindsNumbersWhateverTheirGaps) {
    std::mt19937 random(11);
    auto txn = file_->write();
    ASSERT_TRUE(txn);
    const auto store = [&](uint32_t key) {
        numbers_[key] = valueFor(key);
        ASSERT_EQ(txn->put(kNumbers, key, numbers_[key]), WDB_OK);
    };
    for (uint32_t key = 1; key <= 6000; ++key) {
        if (key % 11 != 0 && !(key > 2000 && key < 2900)) store(key);
    }
    for (int i = 0; i < 3000; ++i) store(random());
    for (uint32_t key = 0xFFFFFF00; key != 0; ++key) store(key);
    for (uint32_t key = 3000; key < 5000; key += 1 + random() % 9) {
        if (numbers_.erase(key) == 0) continue;
        ASSERT_EQ(txn->remove(kNumbers, key), WDB_OK);
    }
    ASSERT_EQ(txn->commit(), WDB_OK);

    std::vector<uint32_t> wanted{0};
    for (const auto& [key, value] : numbers_) wanted.insert(wanted.end(), {key - 1, key, key + 1});
    std::shuffle(wanted.begin() + wanted.size() / 2, wanted.end(), random);
    const Copy copy = copyOf(kNumbers);
    const PageTree tree = copy.tree();
    for (size_t first = 0; first < wanted.size(); first += PageTree::kSome) {
        const auto keys = std::span(wanted).subspan(first, std::min(PageTree::kSome, wanted.size() - first));
        std::array<Slice, PageTree::kSome> together;
        tree.findSome(keys, std::span(together).first(keys.size()));
        for (size_t i = 0; i < keys.size(); ++i) {
            const auto expected = numbers_.find(keys[i]);
            const bool there = expected != numbers_.end();
            Slice value, key;
            ASSERT_EQ(tree.find(bytesOf(keys[i]), value), there ? Look::Found : Look::Missing) << keys[i];
            ASSERT_EQ(together[i].data() != nullptr, there) << keys[i];
            if (there) {
                ASSERT_TRUE(value == expected->second && together[i] == value) << keys[i];
            }
            const auto next = numbers_.lower_bound(keys[i]);
            PageCursor cursor(&tree);
            ASSERT_EQ(cursor.seek(bytesOf(keys[i])), next == numbers_.end() ? Look::Missing : Look::Found);
            if (next == numbers_.end()) continue;
            ASSERT_TRUE(cursor.entry(key, value));
            ASSERT_EQ(key, bytesOf(next->first)) << keys[i];
        }
    }
}

TEST_F(PageTreeTest, WalksBothWaysFromEverywhere) {
    put(3, 9000, 3);
    const Copy copy = copyOf(kTexts);
    const PageTree tree = copy.tree();
    PageCursor cursor(&tree);
    Slice key, value;
    Look look = cursor.next();
    for (const auto& [expected, expectedValue] : texts_) {
        ASSERT_EQ(look, Look::Found) << expected;
        ASSERT_TRUE(cursor.entry(key, value));
        ASSERT_TRUE(key == expected && value == expectedValue) << expected;
        look = cursor.next();
    }
    EXPECT_EQ(look, Look::Missing) << "behind the last one";
    PageCursor back(&tree);
    look = back.previous();
    for (auto at = texts_.rbegin(); at != texts_.rend(); ++at, look = back.previous()) {
        ASSERT_EQ(look, Look::Found) << at->first;
        ASSERT_TRUE(back.entry(key, value));
        ASSERT_EQ(key, at->first);
    }
    EXPECT_EQ(look, Look::Missing) << "before the first one";
    for (uint32_t at = 0; at < 9100; ++at) {
        const std::string wanted = textKey(at);
        const auto expected = texts_.lower_bound(wanted);
        PageCursor sought(&tree);
        ASSERT_EQ(sought.seek(wanted), expected == texts_.end() ? Look::Missing : Look::Found) << wanted;
        if (expected != texts_.end()) {
            ASSERT_TRUE(sought.entry(key, value));
            ASSERT_EQ(key, expected->first);
        }
        ASSERT_EQ(sought.previous(), expected == texts_.begin() ? Look::Missing : Look::Found) << wanted;
        if (expected == texts_.begin()) continue;
        ASSERT_TRUE(sought.entry(key, value));
        ASSERT_EQ(key, std::prev(expected)->first) << "before " << wanted;
    }
}

// What readers see: the state that they began with, whatever is committed meanwhile, and the newest one when
// they begin again, with the same reader or another one.
TEST_F(PageTreeTest, ReadersStayOnTheirState) {
    put(2, 3000, 2);
    const auto earlier = file_->read();
    ASSERT_TRUE(earlier);
    Slice value;
    ASSERT_EQ(earlier->get(kNumbers, 3u, value), WDB_FAIL);
    for (uint32_t round = 0; round < 5; ++round) {
        put(1 + round * 100, 3000, 501);
        const auto now = file_->read();
        ASSERT_TRUE(now);
        for (uint32_t key = 0; key <= 3000; ++key) {
            const bool before = key >= 2 && key % 2 == 0;
            ASSERT_EQ(earlier->get(kNumbers, key, value), before ? WDB_OK : WDB_FAIL) << key;
            const auto expected = numbers_.find(key);
            ASSERT_EQ(now->get(kNumbers, key, value), expected == numbers_.end() ? WDB_FAIL : WDB_OK) << key;
            if (expected == numbers_.end()) continue;
            ASSERT_EQ(value, expected->second) << key;
        }
    }
    size_t entries = 0;
    Cursor cursor = earlier->cursor(kTexts);
    for (Status status = cursor.first(); status == WDB_OK; status = cursor.next()) ++entries;
    EXPECT_EQ(entries, 1500u);
}

TEST_F(PageTreeTest, RestingReadersFollowTheMapWhenItMoves) {
    file_.reset();
    std::filesystem::remove(directory_ / "file");
    auto made = Environment::open(directory_ / "file", kTables, {.create = true, .mapSize = 1 << 20});
    ASSERT_TRUE(made) << made.status();
    file_ = *made;
    numbers_.clear();
    for (uint32_t first = 1; first < 12000; first += 1000) {
        put(first, first + 999, 1);
        const auto state = file_->read();
        ASSERT_TRUE(state);
        for (uint32_t key = 1; key < first + 1000; key += 101) {
            Slice value;
            ASSERT_EQ(state->get(kNumbers, key, value), WDB_OK) << key << " after " << first;
            ASSERT_EQ(value, numbers_[key]);
        }
    }
    EXPECT_GT(file_->usedBytes(), size_t{4} << 20) << "the map has grown";
}

TEST_F(PageTreeTest, TreesOfAnotherKindAreLeftToTheLibrary) {
    const struct {
        const char* why;
        size_t at;
        char byte;
    } rows[] = {
        {"keys are compared from behind", kTreeFlagsAt, kReverseKey},
        {"a key has several values", kTreeFlagsAt, kDupSort},
        {"deeper than any file of ours", kTreeDepthAt, 13},
        {"a root without levels", kTreeDepthAt, 0},
    };
    put(1, 500, 1);
    const Copy copy = copyOf(kNumbers);
    ASSERT_TRUE(copy.tree().known());
    for (const auto& row : rows) {
        Copy other = copy;
        other.record[row.at] = row.byte;
        EXPECT_FALSE(other.tree().known()) << row.why;
    }
    Copy cut = copy;
    cut.record.pop_back();
    EXPECT_FALSE(cut.tree().known());
}

// Whatever the pages contain, nothing outside of them is read or handed out (sanitizers see to the reading).
TEST_F(PageTreeTest, DamagedPagesAreNotLeft) {
    put(1, 4000, 1);
    std::mt19937 random(3);
    for (const Table table : {kNumbers, kTexts}) {
        const Copy whole = copyOf(table);
        Copy damaged = whole;
        size_t seen = 0;
        const auto inside = [&](Slice bytes) {
            return bytes.data() >= damaged.bytes.data() &&
                   bytes.data() + bytes.size() <= damaged.bytes.data() + damaged.bytes.size();
        };
        for (int round = 0; round < 120; ++round) {
            if (round % 10 == 0) damaged = whole;
            for (size_t page = 0; page < damaged.bytes.size() / PageTree::kPage; ++page) {
                // Headers, the lists of nodes and the nodes themselves.
                const size_t range = round % 2 == 0 ? 24 : PageTree::kPage;
                damaged.bytes[page * PageTree::kPage + random() % range] = static_cast<char>(random());
            }
            const PageTree tree = damaged.tree();
            for (uint32_t key = 1; key <= 4000; key += 31) {
                const std::string text = textKey(key);
                const Slice wanted = table == kTexts ? Slice(text) : bytesOf(key);
                Slice found, value;
                const Look look = tree.find(wanted, value);
                if (look == Look::Damaged) ++seen;
                ASSERT_TRUE(look != Look::Found || inside(value)) << "round " << round << " key " << key;
                const std::array keys{key, key + 1};
                std::array<Slice, 2> values;
                tree.findSome(keys, values);
                for (const Slice one : values)
                    ASSERT_TRUE(one.empty() || inside(one)) << "round " << round << " key " << key;
                PageCursor cursor(&tree);
                Look step = cursor.seek(wanted);
                for (int i = 0; i < 5 && step == Look::Found; ++i) {
                    if (!cursor.entry(found, value)) break;
                    ASSERT_TRUE(inside(found) && inside(value)) << "round " << round << " key " << key;
                    step = key % 2 == 0 ? cursor.next() : cursor.previous();
                }
            }
        }
        EXPECT_GT(seen, 100u) << "the damage was seen";
    }
}

}  // namespace
}  // namespace wdb
