#include "kernel/record/RecordImage.h"

#include <random>

#include <gtest/gtest.h>
#include <xxhash.h>

namespace wdb {
namespace {

RecordData sample() {
    RecordData record;
    record.head.at(7).items = {"seven", "", "third"};
    record.head.at(1).items = {std::string(70000, 't')};
    record.head.at(3).items = {std::string(254, 'a'), std::string(255, 'b'), std::string(256, 'c')};
    record.parts.resize(2);
    record.parts[1].at(9).items = {"nine"};
    return record;
}

std::vector<std::string> items(const ItemList& list) {
    std::vector<std::string> out;
    for (const Slice item : list) out.emplace_back(item);
    return out;
}

TEST(RecordImage, RoundTrip) {
    const RecordData record = sample();
    const auto image = encodeRecord(record, 77);
    ASSERT_TRUE(image);
    const auto view = RecordView::validate(*image);
    ASSERT_TRUE(view);
    EXPECT_FALSE(view->deleted());
    EXPECT_EQ(view->commit(), 77u);
    EXPECT_EQ(view->partCount(), 2u);
    for (const FieldNumber field : {1, 3, 7})
        EXPECT_EQ(items(view->items(field)), record.head.find(field)->items) << field;
    EXPECT_TRUE(view->items(2).empty());
    EXPECT_EQ(view->items(7).at(3), "third");
    EXPECT_EQ(view->items(7).at(4), "");
    EXPECT_EQ(view->items(7).at(0), "");
    EXPECT_EQ(view->items(2, 9).first(), "nine");
    EXPECT_EQ(view->part(1).size(), 0u);
    EXPECT_EQ(view->part(3).size(), 0u);
    EXPECT_LT(view->items(7).first().data(), view->items(1).first().data()) << "short values stand first";
    EXPECT_EQ(*encodeRecord(RecordData::from(*view), 77), *image);
}

TEST(RecordImage, TrimDropsWhatHasNoValue) {
    RecordData record;
    record.head.at(1).items = {"", "x", "", ""};
    record.head.at(2).items = {"", ""};
    record.head.at(3);
    record.trim();
    ASSERT_EQ(record.head.fields().size(), 1u);
    EXPECT_EQ(record.head.fields()[0].items, (std::vector<std::string>{"", "x"}));
}

TEST(RecordImage, EmptyRecordAndTombstone) {
    const auto empty = encodeRecord(RecordData{}, 1);
    ASSERT_TRUE(RecordView::validate(*empty));
    EXPECT_EQ(RecordView::validate(*empty)->head().size(), 0u);
    const std::string tombstone = encodeTombstone(5);
    ASSERT_TRUE(RecordView::validate(tombstone));
    EXPECT_TRUE(RecordView::validate(tombstone)->deleted());
    EXPECT_TRUE(isTombstone(tombstone));
    EXPECT_FALSE(isTombstone(*empty));
    EXPECT_FALSE(isTombstone(""));
}

TEST(RecordImage, TooManyItems) {
    RecordData record;
    record.head.at(1).items.resize(record_image::kMaxItems + 1, "x");
    EXPECT_EQ(encodeRecord(record, 1).status(), WDB_E_VALUE);
}

// Damage behind a right checksum must be found by the bounds; without one, by the checksum.
TEST(RecordImage, DamageIsAStatus) {
    RecordData record = sample();
    record.head.at(1).items = {"text"};
    const std::string image = *encodeRecord(record, 1);
    EXPECT_EQ(RecordView::validate("").status(), WDB_E_CORRUPT);
    std::mt19937 random(3);
    int accepted = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string damaged = image;
        if (i % 4 == 0)
            damaged.resize(random() % damaged.size());
        else
            damaged[random() % damaged.size()] = static_cast<char>(random());
        if (damaged != image) {
            ASSERT_EQ(RecordView::validate(damaged).status(), WDB_E_CORRUPT);
        }
        if (damaged.size() < record_image::kHeaderSize) continue;
        storeLittle(damaged.data(),
                    static_cast<uint32_t>(XXH3_64bits(damaged.data() + 4, damaged.size() - 4)));
        const auto view = RecordView::validate(damaged);
        if (!view) continue;
        ++accepted;
        size_t bytes = 0;
        for (PartNumber part = 0; part <= view->partCount(); ++part) {
            const FieldsView fields = part == 0 ? view->head() : view->part(part);
            for (size_t f = 0; f < fields.size(); ++f) {
                for (const Slice item : fields.itemsAt(f)) bytes += std::string(item).size();
            }
        }
        ASSERT_LE(bytes, damaged.size() * 64);
    }
    EXPECT_GT(accepted, 0) << "the walk over accepted images was never made";
}

}  // namespace
}  // namespace wdb
