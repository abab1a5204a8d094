// Rows as the kernel hands them out and as the document carries them.
#include <gtest/gtest.h>

#include "tests/unit/engine/Articles.h"
#include "tests/unit/engine/Log.h"

namespace {

constexpr std::uint32_t kFirst = 8;  // begins a column
constexpr std::uint32_t kNull = 2;
constexpr std::uint32_t kValue = 129;  // the text is the value, a NUL behind it
constexpr std::uint32_t kReference = 133;
constexpr std::uint32_t kDeleted = 32;

using Row = FakeKernel::Row;

/// The document of the statement over a set of these rows, from the first Row element to the last.
std::string rowsOf(const std::string& sql, std::vector<Row> rows, std::int32_t status = WDB_OK) {
    fakeKernel().searches = true;
    fakeKernel().rows = std::move(rows);
    Request request(sql);
    EXPECT_EQ(runSql(request), status) << sql;
    EXPECT_EQ(fakeKernel().liveBuffers, 0) << "every row buffer is released";
    EXPECT_EQ(fakeKernel().saves, fakeKernel().loads);
    const std::string document = request.document();
    const std::string open = "<ResultSetData>\r\n";
    const std::size_t start = document.find(open);
    if (start == std::string::npos) return document;
    return document.substr(start + open.size(), document.find("</ResultSetData>") - start - open.size());
}

std::string rowElement(int number, int record, int part, const std::string& columns) {
    return "<Row rowNumber=\"" + std::to_string(number) + "\" recordNumber=\"" + std::to_string(record) +
           "\" partNumber=\"" + std::to_string(part) + "\">\r\n" + columns + "</Row>\r\n";
}

std::vector<Row> numberedRows(int count) {
    std::vector<Row> rows;
    for (int i = 1; i <= count; ++i) rows.push_back({{{std::to_string(i), kFirst | kValue}}, i * 10, 0});
    return rows;
}

std::string numberedElement(int number) {
    const std::string text = std::to_string(number);
    return rowElement(
        number, number * 10, 0,
        "<Column ID=\"1\" datasize=\"" + std::to_string(text.size()) + "\">" + text + "</Column>\r\n");
}

}  // namespace

TEST(Rows, ValuesOfOneColumn) {
    const struct {
        const char* item;
        std::vector<FakeKernel::Item> items;
        const char* column;
        const char* reason;
    } rows[] = {
        {"A", {{"5", kFirst | kValue}}, " datasize=\"1\">5</Column>", "a single value"},
        {"A", {{"", kFirst | kNull}}, " null=\"true\" />", "NULL has no size"},
        {"NAME", {{"", kFirst | kValue}}, " datasize=\"0\"></Column>", "an empty text is a value"},
        {"NAME",
         {{"x", kFirst | kValue}, {"y", kValue}},
         " datasize=\"4\">x; y</Column>",
         "all values, joined"},
        {"NAME",
         {{"a<b", kFirst | kValue}},
         " datasize=\"6\">a&lt;b</Column>",
         "escaped once; the size is the document's"},
        {"NAME",
         {{"x", kFirst | kValue}, {"", kNull}, {"z", kValue}},
         " datasize=\"4\">x; z</Column>",
         "empty values are left out"},
        {"NAME[2]",
         {{"x", kFirst | kValue}, {"y", kValue}},
         " datasize=\"1\">y</Column>",
         "one value out of several"},
        {"NAME[2]", {{"y", kFirst | kValue}}, " datasize=\"1\">y</Column>", "the kernel sent that one alone"},
        {"NAME[2]", {{"x", kFirst | kValue}, {"", kNull}}, " null=\"true\" />", "there is no second value"},
        {"VALUELIST(NAME, '/')",
         {{"x", kFirst | kValue}, {"y", kValue}},
         " datasize=\"3\">x/y</Column>",
         "own separator"},
        {"VALUELIST(NAME, '&', 2, 3)",
         {{"x", kFirst | kValue}, {"y", kValue}, {"z", kValue}, {"q", kValue}},
         " datasize=\"7\">y&amp;z</Column>",
         "a range; the separator is text, too"},
        {"VALUELIST(NAME, '/', 2)",
         {{"x", kFirst | kValue}, {"y", kValue}},
         " datasize=\"1\">y</Column>",
         "to the end"},
        {"VALUELIST(NAME, '/', 0, 0)",
         {{"x", kFirst | kValue}, {"y", kValue}},
         " datasize=\"1\">x</Column>",
         "below 1 means 1"},
        {"VALUELIST(NAME, '/', 3, 2)",
         {{"x", kFirst | kValue}, {"y", kValue}},
         " null=\"true\" />",
         "an empty range"},
        {"NOTE",
         {{"NOTE,12,0", kFirst | kReference}},
         " datasize=\"9\" fetchKey=\"54-12-0-3\"/>",
         "a text stays behind its key"},
        {"B",
         {{"B,12,0", kFirst | kReference}},
         " datasize=\"9\" fetchKey=\"54-12-0-7\"/>",
         "and so does a large object"},
        {"'it<s'",
         {{"ignored", kFirst | kValue}},
         " datasize=\"7\">it&lt;s</Column>",
         "constants come from the statement"},
        {"NULL", {{"ignored", kFirst | kValue}}, " null=\"true\" />", ""},
    };
    for (const auto& row : rows) {
        loadArticles();
        EXPECT_EQ(rowsOf(std::string("SELECT ") + row.item + " FROM T", {{row.items, 12, 0}}),
                  rowElement(1, 12, 0, std::string("<Column ID=\"1\"") + row.column + "\r\n"))
            << row.item << "\n  " << row.reason;
    }
}

TEST(Rows, ItemsFindTheirColumns) {
    loadArticles();
    EXPECT_EQ(
        rowsOf("SELECT NAME, 1, A, NOTE FROM T", {{{{"x", kFirst | kValue},
                                                    {"y", kValue},
                                                    {"1", kFirst | kValue},
                                                    {"", kFirst | kNull},
                                                    {"NOTE,7,0", kFirst | kReference}},
                                                   7,
                                                   0}}),
        rowElement(
            1, 7, 0,
            "<Column ID=\"1\" datasize=\"4\">x; y</Column>\r\n<Column ID=\"2\" datasize=\"1\">1</Column>\r\n"
            "<Column ID=\"3\" null=\"true\" />\r\n<Column ID=\"4\" datasize=\"8\" "
            "fetchKey=\"54-7-0-3\"/>\r\n"));
}

TEST(Rows, PartsAreNamedInRowsAndKeys) {
    loadArticles();
    fakeKernel().tables["PARTS"].push_back({"TEXT", 3, WDB_T_TEXT, kPartFlags});
    EXPECT_EQ(rowsOf("SELECT PIECE, TEXT FROM PARTS",
                     {{{{"p", kFirst | kValue}, {"TEXT,4,2", kFirst | kReference}}, 4, 2}}),
              rowElement(1, 4, 2,
                         "<Column ID=\"1\" datasize=\"1\">p</Column>\r\n"
                         "<Column ID=\"2\" datasize=\"16\" fetchKey=\"5041525453-4-2-3\"/>\r\n"));
}

TEST(Rows, DeletedRecordsAreSkipped) {
    loadArticles();
    std::vector<Row> rows = numberedRows(4);
    rows[0].status = WDB_E_DELETED;
    rows[2].items[0].flags |= kDeleted;
    const std::string two = "<Column ID=\"1\" datasize=\"1\">2</Column>\r\n",
                      four = "<Column ID=\"1\" datasize=\"1\">4</Column>\r\n";
    EXPECT_EQ(rowsOf("SELECT A FROM T", rows), rowElement(1, 20, 0, two) + rowElement(2, 40, 0, four))
        << "the numbering stays continuous";
}

TEST(Rows, Blocks) {
    const struct {
        const char* size;
        const char* number;
        int first, last;
        const char* reason;
    } cases[] = {
        {"", "", 1, 20, "20 rows unless the host says otherwise"},
        {"20", "3", 41, 45, "the last block is short"},
        {"10", "2", 11, 20, ""},
        {"-1", "1", 1, 45, "the whole result"},
        {"-1", "2", 21, 40, "only the first block can be the whole result"},
        {"45", "1", 1, 45, "exactly full"},
        {"2147483647", "1", 1, 45, ""},
    };
    for (const auto& row : cases) {
        loadArticles();
        fakeKernel().settings["SQL_BLOCKSIZE"] = row.size;
        fakeKernel().settings["SQL_BLOCKNUMBER"] = row.number;
        std::string expected;
        for (int i = row.first; i <= row.last; ++i) expected += numberedElement(i);
        EXPECT_EQ(rowsOf("SELECT A FROM T", numberedRows(45)), expected) << row.reason;
    }
    loadArticles();
    fakeKernel().settings["SQL_BLOCKSIZE"] = "20";
    fakeKernel().settings["SQL_BLOCKNUMBER"] = "4";
    EXPECT_EQ(rowsOf("SELECT A FROM T", numberedRows(45), 9092),
              faultDocument("4546", "WSQLExecSelect:1267", "WSQLFilter::ExecuteSelect",
                            "There are no more records in the result set."));
}

TEST(Rows, AFailingFetchIsTheAnswer) {
    loadArticles();
    fakeKernel().messages[WDB_E_STORAGE] = "the disk is gone";
    std::vector<Row> rows = numberedRows(3);
    rows[1].status = WDB_E_STORAGE;
    EXPECT_EQ(rowsOf("SELECT A FROM T", rows, WDB_E_STORAGE),
              faultDocument(std::to_string(WDB_E_STORAGE), "WSQLFilter::GetNextJoinRow", "WdbGetRows",
                            "the disk is gone"));
}

// Without a log most rows go straight into the document; a log, and DISTINCT, want them put together first.
TEST(Rows, ALogChangesNoRow) {
    const std::string longText(200, 'x');
    const struct {
        const char* items;
        std::vector<FakeKernel::Item> values;
        const char* reason;
    } cases[] = {
        {"NAME, A", {{"x", kFirst | kValue}, {"-12", kFirst | kValue}}, "one item to a column"},
        {"NAME, A", {{"", kFirst | kNull}, {"", kFirst | kValue}}, "NULL beside an empty text"},
        {"NAME, A", {{"a&b<c>d\"&", kFirst | kValue}, {"1", kFirst | kValue}}, "markup, a quote is none"},
        {"NAME, A", {{longText, kFirst | kValue}, {longText + "&" + longText, kFirst | kValue}}, "long ones"},
        {"NAME, A", {{"x", kFirst | kValue}, {"y", kValue}, {"1", kFirst | kValue}}, "two items"},
        {"NAME, A", {{"x", kFirst | kValue}}, "a column without an item"},
        {"NAME, NOTE", {{"x", kFirst | kValue}, {"NOTE,7,0", kFirst | kReference}}, "a value in its record"},
        {"NAME, 'k'", {{"x", kFirst | kValue}, {"?", kFirst | kValue}}, "a constant of the statement"},
        {"NAME[2], A", {{"y", kFirst | kValue}, {"1", kFirst | kValue}}, "the value that was asked for"},
        {"VALUELIST(NAME, ', ', 2), A", {{"x", kFirst | kValue}, {"1", kFirst | kValue}}, "values from 2"},
    };
    for (const auto& row : cases) {
        std::string documents[2];
        for (const bool logged : {false, true}) {
            const LogDirectory log;
            loadArticles();
            if (logged) fakeKernel().settings["WELKSQL_LOG"] = "5";
            fakeKernel().settings["SQL_BLOCKSIZE"] = "20";
            fakeKernel().settings["SQL_BLOCKNUMBER"] = "6";
            const Row plain{{{"first", kFirst | kValue}, {"1", kFirst | kValue}}, 123456, 3};
            std::vector<Row> rows(120, plain);
            rows[102] = {row.values, 2147483647, 0};
            documents[logged] = rowsOf(std::string("SELECT ") + row.items + " FROM T", std::move(rows));
        }
        EXPECT_EQ(documents[0], documents[1]) << row.reason;
        EXPECT_NE(documents[0].find("<Row rowNumber=\"103\" recordNumber=\"2147483647\""), std::string::npos)
            << documents[0];
    }
}

TEST(Rows, WholeDocument) {
    loadArticles();
    fakeKernel().searches = true;
    fakeKernel().rows = {{{{"1", kFirst | kValue}, {"N", kFirst | kValue}}, 1, 0}};
    Request plain("SELECT A AS first, NAME FROM T x");
    EXPECT_EQ(runSql(plain), 1);
    EXPECT_EQ(plain.document(),
              std::string(kDeclaration) +
                  "<ResultSet>\r\n"
                  "<ResultSetMetaData statementType=\"SELECT\" columnCount=\"2\" rowCount=\"1\">\r\n"
                  "<ColumnMetaData ID=\"1\" tableName=\"T\" columnName=\"A\" columnLabel=\"first\" "
                  "columnType=\"INTEGER\" "
                  "maxLength=\"4\" isNullable=\"true\" isSerial=\"false\" isPrimaryKey=\"false\" "
                  "isUnique=\"false\"/>\r\n"
                  "<ColumnMetaData ID=\"2\" tableName=\"T\" columnName=\"NAME\" columnType=\"VARCHAR\" "
                  "maxLength=\"255\" "
                  "isNullable=\"true\" isSerial=\"false\" isPrimaryKey=\"false\" isUnique=\"false\"/>\r\n"
                  "</ResultSetMetaData>\r\n<ResultSetData>\r\n" +
                  rowElement(1, 1, 0,
                             "<Column ID=\"1\" datasize=\"1\">1</Column>\r\n<Column ID=\"2\" "
                             "datasize=\"1\">N</Column>\r\n") +
                  "</ResultSetData>\r\n</ResultSet>");
}

TEST(Rows, AFailureOfTheFinalCommitReplacesTheAnswer) {
    loadArticles();
    fakeKernel().messages[WDB_E_STORAGE] = "the disk is gone";
    fakeKernel().loadStatus = WDB_E_STORAGE;
    const std::string answer = rowsOf("SELECT A FROM T", numberedRows(1), WDB_E_STORAGE);
    EXPECT_NE(answer.find("faultSource=\"WdbLoadStatus\""), std::string::npos) << answer;
}
