#include "kernel/storage/BaseFile.h"

#include <gtest/gtest.h>

#include <fstream>

#include "kernel/record/RecordImage.h"
#include "kernel/storage/BaseLayout.h"
#include "kernel/storage/WriteUnit.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {
namespace {

std::string imageOf(const std::string& text, uint64_t commit = 1) {
    RecordData record;
    record.head.at(1).items = {text};
    auto image = encodeRecord(record, commit);
    return image ? *image : std::string();
}

class BaseFileTest : public testing::Test {
protected:
    void SetUp() override {
        auto made = BaseFile::create(directory_ / "T.BAF", 1000);
        ASSERT_TRUE(made) << made.status();
        file_ = *made;
    }
    BaseMeta meta() const {
        auto txn = file_->read();
        const auto meta = BaseReader(*txn).meta();
        EXPECT_TRUE(meta);
        return meta ? *meta : BaseMeta();
    }
    std::vector<std::string> queue(Position after = 0) const {
        auto txn = file_->read();
        std::vector<std::string> entries;
        EXPECT_EQ(BaseReader(*txn).forEachChange(
                      after, 1000,
                      [&](const QueueEntry& entry) {
                          entries.push_back(std::to_string(entry.position) + ":" +
                                            "-PDR"[static_cast<int>(entry.kind)] +
                                            std::to_string(entry.record) + "-" + std::to_string(entry.last) +
                                            (entry.previous.empty() ? "" : "+previous"));
                          return Status{WDB_OK};
                      }),
                  WDB_OK);
        return entries;
    }

    TempDirectory directory_;
    std::shared_ptr<BaseFile> file_;
};

TEST_F(BaseFileTest, PutsAndDeletionsAndTheirQueue) {
    auto writer = file_->write();
    ASSERT_TRUE(writer);
    EXPECT_EQ(*(*writer)->newRecord(), 1u);
    EXPECT_EQ(*(*writer)->newRecord(), 2u);
    EXPECT_EQ(*(*writer)->put(1, imageOf("one")), 1u);
    EXPECT_EQ(*(*writer)->put(2, imageOf("two")), 2u);
    EXPECT_EQ(*(*writer)->put(1, imageOf("one again")), 3u);
    EXPECT_EQ(*(*writer)->remove(2), 4u);
    EXPECT_EQ((*writer)->remove(2).status(), WDB_E_DELETED);
    EXPECT_EQ((*writer)->remove(3).status(), WDB_FAIL);
    ASSERT_EQ((*writer)->commit(5000), WDB_OK);

    EXPECT_EQ(queue(), (std::vector<std::string>{"1:P1-1", "2:P2-2", "3:P1-1+previous", "4:D2-2+previous"}));
    EXPECT_EQ(meta().liveCount, 1u);
    EXPECT_EQ(meta().commit, 1u) << "one number per transaction";
    EXPECT_EQ(meta().modified, 5000);
    EXPECT_EQ(meta().queueCount, 4u);
    auto txn = file_->read();
    const BaseReader reader(*txn);
    EXPECT_EQ(*reader.image(1), imageOf("one again"));
    EXPECT_EQ(reader.image(2).status(), WDB_E_DELETED);
    EXPECT_EQ(reader.image(3).status(), WDB_FAIL);
    std::vector<RecordNumber> live;
    EXPECT_EQ(reader.forEachRecord(1,
                                   [&](RecordNumber number, Slice) {
                                       live.push_back(number);
                                       return Status{WDB_OK};
                                   }),
              WDB_OK);
    EXPECT_EQ(live, std::vector<RecordNumber>{1});
}

TEST_F(BaseFileTest, TheModificationDateNeverStandsStill) {
    const struct {
        int64_t now;
        int64_t expected;
        const char* reason;
    } rows[] = {
        {900, 1001, "the clock stepped back"}, {1001, 1002, "within one microsecond"}, {7000, 7000, "later"}};
    for (const auto& row : rows) {
        auto writer = file_->write();
        ASSERT_TRUE(writer);
        ASSERT_TRUE((*writer)->put(*(*writer)->newRecord(), imageOf("x")));
        ASSERT_EQ((*writer)->commit(row.now), WDB_OK);
        EXPECT_EQ(meta().modified, row.expected) << row.reason;
    }
    auto writer = file_->write();
    ASSERT_EQ((*writer)->commit(9000), WDB_OK);
    EXPECT_EQ(meta().modified, 7000) << "nothing was changed";
}

TEST_F(BaseFileTest, ALoadSharesOneEntryWhosePlaceIsItsFirstRecord) {
    {
        auto writer = file_->write();
        for (RecordNumber i = 0; i < 5; ++i) {
            const RecordNumber number = *(*writer)->newRecord();
            if (number == 3) continue;  // refused by a rule
            ASSERT_EQ((*writer)->putInRange(number, imageOf("x")), WDB_OK);
            if (number == 2) {
                EXPECT_EQ(*(*writer)->put(1, imageOf("changed within the load")), 2u);
            }
        }
        EXPECT_EQ((*writer)->putInRange(2, imageOf("x")), WDB_E_ARGUMENT) << "numbers ascend";
        ASSERT_EQ((*writer)->commit(2000), WDB_OK);
    }
    EXPECT_EQ(queue(), (std::vector<std::string>{"1:R1-5", "2:P1-1+previous"}));
    EXPECT_EQ(meta().liveCount, 4u);
    EXPECT_EQ(meta().position(), 2u);
}

TEST_F(BaseFileTest, TrimmingTakesEntriesFromTheFront) {
    auto writer = file_->write();
    for (int i = 0; i < 4; ++i) ASSERT_TRUE((*writer)->put(*(*writer)->newRecord(), imageOf("x")));
    ASSERT_EQ((*writer)->commit(2000), WDB_OK);
    for (const Position upTo : {Position{3}, Position{4}}) {
        writer = file_->write();
        ASSERT_EQ((*writer)->trimQueue(upTo, 2000), WDB_OK);
        ASSERT_EQ((*writer)->commit(3000), WDB_OK);
        EXPECT_EQ(meta().queueCount, 4 - upTo);
        EXPECT_EQ(meta().trimmed, upTo);
        EXPECT_EQ(meta().modified, 2000) << "records did not change";
    }
    EXPECT_EQ(meta().queueBytes, 0u);
    EXPECT_EQ(meta().position(), 4u) << "sequence numbers go on";
}

TEST_F(BaseFileTest, Keys) {
    auto writer = file_->write();
    const std::string key = uniqueKey(1, "VALUE", false, "");
    EXPECT_EQ((*writer)->setKey(key, 1), WDB_OK);
    EXPECT_EQ((*writer)->setKey(key, 1), WDB_OK) << "its own";
    EXPECT_EQ((*writer)->setKey(key, 2), WDB_E_DUPLICATE);
    const std::string cut(400, 'v');
    EXPECT_EQ((*writer)->setKey(uniqueKey(1, cut, true, cut + "a"), 2), WDB_OK);
    EXPECT_EQ((*writer)->setKey(uniqueKey(1, cut, true, cut + "b"), 3), WDB_OK)
        << "cut keys differ by their values";
    EXPECT_EQ((*writer)->setKey(uniqueKey(2, "VALUE", false, ""), 4), WDB_OK) << "another field";
    EXPECT_EQ((*writer)->dropKeysOf(1), WDB_OK);
    EXPECT_EQ((*writer)->findKey(key).status(), WDB_FAIL);
    EXPECT_EQ(*(*writer)->findKey(uniqueKey(2, "VALUE", false, "")), 4u);
    EXPECT_EQ((*writer)->dropKey("absent"), WDB_OK);
}

TEST_F(BaseFileTest, LargeObjectsGoInChunks) {
    auto writer = file_->write();
    const uint64_t first = (*writer)->newObject();
    const uint64_t second = (*writer)->newObject();
    ASSERT_NE(first, second);
    for (uint32_t chunk = 0; chunk < 3; ++chunk) {
        ASSERT_EQ((*writer)->putObjectChunk(first, chunk,
                                            std::string(kObjectChunk, static_cast<char>('a' + chunk))),
                  WDB_OK);
    }
    ASSERT_EQ((*writer)->putObjectChunk(second, 0, "z"), WDB_OK);
    EXPECT_EQ((*writer)->objectChunk(first, 2)->front(), 'c');
    EXPECT_EQ((*writer)->objectChunk(first, 3).status(), WDB_FAIL);
    EXPECT_EQ((*writer)->dropObject(first), WDB_OK);
    EXPECT_EQ((*writer)->objectChunk(first, 0).status(), WDB_FAIL);
    EXPECT_EQ(*(*writer)->objectChunk(second, 0), "z");
}

TEST_F(BaseFileTest, AUnitCommitsItsBasesOrNone) {
    auto lock = WriterLock::open(directory_ / "writer.lock");
    auto other = BaseFile::create(directory_ / "U.BAF", 1);
    ASSERT_TRUE(lock && other);
    for (const bool commit : {false, true}) {
        WriteUnit unit(std::move(*(*lock)->acquire(std::chrono::milliseconds(100))));
        for (const auto& file : {file_, *other}) {
            auto writer = unit.writer(file);
            ASSERT_TRUE(writer);
            EXPECT_EQ(unit.find(file.get()), *writer);
            ASSERT_TRUE((*writer)->put(*(*writer)->newRecord(), imageOf("x")));
        }
        EXPECT_FALSE(unit.empty());
        if (!commit) {
            unit.drop();
        } else {
            EXPECT_EQ(unit.commit(2000), WDB_OK);
        }
        EXPECT_EQ(meta().liveCount, commit ? 1u : 0u);
    }
}

TEST(BaseLayoutTest, BentBytesAreRefused) {
    const std::string good = base_layout::encodeQueueHeader(ChangeKind::Range, 2, 5, 10);
    ASSERT_TRUE(base_layout::decodeQueueEntry(1, good));
    const auto bent = [&](size_t at, char value) {
        std::string bytes = good;
        bytes[at] = value;
        return bytes;
    };
    const struct {
        std::string bytes;
        const char* reason;
    } rows[] = {{"", "empty"},
                {good.substr(0, 15), "short"},
                {bent(0, 0), "kind 0"},
                {bent(0, 4), "unknown kind"},
                {bent(4, 0), "record 0"},
                {bent(8, 1), "ends before it begins"},
                {bent(0, 1), "a put of several"},
                {good + "x", "a range with an image"}};
    for (const auto& row : rows) EXPECT_FALSE(base_layout::decodeQueueEntry(1, row.bytes)) << row.reason;
    EXPECT_FALSE(base_layout::decodeQueueEntry(0, good)) << "position 0";
    std::string meta = base_layout::encodeMeta(BaseMeta());
    EXPECT_TRUE(base_layout::decodeMeta(meta));
    EXPECT_FALSE(base_layout::decodeMeta(meta + "x"));
    meta[0] = 2;
    EXPECT_FALSE(base_layout::decodeMeta(meta)) << "another format";
}

}  // namespace
}  // namespace wdb
