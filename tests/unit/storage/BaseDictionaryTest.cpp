#include <gtest/gtest.h>

#include "kernel/record/PackedImage.h"
#include "kernel/storage/BaseFile.h"
#include "kernel/storage/BaseLayout.h"
#include "kernel/storage/FileCopy.h"
#include "tests/model/WithoutThreads.h"
#include "tests/unit/record/Prose.h"
#include "tests/unit/storage/ChildProcess.h"
#include "tests/unit/storage/TempDirectory.h"

namespace wdb {
namespace {

constexpr unsigned kMany = 2500;  // records that are more text than a sample takes
constexpr unsigned kSome = 400;   // enough for a dictionary, which is made when the load ends

std::string imageOf(unsigned number, uint64_t commit = 1) {
    RecordData record;
    record.head.at(1).items = {"name " + std::to_string(number)};
    record.head.at(2).items = {prose(number, 250 + number % 300)};
    return *encodeRecord(record, commit);
}

class BaseDictionaryTest : public testing::Test {
protected:
    void SetUp() override {
        auto made = BaseFile::create(path_, 1000);
        ASSERT_TRUE(made) << made.status();
        file_ = *made;
    }
    std::unique_ptr<BaseWriter> write() const {
        auto writer = file_->write();
        EXPECT_TRUE(writer);
        return writer ? std::move(*writer) : nullptr;
    }
    static void load(BaseWriter& writer, unsigned count) {
        for (unsigned i = 0; i < count; ++i) {
            const auto number = writer.newRecord();
            ASSERT_TRUE(number);
            ASSERT_EQ(writer.putInRange(*number, imageOf(*number)), WDB_OK);
        }
    }
    void loaded(unsigned count) const {
        const auto writer = write();
        load(*writer, count);
        ASSERT_EQ(writer->commit(2000), WDB_OK);
    }
    void reopen(bool readOnly = false) {
        file_.reset();
        auto opened = BaseFile::open(path_, readOnly);
        ASSERT_TRUE(opened) << opened.status();
        file_ = *opened;
    }
    static BaseMeta metaOf(const BaseReader& reader) {
        const auto meta = reader.meta();
        EXPECT_TRUE(meta);
        return meta ? *meta : BaseMeta();
    }
    // How many of the records from 1 to count are packed; each must be what was stored.
    static unsigned packedOf(const BaseReader& reader, unsigned count) {
        unsigned packed = 0;
        RecordNumber next = 1;
        EXPECT_EQ(reader.forEachRecord(1,
                                       [&](RecordNumber number, Slice image) -> Status {
                                           EXPECT_EQ(number, next++);
                                           EXPECT_EQ(image, imageOf(number));
                                           const auto stored = reader.image(number);
                                           const auto view = reader.record(number);
                                           EXPECT_TRUE(stored && view && view->image() == image) << number;
                                           packed += stored && isPacked(*stored) ? 1 : 0;
                                           return WDB_OK;
                                       }),
                  WDB_OK);
        EXPECT_EQ(next, count + 1);
        return packed;
    }
    unsigned packedOf(unsigned count) const {
        const auto txn = file_->read();
        return packedOf(BaseReader(*txn), count);
    }

    TempDirectory directory_;
    const std::string path_ = directory_ / "T.BAF";
    std::shared_ptr<BaseFile> file_;
};

TEST_F(BaseDictionaryTest, ALoadPacksItsFirstRecordsToo) {
    for (const unsigned count : {kMany, kSome}) {
        const auto writer = write();
        load(*writer, count);
        ASSERT_EQ(writer->prepare(2000), WDB_OK);
        EXPECT_EQ(packedOf(*writer, count), count) << "its own reader sees them";
        writer->writeTxn().abort();
    }
    loaded(kMany);
    EXPECT_EQ(packedOf(kMany), kMany) << "after loads with other dictionaries that were given up";
    const uint32_t dictionary = metaOf(BaseReader(*file_->read())).dictionary;
    EXPECT_NE(dictionary, 0u);
    reopen();
    {
        const auto writer = write();
        load(*writer, kMany);
        ASSERT_EQ(writer->commit(3000), WDB_OK);
    }
    reopen(true);
    EXPECT_EQ(packedOf(2 * kMany), 2 * kMany);
    EXPECT_EQ(metaOf(BaseReader(*file_->read())).dictionary, dictionary) << "one for all loads";
}

// What a load was told waits and is packed by another thread: its own reader must not see that.
TEST_F(BaseDictionaryTest, ALoadsRecordsAreThereAtOnce) {
    for (const unsigned count : {10u, kSome, kMany}) {
        const auto writer = write();
        load(*writer, count);
        for (const unsigned number : {count, 1u}) {
            const auto record = writer->record(number);
            ASSERT_TRUE(record) << number << " of " << count;
            EXPECT_EQ(record->image(), imageOf(number));
        }
        load(*writer, 3);
        ASSERT_TRUE(writer->put(count + 2, imageOf(1))) << "one that waits";
        ASSERT_TRUE(writer->remove(count + 3));
        load(*writer, 1);
        EXPECT_EQ(writer->image(count + 3).status(), WDB_E_DELETED);
        EXPECT_EQ(writer->record(count + 2)->image(), imageOf(1));
        EXPECT_EQ(writer->record(count + 4)->image(), imageOf(count + 4)) << "behind a changed one";
        EXPECT_EQ(writer->image(count + 5).status(), WDB_FAIL);
        EXPECT_EQ(writer->meta().liveCount, count + 3);
        writer->writeTxn().abort();
    }
}

// An image that cannot be stored is no image that was.
TEST_F(BaseDictionaryTest, ALoadPacksByItselfWhereNoThreadIsToBeHad) {
    loaded(kMany);
    file_.reset();
    ChildProcess child([this] {
        if (!withoutThreads(path_.substr(0, path_.rfind('/')))) return 2;
        reopen();
        loaded(kMany);
        return HasFailure() ? 1 : 0;
    });
    ASSERT_EQ(child.wait(), 0);
    reopen();
    EXPECT_EQ(packedOf(2 * kMany), 2 * kMany);
}

TEST_F(BaseDictionaryTest, WhatCannotBeStoredLaterFailsTheLoad) {
    const auto writer = write();
    ASSERT_EQ(writer->writeTxn().put(base_table::kRecords, RecordNumber{5}, imageOf(5)), WDB_OK);
    load(*writer, 4);
    ASSERT_EQ(writer->putInRange(*writer->newRecord(), imageOf(5)), WDB_OK) << "it waits";
    EXPECT_FALSE(ok(writer->image(1).status()));
    EXPECT_FALSE(ok(writer->commit(2000)));
    EXPECT_EQ(metaOf(BaseReader(*file_->read())).liveCount, 0u);
}

TEST_F(BaseDictionaryTest, LittleTextMakesNone) {
    loaded(50);
    EXPECT_EQ(packedOf(50), 0u);
    EXPECT_EQ(metaOf(BaseReader(*file_->read())).dictionary, 0u);
    Slice meta;
    const auto txn = file_->read();
    ASSERT_EQ(txn->get(base_table::kMeta, base_layout::kMetaKey, meta), WDB_OK);
    EXPECT_EQ(loadLittle<uint32_t>(meta.data()), kBaseFormat) << "programs that know no dictionaries read it";
}

// A base whose records came one by one, as all did before there were dictionaries.
TEST_F(BaseDictionaryTest, SingleRecordsMakeOneAndOldOnesStay) {
    constexpr unsigned kFirst = 1023;
    const auto put = [&](unsigned from, unsigned to) {
        const auto writer = write();
        for (unsigned i = from; i <= to; ++i) {
            ASSERT_TRUE(writer->newRecord());
            ASSERT_TRUE(writer->put(i, imageOf(i)));
        }
        ASSERT_EQ(writer->commit(2000), WDB_OK);
    };
    put(1, kFirst);
    EXPECT_EQ(packedOf(kFirst), 0u);
    reopen();
    put(kFirst + 1, kFirst + 100);
    EXPECT_EQ(packedOf(kFirst + 100), 99u);
    const auto writer = write();
    ASSERT_TRUE(writer->put(1, imageOf(1)));
    ASSERT_TRUE(writer->remove(kFirst + 50));
    ASSERT_EQ(writer->commit(3000), WDB_OK);
    const auto txn = file_->read();
    const BaseReader reader(*txn);
    EXPECT_TRUE(isPacked(*reader.image(1)));
    std::vector<std::string> previous;
    EXPECT_EQ(reader.forEachChange(kFirst + 100, 5000,
                                   [&](const QueueEntry& entry) -> Status {
                                       const auto view = reader.view(entry.previous);
                                       EXPECT_TRUE(view);
                                       if (view) previous.emplace_back(view->image());
                                       return WDB_OK;
                                   }),
              WDB_OK);
    EXPECT_EQ(previous, (std::vector<std::string>{imageOf(1), imageOf(kFirst + 50)}));
}

TEST_F(BaseDictionaryTest, SingleRecordsMayBeMoreThanASampleTakes) {
    const auto writer = write();
    for (unsigned i = 1; i <= 1100; ++i) {
        RecordData record;
        record.head.at(1).items = {prose(i, 1000)};
        ASSERT_TRUE(writer->newRecord());
        ASSERT_TRUE(writer->put(i, *encodeRecord(record, 1))) << i;
    }
    EXPECT_TRUE(isPacked(*writer->image(1100)));
    EXPECT_EQ(writer->commit(2000), WDB_OK);
}

TEST_F(BaseDictionaryTest, AnotherProcessMakesIt) {
    loaded(50);
    file_.reset();
    int begin[2];
    ASSERT_EQ(::pipe(begin), 0);
    ChildProcess other([&] {
        char byte = 0;
        if (::read(begin[0], &byte, 1) != 1) return 1;
        const auto opened = BaseFile::open(path_, false);
        if (!opened) return 2;
        auto writer = (*opened)->write();
        if (!writer) return 3;
        load(**writer, kMany);
        return ok((*writer)->commit(3000)) ? 0 : 4;
    });
    reopen();
    EXPECT_EQ(packedOf(50), 0u);
    ASSERT_EQ(::write(begin[1], "x", 1), 1);
    ASSERT_EQ(other.wait(), 0);
    EXPECT_EQ(packedOf(50 + kMany), kMany);
    ::close(begin[0]);
    ::close(begin[1]);
}

TEST_F(BaseDictionaryTest, ACopyHasIt) {
    loaded(kMany);
    Progress progress;
    ASSERT_EQ(copyFile(*file_->read(), directory_ / "COPY.BAF", progress), WDB_OK);
    const auto copy = BaseFile::open(directory_ / "COPY.BAF", true);
    ASSERT_TRUE(copy);
    EXPECT_EQ(packedOf(BaseReader(*(*copy)->read()), kMany), kMany);
}

TEST_F(BaseDictionaryTest, TheListOfAUnitsWritesHasIt) {
    const auto writer = write();
    load(*writer, kMany);
    ASSERT_EQ(writer->prepare(2000), WDB_OK);
    const auto copy = BaseFile::create(directory_ / "COPY.BAF", 1);
    ASSERT_TRUE(copy);
    auto redo = (*copy)->write();
    ASSERT_TRUE(redo);
    ASSERT_EQ(writer->forEachWrite([&](Table table, Slice key, std::optional<Slice> value) {
        return (*redo)->writeTxn().put(table, key, value.value_or(Slice()));
    }),
              WDB_OK);
    ASSERT_EQ((*redo)->writeTxn().commit(), WDB_OK);
    redo->reset();
    EXPECT_EQ(packedOf(BaseReader(*(*copy)->read()), kMany), kMany);
}

// What stands in the file instead of the dictionary: the records that need it are damaged, the others are
// not.
TEST_F(BaseDictionaryTest, WithoutItsDictionaryAPackedRecordIsDamaged) {
    loaded(kMany);
    const uint32_t id = metaOf(BaseReader(*file_->read())).dictionary;
    const std::string key = base_layout::dictionaryKey(id);
    std::string sound;
    {
        Slice bytes;
        const auto txn = file_->read();
        ASSERT_EQ(txn->get(base_table::kMeta, key, bytes), WDB_OK);
        sound = bytes;
    }
    std::string bent = sound;
    bent[bent.size() / 2] = static_cast<char>(bent[bent.size() / 2] ^ 1);
    const struct {
        const char* reason;
        std::optional<std::string> bytes;
        Status status;
    } rows[] = {{"none", std::nullopt, WDB_E_CORRUPT},
                {"a bent one", bent, WDB_E_CORRUPT},
                {"an empty one", "", WDB_E_CORRUPT},
                {"the right one", sound, WDB_OK}};
    for (const auto& row : rows) {
        {
            const auto writer = write();
            WriteTxn& txn = writer->writeTxn();
            ASSERT_EQ(
                row.bytes ? txn.put(base_table::kMeta, key, *row.bytes) : txn.remove(base_table::kMeta, key),
                WDB_OK);
            RecordData small;
            small.head.at(1).items = {"small"};
            ASSERT_EQ(txn.put(base_table::kRecords, RecordNumber{2}, *encodeRecord(small, 1)), WDB_OK);
            ASSERT_EQ(txn.commit(), WDB_OK);
        }
        reopen();
        const auto txn = file_->read();
        const BaseReader reader(*txn);
        EXPECT_EQ(reader.record(1).status(), row.status) << row.reason;
        EXPECT_TRUE(reader.record(2)) << row.reason;
        EXPECT_EQ(reader.forEachRecord(1,
                                       [&](RecordNumber number, Slice image) -> Status {
                                           const bool whole = number == 2 || row.status == WDB_OK;
                                           EXPECT_EQ(ok(RecordView::validate(image).status()), whole);
                                           return number == 3 ? WDB_FAIL : WDB_OK;
                                       }),
                  WDB_FAIL)
            << row.reason;
        EXPECT_EQ((*file_->write())->put(1, imageOf(1)).status(), row.status) << row.reason;
    }
}

}  // namespace
}  // namespace wdb
