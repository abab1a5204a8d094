#include "kernel/record/PackedImage.h"

#include <random>

#include <gtest/gtest.h>

#include "kernel/common/StatusError.h"
#include "kernel/record/DictionarySample.h"
#include "kernel/record/RecordImage.h"
#include "tests/unit/record/Prose.h"

namespace wdb {
namespace {

std::string noise(size_t size) {
    std::mt19937 random(5);
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

std::string imageOf(const std::vector<std::string>& fields) {
    RecordData record;
    for (size_t i = 0; i < fields.size(); ++i)
        record.head.at(static_cast<FieldNumber>(i + 1)).items = {fields[i]};
    record.trim();
    return *encodeRecord(record, 7);
}

std::string sampleOf(unsigned from) {
    DictionarySample sample;
    for (unsigned i = from; !sample.enough(); ++i) sample.add(imageOf({prose(i, 300 + i % 200)}));
    return sample.dictionary();
}

class PackedImageTest : public testing::Test {
protected:
    static void SetUpTestSuite() { bytes_ = new std::string(sampleOf(0)); }
    static void TearDownTestSuite() { delete bytes_; }
    void SetUp() override {
        ASSERT_FALSE(bytes_->empty());
        auto opened = TailDictionary::open(*bytes_);
        ASSERT_TRUE(opened);
        dictionary_ = std::move(*opened);
    }
    std::string packed(const std::string& image) const {
        std::string small;
        return packImage(image, *dictionary_, small) ? small : "";
    }

    inline static std::string* bytes_ = nullptr;
    std::unique_ptr<const TailDictionary> dictionary_;
};

// Reads everything; the status that an accessor threw.
Status readAll(const RecordView& view, size_t& bytes) {
    try {
        for (PartNumber part = 0; part <= view.partCount(); ++part) {
            const FieldsView fields = part == 0 ? view.head() : view.part(part);
            for (size_t place = 0; place < fields.size(); ++place) {
                for (const Slice item : fields.itemsAt(place)) bytes += std::string(item).size();
            }
        }
    } catch (const StatusError& error) {
        return error.status();
    }
    return WDB_OK;
}

TEST_F(PackedImageTest, WhatIsPacked) {
    struct Row {
        const char* reason;
        std::string image;
        bool packed;
    };
    RecordData parts;
    parts.head.at(1).items = {"head"};
    parts.parts.resize(3);
    parts.parts[0].at(4).items = {prose(1, 400), "", prose(2, 90)};
    parts.parts[2].at(5).items = {"short", prose(3, 300)};
    const std::vector<std::string> many(600, std::string(record_image::kLongField - 2, 'x'));
    std::vector<std::string> wide = many;
    wide.push_back(prose(9, 500));
    const std::vector<Row> rows{
        {"a text of the kind that the dictionary knows", imageOf({"name", prose(9, 500), "7"}), true},
        {"a text just long enough", imageOf({"name", prose(9, record_image::kLongField)}), true},
        {"long items of parts", *encodeRecord(parts, 7), true},
        {"a long text that is not too long", imageOf({prose(3, 900000)}), true},
        {"nothing long", imageOf({"name", prose(9, record_image::kLongField - 2), "7"}), false},
        {"no field at all", imageOf({}), false},
        {"a tombstone", encodeTombstone(3), false},
        {"bytes that do not become less", imageOf({"name", noise(500)}), false},
        {"a text that is read in pieces", imageOf({prose(3, 1100000)}), false},
        {"more short values than the place of the long ones can say", imageOf(wide), false},
        {"no image", "no image at all, but something else that is long enough to be mistaken for an image",
         false},
    };
    for (const Row& row : rows) {
        std::string small;
        ASSERT_EQ(packImage(row.image, *dictionary_, small), row.packed) << row.reason;
        if (!row.packed) continue;
        EXPECT_TRUE(isPacked(small)) << row.reason;
        EXPECT_LT(small.size(), row.image.size()) << row.reason;
        std::string whole;
        EXPECT_EQ(unpackImage(small, *dictionary_, whole), WDB_OK) << row.reason;
        EXPECT_EQ(whole, row.image) << row.reason;
        const auto view = RecordView::validate(small, dictionary_.get());
        ASSERT_TRUE(view) << row.reason;
        EXPECT_EQ(view->image(), row.image) << row.reason;
        EXPECT_EQ(*encodeRecord(RecordData::from(*view), 7), row.image) << row.reason;
        std::string again;
        EXPECT_FALSE(packImage(small, *dictionary_, again)) << row.reason;
    }
}

TEST_F(PackedImageTest, ShortValuesAreReadWhereTheyAre) {
    const std::string image = imageOf({"name", prose(9, 500), "7"});
    const std::string small = packed(image);
    const auto view = RecordView::validate(small, dictionary_.get());
    ASSERT_TRUE(view);
    const auto inside = [&small](Slice item) {
        return item.data() >= small.data() && item.data() < small.data() + small.size();
    };
    EXPECT_EQ(view->items(1).first(), "name");
    EXPECT_TRUE(inside(view->items(1).first()) && inside(view->items(3).first()));
    const Slice text = view->items(2).first();
    EXPECT_EQ(text, prose(9, 500));
    const RecordView copy = *view;
    EXPECT_EQ(copy.items(2).first().data(), text.data()) << "unpacked once";
}

TEST_F(PackedImageTest, LongValuesThatStayAreTakenAsTheyAre) {
    const std::string image = imageOf({"name", prose(9, 500), "7"});
    const std::string fresh = packed(image);
    std::string cut = packed(imageOf({"another", prose(9, 500)}));
    cut.erase(cut.size() - 8, 1);
    const struct {
        const char* reason;
        std::string before;
    } rows[] = {{"a short value changes its length", packed(imageOf({"another name", prose(9, 500), "7"}))},
                {"a short value goes", packed(imageOf({"name", prose(9, 500)}))},
                {"another text of the same length", packed(imageOf({"name", prose(10, 500), "7"}))},
                {"a shorter text", packed(imageOf({"name", prose(9, 400), "7"}))},
                {"a longer text", packed(imageOf({"name", prose(9, 600), "7"}))},
                {"it was not packed", image},
                {"it is cut", cut},
                {"there was none", ""}};
    for (const auto& row : rows) {
        std::string small;
        ASSERT_TRUE(packImage(image, *dictionary_, small, row.before)) << row.reason;
        EXPECT_EQ(small, fresh) << row.reason;
    }
}

TEST_F(PackedImageTest, OneDictionaryOnly) {
    const std::string small = packed(imageOf({"name", prose(9, 500)}));
    const auto other = TailDictionary::open(sampleOf(5000));
    ASSERT_TRUE(other);
    ASSERT_NE((*other)->id(), dictionary_->id());
    std::string whole;
    EXPECT_EQ(RecordView::validate(small).status(), WDB_E_CORRUPT);
    EXPECT_EQ(RecordView::validate(small, other->get()).status(), WDB_E_CORRUPT);
    EXPECT_EQ(unpackImage(small, **other, whole), WDB_E_CORRUPT);
    EXPECT_EQ(dictionaryOf(small), dictionary_->id());
}

// Without a right checksum the view is refused; behind one, a value is what was stored or an accessor throws.
TEST_F(PackedImageTest, DamageIsAStatus) {
    const std::string image = imageOf({"name", prose(9, 500), "7", prose(10, 300)});
    const std::string small = packed(image);
    std::mt19937 random(3);
    int refused = 0, thrown = 0, read = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string damaged = small;
        if (i % 4 == 0)
            damaged.resize(random() % damaged.size());
        else
            damaged[random() % damaged.size()] = static_cast<char>(random());
        if (damaged != small) {
            ASSERT_EQ(RecordView::validate(damaged, dictionary_.get()).status(), WDB_E_CORRUPT);
        }
        if (damaged.size() < record_image::kHeaderSize) continue;
        sealImage(damaged);
        const auto view = RecordView::validate(damaged, dictionary_.get());
        if (!view) {
            ++refused;
            continue;
        }
        size_t bytes = 0;
        const Status status = readAll(*view, bytes);
        ASSERT_TRUE(status == WDB_OK || status == WDB_E_CORRUPT) << status;
        ++(status == WDB_OK ? read : thrown);
        ASSERT_LE(bytes, size_t{4} << 20);
    }
    EXPECT_GT(refused, 0);
    EXPECT_GT(thrown, 0);
    EXPECT_GT(read, 0);
}

// The frame's header says how long the text is: nobody may reserve what it says unseen.
TEST_F(PackedImageTest, ClaimedLengthIsBounded) {
    for (const uint64_t claimed : {uint64_t{1} << 62, uint64_t{1} << 40, uint64_t{2} << 20}) {
        std::string small = packed(imageOf({"name", prose(9, 500)}));
        const size_t front = loadLittle<uint16_t>(small.data() + small.size() - 2);
        std::string length;
        appendLittle(length, claimed);
        small[front] = static_cast<char>(0xE0);  // one segment, length of eight bytes
        small.replace(front + 1, 2, length);
        sealImage(small);
        const auto view = RecordView::validate(small, dictionary_.get());
        ASSERT_TRUE(view);
        size_t bytes = 0;
        EXPECT_EQ(readAll(*view, bytes), WDB_E_CORRUPT) << claimed;
    }
}

TEST_F(PackedImageTest, SamplesThatMakeNoDictionary) {
    DictionarySample few;
    for (unsigned i = 0; few.bytes() + 400 < DictionarySample::kLeast; ++i) few.add(imageOf({prose(i, 400)}));
    EXPECT_EQ(few.dictionary(), "") << "too little text";
    DictionarySample damaged;
    for (unsigned i = 0; i < 500; ++i) damaged.add(imageOf({prose(i, 400)}).substr(0, 300));
    EXPECT_EQ(damaged.bytes(), 0u) << "no images";
    DictionarySample none;
    for (unsigned i = 0; i < 5000; ++i) none.add(imageOf({"name", "short"}));
    EXPECT_EQ(none.bytes(), 0u) << "no long values";
}

TEST_F(PackedImageTest, DamagedDictionary) {
    EXPECT_NE(TailDictionary::idOf(bytes_->substr(1)), dictionary_->id());
    std::string codes = *bytes_;
    for (size_t i = 8; i < 200; ++i) codes[i] = static_cast<char>(0xFF);
    EXPECT_EQ(TailDictionary::open(codes).status(), WDB_E_CORRUPT);
}

}  // namespace
}  // namespace wdb
