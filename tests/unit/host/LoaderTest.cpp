#include "host/import/Loader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tests/unit/host/FakeKernel.h"

namespace host {
namespace {

using testing::ElementsAre;

// Records that a test makes up.
class MadeUpReader : public RecordReader {
public:
    explicit MadeUpReader(std::vector<std::string> columns, std::set<std::size_t> lists = {})
        : columns_(std::move(columns)), lists_(std::move(lists)) {}
    bool next(InputRecord&) override { return false; }
    void rewind() override {}
    const std::vector<std::string>& columns() const override { return columns_; }
    bool isList(std::size_t column) const override { return lists_.count(column) != 0; }
    bool isKey(std::size_t) const override { return false; }
    std::int64_t bytesRead() const override { return 0; }
    std::int64_t size() const override { return 0; }

private:
    std::vector<std::string> columns_;
    std::set<std::size_t> lists_;
};

class LoaderTest : public testing::Test {
protected:
    LoaderTest() {
        kernel_.columns = {
            {"NAME", WDB_T_PHRASE}, {"TAG", WDB_T_PHRASE}, {"NOTE", WDB_T_TEXT}, {"DATA", WDB_T_STRING}};
        FakeKernel::current() = &kernel_;
    }
    ~LoaderTest() override {
        EXPECT_EQ(kernel_.controls, 0);
        EXPECT_EQ(kernel_.cursors, 0);
        FakeKernel::current() = nullptr;
    }
    // What one record with one value asks of the kernel between "new" and "put".
    std::vector<std::string> callsFor(std::size_t column, const char* text) {
        Loader loader("T");
        loader.mapColumns(reader_);
        kernel_.log.clear();
        std::string reason;
        InputRecord record;
        record.values = {{column, text}};
        EXPECT_TRUE(loader.put(reader_, record, reason)) << reason;
        return {kernel_.log.begin() + 1, kernel_.log.end() - 1};
    }
    static InputRecord named(const char* name) {
        InputRecord record;
        record.values = {{0, name}};
        return record;
    }

    FakeKernel kernel_;
    MadeUpReader reader_{{"name", "TAG", "NOTE", "DATA", "LACKING"}, {1}};
};

TEST_F(LoaderTest, WritesEachKindOfColumnInItsWay) {
    EXPECT_THAT(callsFor(0, "a,b"), ElementsAre("NAME/0=a,b"));
    EXPECT_THAT(callsFor(0, "one \n  two\n\nthree\n"), ElementsAre("NAME/0=one two three"));
    EXPECT_THAT(callsFor(1, "\na::b,\n c (>= 1) | d, ,\n"), ElementsAre("TAG/1=a::b", "TAG/2=c (>= 1) | d"));
    EXPECT_THAT(callsFor(2, "line\n\n  line"), ElementsAre("text NOTE/0=line\n\n  line"));
    EXPECT_THAT(callsFor(3, "b\nc"), ElementsAre("bytes DATA/0=b\nc"));
    EXPECT_THAT(callsFor(4, "nowhere"), ElementsAre());
}

TEST_F(LoaderTest, NamesTheColumnsThatTheTableLacksOnce) {
    Loader loader("T");
    EXPECT_THAT(loader.mapColumns(reader_), ElementsAre("LACKING"));
    EXPECT_THAT(loader.mapColumns(reader_), ElementsAre());
}

TEST_F(LoaderTest, AllOrNothing) {
    {
        Loader loader("T");
        loader.commit();
    }
    EXPECT_THAT(kernel_.log, ElementsAre("base 1", "base 3", "begin", "end 1"));
    kernel_.log.clear();
    { Loader loader("T"); }
    EXPECT_EQ(kernel_.log.back(), "end 0");
}

TEST_F(LoaderTest, RecordsThatDoNotFitAreLeftOutAndTheLoadGoesOn) {
    kernel_.failures = {{"NAME/0=bad", WDB_E_VALUE}};
    Loader loader("T");
    loader.mapColumns(reader_);
    std::string reason;
    EXPECT_FALSE(loader.put(reader_, named("bad"), reason));
    EXPECT_EQ(reason, "NAME cannot hold \"bad\": no");
    EXPECT_FALSE(loader.put(reader_, named("caf\xE9"), reason));
    EXPECT_EQ(reason, "NAME is not UTF-8");
    InputRecord bytes;
    bytes.values = {{3, "\xFF\xE9"}};
    EXPECT_TRUE(loader.put(reader_, bytes, reason)) << "an object is no text";
    EXPECT_TRUE(loader.put(reader_, named("good"), reason));
    kernel_.failures = {{"put", WDB_E_DUPLICATE}};
    EXPECT_TRUE(loader.put(reader_, named("again"), reason));
    kernel_.failures = {{"put", WDB_E_MANDATORY}};
    EXPECT_FALSE(loader.put(reader_, named("x"), reason));
    EXPECT_EQ(loader.counts().stored, 2);
    EXPECT_EQ(loader.counts().duplicates, 1);
    EXPECT_EQ(loader.counts().refused, 3);
}

TEST_F(LoaderTest, AnyOtherFailureEndsTheLoadWithoutATrace) {
    struct Row {
        const char* why;
        const char* call;
        std::int32_t status;
    };
    const Row rows[] = {{"the disk is full", "put", WDB_E_STORAGE},
                        {"the record cannot be begun", "new", WDB_E_MEMORY},
                        {"no right on the field", "NAME/0=a", WDB_E_RIGHT}};
    for (const Row& row : rows) {
        kernel_.failures = {{row.call, row.status}};
        kernel_.log.clear();
        EXPECT_THROW(
            {
                Loader loader("T");
                loader.mapColumns(reader_);
                std::string reason;
                loader.put(reader_, named("a"), reason);
            },
            KernelError)
            << row.why;
        EXPECT_EQ(kernel_.log.back(), "end 0") << row.why;
    }
    kernel_.failures = {{"end 1", WDB_E_STORAGE}};
    EXPECT_THROW(
        {
            Loader loader("T");
            loader.commit();
        },
        KernelError);
    kernel_.failures = {{"begin", WDB_E_LOCKED}};
    kernel_.log.clear();
    EXPECT_THROW(Loader("T"), KernelError);
    EXPECT_EQ(kernel_.log.back(), "begin") << "what was not begun is not ended";
}

}  // namespace
}  // namespace host
