#include <gtest/gtest.h>

#include <filesystem>
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
    // Every second one with notes that are long enough to be packed.
    explicit Driver(uint32_t seed) : random_(seed), words_(seed % 2 == 0 ? 80 : 8) {
        open();
        createBase("ITEMS",
                   {{"NAME", "PHRASE"},
                    {"KIND", "PHRASE"},
                    {"SIZE", "INTEGER"},
                    {"PRICE", "NUMBER"},
                    {"DAY", "DATE"},
                    {"NOTE", "TEXT"},
                    {"TAG", "PHRASE"},
                    {"PAGE", "PHRASE", true}},
                   "NAME");
        int32_t status = 0;
        require(WdbExecuteCcl("DEFINE FIND MIN=0", &status), "DEFINE");
        if (words_ > 8) loadText();
    }

    void step() {
        struct Choice {
            unsigned weight;
            void (Driver::*act)();
        };
        static constexpr Choice kChoices[] = {
            {240, &Driver::insert},   {120, &Driver::update}, {120, &Driver::positions},
            {60, &Driver::parts},     {140, &Driver::erase},  {40, &Driver::unit},
            {12, &Driver::load},      {20, &Driver::indexes}, {2, &Driver::reopen},
            {1, &Driver::rewritten},  {1, &Driver::backup},   {20, &Driver::walk},
            {180, &Driver::question}, {44, &Driver::order},
        };
        unsigned choice = random_() % 1000;
        for (const Choice& possible : kChoices) {
            if (choice < possible.weight) return (this->*possible.act)();
            choice -= possible.weight;
        }
    }

    void verify() { EXPECT_EQ(WDB_OK, WdbVerifyBase("ITEMS", 0, report, nullptr)); }

private:
    static int32_t report(void*, int32_t severity, int32_t record, const char* text) {
        ADD_FAILURE() << "severity " << severity << " record " << record << ": " << text;
        return WDB_OK;
    }

    void open() { session_ = std::make_unique<BoundSession>(home_.path()); }

    void reopen() {
        session_.reset();
        open();
        int32_t status = 0;
        require(WdbExecuteCcl("DEFINE FIND MIN=0", &status), "DEFINE");
    }

    // Gives the base enough text to know what its texts have in common; the records go again.
    void loadText() {
        require(WdbBeginLoad("ITEMS", 0), "begin load");
        for (int i = 0; i < 600; ++i) {
            WdbRecordControl* made = control(WDB_MODE_WRITE);
            require(WdbNewRecord(made), "new record");
            fill(made, randomRecord(random_, ++serial_, words_));
            require(WdbPutRecord(made, &lastNumber_), "put record");
            WdbDeleteRecordControl(&made);
        }
        require(WdbEndLoad("ITEMS", 1), "end load");
        for (int32_t number = lastNumber_; number > 0; --number) {
            WdbRecordControl* made = control(WDB_MODE_DELETE, number);
            require(WdbDeleteRecordInBase(made), "delete record");
            WdbDeleteRecordControl(&made);
        }
    }

    static std::string noteOf(const TwinRecord& record) {
        std::string note;
        for (const std::string& paragraph : record.note) note += (note.empty() ? "" : "\n\n") + paragraph;
        return note;
    }

    // Index files and then all files anew.
    void rewritten() {
        require(WdbRebuildIndex("ITEMS", nullptr), "rebuild");
        question();
        require(WdbCompactBase("ITEMS"), "compact");
        walk();
        verify();
    }

    // A copy of the home directory answers as the original does.
    void backup() {
        const std::string copy = home_.path() + "/copy";
        require(WdbBackupBase(nullptr, copy.c_str()), "backup");
        session_.reset();
        {
            const BoundSession session(copy);
            int32_t status = 0;
            require(WdbExecuteCcl("DEFINE FIND MIN=0", &status), "DEFINE");
            question();
            walk();
            verify();
        }
        std::filesystem::remove_all(copy);
        reopen();
    }

    void indexes() {
        if (random_() % 4 == 0)
            require(WdbWaitIndex("ITEMS", 1000), "wait");
        else
            require(WdbBatchLoadIndex(2, "ITEMS", ""), "WdbBatchLoadIndex");
    }

    static void fill(WdbRecordControl* control, const TwinRecord& record) {
        require(putItem(control, kName, 0, record.name), "NAME");
        require(putItem(control, kKind, 0, record.kind), "KIND");
        require(putItem(control, kSize, 0, record.hasSize ? std::to_string(record.size) : ""), "SIZE");
        require(putItem(control, kPrice, 0, record.price), "PRICE");
        require(putItem(control, kDay, 0, record.day), "DAY");
        require(putItem(control, kNote, 0, noteOf(record)), "NOTE");
        require(putItem(control, kTag, 0, ""), "TAG");
        for (size_t i = 0; i < record.tags.size(); ++i)
            require(putItem(control, kTag, static_cast<int32_t>(i + 1), record.tags[i]), "TAG item");
        int32_t parts = 0;
        require(WdbPartCount(control, &parts), "parts");
        for (; parts > 0; --parts) require(WdbDeleteRecordPart(control, parts), "delete part");
        for (const std::string& page : record.pages) {
            require(WdbAddRecordPart(control, &parts), "add part");
            require(putItem(control, kPage, 0, page), "PAGE");
        }
    }

    static WdbRecordControl* control(int32_t mode, int32_t number = 0) {
        WdbRecordControl* made = nullptr;
        require(WdbCreateRecordControl(&made), "create control");
        require(WdbSetBase(made, "ITEMS", mode), "set base");
        if (number != 0) require(WdbGetRecordInBase(made, number), "get record");
        return made;
    }

    void insert() {
        if (twin_.size() > kMostRecords) return erase();
        WdbRecordControl* made = control(WDB_MODE_WRITE);
        const bool duplicate = !twin_.empty() && random_() % 10 == 0;
        const bool numbered = random_() % 8 == 0;
        TwinRecord stored = randomRecord(random_, duplicate ? 0 : ++serial_, words_);
        if (duplicate) stored.name = someRecord()->second.name;
        require(WdbNewRecord(made), "new record");
        fill(made, stored);
        int32_t number = lastNumber_ + 1 + (numbered ? static_cast<int32_t>(random_() % 5) : 0);
        const int32_t wanted = number;
        const int32_t status = numbered ? WdbPutRecordAs(made, number) : WdbPutRecord(made, &number);
        if (duplicate) {
            EXPECT_EQ(WDB_E_DUPLICATE, status);
        } else {
            ASSERT_EQ(WDB_OK, status);
            EXPECT_EQ(wanted, number);
            lastNumber_ = number;
            twin_[number] = stored;
        }
        WdbDeleteRecordControl(&made);
    }

    Twin::iterator someRecord() {
        auto place = twin_.begin();
        std::advance(place, random_() % twin_.size());
        return place;
    }

    void put(WdbRecordControl* made, int32_t number) {
        int32_t stored = 0;
        EXPECT_EQ(WDB_OK, WdbPutRecord(made, &stored));
        EXPECT_EQ(number, stored);
        WdbDeleteRecordControl(&made);
    }

    void update() {
        if (twin_.empty()) return;
        const auto place = someRecord();
        TwinRecord record = randomRecord(random_, 0, words_);
        record.name = place->second.name;
        WdbRecordControl* made = control(WDB_MODE_WRITE, place->first);
        fill(made, record);
        put(made, place->first);
        place->second = record;
    }

    // Items written, emptied and inserted one by one.
    void positions() {
        if (twin_.empty()) return;
        const auto place = someRecord();
        auto& tags = place->second.tags;
        WdbRecordControl* made = control(WDB_MODE_WRITE, place->first);
        for (unsigned n = random_() % 3 + 1; n > 0; --n) {
            const size_t position = random_() % 5 + 1;
            const std::string word = random_() % 3 == 0 ? std::string() : randomWord(random_);
            const bool inserts = random_() % 3 == 0;
            if (inserts) {
                WdbCursor* cursor = nullptr;
                require(WdbSetCursor(&cursor, made, kTag, 0, static_cast<int32_t>(position)), "cursor");
                require(WdbInsertItem(cursor, word.c_str(), -1), "insert item");
                WdbDeleteCursor(&cursor);
            } else {
                require(putItem(made, kTag, static_cast<int32_t>(position), word), "TAG item");
            }
            if (tags.size() < position - 1) tags.resize(position - 1);
            if (inserts)
                tags.insert(tags.begin() + static_cast<ptrdiff_t>(position - 1), word);
            else if (position <= tags.size())
                tags[position - 1] = word;
            else
                tags.push_back(word);
        }
        while (!tags.empty() && tags.back().empty()) tags.pop_back();
        put(made, place->first);
    }

    void parts() {
        if (twin_.empty()) return;
        const auto place = someRecord();
        auto& pages = place->second.pages;
        WdbRecordControl* made = control(WDB_MODE_WRITE, place->first);
        if (!pages.empty() && random_() % 2 == 0) {
            const size_t gone = random_() % pages.size();
            require(WdbDeleteRecordPart(made, static_cast<int32_t>(gone + 1)), "delete part");
            pages.erase(pages.begin() + static_cast<ptrdiff_t>(gone));
        } else {
            int32_t part = 0;
            require(WdbAddRecordPart(made, &part), "add part");
            pages.push_back(randomWord(random_));
            EXPECT_EQ(static_cast<int32_t>(pages.size()), part);
            require(putItem(made, kPage, 0, pages.back()), "PAGE");
        }
        put(made, place->first);
    }

    void erase() {
        if (twin_.empty()) return;
        const auto place = someRecord();
        WdbRecordControl* made = control(WDB_MODE_DELETE, place->first);
        EXPECT_EQ(WDB_OK, WdbDeleteRecordInBase(made));
        EXPECT_EQ(WDB_E_DELETED, WdbGetRecordInBase(made, place->first));
        twin_.erase(place);
        WdbDeleteRecordControl(&made);
    }

    // Every record in order, item by item.
    void walk() {
        WdbRecordControl* made = control(WDB_MODE_READ);
        int32_t number = 0;
        auto expected = twin_.begin();
        for (; WdbNextRecordInBase(made, &number) == WDB_OK; ++expected) {
            ASSERT_NE(twin_.end(), expected) << number;
            ASSERT_EQ(expected->first, number);
            EXPECT_EQ(expected->second.name, item(made, kName, 1));
            for (size_t i = 0; i < expected->second.note.size(); ++i)
                EXPECT_EQ(expected->second.note[i], line(made, static_cast<int32_t>(i + 1))) << number;
            for (size_t i = 0; i <= expected->second.tags.size(); ++i) {
                const std::string tag = i < expected->second.tags.size() ? expected->second.tags[i] : "";
                EXPECT_EQ(tag, item(made, kTag, static_cast<int32_t>(i + 1))) << number;
            }
            int32_t parts = 0;
            require(WdbPartCount(made, &parts), "parts");
            ASSERT_EQ(static_cast<int32_t>(expected->second.pages.size()), parts) << number;
            for (int32_t part = 1; part <= parts; ++part) {
                require(WdbSetRecordPart(nullptr, made, part), "part");
                EXPECT_EQ(expected->second.pages[static_cast<size_t>(part - 1)], item(made, kPage, 1))
                    << number;
            }
        }
        EXPECT_EQ(twin_.end(), expected);
        WdbDeleteRecordControl(&made);
    }

    static std::string item(WdbRecordControl* made, int32_t field, int32_t position) {
        WdbCursor* cursor = nullptr;
        char text[256] = "";
        int32_t length = sizeof text;
        if (WdbSetCursor(&cursor, made, field, 0, position) != WDB_OK ||
            WdbGetItem(cursor, text, &length) != WDB_OK)
            length = 0;
        WdbDeleteCursor(&cursor);
        return std::string(text, static_cast<size_t>(length));
    }

    // The one line of a paragraph of the note.
    static std::string line(WdbRecordControl* made, int32_t paragraph) {
        WdbCursor* cursor = nullptr;
        char text[1024] = "";
        int32_t length = sizeof text;
        if (WdbSetCursor(&cursor, made, kNote, paragraph, 0) != WDB_OK ||
            WdbGetLine(cursor, text, &length) != WDB_OK)
            length = 0;
        WdbDeleteCursor(&cursor);
        return std::string(text, static_cast<size_t>(length));
    }

    // All of it or nothing.
    void load() {
        require(WdbBeginLoad("ITEMS", 0), "begin load");
        const Twin before = twin_;
        const int32_t lastBefore = lastNumber_;
        for (unsigned n = random_() % 20; n > 0; --n) {
            insert();
            if (random_() % 4 == 0) update();
            if (random_() % 8 == 0) erase();
        }
        const bool commits = random_() % 3 != 0;
        require(WdbEndLoad("ITEMS", commits), "end load");
        if (!commits) {
            twin_ = before;
            lastNumber_ = lastBefore;
        }
        walk();
        question();
    }

    // Questions inside the unit see its own writes.
    void unit() {
        require(WdbSaveStatus(), "save");
        for (unsigned n = random_() % 8; n > 0; --n) {
            insert();
            update();
            question();
            erase();
            positions();
        }
        require(WdbLoadStatus(3), "load");
        question();
    }

    void question() {
        require(WdbSaveStatus(), "save");
        int32_t status = 0;
        require(WdbExecuteCcl("BASE ITEMS", &status), "BASE");
        const Question question = randomExpression(random_, twin_, 2);
        EXPECT_EQ(question.records(), find(question.ccl)) << question.ccl;
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

    static constexpr size_t kMostRecords = 150;

    Home home_;
    std::unique_ptr<BoundSession> session_;
    Random random_;
    const int words_;  // of a note's paragraph, at most
    Twin twin_;
    int serial_ = 0;
    int32_t lastNumber_ = 0;
};

class KernelModel : public testing::TestWithParam<uint32_t> {};

TEST_P(KernelModel, AnswersAsTheTwinDoes) {
    Driver driver(GetParam());
    for (int step = 0; step < 12500 && !HasFailure(); ++step) driver.step();
    driver.verify();
}

INSTANTIATE_TEST_SUITE_P(Seeds, KernelModel, testing::Range(1u, 9u));

}  // namespace
}  // namespace model
