// Reading and writing single values, records of searches, and index maintenance, over the real kernel.
#include <gtest/gtest.h>

#include <algorithm>

#include "src/WSQLFilter.h"
#include "src/tree/WELKFieldInfo.h"
#include "src/tree/WSQLTableRef.h"
#include "src/welkhelp/DatabaseEntry.h"
#include "src/welkhelp/ValueFilter.h"
#include "src/welkhelp/WelkRecord.h"
#include "tests/unit/engine/Database.h"

namespace {

using wsql::CStringBuffer;
using wsql::ValueFilter;
using wsql::WelkRecord;

/// A table with a field of every kind, and a filter to work on it.
class KernelAccess : public testing::Test {
protected:
    KernelAccess() : filter(&data), table("K") {
        database.prepare({"CREATE TABLE K (P VARCHAR, I INTEGER, T LONG VARCHAR, B LONG VARBINARY)",
                          "INSERT INTO K (P[1], P[2], I, T) VALUES ('one', 'two & more', 7, 'a\n\nb')",
                          "INSERT INTO K (P) VALUES ('second')"});
        filter.LoadFields(&table);
    }

    const wsql::WELKFieldInfo& field(int number) { return *table.fields->Get(number - 1); }

    std::string read(int number, bool forXml, std::int32_t* status = nullptr, std::int32_t record = 1) {
        CStringBuffer value(64);
        const std::int32_t outcome =
            filter.GetFieldValue(field(number), record, 0, value, ValueFilter(filter, {}), forXml);
        if (status != nullptr) *status = outcome;
        return std::string(value.view());
    }

    std::int32_t find(const char* condition) {
        EXPECT_EQ(filter.ExecuteCCL("%s %s", "BAS", "K"), WDB_OK);
        return filter.ExecuteCCL("%s %s", "FIN", condition);
    }

    Database database;
    FilterData data{};
    wsql::WSQLFilter filter;
    wsql::WSQLTableRef table;
};

/// Names of the kernel functions called while it lives.
class Trace {
public:
    Trace() { WdbSetTrace(note, this); }
    ~Trace() { WdbSetTrace(nullptr, nullptr); }
    std::ptrdiff_t count(const char* function) const {
        return std::count(calls_.begin(), calls_.end(), function);
    }

private:
    static void note(void* context, const char* function, std::int32_t /*status*/) {
        static_cast<Trace*>(context)->calls_.emplace_back(function);
    }
    std::vector<std::string> calls_;
};

}  // namespace

TEST_F(KernelAccess, ReadsWholeFields) {
    EXPECT_EQ(read(1, true), "one; two &amp; more");
    EXPECT_EQ(read(1, false), "one") << "raw: the first value";
    EXPECT_EQ(read(2, true), "7");
    EXPECT_EQ(read(3, true), "<P>a\n</P><P>b\n</P>") << "an empty line separates paragraphs";
    EXPECT_EQ(read(3, false), "a\n\nb\n");
    std::int32_t status = 0;
    for (int number = 2; number <= 4; ++number) {
        EXPECT_EQ(read(number, true, &status, 2), "");
        EXPECT_EQ(status, -1) << "an empty field delivers nothing, field " << number;
    }
    read(1, true, &status, 99);
    EXPECT_EQ(status, 0) << "there never was such a record";
}

TEST_F(KernelAccess, LinesOfAnyLength) {
    const std::string line(8191, 'x'), longLine(20000, 'y');
    database.prepare({"INSERT INTO K (T) VALUES ('" + line + "\n\n" + longLine + "')"});
    EXPECT_EQ(read(3, true, nullptr, 3), "<P>" + line + "\n</P><P>" + longLine + "\n</P>")
        << "a line that fills its last piece exactly is followed by a paragraph break";
}

TEST_F(KernelAccess, BinaryValues) {
    WelkRecord record;
    ASSERT_TRUE(filter.CreateControl(record.slot(), "K", WDB_MODE_WRITE));
    ASSERT_EQ(WdbGetRecordInBase(record.get(), 1), WDB_OK);
    {
        wsql::WelkTuple tuple;
        ASSERT_EQ(tuple.place(record.get(), 4, 0, 0), WDB_OK);
        ASSERT_EQ(WdbPutBlobBlock(tuple.get(), 3, "M\0n"), WDB_OK);
    }
    std::int32_t id = 0;
    ASSERT_EQ(WdbPutRecord(record.get(), &id), WDB_OK);
    EXPECT_EQ(read(4, true), "TQBu");
    EXPECT_EQ(read(4, false), std::string("M\0n", 3));
    record.reset();
    EXPECT_EQ(UpdateRCS("SQL_SELECTBLOB", "1"), WDB_OK);
    EXPECT_NE(database.run("SELECT B FROM K")
                  .document.find("<Column ID=\"1\" datasize=\"4\" encoding=\"base64\">TQBu</Column>\r\n"),
              std::string::npos);
}

TEST_F(KernelAccess, WritesCutAndRemove) {
    WelkRecord record;
    ASSERT_TRUE(filter.CreateControl(record.slot(), "K", WDB_MODE_WRITE));
    const std::string text(300, 'x'), number(31, '1');
    EXPECT_EQ(filter.SetFieldValue(record.get(), &field(1), 0, text.c_str(), -1, 0), WDB_OK);
    EXPECT_EQ(filter.SetFieldValue(record.get(), &field(1), 0, "abc", 2, 3), WDB_OK);
    EXPECT_EQ(filter.SetFieldValue(record.get(), &field(2), 0, number.c_str(), -1, 0), WDB_E_VALUE)
        << "30 digits are no 64-bit integer either";
    EXPECT_EQ(
        filter.SetFieldValue(record.get(), &field(2), 0, ("5" + std::string(29, ' ') + "x").c_str(), -1, 0),
        WDB_OK)
        << "what stands behind the 30th character is cut off";
    std::int32_t id = 0;
    ASSERT_EQ(WdbPutRecord(record.get(), &id), WDB_OK);
    EXPECT_EQ(read(1, true, nullptr, id), std::string(256, 'x') + "; ab");
    EXPECT_EQ(read(2, true, nullptr, id), "5");
    EXPECT_EQ(filter.RemoveFieldValue(record.get(), &field(1), 0, 1), WDB_OK);
    EXPECT_EQ(filter.RemoveFieldValue(record.get(), &field(2), 0, 0), WDB_OK);
    ASSERT_EQ(WdbPutRecord(record.get(), &id), WDB_OK);
    EXPECT_EQ(read(1, true, nullptr, id), "ab");
    EXPECT_EQ(read(2, true, nullptr, id), "");
}

TEST_F(KernelAccess, RecordsOfASearch) {
    ASSERT_EQ(find("R=FROM 1"), WDB_OK);
    const std::int32_t set = filter.SearchHitCount();
    WelkRecord record;
    std::int32_t id = 0;
    EXPECT_TRUE(filter.GetRecordInSearch(record.slot(), set, 2, WDB_MODE_WRITE, &id));
    EXPECT_EQ(id, 2);
    EXPECT_EQ(filter.SetFieldValue(record.get(), &field(1), 0, "changed", -1, 0), WDB_OK) << "write access";
    record.reset();
    EXPECT_FALSE(filter.GetRecordInSearch(record.slot(), set, 3, WDB_MODE_READ, nullptr));
    EXPECT_EQ(record.get(), nullptr);
    EXPECT_FALSE(filter.answered()) << "the end of a search is no fault";
    EXPECT_FALSE(filter.GetRecordInSearch(record.slot(), 99, 1, WDB_MODE_READ, nullptr));
    EXPECT_TRUE(filter.answered()) << "an unknown set is one";
    free(data.output);
}

TEST_F(KernelAccess, ListsDatabasesInNameOrder) {
    database.prepare({"CREATE TABLE B (A INTEGER)"});
    std::vector<wsql::DatabaseEntry> list;
    EXPECT_EQ(filter.ListDatabases(list), WDB_OK);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].name + "," + list[1].name, "B,K");
    EXPECT_FALSE(list[0].owner.empty());
    database.expectClean("listing");
}

TEST_F(KernelAccess, IndexJobsRunWhenTheyAreNeeded) {
    std::int32_t form = 0, size = 8;
    char separators[8] = "";
    ASSERT_EQ(WdbShellDefDateform(11, "/."), WDB_OK);
    filter.IndexDatabase("K", true, false);
    {
        const Trace trace;
        EXPECT_EQ(filter.IndexDatabase("K", true, true), WDB_OK);
        EXPECT_EQ(trace.count("WdbBatchLoadIndex"), 0) << "the index is up to date";
    }
    UpdateRCS("SQL_LAZYINDEX", "1");
    {
        const Trace trace;
        database.prepare({"INSERT INTO K (I) VALUES (8)"});
        EXPECT_EQ(trace.count("WdbBatchLoadIndex"), 0) << "writes leave the index to the next search";
        EXPECT_EQ(filter.IndexDatabase("K", true, false), WDB_OK);
        EXPECT_EQ(trace.count("WdbBatchLoadIndex"), 1) << "which has it done";
    }
    UpdateRCS("SQL_LAZYINDEX", "0");
    UpdateRCS("SQL_BATCHINDEX", "1");
    {
        const Trace trace;
        EXPECT_EQ(filter.IndexDatabase("K", false, false), WDB_OK);
        EXPECT_EQ(trace.count("WdbBaseStatus"), 0) << "submitted without a look at the dates";
        EXPECT_EQ(trace.count("WdbBatchLoadIndex"), 1);
        EXPECT_EQ(filter.IndexDatabase("list=K,,K", false, false), WDB_OK);
        EXPECT_EQ(trace.count("WdbBatchLoadIndex"), 3) << "empty elements are skipped";
    }
    UpdateRCS("SQL_BATCHINDEX", "0");
    EXPECT_EQ(filter.IndexDatabase("NOWHERE", true, false), WDB_OK) << "failures are only noted";
    EXPECT_FALSE(filter.answered());
    EXPECT_EQ(filter.IndexDatabase("NOWHERE", true, true), WDB_E_BASE);
    EXPECT_TRUE(filter.answered());
    free(data.output);
    ASSERT_EQ(WdbSessionInfo(2, &form, separators, &size), WDB_OK);
    EXPECT_EQ(form, 11) << "the session's date form is back";
    EXPECT_STREQ(separators, "/.");
}
