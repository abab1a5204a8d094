#include <gtest/gtest.h>

#include <fcntl.h>

#include "kernel/check/BaseVerifier.h"
#include "tests/unit/catalog/HomeFixture.h"

// Units over several bases that end in the middle of their commits.

namespace wdb {
namespace {

constexpr const char* kNames[] = {"A", "B", "C"};

struct Place {
    const char* reason;
    size_t committed;  // of the three bases, when the unit ends
    bool dropped;      // the list had been removed as well
};

// What a base looks like: its texts by record, keys and objects.
std::string contents(OpenBase& base) {
    const auto snapshot = base.snapshot();
    if (!snapshot) return "#" + std::to_string(snapshot.status());
    std::string all;
    const BaseReader reader = snapshot->reader();
    EXPECT_EQ(reader.forEachRecord(1,
                                   [&](RecordNumber number, Slice image) -> Status {
                                       const auto view = RecordView::validate(image);
                                       all += std::to_string(number) + "=" +
                                              std::string(view->items(1).first()) + " ";
                                       return WDB_OK;
                                   }),
              WDB_OK);
    for (uint64_t object = 1; object < snapshot->meta().nextObject; ++object) {
        for (uint32_t chunk = 0;; ++chunk) {
            const auto bytes = reader.objectChunk(object, chunk);
            if (!bytes) break;
            all += std::to_string(object) + "." + std::to_string(chunk) + ":" + std::string(*bytes) + " ";
        }
    }
    EXPECT_EQ(verifyBase(*snapshot, {},
                         [](Severity, RecordNumber record, const std::string& text) {
                             ADD_FAILURE() << record << ": " << text;
                             return true;
                         }),
              WDB_OK);
    return all;
}

// Three records and an object of two chunks.
void fill(const Home& home, const std::shared_ptr<OpenBase>& base) {
    SessionUnit unit(home.lock());
    const auto joined = unit.base(base);
    ASSERT_TRUE(joined);
    for (const char* name : {"one", "two", "three"}) ASSERT_TRUE(putRow(**joined, 0, name, "old text"));
    const uint64_t object = (*joined)->writer->newObject();
    ASSERT_EQ((*joined)->writer->putObjectChunk(object, 0, "old"), WDB_OK);
    ASSERT_EQ((*joined)->writer->putObjectChunk(object, 1, "er"), WDB_OK);
    ASSERT_EQ(unit.commit(2000), WDB_OK);
}

// A new record, a changed one (key and all), a deleted one, an object for another.
void change(UnitBase& base) {
    ASSERT_TRUE(putRow(base, 0, "four", "new text"));
    ASSERT_TRUE(putRow(base, 1, "first", "new text"));
    ASSERT_TRUE(putRow(base, 1, "uno", "new text"));
    const ValueKey key = valueKey(FieldType::Phrase, "two");
    ASSERT_EQ(base.writer->dropKey(uniqueKey(1, key.bytes, false, {})), WDB_OK);
    ASSERT_EQ(base.remove(2), WDB_OK);
    ASSERT_EQ(base.writer->dropObject(1), WDB_OK);
    ASSERT_EQ(base.writer->putObjectChunk(base.writer->newObject(), 0, "new"), WDB_OK);
}

const std::string kBefore = "1=one 2=two 3=three 1.0:old 1.1:er ";
const std::string kAfter = "1=uno 3=three 4=four 2.0:new ";

// Ends a unit at the place and leaves the rest to others.
void endAt(const Home& home, const Place& place) {
    SessionUnit unit(home.lock(), home.shared());
    std::vector<BaseWrites> writes;
    for (const char* name : kNames) {
        const auto base = home->find(name);
        ASSERT_TRUE(base);
        const auto joined = unit.base(*base);
        ASSERT_TRUE(joined);
        change(**joined);
        writes.push_back({(*base)->id(), (*joined)->writer});
    }
    ASSERT_EQ(unit.unit().prepare(3000), WDB_OK);
    uint64_t identity = 0;
    ASSERT_EQ(home->storeUnit(writes, identity, unit.unit().hold()), WDB_OK);
    for (size_t i = 0; i < place.committed; ++i) {
        ASSERT_EQ(unit.bases()[i]->writer->commit(3000), WDB_OK);
    }
    if (place.dropped) {
        ASSERT_EQ(home->dropUnit(unit.unit().hold()), WDB_OK);
    }
}

const Place kPlaces[] = {{"before the first commit", 0, false},
                         {"after the first", 1, false},
                         {"after the second", 2, false},
                         {"all committed, the list still there", 3, false},
                         {"all done", 3, true}};

class UnitRecoveryTest : public testing::TestWithParam<Place> {
protected:
    void SetUp() override {
        home_.emplace(parent_ / "home");
        for (const char* name : kNames) {
            ASSERT_EQ(home_->createBase(name), WDB_OK);
            fill(*home_, *(*home_)->find(name));
        }
        for (const char* name : kNames) ASSERT_EQ(contents(**(*home_)->find(name)), kBefore);
    }
    void expectWhole(const Home& home) {
        for (const char* name : kNames) EXPECT_EQ(contents(**home->find(name)), kAfter) << name;
    }
    TempDirectory parent_;
    std::optional<Home> home_;
};

TEST_P(UnitRecoveryTest, TheNextWriterFinishes) {
    endAt(*home_, GetParam());
    { const WriterHold next = home_->lock(); }
    expectWhole(*home_);
    ASSERT_TRUE(putRow(*home_, *(*home_)->find("B"), 0, "five", "later"));
    { const WriterHold next = home_->lock(); }
    EXPECT_EQ(contents(**(*home_)->find("B")), "1=uno 3=three 4=four 5=five 2.0:new ") << "once is enough";
}

TEST_P(UnitRecoveryTest, TheNextOpenFinishes) {
    endAt(*home_, GetParam());
    home_.reset();
    // As after a fall of the machine: what processes share is gone.
    const int file = ::open((parent_ / "home/writer.lock").c_str(), O_RDWR);
    ASSERT_GE(file, 0);
    const uint64_t nothing = 0;
    ASSERT_EQ(::pwrite(file, &nothing, sizeof nothing, 128), static_cast<ssize_t>(sizeof nothing));
    ::close(file);
    const Home home(parent_ / "home", false);
    expectWhole(home);
}

TEST_P(UnitRecoveryTest, AMissingFileStopsTheWriter) {
    endAt(*home_, GetParam());
    std::error_code failed;
    std::filesystem::remove(parent_ / "home/bases/C.BAF", failed);
    const bool needed = !GetParam().dropped;
    EXPECT_EQ((*home_)->acquireWriter(kPatience).status(), needed ? WDB_E_STORAGE : WDB_OK)
        << "a file that is missing is damage, and nobody writes on top of it";
}

INSTANTIATE_TEST_SUITE_P(Places, UnitRecoveryTest, testing::ValuesIn(kPlaces),
                         [](const auto& place) { return "At" + std::to_string(place.index); });

TEST(SeveralBases, AUnitForOneTakesNoSecond) {
    const TempDirectory parent;
    const Home home(parent / "home");
    for (const char* name : {"A", "B"}) ASSERT_EQ(home.createBase(name), WDB_OK);
    SessionUnit unit(home.lock());
    ASSERT_TRUE(unit.base(*home->find("A")));
    EXPECT_EQ(unit.base(*home->find("B")).status(), WDB_E_UNSUPPORTED);
}

}  // namespace
}  // namespace wdb
