#include <gtest/gtest.h>

#include <memory>

#include "tests/model/Home.h"
#include "tests/model/Twin.h"

// The kernel is driven at random beside a twin that holds the same records in memory and answers every
// question by looking at all of them: whatever the split between index files, delta and open unit, the
// answers are the same.
namespace model {
namespace {

class Driver {
public:
    explicit Driver(uint32_t seed) : random_(seed) {
        open();
        createBase("ITEMS",
                   {{"NAME", "PHRASE"},
                    {"KIND", "PHRASE"},
                    {"SIZE", "INTEGER"},
                    {"PRICE", "NUMBER"},
                    {"DAY", "DATE"},
                    {"NOTE", "TEXT"},
                    {"TAG", "PHRASE"}},
                   "NAME");
        int32_t status = 0;
        require(WdbExecuteCcl("DEFINE FIND MIN=0", &status), "DEFINE");
    }

    void step() {
        const unsigned choice = random_() % 100;
        if (choice < 35)
            insert();
        else if (choice < 50)
            update();
        else if (choice < 57)
            erase();
        else if (choice < 62)
            unitOfSeveral();
        else if (choice < 65)
            require(WdbBatchLoadIndex(choice % 2 == 0 ? 2 : 1, "ITEMS", ""), "WdbBatchLoadIndex");
        else if (choice < 66)
            reopen();
        else if (choice < 90)
            question();
        else
            order();
    }

    void verify() { EXPECT_EQ(WDB_OK, WdbVerifyBase("ITEMS", 0, report, nullptr)); }

private:
    static int32_t report(void*, int32_t severity, int32_t record, const char* text) {
        ADD_FAILURE() << "severity " << severity << " record " << record << ": " << text;
        return WDB_OK;
    }

    void open() { session_ = std::make_unique<BoundSession>(home_); }

    void reopen() {
        session_.reset();
        open();
        int32_t status = 0;
        require(WdbExecuteCcl("DEFINE FIND MIN=0", &status), "DEFINE");
    }

    static void fill(WdbRecordControl* control, const TwinRecord& record) {
        require(putItem(control, kName, 0, record.name), "NAME");
        require(putItem(control, kKind, 0, record.kind), "KIND");
        require(putItem(control, kSize, 0, record.hasSize ? std::to_string(record.size) : ""), "SIZE");
        require(putItem(control, kPrice, 0, record.price), "PRICE");
        require(putItem(control, kDay, 0, record.day), "DAY");
        std::string note;
        for (const std::string& paragraph : record.note) note += (note.empty() ? "" : "\n\n") + paragraph;
        require(putItem(control, kNote, 0, note), "NOTE");
        require(putItem(control, kTag, 0, ""), "TAG");
        for (size_t i = 0; i < record.tags.size(); ++i) {
            require(putItem(control, kTag, static_cast<int32_t>(i + 1), record.tags[i]), "TAG item");
        }
    }

    void insert() {
        WdbRecordControl* control = nullptr;
        require(WdbCreateRecordControl(&control), "create control");
        require(WdbSetBase(control, "ITEMS", WDB_MODE_WRITE), "set base");
        const bool duplicate = !twin_.empty() && random_() % 10 == 0;
        const TwinRecord record = randomRecord(random_, duplicate ? 0 : ++serial_);
        TwinRecord stored = record;
        if (duplicate) stored.name = someRecord()->second.name;
        fill(control, stored);
        int32_t number = 0;
        const int32_t status = WdbPutRecord(control, &number);
        if (duplicate) {
            EXPECT_EQ(WDB_E_DUPLICATE, status);
        } else {
            ASSERT_EQ(WDB_OK, status);
            EXPECT_EQ(++lastNumber_, number);
            twin_[number] = stored;
        }
        WdbDeleteRecordControl(&control);
    }

    Twin::iterator someRecord() {
        auto place = twin_.begin();
        std::advance(place, random_() % twin_.size());
        return place;
    }

    void update() {
        if (twin_.empty()) return;
        const auto place = someRecord();
        TwinRecord record = randomRecord(random_, 0);
        record.name = place->second.name;
        WdbRecordControl* control = nullptr;
        require(WdbCreateRecordControl(&control), "create control");
        require(WdbSetBase(control, "ITEMS", WDB_MODE_WRITE), "set base");
        require(WdbGetRecordInBase(control, place->first), "get record");
        fill(control, record);
        int32_t number = 0;
        EXPECT_EQ(WDB_OK, WdbPutRecord(control, &number));
        EXPECT_EQ(place->first, number);
        place->second = record;
        WdbDeleteRecordControl(&control);
    }

    void erase() {
        if (twin_.empty()) return;
        const auto place = someRecord();
        WdbRecordControl* control = nullptr;
        require(WdbCreateRecordControl(&control), "create control");
        require(WdbSetBase(control, "ITEMS", WDB_MODE_DELETE), "set base");
        require(WdbGetRecordInBase(control, place->first), "get record");
        EXPECT_EQ(WDB_OK, WdbDeleteRecordInBase(control));
        EXPECT_EQ(WDB_E_DELETED, WdbGetRecordInBase(control, place->first));
        twin_.erase(place);
        WdbDeleteRecordControl(&control);
    }

    // Questions inside the unit see its own writes.
    void unitOfSeveral() {
        require(WdbSaveStatus(), "save");
        insert();
        update();
        question();
        erase();
        insert();
        question();
        require(WdbLoadStatus(3), "load");
        question();
    }

    void question() {
        require(WdbSaveStatus(), "save");
        int32_t status = 0;
        require(WdbExecuteCcl("BASE ITEMS", &status), "BASE");
        const Question question = randomExpression(random_, twin_, 2);
        EXPECT_EQ(question.answer, find(question.ccl)) << question.ccl;
        require(WdbLoadStatus(3), "load");
    }

    void order() {
        static constexpr struct {
            Field field;
            const char* name;
        } kColumns[] = {{kSize, "SIZE"}, {kKind, "KIND"}, {kTag, "TAG"}, {kName, "NAME"}};
        const auto& column = kColumns[random_() % 4];
        const bool descending = random_() % 2 == 0;
        require(WdbSaveStatus(), "save");
        int32_t status = 0;
        require(WdbExecuteCcl("BASE ITEMS", &status), "BASE");
        const std::string sort = std::string("ITEMS.") + column.name + (descending ? " DESC" : "");
        EXPECT_EQ(sorted(twin_, column.field, descending), select("ITEMS", "", sort)) << sort;
        require(WdbLoadStatus(3), "load");
    }

    Home home_;
    std::unique_ptr<BoundSession> session_;
    Random random_;
    Twin twin_;
    int serial_ = 0;
    int32_t lastNumber_ = 0;
};

class KernelModel : public testing::TestWithParam<uint32_t> {};

TEST_P(KernelModel, AnswersAsTheTwinDoes) {
    Driver driver(GetParam());
    for (int step = 0; step < 400 && !HasFailure(); ++step) driver.step();
    driver.verify();
}

INSTANTIATE_TEST_SUITE_P(Seeds, KernelModel, testing::Range(1u, 7u));

}  // namespace
}  // namespace model
