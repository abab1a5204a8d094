#include <gtest/gtest.h>
#include <roaring/roaring.hh>

#include <random>

#include "kernel/index/RecordSet.h"

// Every operation beside the same operation of an independent implementation, over sets of every shape that a container
// can have: empty, single, sparse, at the border between array and bitmap, dense, full, and with unequal sizes.
namespace wdb {
namespace {

using Twin = ::Roaring;

struct Pair {
    RecordSet set;
    Twin twin;
};

// One chunk's members, each with the given probability in 1/4096.
void addChunk(std::mt19937& random, uint32_t chunk, uint32_t density, std::vector<RecordNumber>& members) {
    for (uint32_t low = chunk == 0 ? 1 : 0; low < 65536; ++low) {
        if (random() % 4096 < density) members.push_back(chunk << 16 | low);
    }
}

Pair randomPair(std::mt19937& random) {
    static constexpr uint32_t kDensities[] = {0, 1, 3, 40, 230, 256, 280, 1500, 4000, 4096};
    std::vector<RecordNumber> members;
    for (uint32_t chunk = 0; chunk < 4; ++chunk) addChunk(random, chunk * 3, kDensities[random() % 10], members);
    return {RecordSet::of(members), Twin(members.size(), members.data())};
}

void expectEqual(const Twin& twin, const RecordSet& set, const char* what) {
    EXPECT_EQ("", set.validate()) << what;
    ASSERT_EQ(twin.cardinality(), set.cardinality()) << what;
    std::vector<RecordNumber> expected(twin.cardinality());
    twin.toUint32Array(expected.data());
    EXPECT_EQ(expected, set.toVector()) << what;
}

TEST(RecordSet, AgreesWithAnIndependentImplementation) {
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        const Pair a = randomPair(random);
        const Pair b = randomPair(random);
        expectEqual(a.twin & b.twin, RecordSet::intersection(a.set, b.set), "intersection");
        expectEqual(a.twin - b.twin, RecordSet::difference(a.set, b.set), "difference");
        RecordSet united = a.set.clone();
        united.unite(b.set);
        expectEqual(a.twin | b.twin, united, "union");
        EXPECT_EQ((a.twin & b.twin).cardinality(), RecordSet::intersectionCardinality(a.set, b.set));
        EXPECT_EQ(!(a.twin & b.twin).isEmpty(), RecordSet::intersects(a.set, b.set));
        RecordSetBuilder builder;
        builder.add(b.set);
        builder.add(a.set);
        expectEqual(a.twin | b.twin, builder.finish(), "builder");
    }
}

TEST(RecordSet, FindsMembersByNumberAndByPlace) {
    std::mt19937 random(11);
    for (int round = 0; round < 20; ++round) {
        const Pair pair = randomPair(random);
        for (int probe = 0; probe < 300; ++probe) {
            const RecordNumber number = random() % (12u << 16);
            EXPECT_EQ(pair.twin.contains(number), pair.set.contains(number)) << number;
            const uint64_t below = number == 0 ? 0 : pair.twin.rank(number - 1);
            EXPECT_EQ(below, pair.set.rank(number)) << number;
            uint32_t next = 0;
            const uint64_t upTo = pair.twin.rank(number);
            EXPECT_EQ(pair.twin.select(static_cast<uint32_t>(upTo), &next) ? next : 0, pair.set.after(number)) << number;
        }
        std::vector<RecordNumber> page;
        const uint64_t first = pair.set.cardinality() / 3;
        pair.set.copyTo(first, 50, page);
        for (size_t i = 0; i < page.size(); ++i) EXPECT_EQ(pair.set.select(first + i), page[i]);
        EXPECT_EQ(std::min<uint64_t>(50, pair.set.cardinality() - first), page.size());
        EXPECT_EQ(pair.twin.isEmpty() ? 0 : pair.twin.maximum(), pair.set.last());
    }
}

TEST(RecordSet, AddsAndRemovesAcrossTheBorderOfArrayAndBitmap) {
    RecordSet set = RecordSet::range(1, kMaxArray);
    Twin twin;
    twin.addRange(1, kMaxArray + 1);
    std::mt19937 random(3);
    for (int step = 0; step < 2000; ++step) {
        const RecordNumber number = kMaxArray - 20 + random() % 60;
        if (random() % 2 == 0) {
            set.add(number);
            twin.add(number);
        } else {
            set.remove(number);
            twin.remove(number);
        }
    }
    expectEqual(twin, set, "after adding and removing");
}

TEST(RecordSet, RangesSpanChunks) {
    const struct {
        RecordNumber first;
        RecordNumber last;
        const char* reason;
    } kRows[] = {
        {1, 1, "single"},
        {5, 4, "nothing"},
        {1, 65535, "nearly a chunk"},
        {65530, 65540, "over a border"},
        {65536, 196607, "two whole chunks"},
        {3, 200000, "ragged ends"},
        {4294967295u, 4294967295u, "the last number"},
    };
    for (const auto& row : kRows) {
        Twin twin;
        if (row.first <= row.last) twin.addRange(row.first, uint64_t{row.last} + 1);
        expectEqual(twin, RecordSet::range(row.first, row.last), row.reason);
    }
}

TEST(RecordSet, BorrowsStoredContainersAtAnyAddress) {
    std::mt19937 random(5);
    for (int round = 0; round < 20; ++round) {
        const Pair pair = randomPair(random);
        std::vector<std::string> stored;
        RecordSet borrowed;
        for (size_t place = 0; place < pair.set.chunkCount(); ++place) {
            std::string& bytes = stored.emplace_back("x");  // an odd address
            appendContainer(pair.set.chunk(place), bytes);
        }
        for (size_t place = 0; place < stored.size(); ++place) {
            ASSERT_EQ(WDB_OK, borrowed.borrow(pair.set.chunkNumber(place), Slice(stored[place]).substr(1)));
        }
        expectEqual(pair.twin, borrowed, "borrowed");
        EXPECT_TRUE(borrowed.empty() || !borrowed.ownsAll());
        RecordSet owned = borrowed.clone();
        for (std::string& bytes : stored) bytes.assign(bytes.size(), '\0');
        expectEqual(pair.twin, owned, "owned");
    }
}

TEST(Container, RefusesBytesThatAreNone) {
    const uint16_t members[] = {3, 9, 200};
    std::string good;
    appendContainer(members, 3, good);
    EXPECT_EQ(WDB_OK, validateContainer(good));
    const auto changed = [&](size_t at, char value) {
        std::string bytes = good;
        bytes[at] = value;
        return bytes;
    };
    EXPECT_EQ(WDB_E_CORRUPT, readContainer(good.substr(0, good.size() - 1)).status()) << "cut";
    EXPECT_EQ(WDB_E_CORRUPT, readContainer(good.substr(0, 7)).status()) << "no whole header";
    EXPECT_EQ(WDB_E_CORRUPT, readContainer(good + "x").status()) << "too long";
    EXPECT_EQ(WDB_E_CORRUPT, readContainer(changed(0, 2)).status()) << "unknown kind";
    EXPECT_EQ(WDB_E_CORRUPT, readContainer(changed(2, 9)).status()) << "more members than bytes";
    EXPECT_EQ(WDB_E_CORRUPT, validateContainer(changed(8, 77))) << "a changed member";
}

}  // namespace
}  // namespace wdb
