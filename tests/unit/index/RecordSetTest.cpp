#include "kernel/index/RecordSet.h"

#include <gtest/gtest.h>

#include <roaring/roaring.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "kernel/index/ContainerKernels.h"
#include "kernel/index/ContainerOperations.h"

using namespace wdb;

namespace {

using Twin = std::unique_ptr<roaring_bitmap_t, decltype(&roaring_bitmap_free)>;
using Numbers = std::vector<RecordNumber>;

Twin twin(const Numbers& numbers) {
    return {roaring_bitmap_of_ptr(numbers.size(), numbers.data()), roaring_bitmap_free};
}

Numbers numbersOf(const roaring_bitmap_t* bitmap) {
    Numbers out(roaring_bitmap_get_cardinality(bitmap));
    roaring_bitmap_to_uint32_array(bitmap, out.data());
    return out;
}

// Ascending numbers of a random shape: sparse, dense, runs, sizes around the change of kind, several chunks.
Numbers randomNumbers(std::mt19937& random) {
    std::set<RecordNumber> out;
    for (uint32_t chunk = 0; chunk < 4; ++chunk) {
        const uint32_t base = chunk * 65536 * (1 + random() % 2);
        const auto pick = [&](uint32_t count, uint32_t space) {
            for (uint32_t i = 0; i < count; ++i) out.insert(base + random() % space);
        };
        switch (random() % 8) {
            case 0:
                break;
            case 1:
                pick(1 + random() % 5, 65536);
                break;
            case 2:
                pick(200, 65536);
                break;
            case 3:
                pick(200, 300);
                break;
            case 4:
                pick(5000, 65536);
                break;
            case 5:
                pick(30000, 65536);
                break;
            case 6:
                for (uint32_t i = 0; i < kMaxArray - 1 + random() % 3; ++i)
                    out.insert(base + i * (1 + random() % 2));
                break;
            default:
                for (uint32_t i = random() % 100, n = random() % 65000; i < n; ++i) out.insert(base + i);
        }
    }
    out.erase(0);
    return {out.begin(), out.end()};
}

// Borrowed containers at odd addresses, as they may lie in a file.
struct Stored {
    std::vector<std::string> bytes;
    RecordSet set;
    explicit Stored(const RecordSet& source) {
        for (size_t i = 0; i < source.chunkCount(); ++i) {
            bytes.emplace_back("x");
            appendContainer(source.chunk(i), bytes.back());
        }
        for (size_t i = 0; i < bytes.size(); ++i) {
            const Slice stored = Slice(bytes[i]).substr(1);
            EXPECT_EQ(validateContainer(stored), WDB_OK);
            EXPECT_EQ(set.borrow(source.chunkNumber(i), stored), WDB_OK);
        }
    }
};

void expectSame(const RecordSet& set, const roaring_bitmap_t* expected, const char* what) {
    ASSERT_EQ(set.validate(), "") << what;
    ASSERT_EQ(set.cardinality(), roaring_bitmap_get_cardinality(expected)) << what;
    ASSERT_EQ(set.toVector(), numbersOf(expected)) << what;
}

TEST(RecordSet, AgreesWithItsTwin) {
    std::mt19937 random(1);
    for (int round = 0; round < 60; ++round) {
        const Numbers x = randomNumbers(random);
        const Numbers y = randomNumbers(random);
        const Twin a = twin(x);
        const Twin b = twin(y);
        const RecordSet ownA = RecordSet::of(x);
        const RecordSet ownB = RecordSet::of(y);
        const Stored storedA(ownA);
        const Stored storedB(ownB);
        const RecordSet& left = round % 2 == 0 ? ownA : storedA.set;
        const RecordSet& right = round % 3 == 0 ? ownB : storedB.set;
        const Twin both(roaring_bitmap_and(a.get(), b.get()), roaring_bitmap_free);
        const Twin either(roaring_bitmap_or(a.get(), b.get()), roaring_bitmap_free);
        const Twin only(roaring_bitmap_andnot(a.get(), b.get()), roaring_bitmap_free);

        expectSame(left, a.get(), "made");
        expectSame(RecordSet::intersection(left, right), both.get(), "intersection");
        expectSame(RecordSet::difference(left, right), only.get(), "difference");
        RecordSet set = left.clone();
        set.unite(right);
        expectSame(set, either.get(), "union");
        set.subtract(right);
        Twin rest(roaring_bitmap_andnot(either.get(), b.get()), roaring_bitmap_free);
        expectSame(set, rest.get(), "union less one side");
        set = left.view();
        set.subtract(right);
        expectSame(set, only.get(), "subtract in place");
        set.unite(right.view());
        expectSame(set, either.get(), "difference with the other side again");
        set.intersect(left);
        expectSame(set, a.get(), "and back");
        ASSERT_EQ(RecordSet::intersectionCardinality(left, right),
                  roaring_bitmap_get_cardinality(both.get()));
        ASSERT_EQ(RecordSet::intersects(left, right), !roaring_bitmap_is_empty(both.get()));

        RecordSetBuilder builder;
        for (const RecordNumber n : x) builder.add(n);
        builder.add(right);
        expectSame(builder.finish(), either.get(), "builder");
        ASSERT_TRUE(RecordSet::of(x) == left) << "equality looks through ownership";
    }
}

TEST(RecordSet, PlacesAndNeighbours) {
    std::mt19937 random(2);
    for (int round = 0; round < 20; ++round) {
        const Numbers numbers = randomNumbers(random);
        const RecordSet set = RecordSet::of(numbers);
        ASSERT_EQ(set.first(), numbers.empty() ? 0 : numbers.front());
        ASSERT_EQ(set.last(), numbers.empty() ? 0 : numbers.back());
        ASSERT_EQ(set.select(numbers.size()), 0U);
        for (int i = 0; i < 100; ++i) {
            const RecordNumber n = random() % (4 * 131072);
            const auto at = std::lower_bound(numbers.begin(), numbers.end(), n);
            const auto above = std::upper_bound(numbers.begin(), numbers.end(), n);
            ASSERT_EQ(set.rank(n), static_cast<uint64_t>(at - numbers.begin()));
            ASSERT_EQ(set.contains(n), at != numbers.end() && *at == n);
            ASSERT_EQ(set.after(n), above == numbers.end() ? 0 : *above);
            if (numbers.empty()) continue;
            const size_t place = random() % numbers.size();
            ASSERT_EQ(set.select(place), numbers[place]);
            Numbers some;
            set.copyTo(place, 100, some);
            const size_t end = std::min(place + 100, numbers.size());
            ASSERT_TRUE(std::equal(some.begin(), some.end(), numbers.begin() + static_cast<ptrdiff_t>(place),
                                   numbers.begin() + static_cast<ptrdiff_t>(end)));
        }
    }
}

TEST(RecordSet, Ranges) {
    const std::vector<std::pair<RecordNumber, RecordNumber>> rows = {
        {5, 5}, {1, 4096}, {1, 4097}, {65535, 65536}, {100, 300000}, {3, 1}, {0xFFFF0000U, 0xFFFFFFFFU}};
    for (const auto& [first, last] : rows) {
        const RecordSet set = RecordSet::range(first, last);
        EXPECT_EQ(set.validate(), "") << first;
        EXPECT_EQ(set.cardinality(), last < first ? 0 : uint64_t{last} - first + 1) << first;
        if (last < first) continue;
        EXPECT_EQ(set.first(), first);
        EXPECT_EQ(set.last(), last);
    }
}

TEST(RecordSet, AddAndRemoveAcrossTheChangeOfKind) {
    RecordSet set;
    for (RecordNumber n = 1; n <= kMaxArray + 10; ++n) set.add(n * 2);
    EXPECT_EQ(set.validate(), "");
    EXPECT_EQ(set.chunk(0).kind, ContainerKind::Bitmap);
    for (RecordNumber n = 1; n <= 20; ++n) set.remove(n * 2);
    EXPECT_EQ(set.validate(), "");
    EXPECT_EQ(set.chunk(0).kind, ContainerKind::Array);
    EXPECT_EQ(set.cardinality(), kMaxArray - 10);
    set.remove(1);
    EXPECT_EQ(set.cardinality(), kMaxArray - 10) << "removing what is not there";
}

// Both sets of inner loops, on arrays that lie at odd addresses.
TEST(ContainerKernels, FastOnesAgreeWithPortableOnes) {
    std::mt19937 random(3);
    const ContainerKernels& fast = containerKernels();
    const ContainerKernels& plain = portableKernels();
    for (int round = 0; round < 300; ++round) {
        std::string bytes[2];
        uint32_t counts[2];
        for (int side = 0; side < 2; ++side) {
            std::set<uint16_t> members;
            for (size_t n = random() % (round % 2 == 0 ? 40 : 4096); n > 0; --n)
                members.insert(static_cast<uint16_t>(random() % (round % 3 == 0 ? 5000 : 65536)));
            bytes[side] = "x";
            for (const uint16_t m : members) bytes[side].append(reinterpret_cast<const char*>(&m), 2);
            counts[side] = static_cast<uint32_t>(members.size());
        }
        std::vector<uint16_t> a(kMaxArray + 8);
        std::vector<uint16_t> b(kMaxArray + 8);
        std::vector<uint16_t> c(kMaxArray + 8);
        a.resize(
            fast.intersectArrays(bytes[0].data() + 1, counts[0], bytes[1].data() + 1, counts[1], a.data()));
        b.resize(
            plain.intersectArrays(bytes[0].data() + 1, counts[0], bytes[1].data() + 1, counts[1], b.data()));
        c.resize(
            intersectGalloping(bytes[0].data() + 1, counts[0], bytes[1].data() + 1, counts[1], c.data()));
        ASSERT_EQ(a, b);
        ASSERT_EQ(a, c);
        std::string bits(kBitmapBytes + 1, '\0');
        for (uint32_t i = 0; i < counts[1]; ++i) {
            uint16_t member = 0;
            std::memcpy(&member, bytes[1].data() + 1 + size_t{i} * 2, 2);
            bits[1 + member / 8] = static_cast<char>(bits[1 + member / 8] | 1 << member % 8);
        }
        for (const bool wanted : {true, false}) {
            a.assign(counts[0] + 8, 0);
            b.assign(counts[0] + 8, 0);
            a.resize(fast.filterArray(bytes[0].data() + 1, counts[0], bits.data() + 1, wanted, a.data()));
            b.resize(plain.filterArray(bytes[0].data() + 1, counts[0], bits.data() + 1, wanted, b.data()));
            ASSERT_EQ(a, b);
            ASSERT_EQ(a.size(), wanted ? c.size() : counts[0] - c.size());
            if (wanted) {
                ASSERT_EQ(a, c);
            }
        }
    }
}

// A damaged container gives wrong members at worst: no operation leaves its bytes (run under the sanitizers).
TEST(Container, DamagedBytesStayHarmless) {
    std::mt19937 random(4);
    const RecordSet good = RecordSet::of(randomNumbers(random));
    for (int round = 0; round < 80; ++round) {
        const Numbers numbers = randomNumbers(random);
        if (numbers.empty()) continue;
        const RecordSet source = RecordSet::of(numbers);
        std::string bytes;
        appendContainer(source.chunk(0), bytes);
        for (int flips = 0; flips < 30; ++flips)
            bytes[8 + random() % (bytes.size() - 8)] = static_cast<char>(random());
        EXPECT_EQ(validateContainer(bytes), WDB_E_CORRUPT);
        RecordSet damaged;
        ASSERT_EQ(damaged.borrow(source.chunkNumber(0), bytes), WDB_OK);
        RecordSet copy = damaged.clone();
        copy.unite(good);
        copy.intersect(damaged);
        copy = damaged.clone();
        copy.subtract(good);
        RecordSet::intersectionCardinality(damaged, good);
        damaged.select(damaged.cardinality() - 1);
        damaged.after(5);
    }
}

TEST(Container, RefusesBytesOfTheWrongSize) {
    std::string bytes;
    const uint16_t members[] = {1, 2, 3};
    appendContainer(members, 3, bytes);
    for (size_t size = 0; size < bytes.size(); ++size)
        EXPECT_EQ(readContainer(Slice(bytes).substr(0, size)).status(), WDB_E_CORRUPT) << size;
    EXPECT_EQ(readContainer(bytes + "x").status(), WDB_E_CORRUPT);
    std::string kind = bytes;
    kind[2] = 7;
    EXPECT_EQ(readContainer(kind).status(), WDB_E_CORRUPT);
}

}  // namespace
