// The dictionary: its rows, its own law of conditions, its faults.
#include <gtest/gtest.h>

#include "tests/unit/engine/Database.h"
#include "tests/unit/engine/Faults.h"

namespace {

class Dictionary : public testing::Test {
protected:
    Dictionary() {
        database_.prepare({"CREATE TABLE ARTICLE (K VARCHAR PRIMARY KEY, N INTEGER NOT NULL, P NUMERIC)",
                           "CREATE TABLE PARTS (A VARCHAR REFERENCES ARTICLE (K) ON DELETE CASCADE ON UPDATE "
                           "SET NULL, T LONG "
                           "VARCHAR, B LONG VARBINARY, S SERIAL, D DATE, C TIME)",
                           "CREATE TABLE START (X VARCHAR REFERENCES ARTICLE (K), Y VARCHAR REFERENCES "
                           "ARTICLE (K) ON DELETE NO "
                           "ACTION ON UPDATE CASCADE)"});
    }
    std::string rows(const std::string& sql) {
        const Answer answer = database_.run(sql);
        EXPECT_EQ(answer.status, 1) << sql << answer.document;
        database_.expectClean(sql);
        return answer.rows();
    }

    Database database_;
};

TEST_F(Dictionary, TellsWhatIsDefined) {
    EXPECT_EQ(rows("SELECT * FROM WDBS.TABLES"), "ARTICLE|tester\nPARTS|tester\nSTART|tester");
    EXPECT_EQ(rows("SELECT * FROM wdbs.columns"),
              "ARTICLE|K|VARCHAR|0|1|1\nARTICLE|N|INTEGER|1|2|0\nARTICLE|P|NUMERIC|0|3|0\n"
              "PARTS|A|VARCHAR|0|1|0\nPARTS|T|LONG VARCHAR|0|2|0\nPARTS|B|LONG VARBINARY|0|3|0\n"
              "PARTS|S|INTEGER|1|4|0\nPARTS|D|DATE|0|5|0\nPARTS|C|TIME|0|6|0\n"
              "START|X|VARCHAR|0|1|0\nSTART|Y|VARCHAR|0|2|0");
    EXPECT_EQ(rows("SELECT * FROM WDBS.KEYREFS"),
              "PARTS|A|ARTICLE|K|CASCADE|SET_NULL\nSTART|X|ARTICLE|K|RESTRICT|RESTRICT\n"
              "START|Y|ARTICLE|K|NO_ACTION|CASCADE");
    EXPECT_EQ(rows("SELECT ordinal, c.COLNAME, WDBS.COLUMNS.TABLENAME FROM WDBS.COLUMNS c WHERE TABLENAME = "
                   "'start'"),
              "1|X|START\n2|Y|START");
    EXPECT_EQ(rows("SELECT DISTINCT SQLTYPE FROM WDBS.COLUMNS WHERE ORDINAL = 1 OR ORDINAL = 2"),
              "VARCHAR\nINTEGER\nLONG VARCHAR");
    EXPECT_EQ(rows("SELECT COUNT(*) FROM WDBS.COLUMNS WHERE TABLENAME = 'PARTS'"), "6");
    EXPECT_EQ(rows("SELECT COUNT(*) FROM WDBS.COLUMNS WHERE TABLENAME = 'NONE'"), "0");
}

TEST_F(Dictionary, DescribesItsColumns) {
    const std::string document = database_.run("SELECT OWNER AS O, name FROM WDBS.TABLES").document;
    const std::string metaData =
        "<ResultSetMetaData statementType=\"SELECT\" columnCount=\"2\" rowCount=\"3\">\r\n"
        "<ColumnMetaData ID=\"1\" tableName=\"TABLES\" columnName=\"OWNER\" columnLabel=\"O\" "
        "columnType=\"VARCHAR\" "
        "maxLength=\"255\" isNullable=\"false\" isSerial=\"false\" isPrimaryKey=\"false\" "
        "isUnique=\"false\"/>\r\n"
        "<ColumnMetaData ID=\"2\" tableName=\"TABLES\" columnName=\"NAME\" columnType=\"VARCHAR\" "
        "maxLength=\"255\" "
        "isNullable=\"false\" isSerial=\"false\" isPrimaryKey=\"false\" isUnique=\"false\"/>\r\n";
    EXPECT_NE(document.find(metaData), std::string::npos) << document;
    EXPECT_NE(document.find("<Row rowNumber=\"1\" recordNumber=\"0\" partNumber=\"0\">\r\n<Column ID=\"1\" "
                            "datasize=\"6\">tester</Column>"),
              std::string::npos)
        << document;
    EXPECT_NE(database_.run("SELECT ORDINAL FROM WDBS.COLUMNS")
                  .document.find("columnType=\"INTEGER\" maxLength=\"4\""),
              std::string::npos);
}

TEST_F(Dictionary, ConditionsFollowTheirOwnLaw) {
    const struct {
        const char *condition, *names, *reason;
    } rows_[] = {
        {"NAME = 'parts'", "PARTS", "letter case does not count"},
        {"'PARTS' = NAME", "PARTS", "whichever side the column stands on"},
        {"NAME = \"PARTS\"", "PARTS", "quotes of any kind"},
        {"NAME = '%'", "ARTICLE\nPARTS\nSTART", "everything"},
        {"NAME = 'P%'", "", "but no wildcard"},
        {"NAME <> 'PARTS'", "ARTICLE\nSTART", ""},
        {"NAME <> '%'", "ARTICLE\nPARTS\nSTART", ""},
        {"NAME < 'M'", "PARTS\nSTART", "the other way round"},
        {"NAME > 'M'", "ARTICLE", ""},
        {"NAME <= 'PARTS'", "PARTS\nSTART", ""},
        {"NAME >= 'PARTS'", "ARTICLE\nPARTS", ""},
        {"'M' < NAME", "PARTS\nSTART", "the same with the sides exchanged"},
        {"NAME LIKE 'art'", "ARTICLE\nPARTS\nSTART", "anywhere, in any letter case"},
        {"NAME LIKE 'A%'", "", "wildcards mean themselves"},
        {"NAME LIKE ''", "ARTICLE\nPARTS\nSTART", ""},
        {"NOT NAME LIKE 'ST'", "ARTICLE\nPARTS", ""},
        {"NAME LIKE 'T' AND NAME LIKE 'S'", "PARTS\nSTART", ""},
        {"NAME = 'PARTS' OR NAME = 'START'", "PARTS\nSTART", ""},
        {"NOT (NAME = 'PARTS' OR NAME = 'START')", "ARTICLE", ""},
        {"NAME LIKE 'T' AND (NAME = 'START' OR NAME LIKE 'CLE')", "ARTICLE\nSTART", ""},
        {"NAME = 'PARTS' AND X BETWEEN 1 AND 2", nullptr, "judged when a row gets there"},
        {"NAME = 'NONE' AND X BETWEEN 1 AND 2", "", "and not before"},
        {"OWNER = 'TESTER' AND NAME LIKE 'ARTI'", "ARTICLE", ""},
    };
    for (const auto& row : rows_) {
        const Answer answer =
            database_.run(std::string("SELECT NAME FROM WDBS.TABLES WHERE ") + row.condition);
        if (row.names == nullptr) {
            EXPECT_EQ(answer.status, 0) << row.condition;
        } else {
            EXPECT_EQ(answer.rows(), row.names) << row.condition << "  " << row.reason;
        }
    }
    EXPECT_EQ(rows("SELECT COLNAME FROM WDBS.COLUMNS WHERE TABLENAME = 'PARTS' AND ORDINAL < 4"), "D\nC")
        << "numbers compare as their texts, the other way round";
    EXPECT_EQ(rows("SELECT FKCOLUMN_NAME FROM WDBS.KEYREFS WHERE UPDATE_RULE = 'cascade'"), "Y");
}

TEST_F(Dictionary, ChainsOfAnyLength) {
    std::string condition = "NAME = 'PARTS'";
    for (int i = 0; i < 20000; ++i) condition += " OR NAME = 'NONE'";
    EXPECT_EQ(rows("SELECT NAME FROM WDBS.TABLES WHERE " + condition), "PARTS");
}

TEST_F(Dictionary, FaultsOfConditionsAndItems) {
    const std::string judged = "0 DICT_GetTablesList execution ",
                      bound = "0 validation WSQLFilter::CreateDictionaryMetaData ";
    const struct {
        std::string sql, fault;
    } rows_[] = {
        {"SELECT * FROM WDBS.TABLES WHERE X LIKE 'a'",
         judged + "Column \"X\" in LIKE predicate cannot be found in WDBS.TABLES."},
        {"SELECT * FROM WDBS.KEYREFS WHERE NAME LIKE 'a'",
         judged + "Column \"NAME\" in LIKE predicate cannot be found in WDBS.TABLES."},
        {"SELECT * FROM WDBS.COLUMNS WHERE NAME = 'a'",
         judged + "Column \"NAME\" in comparison cannot be found in WDBS.TABLES."},
        {"SELECT * FROM WDBS.TABLES WHERE 1 = 1", judged + "A comparison must include a column reference"},
        {"SELECT * FROM WDBS.TABLES WHERE NAME = OWNER",
         judged + "A comparison must include an expression that evaulates to a constant value."},
        {"SELECT * FROM WDBS.COLUMNS WHERE TABLENAME = COLNAME",
         judged + "A comparison must include an expression that evaluates to a constant value."},
        {"SELECT * FROM WDBS.KEYREFS WHERE PKTABLE_NAME = FKTABLE_NAME",
         judged + "A comparison must include an expression that evaluates to a constant value."},
        {"SELECT * FROM WDBS.TABLES WHERE NAME IS NULL", judged + "Condition type not yet supported"},
        {"SELECT * FROM WDBS.TABLES WHERE NAME BETWEEN 'A' AND 'B'",
         judged + "Condition type not yet supported"},
        {"SELECT * FROM WDBS.TABLES WHERE NAME IN (SELECT K FROM ARTICLE)",
         judged + "Condition type not yet supported"},
        {"SELECT X FROM WDBS.TABLES", bound + "Could not find column \"X\" in any specified table."},
        {"SELECT MIN(NAME) FROM WDBS.TABLES",
         bound + "Could not find column \"MIN(NAME)\" in any specified table."},
        {"SELECT COUNT(NAME) FROM WDBS.TABLES",
         bound + "Could not find column \"COUNT(NAME)\" in any specified table."},
        {"SELECT NAME, 5 FROM WDBS.TABLES", bound + "Could not find column \"5\" in any specified table."},
        {"SELECT S.TABLES.NAME FROM WDBS.TABLES",
         bound + "Invalid schema name \"S\" in column specification."},
        {"SELECT FOO.NAME FROM WDBS.TABLES", bound + "Table \"WDBS.FOO\" does not exist."},
        {"SELECT KEYREFS.NAME FROM WDBS.TABLES",
         bound + "Could not find column \"NAME\" in any specified table."},
        {"SELECT COLUMNS.COLNAME FROM WDBS.TABLES",
         bound + "Column \"TABLES.COLNAME\" does not exist - perhaps you mean \"COLUMNS.COLNAME\"?"},
        {"SELECT NAME FROM WDBS.TABLES UNION SELECT K FROM ARTICLE",
         "0 WSQLFilter:656 WSQLFilter::execSql Statement not currently supported."},
        {"SELECT K FROM ARTICLE WHERE K IN (SELECT NAME FROM WDBS.TABLES)",
         "0 WSQLFilter:656 WSQLFilter::execSql Statement not currently supported."},
    };
    for (const auto& row : rows_) {
        EXPECT_EQ(faultOf(database_.run(row.sql)), row.fault) << row.sql;
        database_.expectClean(row.sql);
    }
}

TEST_F(Dictionary, KernelFaults) {
    const struct {
        const char *function, *sql, *place;
    } rows_[] = {
        {"WdbShowControl", "SELECT * FROM WDBS.TABLES", "WdbShowControl DICT_GetTablesList"},
        {"WdbCheckBase", "SELECT * FROM WDBS.KEYREFS", "WdbGetBaseDef "},
        {"WdbGetIntegrityRules", "SELECT * FROM WDBS.KEYREFS", "WdbGetIntegrityRules "},
    };
    for (const auto& row : rows_) {
        WdbInjectFailure(row.function, 0, WDB_E_STORAGE);
        const Answer answer = database_.run(row.sql);
        WdbInjectFailure(nullptr, 0, 0);
        EXPECT_EQ(answer.status, WDB_E_STORAGE) << row.function;
        EXPECT_EQ(faultOf(answer),
                  std::to_string(WDB_E_STORAGE) + " " + row.place + " " + kernelText(WDB_E_STORAGE));
        database_.expectClean(row.function);
    }
    WdbInjectFailure("WdbCheckBase", 1, WDB_E_BASE);
    EXPECT_EQ(rows("SELECT FKTABLE_NAME FROM WDBS.KEYREFS"), "START\nSTART")
        << "a base that is gone is skipped";
    WdbInjectFailure(nullptr, 0, 0);
}

TEST_F(Dictionary, PagesAndFeedsOtherStatements) {
    UpdateRCS("SQL_BLOCKSIZE", "4");
    UpdateRCS("SQL_BLOCKNUMBER", "3");
    const Answer page = database_.run("SELECT COLNAME FROM WDBS.COLUMNS");
    EXPECT_EQ(page.rowCount(), "11");
    EXPECT_EQ(page.rows(), "C\nX\nY");
    UpdateRCS("SQL_BLOCKNUMBER", "4");
    EXPECT_EQ(database_.run("SELECT COLNAME FROM WDBS.COLUMNS").status, 2 * WDB_E_NO_MORE);
    UpdateRCS("SQL_BLOCKSIZE", "");
    UpdateRCS("SQL_BLOCKNUMBER", "");
    database_.prepare(
        {"CREATE TABLE COPY (NAME VARCHAR)", "INSERT INTO COPY (NAME) SELECT NAME FROM WDBS.TABLES"});
    EXPECT_EQ(rows("SELECT NAME FROM COPY"), "ARTICLE\nCOPY\nPARTS\nSTART");
    EXPECT_EQ(rows("SELECT (SELECT COLNAME FROM WDBS.COLUMNS WHERE TABLENAME = 'START') FROM COPY WHERE NAME "
                   "= 'COPY'"),
              "X");
}

TEST_F(Dictionary, DescribesOneTableForHosts) {
    const auto describe = [&](const std::string& request) {
        std::string text = request;
        FilterData data{};
        data.text = text.data();
        data.textLength = static_cast<std::int32_t>(text.size());
        Answer answer;
        answer.status = sqlgettabledesc(&data, nullptr);
        if (data.output != nullptr)
            answer.document.assign(data.output, static_cast<std::size_t>(data.outputLength));
        std::free(data.output);
        EXPECT_EQ(data.wdb_options, 36u);
        EXPECT_EQ(text.substr(0, static_cast<std::size_t>(data.textLength)), "TEXT\nUTF-8");
        return answer;
    };
    EXPECT_EQ(describe("TABLENAME=start\n").rows(), "START|X|VARCHAR|0|1|0\nSTART|Y|VARCHAR|0|2|0");
    EXPECT_EQ(describe("TABLENAME=no such'table\n").rowCount(), "0");
    EXPECT_EQ(describe("TABLENAME=%         \n").rowCount(), "0") << "blanks belong to the name";
}

}  // namespace
