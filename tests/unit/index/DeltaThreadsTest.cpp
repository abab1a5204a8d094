// Sessions read a delta while another one adds to it: run under the thread sanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/unit/index/IndexModel.h"

namespace wdb::test {
namespace {

std::shared_ptr<const Schema> schema() {
    return std::make_shared<const Schema>(
        std::vector<FieldDefinition>{fieldOf(1, FieldType::Text), fieldOf(2, FieldType::Integer)});
}

// Record n holds its number, the word "all" and, when it is even, "even".
std::string image(RecordNumber number) {
    RecordData data;
    data.head.at(1).items = {number % 2 == 0 ? "all even" : "all odd"};
    data.head.at(2).items = {encodeInteger(number)};
    return *encodeRecord(data, 1);
}

class NoRecords : public RecordSource {
public:
    Result<RecordView> record(RecordNumber) override { return Status{WDB_E_DELETED}; }
};

TEST(Delta, ReadersSeeWholeStatesWhileOthersAdd) {
    constexpr RecordNumber kRecords = 400;
    const auto fields = schema();
    TemporaryDirectory directory;
    ASSERT_EQ(createIndexFiles(directory.file("w"), directory.file("v")), WDB_OK);
    const auto words = *Environment::open(directory.file("w"), wordFileTables(), {});
    const auto values = *Environment::open(directory.file("v"), valueFileTables(), {});
    const auto delta = std::make_shared<Delta>(fields, 0);
    std::atomic<bool> failed{false};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            NoRecords none;
            while (delta->caughtUpTo() < kRecords && !failed) {
                const ReadTxn wordTxn = std::move(*words->read());
                const ReadTxn valueTxn = std::move(*values->read());
                IndexSources sources;
                sources.schema = fields;
                sources.words = &wordTxn;
                sources.values = &valueTxn;
                sources.delta = delta;
                sources.position = delta->caughtUpTo();
                sources.records = &none;
                IndexView view(sources);
                const Pattern even("even");
                const std::vector<Pattern> phrase = {Pattern("all"), Pattern("even")};
                const uint64_t live = view.live()->cardinality();
                bool good = live == sources.position && view.word(1, even)->cardinality() == live / 2 &&
                            view.phrase(1, phrase)->cardinality() == live / 2;
                uint64_t walked = 0;
                Result<OrderWalk> walk = view.order(2, walked % 2 == 0);
                while (ok(walk->next())) walked += walk->records().cardinality();
                if (!good || walked != live) failed = true;
            }
        });
    }
    for (RecordNumber number = 1; number <= kRecords; ++number) {
        const std::string bytes = image(number);
        const RecordView view = viewOf(bytes);
        if (number % 10 == 1) {
            UnitDelta unit(fields);
            EXPECT_EQ(unit.add(number, number, &view), WDB_OK);
            EXPECT_EQ(delta->append().fold(unit), WDB_OK);
            continue;
        }
        Delta::Appender appender = delta->append();
        EXPECT_EQ(appender.add(number, number, &view), WDB_OK);
        appender.advance(number);
    }
    for (std::thread& reader : readers) reader.join();
    EXPECT_FALSE(failed);
}

}  // namespace
}  // namespace wdb::test
