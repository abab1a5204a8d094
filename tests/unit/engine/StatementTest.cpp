// Whole statements over the real kernel: text in, document out.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/unit/engine/Database.h"

namespace {

const std::string kXml = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n";

std::string fault(const std::string& code, const std::string& source, const std::string& context,
                  const std::string& text) {
    return kXml + "<Fault faultCode=\"" + code + "\"\r\n      faultSource=\"" + source +
           "\"\r\n      faultContext=\"" + context + "\">" + text + "</Fault>";
}

std::string rowCount(const std::string& table, int count) {
    return kXml +
           "<ResultSet>\r\n<ResultSetMetaData statementType=\"INSERT\" columnCount=\"1\" rowCount=\"1\">\r\n"
           "<ColumnMetaData ID=\"1\" columnLabel=\"Row Count\" tableName=\"" +
           table +
           "\" columnType=\"INTEGER\" maxLength=\"4\" "
           "isNullable=\"false\"/>\r\n</ResultSetMetaData>\r\n<ResultSetData>\r\n"
           "<Row rowNumber=\"1\">\r\n<Column ID=\"1\"><P>" +
           std::to_string(count) + "</P></Column>\r\n</Row>\r\n</ResultSetData>\r\n</ResultSet>\r\n";
}

const char* const kArticles =
    "CREATE TABLE ARTICLES (NAME VARCHAR PRIMARY KEY, QTY INTEGER, PRICE NUMERIC(8,2), DAY DATE, HOUR TIME, "
    "NOTE LONG VARCHAR, TAG VARCHAR, ID SERIAL)";

/// Ten articles: names a to j, quantities 10 to 100, even ones without a price.
void fill(Database& database) {
    database.prepare({kArticles});
    for (int i = 0; i < 10; ++i) {
        const std::string name(1, static_cast<char>('a' + i));
        const std::string price = i % 2 == 0 ? "NULL" : std::to_string(i) + ".50";
        database.prepare({"INSERT INTO ARTICLES (NAME, QTY, PRICE, DAY, HOUR, NOTE, TAG) VALUES ('" + name +
                          "', " + std::to_string((i + 1) * 10) + ", " + price + ", DATE('2024-01-" +
                          std::to_string(i + 1) + "'), 9:30, 'the word number " + std::to_string(i) +
                          " of the compiler', 'tag " + name + "')"});
    }
}

}  // namespace

TEST(CreateTable, Answers) {
    Database database;
    const Answer made = database.run("CREATE TABLE T (A VARCHAR PRIMARY KEY, B INTEGER)");
    EXPECT_EQ(made.status, 1);
    EXPECT_EQ(made.document, kXml + "<Success>The table \"T\" was successfully created.</Success>\r\n");
    const Answer again = database.run("CREATE TABLE T (A INTEGER)");
    EXPECT_EQ(again.status, 1220);
    EXPECT_EQ(again.document, fault("610", "WSQLFilter::ExecuteCreateTable", "WdbBaseInfo",
                                    "The table \"T\" already exists."));
    const Answer tolerant = database.run("CREATE TABLE IF NOT EXISTS t (A INTEGER)");
    EXPECT_EQ(tolerant.document, kXml + "<Success>The table \"t\" already exists.</Success>\r\n");
    EXPECT_EQ(tolerant.status, 1);
}

TEST(CreateTable, ColumnNamesAndTypes) {
    Database database;
    const struct {
        const char* sql;
        std::int32_t status;
        std::string document;
    } rows[] = {
        {"CREATE TABLE N15 (ABCDEFGHIJKLMNO INTEGER)", 1, ""},
        {"CREATE TABLE N16 (ABCDEFGHIJKLMNOP INTEGER)", 0,
         fault("0", "WSQLFilter::CreateField", "execution",
               "Column name is too long: \"ABCDEFGHIJKLMNOP\".")},
        {"CREATE TABLE N16 (A INTEGER)", 1, ""},  // nothing was left behind by the refused one
        {"CREATE TABLE \"a b\" (A INTEGER)", WDB_E_NAME, ""},
        {"CREATE TABLE K1 (A LONG VARBINARY, B LONG VARCHAR, C CHAR(20), D NUMERIC, E DATE NOT NULL, F TIME, "
         "\"g h\" SERIAL)",
         1, ""},
        {"CREATE TABLE REF (A VARCHAR REFERENCES NOWHERE (B))", 1,
         kXml + "<Success>The table \"REF\" was successfully created.</Success>\r\n"},
    };
    for (const auto& row : rows) {
        const Answer answer = database.run(row.sql);
        EXPECT_EQ(answer.status, row.status) << row.sql << "\n" << answer.document;
        if (!row.document.empty()) {
            EXPECT_EQ(answer.document, row.document) << row.sql;
        }
    }
    const std::string longName(61, 'X');
    EXPECT_EQ(database.run("CREATE TABLE " + longName + " (A INTEGER)").status, WDB_E_NAME)
        << "a longer name is never cut into a shorter one";
    const Answer described = database.run("SELECT * FROM K1");
    std::size_t at = 0;
    std::string types;
    for (std::string type; !(type = between(described.document, "columnType=\"", "\"", at)).empty();)
        types += type + ",";
    EXPECT_EQ(types, "LONG VARBINARY,LONG VARCHAR,VARCHAR,NUMERIC,DATE,TIME,INTEGER,");
}

TEST(CreateTable, Locations) {
    Database database;
    const std::string file = database.directory() + "/plain";
    std::ofstream(file) << "x";
    std::filesystem::create_directory(database.directory() + "/place");
    ASSERT_EQ(WdbSetResource(1, "A_B_C", (database.directory() + "/place").c_str()), WDB_OK);
    ASSERT_EQ(WdbSetResource(1, "A_FILE", file.c_str()), WDB_OK);
    ASSERT_EQ(WdbSetResource(1, "A_GAP", (database.directory() + "/gap").c_str()), WDB_OK);
    const char* source = "WSQLFilter::ExecuteCreateTable";
    EXPECT_EQ(database.run("CREATE TABLE L1 (A INTEGER) WITH LOCATION = NOWHERE").document,
              fault("0", source, "execution", "Table location \"NOWHERE\" does not exist."));
    EXPECT_EQ(database.run("CREATE TABLE L1 (A INTEGER) WITH LOCATION = A_GAP").document,
              fault("0", source, "execution", "The symbol \"A_GAP\" is not a table location."));
    EXPECT_EQ(database.run("CREATE TABLE L1 (A INTEGER) WITH LOCATION = A_FILE").document,
              fault("0", source, "execution", "Table location \"A_FILE\" does not refer to a directory."));
    EXPECT_EQ(database.run("CREATE TABLE L1 (A INTEGER) WITH LOCATION = A_B_C").status, 1);
    WdbBaseDef definition{};
    ASSERT_EQ(WdbGetBaseDef("L1", &definition), WDB_OK);
    EXPECT_STREQ(definition.baseFile, "A$B_C:L1.BAF");
    EXPECT_STREQ(definition.indexFile, "A$B_C:L1.BIF");
    EXPECT_STREQ(definition.valueFile, "A$B_C:L1.VIF");
    EXPECT_STREQ(definition.comment, "Database created via the CREATE TABLE command in WELKsql.");
    EXPECT_STREQ(definition.charset, "MUL");
    EXPECT_FALSE(std::filesystem::is_empty(database.directory() + "/place"));
}

TEST(Insert, Answers) {
    Database database;
    database.prepare({kArticles});
    const struct {
        const char* sql;
        std::int32_t status;
        std::string document;
        const char* reason;
    } rows[] = {
        {"INSERT INTO ARTICLES (NAME, QTY) VALUES ('x', 1)", 1, rowCount("ARTICLES", 1), "one record"},
        {"INSERT INTO articles (NAME) VALUES ('y')", 1, rowCount("articles", 1), "the name as typed"},
        {"INSERT IGNORE INTO ARTICLES (NAME) VALUES ('X')", 1, rowCount("ARTICLES", 0),
         "the key is there; letter case does not count"},
        {"INSERT INTO ARTICLES (NAME, QTY) VALUES ('n', NULL)", 1, rowCount("ARTICLES", 1),
         "NULL writes nothing"},
        {"INSERT INTO ARTICLES (NAME, PRICE) VALUES ('i', 10)", 0,
         fault("0", "SQLFilter::ExecuteInsert", "execution",
               "Value for column #2 \"PRICE\" must be a numeric constant."),
         "an integer is no NUMERIC constant"},
        {"INSERT INTO ARTICLES (NAME, PRICE) VALUES ('i', 10.0)", 1, rowCount("ARTICLES", 1), ""},
        {"INSERT INTO ARTICLES (NAME, QTY) VALUES ('neg', (SELECT -5))", 1, rowCount("ARTICLES", 1),
         "the way to a negative number"},
        {"INSERT INTO ARTICLES (NAME, QTY) VALUES ('sum', (SELECT 2 - 5 * 3))", 1, rowCount("ARTICLES", 1),
         ""},
        {"INSERT INTO ARTICLES (NAME, TAG[2], TAG[1]) VALUES ('tags', 'two', 'one')", 1,
         rowCount("ARTICLES", 1), "positions"},
    };
    for (const auto& row : rows) {
        const Answer answer = database.run(row.sql);
        EXPECT_EQ(answer.status, row.status) << row.sql << "\n  " << row.reason;
        EXPECT_EQ(answer.document, row.document) << row.sql << "\n  " << row.reason;
    }
    const Answer twice = database.run("INSERT INTO ARTICLES (NAME) VALUES ('x')");
    EXPECT_EQ(twice.status, WDB_E_DUPLICATE);
    EXPECT_NE(
        twice.document.find("faultSource=\"SQLFilter::ExecuteInsert\"\r\n      faultContext=\"execution\""),
        std::string::npos)
        << twice.document;
    EXPECT_EQ(database.run("SELECT NAME, QTY, PRICE, TAG FROM ARTICLES").rows(),
              "x|1|~|~\ny|~|~|~\nn|~|~|~\ni|~|10.00|~\nneg|-5|~|~\nsum|-13|~|~\ntags|~|~|one; two");
}

TEST(Insert, LongValuesAreCut) {
    Database database;
    database.prepare(
        {"CREATE TABLE L (A VARCHAR, B LONG VARCHAR)",
         "INSERT INTO L VALUES ('" + std::string(300, 'v') + "', '" + std::string(33000, 't') + "')"});
    EXPECT_EQ(UpdateRCS("SQL_SELECTTEXT", "1"), WDB_OK);
    const std::string rows = database.run("SELECT A, B FROM L").rows();
    EXPECT_EQ(rows, std::string(256, 'v') + "|<P>" + std::string(32000, 't') + "\n</P>");
}

TEST(Select, FindsAndOrders) {
    Database database;
    fill(database);
    const struct {
        const char* tail;
        const char* rows;
        const char* reason;
    } cases[] = {
        {"WHERE NAME = 'c'", "c|30", "an exact value"},
        {"WHERE NAME = 'C'", "c|30", "letter case does not count"},
        {"WHERE QTY > 80 ORDER BY NAME DESC", "j|100\ni|90", ""},
        {"WHERE QTY BETWEEN 20 AND 40 ORDER BY 2", "b|20\nc|30\nd|40", ""},
        {"WHERE QTY NOT BETWEEN 20 AND 90", "a|10\nj|100", ""},
        {"WHERE NOTE = 'number 3'", "d|40", "a phrase of two words"},
        {"WHERE NOTE = '3 number'", "", "in their order"},
        {"WHERE NOTE LIKE 'comp%' AND QTY < 30", "a|10\nb|20", "truncation"},
        {"WHERE TAG LIKE 'tag _' AND NOT (QTY < 90 OR NAME = 'j')", "i|90", ""},
        {"WHERE PRICE IS NULL AND QTY >= 50 ORDER BY QTY", "e|50\ng|70\ni|90", ""},
        {"WHERE PRICE IS NOT NULL AND PRICE < 4", "b|20\nd|40", ""},
        {"WHERE PRICE = 3.50", "d|40", ""},
        {"WHERE DAY = DATE('2024-1-4')", "d|40", ""},
        {"WHERE DAY > DATE('2024-01-08')", "i|90\nj|100", ""},
        {"WHERE HOUR = 9:30 AND NAME = 'a'", "a|10", ""},
        {"WHERE R = 2", "b|20", "the row identifier"},
        {"WHERE ID = 3", "c|30", "serial numbers count from 1"},
        {"WHERE 1 = 2", "", "a false constant condition"},
        {"WHERE 1 = 1 AND NAME = 'a'", "a|10", ""},
        {"WHERE NAME = 'x) OR (R=FROM 1'", "", "no value reaches beyond its quotes"},
        {"WHERE NAME = 'a\" OR \"b'", "", ""},
        {"WHERE NAME = '$'", "", ""},
        {"WHERE NAME = 'nothing'", "", ""},
        {"x WHERE x.NAME = 'a' ORDER BY x.QTY", "a|10", "an alias"},
        {"\"A) WHERE(\" WHERE NAME = 'a'", "a|10", "whatever it looks like"},
    };
    for (const auto& row : cases) {
        const std::string sql = std::string("SELECT NAME, QTY FROM ARTICLES ") + row.tail;
        const Answer answer = database.run(sql);
        EXPECT_EQ(answer.rows(), row.rows) << sql << "\n  " << row.reason;
        EXPECT_EQ(answer.status, 1) << sql;
    }
}

TEST(Select, Documents) {
    Database database;
    fill(database);
    EXPECT_EQ(
        database.run("SELECT NAME, QTY AS \"Q<\", NOTE, 'k' FROM ARTICLES WHERE NAME = 'b'").document,
        kXml +
            "<ResultSet>\r\n"
            "<ResultSetMetaData statementType=\"SELECT\" columnCount=\"4\" rowCount=\"1\">\r\n"
            "<ColumnMetaData ID=\"1\" tableName=\"ARTICLES\" columnName=\"NAME\" columnType=\"VARCHAR\" "
            "maxLength=\"255\" isNullable=\"true\" isSerial=\"false\" isPrimaryKey=\"true\" "
            "isUnique=\"true\"/>\r\n"
            "<ColumnMetaData ID=\"2\" tableName=\"ARTICLES\" columnName=\"QTY\" columnLabel=\"Q&lt;\" "
            "columnType=\"INTEGER\" maxLength=\"4\" isNullable=\"true\" isSerial=\"false\" "
            "isPrimaryKey=\"false\" "
            "isUnique=\"false\"/>\r\n"
            "<ColumnMetaData ID=\"3\" tableName=\"ARTICLES\" columnName=\"NOTE\" columnType=\"LONG VARCHAR\" "
            "maxLength=\"2147483647\" isNullable=\"true\" isSerial=\"false\" isPrimaryKey=\"false\" "
            "isUnique=\"false\"/>\r\n"
            "<ColumnMetaData ID=\"4\" tableName=\"\" columnName=\"COLUMN004\" columnLabel=\"COLUMN004\" "
            "columnType=\"VARCHAR\" maxLength=\"255\" isNullable=\"false\" isSerial=\"false\" "
            "isPrimaryKey=\"false\" "
            "isUnique=\"false\"/>\r\n"
            "</ResultSetMetaData>\r\n<ResultSetData>\r\n"
            "<Row rowNumber=\"1\" recordNumber=\"2\" partNumber=\"0\">\r\n"
            "<Column ID=\"1\" datasize=\"1\">b</Column>\r\n"
            "<Column ID=\"2\" datasize=\"2\">20</Column>\r\n"
            "<Column ID=\"3\" datasize=\"22\" fetchKey=\"41525449434c4553-2-0-6\"/>\r\n"
            "<Column ID=\"4\" datasize=\"1\">k</Column>\r\n"
            "</Row>\r\n</ResultSetData>\r\n</ResultSet>");
    EXPECT_EQ(database.run("SELECT DAY, HOUR, PRICE, ID, R FROM ARTICLES WHERE NAME = 'b'").rows(),
              "2024-01-02|09:30:00|1.50|2|2");
    EXPECT_EQ(database.run("SELECT NAME FROM ARTICLES WHERE NAME = 'zz'").rowCount(), "0");
}

TEST(Select, Pages) {
    Database database;
    fill(database);
    EXPECT_EQ(UpdateRCS("SQL_BLOCKSIZE", "3"), WDB_OK);
    EXPECT_EQ(UpdateRCS("SQL_BLOCKNUMBER", "4"), WDB_OK);
    const Answer last = database.run("SELECT NAME FROM ARTICLES ORDER BY QTY DESC");
    EXPECT_EQ(last.rows(), "a");
    EXPECT_EQ(last.rowCount(), "10") << "the exact total, whatever the block";
    EXPECT_NE(last.document.find("<Row rowNumber=\"10\" recordNumber=\"1\""), std::string::npos);
    EXPECT_EQ(UpdateRCS("SQL_BLOCKNUMBER", "5"), WDB_OK);
    EXPECT_EQ(database.run("SELECT NAME FROM ARTICLES").status, 9092);
}

// Short settings come with the other texts of the session, long ones are asked for by themselves.
TEST(Select, PagesBySettingsOfAnyLength) {
    Database database;
    fill(database);
    const std::string blanks(60, ' ');
    const struct {
        std::string size, number;
        int first, last;
        const char* reason;
    } rows[] = {
        {"3", "2", 4, 6, "short texts"},
        {blanks + "3 rows", "2", 4, 6, "a long size"},
        {"3", blanks + "+2", 4, 6, "a long number"},
        {"", "", 1, 10, "empty is as good as none"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(UpdateRCS("SQL_BLOCKSIZE", row.size.c_str()), WDB_OK);
        EXPECT_EQ(UpdateRCS("SQL_BLOCKNUMBER", row.number.c_str()), WDB_OK);
        const std::string document = database.run("SELECT NAME FROM ARTICLES").document;
        for (int number = 1; number <= 10; ++number) {
            const bool there =
                document.find("<Row rowNumber=\"" + std::to_string(number) + "\"") != std::string::npos;
            EXPECT_EQ(there, number >= row.first && number <= row.last) << row.reason << ": " << number;
        }
    }
}

TEST(Select, TextInlineAndMultipleValues) {
    Database database;
    database.prepare({"CREATE TABLE M (A VARCHAR, B LONG VARCHAR)",
                      "INSERT INTO M (A[1], A[3], B) VALUES ('one', 'three', 'a<\n\nb\nc')"});
    const struct {
        const char* item;
        const char* value;
    } rows[] = {
        {"A", "one; three"},
        {"A[1]", "one"},
        {"A[2]", "~"},
        {"A[3]", "three"},
        {"A[4]", "~"},
        {"VALUELIST(A, '+')", "one+three"},
        {"VALUELIST(A, '+', 2, 3)", "three"},
        {"B", "@4d-1-0-2"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(database.run(std::string("SELECT ") + row.item + " FROM M").rows(), row.value) << row.item;
    }
    EXPECT_EQ(database.run("SELECT R FROM M WHERE A[3] = 'three'").rows(), "1");
    EXPECT_EQ(database.run("SELECT R FROM M WHERE A[1] = 'three'").rows(), "");
    EXPECT_EQ(UpdateRCS("SQL_SELECTTEXT", "1"), WDB_OK);
    EXPECT_EQ(database.run("SELECT B FROM M").rows(), "<P>a&lt;\n</P><P>b\nc\n</P>");
}

TEST(Statements, EveryKernelFailureIsAnsweredAndLeavesNothingBehind) {
    Database database;
    fill(database);
    EXPECT_EQ(UpdateRCS("SQL_SELECTTEXT", "1"), WDB_OK);
    const char* functions[] = {
        "WdbCreateRecordControl", "WdbSetBase",           "WdbCheckField",   "WdbBaseInfo",
        "WdbShellSymbol",         "WdbExecuteCcl",        "WdbSearchResult", "WdbGetRows",
        "WdbGetRecordInBase",     "WdbSetCursor",         "WdbParaCount",    "WdbGetLine",
        "WdbReplaceItem",         "WdbPutRecord",         "WdbBaseStatus",   "WdbBatchLoadIndex",
        "WdbCheckBase",           "WdbGetIntegrityRules", "WdbSessionInfo",  "WdbShellDefDateform",
        "WdbGetBaseDef",          "WdbPutBaseDef",        "WdbGetFieldSpec", "WdbPutFieldSpec",
        "WdbCurrentDate",
    };
    int number = 0, faults = 0;
    for (const char* function : functions) {
        for (int skip = 0; skip < 4; ++skip) {
            ++number;
            const std::string statements[] = {
                "SELECT NAME, NOTE FROM ARTICLES WHERE QTY > 20 AND DAY < CURRENT_DATE ORDER BY NAME",
                "INSERT INTO ARTICLES (NAME, QTY, NOTE) VALUES ('new" + std::to_string(number) +
                    "', 5, 'text')",
                "CREATE TABLE NEW" + std::to_string(number) + " (A VARCHAR PRIMARY KEY, B INTEGER DEFAULT 5)",
            };
            for (const std::string& sql : statements) {
                const std::string place =
                    std::string(function) + " after " + std::to_string(skip) + ": " + sql;
                const Answer answer = database.runFailing(function, skip, WDB_E_STORAGE, sql);
                EXPECT_NE(answer.document, "") << place;
                const bool isFault = answer.document.find("<Fault ") != std::string::npos;
                faults += isFault ? 1 : 0;
                EXPECT_EQ(isFault, (answer.status & 1) == 0) << place << "\n" << answer.document;
            }
        }
    }
    EXPECT_GT(faults, 25) << "the injected failures have to arrive";
}
