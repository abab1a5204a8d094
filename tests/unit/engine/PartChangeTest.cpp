// Records with parts, changed: which values a statement reaches, and how single values of a part are written.
#include <gtest/gtest.h>

#include <cstring>

#include "src/WSQLFilter.h"
#include "src/tree/WELKFieldInfo.h"
#include "src/tree/WSQLTableRef.h"
#include "src/welkhelp/WelkRecord.h"
#include "tests/unit/engine/FailingCalls.h"
#include "tests/unit/engine/Faults.h"

namespace {

void copy(char* to, const std::string& text) {
    std::memcpy(to, text.c_str(), text.size() + 1);
}

/// BOOKS: TITLE and YEAR in the head, PAGE and NOTE in the parts. Record 1 has three parts, record 2 none.
class PartChange : public testing::Test {
protected:
    PartChange() : filter(&data), table("BOOKS") {
        define();
        store("whale", {"one", "two", "three"});
        store("cabin", {});
        filter.LoadFields(&table);
    }

    static void define() {
        WdbBaseDef base{};
        ASSERT_EQ(WdbGetBaseDef("BOOKS", &base), WDB_OK);
        const struct {
            const char *name, *type;
            std::uint8_t part;
        } fields[] = {
            {"TITLE", "PHRASE", 0}, {"YEAR", "INTEGER", 0}, {"PAGE", "PHRASE", 1}, {"NOTE", "TEXT", 1}};
        for (const auto& field : fields) {
            WdbFieldSpec spec{};
            copy(spec.name, field.name);
            copy(spec.typeName, field.type);
            spec.indexed = 1;
            spec.part = field.part;
            ASSERT_EQ(WdbPutFieldSpec(&spec), WDB_OK);
        }
        copy(base.baseFile, "WELKSQL$BASES:BOOKS.BAF");
        copy(base.indexFile, "WELKSQL$BASES:BOOKS.BIF");
        copy(base.valueFile, "WELKSQL$BASES:BOOKS.VIF");
        copy(base.charset, "MUL");
        base.active = 1;
        ASSERT_EQ(WdbPutBaseDef(&base), WDB_OK);
    }

    void store(const char* title, const std::vector<const char*>& pages) {
        wsql::WelkRecord record;
        ASSERT_TRUE(filter.CreateControl(record.slot(), "BOOKS", WDB_MODE_WRITE));
        put(record, 1, title);
        std::int32_t number = 0;
        for (const char* page : pages) {
            ASSERT_EQ(WdbAddRecordPart(record.get(), &number), WDB_OK);
            put(record, 3, page);
        }
        ASSERT_EQ(WdbPutRecord(record.get(), &number), WDB_OK);
    }

    static void put(const wsql::WelkRecord& record, std::int32_t field, const char* value) {
        wsql::WelkTuple tuple;
        ASSERT_EQ(tuple.place(record.get(), field, 0, 0), WDB_OK);
        ASSERT_EQ(WdbReplaceItem(tuple.get(), value, -1), WDB_OK);
    }

    const wsql::WELKFieldInfo& field(int number) { return *table.fields->Get(number - 1); }

    /// The values of PAGE of a record: of the head, and of its parts.
    static std::string pages(std::int32_t id) {
        wsql::WelkRecord record;
        EXPECT_EQ(WdbCreateRecordControl(&record.slot()), WDB_OK);
        EXPECT_EQ(WdbSetBase(record.get(), "BOOKS", WDB_MODE_READ), WDB_OK);
        EXPECT_EQ(WdbGetRecordInBase(record.get(), id), WDB_OK);
        std::int32_t parts = 0;
        EXPECT_EQ(WdbPartCount(record.get(), &parts), WDB_OK);
        std::string all;
        for (std::int32_t part = 0; part <= parts; ++part) {
            EXPECT_EQ(WdbSetRecordPart(nullptr, record.get(), part), WDB_OK);
            wsql::WelkTuple tuple;
            char text[64];
            std::int32_t length = sizeof text;
            EXPECT_EQ(tuple.place(record.get(), 3, 0, 0), WDB_OK);
            all += WdbGetItem(tuple.get(), text, &length) == WDB_OK ? text : "-";
            if (part < parts) all += "|";
        }
        return all;
    }

    Database database;
    FilterData data{};
    wsql::WSQLFilter filter;
    wsql::WSQLTableRef table;
};

}  // namespace

TEST_F(PartChange, SingleValuesOfAPart) {
    wsql::WelkRecord record;
    ASSERT_TRUE(filter.CreateControl(record.slot(), "BOOKS", WDB_MODE_WRITE));
    ASSERT_EQ(WdbGetRecordInBase(record.get(), 1), WDB_OK);
    EXPECT_EQ(filter.SetFieldValue(record.get(), &field(3), 0, "cover", -1, 0), WDB_OK) << "the head";
    EXPECT_EQ(filter.SetFieldValue(record.get(), &field(3), 2, "second", -1, 0), WDB_OK);
    EXPECT_EQ(filter.RemoveFieldValue(record.get(), &field(3), 3, 0), WDB_OK);
    EXPECT_EQ(filter.SetFieldValue(record.get(), &field(1), 7, "head field", -1, 0), WDB_OK)
        << "the part of a field of the head is not looked at";
    {
        const CallCount cursors("WdbSetCursor");
        EXPECT_EQ(filter.SetFieldValue(record.get(), &field(3), 4, "no such part", -1, 0), WDB_E_PART);
        EXPECT_EQ(filter.RemoveFieldValue(record.get(), &field(3), 4, 0), WDB_E_PART);
        EXPECT_EQ(cursors.calls(), 0) << "no cursor is placed where there is no part";
    }
    std::int32_t id = 0;
    ASSERT_EQ(WdbPutRecord(record.get(), &id), WDB_OK);
    EXPECT_EQ(pages(1), "cover|one|second|-");
    EXPECT_EQ(database.run("SELECT TITLE FROM BOOKS WHERE R = 1").rows(), "head field");
}

TEST_F(PartChange, AnUpdateWritesTheHeadAlone) {
    const struct {
        const char* sql;
        int writes;  ///< values written into the record
        const char* rows;
        const char* reason;
    } rows[] = {
        {"UPDATE BOOKS SET YEAR = 1 WHERE R = 1", 1, "whale|1\ncabin|~", "no target is in the parts"},
        {"UPDATE BOOKS SET YEAR = 2, PAGE = 'x' WHERE R = 1", 4, "whale|2\ncabin|~",
         "the head's value once more for each part"},
        {"UPDATE BOOKS SET YEAR = 3, PAGE = 'x' WHERE PAGE = 'two'", 2, "whale|3\ncabin|~",
         "for each part that was found"},
        {"UPDATE BOOKS SET PAGE = 'x', YEAR = 4, NOTE = NULL WHERE R = 2", 2, "whale|3\ncabin|4",
         "a record without parts counts as one part"},
        {"UPDATE BOOKS SET PAGE = (SELECT TITLE FROM BOOKS WHERE YEAR = 9)", 0, "whale|3\ncabin|4",
         "a value that is not written is not asked for"},
    };
    for (const auto& row : rows) {
        const CallCount writes("WdbReplaceItem");
        EXPECT_EQ(database.run(row.sql).status, WDB_OK) << row.sql;
        EXPECT_EQ(writes.calls(), row.writes) << row.sql << "\n  " << row.reason;
        EXPECT_EQ(database.run("SELECT TITLE, YEAR FROM BOOKS").rows(), row.rows) << row.sql;
        EXPECT_EQ(pages(1) + " " + pages(2), "-|one|two|three -") << row.sql;
    }
    const std::string failed = faultOf(database.runFailing(
        "WdbReplaceItem", 2, WDB_E_STORAGE, "UPDATE BOOKS SET YEAR = 5, PAGE = 'x' WHERE R = 1"));
    EXPECT_EQ(failed, std::to_string(WDB_E_STORAGE) + " SQLFilter::ExecuteUpdate execution " +
                          kernelText(WDB_E_STORAGE))
        << "in the second part";
}

TEST_F(PartChange, InsertsReachPartsByWayOfTheHead) {
    const std::string refused =
        "Column 2 \"PAGE\" cannot be modified since it is located in a WELK part record.";
    EXPECT_EQ(faultOf(database.run("INSERT INTO BOOKS (TITLE, PAGE) VALUES ('t', 'p')")),
              "1 validation SQLFilter::ValidateInsert " + refused);
    EXPECT_EQ(faultOf(database.run("INSERT INTO BOOKS (TITLE, PAGE) VALUES ('t', (SELECT 'p'))")),
              "0 SQLFilter::ExecuteInsert execution " + refused)
        << "what a query gives is looked at when it has run";
    database.prepare({"INSERT INTO BOOKS (TITLE, PAGE) SELECT 'rows', 'loose page'"});
    EXPECT_EQ(pages(3), "loose page") << "rows of a SELECT are not refused";
    EXPECT_EQ(database.run("SELECT TITLE FROM BOOKS WHERE PAGE = 'loose page'").rows(), "rows");
}

TEST_F(PartChange, DeletingTakesThePartsAlong) {
    database.prepare({"DELETE FROM BOOKS WHERE PAGE = 'two'"});
    EXPECT_EQ(database.run("SELECT TITLE FROM BOOKS").rows(), "cabin");
    EXPECT_EQ(database.run("SELECT TITLE FROM BOOKS WHERE PAGE = 'one'").rows(), "");
    EXPECT_EQ(WdbVerifyBase("BOOKS", 0, nullptr, nullptr), WDB_OK);
}

// A key may be older than the record that it leads to.
TEST_F(PartChange, AKeyOfAPartThatIsGone) {
    for (const auto& [key, status] :
         {std::pair{"1-3-4", WDB_OK}, {"1-4-4", WDB_E_PART}, {"2-1-4", WDB_E_PART}}) {
        std::string text = "FETCHKEY=424f4f4b53-" + std::string(key) + "\n";
        FilterData request{};
        request.text = text.data();
        request.textLength = static_cast<std::int32_t>(text.size());
        request.wdb_options = 36;
        Answer answer;
        answer.status = sqlgetobject(&request, nullptr);
        if (request.output != nullptr) answer.document = request.output;
        std::free(request.output);
        EXPECT_EQ(answer.status, status) << key;
        if (status == WDB_OK) continue;
        EXPECT_EQ(faultOf(answer),
                  std::to_string(status) + " WSQLFilter::getObject WdbSetRecordPart " + kernelText(status));
    }
}
