#include "kernel/catalog/VerifiedImages.h"

#include <gtest/gtest.h>

namespace wdb {
namespace {

std::string imageOf(const char* value, uint64_t commit) {
    RecordData record;
    record.head.at(3).items = {value};
    return *encodeRecord(record, commit);
}

enum Step { Whole, BadValue, BadLength, Newer, BadNewer };

// Reads images of record 7, one after another.
TEST(VerifiedImagesTest, WhatIsCheckedWhen) {
    struct Case {
        std::vector<Step> steps;
        std::vector<Status> answers;
        const char* reason;
    };
    const Case cases[] = {
        {{Whole, Whole}, {WDB_OK, WDB_OK}, "a record is read twice"},
        {{BadValue, Whole}, {WDB_E_CORRUPT, WDB_OK}, "a damaged image is not taken for a whole one"},
        {{BadValue, BadValue}, {WDB_E_CORRUPT, WDB_E_CORRUPT}, "nor is it by being read before"},
        {{Whole, BadLength}, {WDB_OK, WDB_E_CORRUPT}, "reading stays inside, whatever was checked before"},
        {{Whole, BadNewer}, {WDB_OK, WDB_E_CORRUPT}, "a changed record is checked anew"},
        {{Whole, Newer, Whole}, {WDB_OK, WDB_OK, WDB_OK}, "two states of a record in turns"},
    };
    const std::string whole = imageOf("abcdefgh", 1), newer = imageOf("abcdefgi", 2);
    const auto changed = [](std::string image, size_t fromEnd, char by) {
        image[image.size() - fromEnd] = static_cast<char>(image[image.size() - fromEnd] + by);
        return image;
    };
    const std::string images[] = {whole, changed(whole, 1, 1), changed(whole, 9, 100), newer,
                                  changed(newer, 1, 1)};
    for (const Case& one : cases) {
        VerifiedImages verified;
        for (size_t i = 0; i < one.steps.size(); ++i) {
            const Result<RecordView> view = verified.view(7, images[one.steps[i]], 1);
            EXPECT_EQ(view.status(), one.answers[i]) << one.reason << ", step " << i;
            if (view && one.steps[i] == Whole) {
                EXPECT_EQ(view->items(3).first(), "abcdefgh") << one.reason;
            }
        }
    }
}

// The number of slots is a power of two that the base's size gives: numbers share them.
TEST(VerifiedImagesTest, RecordsThatShareASlotAreToldApart) {
    VerifiedImages verified;
    const std::string whole = imageOf("abcdefgh", 1);
    std::string damaged = whole;
    damaged.back() = 'x';
    for (const RecordNumber number : {1u, 257u, 65537u}) {
        EXPECT_TRUE(verified.view(number, whole, 0));
        EXPECT_EQ(verified.view(number + 65536, damaged, 0).status(), WDB_E_CORRUPT) << number;
    }
}

}  // namespace
}  // namespace wdb
