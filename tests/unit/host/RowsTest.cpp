// Rows as files hold them: written, and read back.
#include <gtest/gtest.h>

#include "host/define/TableDefinition.h"
#include "host/input/CsvReader.h"
#include "host/input/JsonLinesReader.h"
#include "host/records/RowWriter.h"
#include "tests/unit/host/TempFile.h"

namespace host {
namespace {

const std::vector<TableColumn>& columns() {
    static const std::vector<TableColumn> table = {
        {"NAME", 1, WDB_T_PHRASE, 0}, {"a b", 2, WDB_T_TEXT, 0},    {"SIZE", 3, WDB_T_INTEGER, 0},
        {"COST", 4, WDB_T_NUMBER, 0}, {"ICON", 5, WDB_T_STRING, 0}, {"DAY", 6, WDB_T_DATE, 0}};
    return table;
}

// A head record from texts in the columns' order; an empty list is NULL.
StoredRecord record(StoredPart values) {
    StoredRecord made;
    made.number = 1;
    made.head = std::move(values);
    made.head.resize(columns().size());
    return made;
}

// "NAME=x|TAG/2=y|#1 PAGE=z", or "! problem".
std::string parsed(RecordReader& reader) {
    InputRecord row;
    std::string text;
    while (reader.next(row)) {
        if (!text.empty()) text += "\n";
        if (!row.problem.empty()) {
            text += "! " + row.problem;
            continue;
        }
        for (const InputValue& value : row.values) {
            if (&value != &row.values.front()) text += "|";
            if (value.part > 0) text += "#" + std::to_string(value.part) + " ";
            text += reader.columns()[value.column];
            if (value.position > 0) text += "/" + std::to_string(value.position);
            text += "=" + std::string(value.text);
        }
        if (row.parts > 0) text += " (" + std::to_string(row.parts) + " parts)";
    }
    return text;
}

TEST(Rows, EveryValueComesBackFromJsonLines) {
    const std::string bytes("\0\xFF\n\"", 4);
    StoredRecord full = record({{"x \"y\" \\"},
                                {"one\n\ntwo"},
                                {"1", std::nullopt, "-9223372036854775808"},
                                {"1.2345678901234567890123"},
                                {bytes},
                                {"2020-01-31"}});
    full.parts.resize(2);
    full.parts[1].resize(columns().size());
    full.parts[1][1] = {"page"};
    JsonRowWriter writer(columns());
    std::string out, reason;
    ASSERT_TRUE(writer.row(full, out, reason)) << reason;
    ASSERT_TRUE(writer.row(record({}), out, reason)) << reason;
    EXPECT_EQ(
        out,
        "{\"NAME\":\"x \\\"y\\\" \\\\\",\"a b\":\"one\\n\\ntwo\",\"SIZE\":[1,null,-9223372036854775808],"
        "\"COST\":1.2345678901234567890123,\"ICON\":{\"base64\":\"AP8KIg==\"},\"DAY\":\"2020-01-31\","
        "\".parts\":[{},{\"a b\":\"page\"}]}\n{}\n");
    const TempFile file(out);
    LineReader lines(file.path());
    JsonLinesReader reader(lines);
    EXPECT_EQ(parsed(reader),
              "NAME=x \"y\" \\|a b=one\n\ntwo|SIZE/1=1|SIZE/3=-9223372036854775808|"
              "COST=1.2345678901234567890123|ICON=" +
                  bytes + "|DAY=2020-01-31|#2 a b=page (2 parts)\n");
    EXPECT_TRUE(reader.isObject(4));
}

TEST(Rows, LinesThatAreNoRowsAreRefused) {
    struct Row {
        const char* why;
        std::string line;
        const char* problem;
    };
    const Row rows[] = {
        {"no object", "5", "! a row is an object"},
        {"no object either", "[1]", "! a row is an object"},
        {"nothing", "null", "! a row is an object"},
        {"torn", "{\"A\":1", "! no JSON object: error at byte 8"},
        {"two on a line", "{} {}", "! no JSON object: error at byte 4"},
        {"list in a list", "{\"A\":[[1]]}", "! values lie too deep"},
        {"object in a list", "{\"A\":[{}]}", "! values lie too deep"},
        {"an object that is none", "{\"A\":{\"x\":1}}", "! a value that is an object has one member, base64"},
        {"parts that are none", "{\".parts\":1}", "! a row is an object"},
        {"deep enough to hurt a parser that calls itself", "{\"A\":" + std::string(100000, '['),
         "! values lie too deep"},
        {"bytes that are no UTF-8", "{\"A\":\"\xFF\"}", "! no JSON object: error at byte 7"},
        {"a number with all its digits", "{\"A\":[1e5,18446744073709551616,true]}",
         "A/1=1e5|A/2=18446744073709551616|A/3=true"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const TempFile file(row.line + "\n");
        LineReader lines(file.path());
        JsonLinesReader reader(lines);
        EXPECT_EQ(parsed(reader), row.problem);
    }
}

TEST(Rows, CsvCellsHoldListsAndObjects) {
    CsvRowWriter writer(columns());
    std::string out, reason;
    writer.begin(out);
    ASSERT_TRUE(writer.row(record({{"x", std::nullopt, "z"}, {}, {"5"}, {}, {"ab"}}), out, reason)) << reason;
    EXPECT_EQ(out, "NAME,a b,SIZE,COST,ICON,DAY\r\n\"x\n\nz\",,5,,YWI=,\r\n");
    StoredRecord withParts = record({});
    withParts.parts.resize(1);
    EXPECT_FALSE(writer.row(withParts, out, reason));
    EXPECT_EQ(reason, "a CSV file cannot hold part records");
    const TempFile file(out);
    LineReader lines(file.path());
    CsvReader reader(lines, ValueForm::cells);
    EXPECT_EQ(parsed(reader), "NAME=x\n\nz|SIZE=5|ICON=YWI=");
    EXPECT_EQ(reader.columns()[1], "a b");
}

TEST(Rows, InsertSaysWhatTheDialectCanSayAndRefusesTheRest) {
    struct Row {
        const char* why;
        StoredPart values;
        const char* text;  // behind INSERT INTO "T" , or "! reason"
    };
    const Row rows[] = {
        {"one of each",
         {{"x"}, {"a\nb"}, {"5"}, {"1.50"}, {}, {"2020-01-31"}},
         R"(("NAME", "a b", "SIZE", "COST", "DAY") VALUES ('x', 'a)"
         "\n"
         R"(b', 5, 1.50, DATE('2020-01-31'));)"},
        {"positions, with a gap", {{"x", std::nullopt, "y"}}, "(NAME[1], NAME[3]) VALUES ('x', 'y');"},
        {"the other quotes", {{"it's"}, {"it's \"so\""}}, R"(("NAME", "a b") VALUES ("it's", `it's "so"`);)"},
        {"all quotes", {{"'\"`"}}, "! INSERT cannot write the value of NAME"},
        {"a backslash would hide the quote", {{"x\\"}}, "! INSERT cannot write the value of NAME"},
        {"literals have no sign",
         {{}, {}, {"-1"}, {"-1.50"}},
         R"(("SIZE", "COST") VALUES ((SELECT -1), (SELECT -1.50));)"},
        {"nor one for the smallest", {{}, {}, {"-2147483648"}}, "! INSERT cannot write the value of SIZE"},
        {"literals have 32 bits", {{}, {}, {"2147483648"}}, "! INSERT cannot write the value of SIZE"},
        {"two places exactly", {{}, {}, {}, {"1.5"}}, "! INSERT cannot write the value of COST"},
        {"more digits than a double",
         {{}, {}, {}, {"12345678901234.25"}},
         "! INSERT cannot write the value of COST"},
        {"INSERT cuts longer values", {{std::string(257, 'x')}}, "! INSERT cannot write the value of NAME"},
        {"objects", {{}, {}, {}, {}, {"x"}}, "! INSERT cannot write the value of ICON"},
        {"nothing", {}, "! INSERT cannot write a record without values"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        SqlRowWriter writer("T", columns());
        std::string out, reason;
        if (writer.row(record(row.values), out, reason))
            EXPECT_EQ(out, std::string("INSERT INTO \"T\" ") + row.text + "\n");
        else
            EXPECT_EQ("! " + reason, row.text);
    }
}

TEST(Definition, ComesBackFromItsJson) {
    const std::string text =
        R"({"table":"DOCS","comment":"c","charset":"CHI","location":"L","primaryKey":"ID","columns":[)"
        R"({"name":"ID","type":"VARCHAR","notNull":true,"default":"x"},)"
        R"({"name":"NO","type":"INTEGER","serial":true},)"
        R"({"name":"PAGE","type":"LONG VARCHAR","part":true,"plain":true,"indexed":false,"comment":"d"},)"
        R"({"name":"OF","type":"VARCHAR","references":{"table":"T","column":"K","onDelete":"SET NULL","onUpdate":"CASCADE"}}]})";
    EXPECT_EQ(definitionJson(parseDefinition(text)), text);
    EXPECT_FALSE(fitsCreateTable(parseDefinition(text)));
}

TEST(Definition, SaysWhatIsWrong) {
    const std::pair<const char*, const char*> rows[] = {
        {"{", "definition: the text is no JSON"},
        {"[]", "definition: the table is no object"},
        {R"({"table":"T"})", "definition: the table has no columns"},
        {R"({"columns":[{"name":"A"}]})", "definition: the table has no name"},
        {R"({"table":"T","columns":[{}]})", "definition: a column has no name"},
        {R"({"table":"T","columns":[{"name":"A","type":"TEXT"}]})", "definition: no type is called TEXT"},
        {R"({"table":"T","columns":[{"name":"A","tpye":"DATE"}]})",
         "definition: a column has a member that is not known"},
        {R"({"table":"T","columns":[{"name":"A","part":1}]})",
         "definition: a column: part is neither true nor false"},
        {R"({"table":"T","columns":[{"name":"A","references":{"table":"U"}}]})",
         "definition: A: references needs table and column"},
        {R"({"table":"T","columns":[{"name":"A","references":{"table":"U","column":"B","onDelete":"x"}}]})",
         "definition: no action is called x"},
    };
    for (const auto& [text, message] : rows) {
        SCOPED_TRACE(text);
        try {
            parseDefinition(text);
            ADD_FAILURE() << "taken";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), message);
        }
    }
}

TEST(Definition, AsCreateTable) {
    const TableDefinition definition = parseDefinition(
        R"({"table":"T","primaryKey":"ID","location":"L_X","columns":[{"name":"ID","default":"it's"},)"
        R"({"name":"a b","type":"INTEGER","default":"-5","notNull":true,"references":{"table":"U","column":"K"}},)"
        R"({"name":"order","type":"DATE","default":"2020-01-31"},)"
        R"({"name":"N","type":"INTEGER","serial":true,"notNull":true},)"
        R"({"name":"OF","references":{"table":"U","column":"K","onUpdate":"NO ACTION"}}]})");
    EXPECT_TRUE(fitsCreateTable(definition));
    EXPECT_EQ(createTable(definition), R"(CREATE TABLE T (
  ID VARCHAR DEFAULT "it's" PRIMARY KEY,
  "a b" INTEGER DEFAULT (SELECT -5) NOT NULL,
  "order" DATE DEFAULT DATE('2020-01-31'),
  N SERIAL,
  OF VARCHAR REFERENCES U (K) ON UPDATE NO ACTION,
  FOREIGN KEY ("a b") REFERENCES U (K)
) WITH LOCATION = L_X;)");
    EXPECT_FALSE(fitsCreateTable(parseDefinition(
        R"({"table":"T","columns":[{"name":"N","type":"INTEGER","default":"3000000000"}]})")));
}

}  // namespace
}  // namespace host
