#include "kernel/index/Column.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "kernel/index/ColumnKernels.h"

using namespace wdb;

namespace {

struct Row {
    const char* reason;
    int64_t base;
    uint64_t space;  // values lie in base .. base + space - 1
    size_t size;     // bytes of the block
};

TEST(Column, EveryWidthKeepsItsValuesAndAnswersRanges) {
    const std::vector<Row> rows = {
        {"one value", 7, 1, kColumnHeader + kColumnRecords},
        {"widest that a byte takes", -3, 255, kColumnHeader + kColumnRecords},
        {"one more takes two bytes", -3, 256, kColumnHeader + 2 * kColumnRecords},
        {"widest that two bytes take", 0, 65535, kColumnHeader + 2 * kColumnRecords},
        {"one more takes four bytes", INT64_MIN, 65536, kColumnHeader + 4 * kColumnRecords},
        {"more than 32 bits", INT64_MAX - (int64_t{1} << 40), uint64_t{1} << 40,
         kColumnHeader + 8 * kColumnRecords},
    };
    std::mt19937_64 random(3);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reason);
        ColumnValues values;
        std::map<uint32_t, int64_t> model;
        const auto valueAt = [&](uint64_t n) {
            return static_cast<int64_t>(static_cast<uint64_t>(row.base) + n);
        };
        for (uint32_t place = 0; place < kColumnRecords; ++place) {
            if (place > 1 && random() % 3 == 0) continue;
            model[place] = place == 0   ? valueAt(0)
                           : place == 1 ? valueAt(row.space - 1)
                                        : valueAt(random() % row.space);
            values.set(place, model[place]);
        }
        std::string block;
        values.encode(block);
        EXPECT_EQ(block.size(), row.size);
        EXPECT_EQ(validateColumn(block), WDB_OK);
        ColumnValues again;
        ASSERT_EQ(again.decode(block), WDB_OK);
        for (uint32_t place = 0; place < kColumnRecords; ++place) {
            const auto expected = model.find(place);
            ASSERT_EQ(again.at(place),
                      expected == model.end() ? std::nullopt : std::optional(expected->second));
        }
        const std::string shifted = "x" + block;  // blocks lie at any address
        for (int i = 0; i < 60; ++i) {
            int64_t low = valueAt(random() % row.space);
            int64_t high = valueAt(random() % row.space);
            if (i == 0) low = INT64_MIN, high = INT64_MAX;
            if (i == 1) low = high = valueAt(0);
            if (i == 2) low = high = valueAt(row.space - 1);
            if (i == 3) high = INT64_MAX;
            if (i == 4) low = INT64_MIN;
            if (low > high) std::swap(low, high);
            RecordSetBuilder builder;
            ColumnView::open(Slice(shifted).substr(1))
                ->scan(20, low, high, builder);  // the block crosses a chunk
            std::vector<RecordNumber> expected;
            for (const auto& [place, value] : model) {
                if (value >= low && value <= high) expected.push_back(20 * kColumnRecords + place);
            }
            ASSERT_EQ(builder.finish().toVector(), expected) << low << " to " << high;
        }
    }
}

TEST(Column, GivesUpOnValuesTooFarApart) {
    ColumnValues values;
    values.set(0, INT64_MIN);
    values.set(1, INT64_MAX);
    std::string block;
    values.encode(block);
    EXPECT_EQ(ColumnView::open(block).status(), WDB_FAIL);
    EXPECT_EQ(validateColumn(block), WDB_OK);
}

TEST(Column, RefusesBytesOfTheWrongSize) {
    ColumnValues values;
    values.set(5, 1);
    std::string block;
    values.encode(block);
    EXPECT_EQ(ColumnView::open(Slice(block).substr(0, block.size() - 1)).status(), WDB_E_CORRUPT);
    EXPECT_EQ(ColumnView::open(Slice(block).substr(0, 10)).status(), WDB_E_CORRUPT);
    block[4] = 3;
    EXPECT_EQ(ColumnView::open(block).status(), WDB_E_CORRUPT) << "no such width";
}

TEST(ColumnKernels, FastOnesAgreeWithPortableOnes) {
    std::mt19937_64 random(4);
    std::string entries(64 * 8 * 3 + 1, '\0');
    const auto& fast = columnKernels();
    const auto& plain = portableColumnKernels();
    for (int round = 0; round < 500; ++round) {
        for (char& byte : entries) byte = static_cast<char>(random() % (round % 2 == 0 ? 256 : 4));
        const uint64_t low = random() >> (random() % 64);
        const uint64_t span = random() >> (random() % 64);
        uint64_t a[3];
        uint64_t b[3];
        const auto compare = [&](auto width, auto fastOne, auto plainOne) {
            using T = decltype(width);
            fastOne(entries.data() + 1, static_cast<T>(low), static_cast<T>(span), a, 3);
            plainOne(entries.data() + 1, static_cast<T>(low), static_cast<T>(span), b, 3);
            for (int w = 0; w < 3; ++w) ASSERT_EQ(a[w], b[w]) << sizeof(T);
        };
        compare(uint8_t{}, fast.compare8, plain.compare8);
        compare(uint16_t{}, fast.compare16, plain.compare16);
        compare(uint32_t{}, fast.compare32, plain.compare32);
        compare(uint64_t{}, fast.compare64, plain.compare64);
    }
}

}  // namespace
