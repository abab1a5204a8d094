// The commands that a SELECT sends, and what it never sends.
#include <gtest/gtest.h>

#include "tests/unit/engine/Articles.h"

namespace {

std::vector<std::string> commandsOf(const std::string& sql) {
    loadArticles();
    Request request(sql);
    runSql(request);
    return fakeKernel().commands;
}

}  // namespace

TEST(SelectCommand, OneTable) {
    const struct {
        const char* sql;
        const char* command;
        const char* reason;
    } rows[] = {
        {"SELECT A FROM T", "wSEL  wFRL(T) FIELD(T.A) ", "no condition, no order"},
        {"SELECT * FROM T",
         "wSEL  wFRL(T) FIELD(T.A,T.NAME,T.NOTE,T.P,T.D,T.H,T.B,T.\"odd name\",T.\"AND\") ",
         "every field, in field-number order"},
        {"SELECT x.*, A FROM T x",
         "wSEL  wFRL(T x) FIELD(x.A,x.NAME,x.NOTE,x.P,x.D,x.H,x.B,x.\"odd name\",x.\"AND\",x.A) ",
         "the alias stands for the table"},
        {"SELECT A FROM T \"x) FIELD(\"", "wSEL  wFRL(T \"x) FIELD(\") FIELD(\"x) FIELD(\".A) ",
         "an alias is user text"},
        {"SELECT R, NAME[2] FROM T", "wSEL  wFRL(T) FIELD(T.R,T.NAME.2) ", "row identifier and subfield"},
        {"SELECT A FROM T WHERE A > 1 ORDER BY NAME DESC, A",
         "wSEL  wFRL(T) FIELD(T.A)  WHERE(T.A>1) SORT(T.NAME wDES,T.A)", "the clauses in their order"},
        {"SELECT A, 1, 'a\"b', NULL FROM T ORDER BY 2, 1 DESC",
         "wSEL  wFRL(T) FIELD(T.A,1,\"a\"\"b\",NULL)  SORT(2,T.A wDES)",
         "constants keep the positions right"},
        {"SELECT VALUELIST(NAME, '/', 1, 2) FROM T", "wSEL  wFRL(T) FIELD(T.NAME) ",
         "the engine cuts the list itself"},
        {"SELECT A * 2 - P, (A - 1) * NAME[2] FROM T", "wSEL  wFRL(T) FIELD((T.A*2)-T.P,(T.A-1)*(T.NAME.2)) ",
         "arithmetic is the kernel's"},
        {"SELECT A * NULL FROM T", "wSEL  wFRL(T) FIELD(NULL) ", "NULL in it makes it NULL"},
        {"SELECT \"nowhere\" FROM T", "wSEL  wFRL(T) FIELD(\"nowhere\") ",
         "a quoted item that is no column is a text"},
    };
    for (const auto& row : rows) {
        const auto commands = commandsOf(row.sql);
        ASSERT_FALSE(commands.empty()) << row.sql;
        EXPECT_EQ(commands.back(), row.command) << row.sql << "\n  " << row.reason;
    }
}

TEST(SelectCommand, WhatSurroundsIt) {
    EXPECT_EQ(commandsOf("SELECT A FROM T"),
              (std::vector<std::string>{"wDEF wFIN wMIN=0", "wBAS T", "wSEL  wFRL(T) FIELD(T.A) "}));
    EXPECT_EQ(fakeKernel().saves, fakeKernel().loads) << "every save of the search state is undone";
}

TEST(SelectCommand, ConstantsNeedNoKernel) {
    const struct {
        const char* sql;
        const char* columns;
        const char* rows;
        const char* rowCount;
    } cases[] = {
        {"SELECT 7",
         "<ColumnMetaData ID=\"1\" tableName=\"\" columnName=\"COLUMN001\" columnLabel=\"COLUMN001\" "
         "columnType=\"INTEGER\" "
         "maxLength=\"4\" isNullable=\"false\" isSerial=\"false\" isPrimaryKey=\"false\" "
         "isUnique=\"false\"/>\r\n",
         "<Row rowNumber=\"1\" recordNumber=\"0\" partNumber=\"0\">\r\n<Column ID=\"1\" "
         "datasize=\"1\">7</Column>\r\n</Row>\r\n",
         "1"},
        {"SELECT 7 AS \"x<'y'\" WHERE 'a' = 'b' OR NOT 1 = 2",
         "<ColumnMetaData ID=\"1\" tableName=\"\" columnName=\"x&lt;'y'\" columnLabel=\"x&lt;'y'\" "
         "columnType=\"INTEGER\" "
         "maxLength=\"4\" isNullable=\"false\" isSerial=\"false\" isPrimaryKey=\"false\" "
         "isUnique=\"false\"/>\r\n",
         "<Row rowNumber=\"1\" recordNumber=\"0\" partNumber=\"0\">\r\n<Column ID=\"1\" "
         "datasize=\"1\">7</Column>\r\n</Row>\r\n",
         "1"},
        {"SELECT 1.5 WHERE 1 = 2",
         "<ColumnMetaData ID=\"1\" tableName=\"\" columnName=\"COLUMN001\" columnLabel=\"COLUMN001\" "
         "columnType=\"NUMERIC\" "
         "maxLength=\"4\" precision=\"2\" isNullable=\"false\" isSerial=\"false\" isPrimaryKey=\"false\" "
         "isUnique=\"false\"/>\r\n",
         "", "0"},
        {"SELECT NULL",
         "<ColumnMetaData ID=\"1\" tableName=\"\" columnName=\"COLUMN001\" columnLabel=\"COLUMN001\" "
         "columnType=\"VARCHAR\" "
         "maxLength=\"255\" isNullable=\"true\" isSerial=\"false\" isPrimaryKey=\"false\" "
         "isUnique=\"false\"/>\r\n",
         "<Row rowNumber=\"1\" recordNumber=\"0\" partNumber=\"0\">\r\n<Column ID=\"1\" null=\"true\" "
         "/>\r\n</Row>\r\n",
         "1"},
        {"SELECT 'a<b&c'",
         "<ColumnMetaData ID=\"1\" tableName=\"\" columnName=\"COLUMN001\" columnLabel=\"COLUMN001\" "
         "columnType=\"VARCHAR\" "
         "maxLength=\"255\" isNullable=\"false\" isSerial=\"false\" isPrimaryKey=\"false\" "
         "isUnique=\"false\"/>\r\n",
         "<Row rowNumber=\"1\" recordNumber=\"0\" partNumber=\"0\">\r\n<Column ID=\"1\" "
         "datasize=\"12\">a&lt;b&amp;c</Column>\r\n"
         "</Row>\r\n",
         "1"},
    };
    for (const auto& row : cases) {
        loadArticles();
        Request request(row.sql);
        EXPECT_EQ(runSql(request), 1) << row.sql;
        EXPECT_EQ(
            request.document(),
            std::string(kDeclaration) +
                "<ResultSet>\r\n<ResultSetMetaData statementType=\"SELECT\" columnCount=\"1\" rowCount=\"" +
                row.rowCount + "\">\r\n" + row.columns + "</ResultSetMetaData>\r\n<ResultSetData>\r\n" +
                row.rows + "</ResultSetData>\r\n</ResultSet>");
        EXPECT_TRUE(fakeKernel().commands.empty()) << row.sql;
    }
}

TEST(SelectCommand, BlocksOfAConstantRow) {
    const struct {
        const char* size;
        const char* number;
        std::int32_t status;
        const char* reason;
    } rows[] = {
        {"20", "1", 1, ""},
        {"", "", 1, "absent values mean 20 and 1"},
        {"-5", "-1", 1, "and so do values below 1"},
        {"-1", "1", 1, "the whole result"},
        {"1", "2", 9092, "the second block of one row"},
        {"2147483647", "2147483647", 9092, "their product is beyond 32 bits"},
    };
    for (const auto& row : rows) {
        loadArticles();
        fakeKernel().settings["SQL_BLOCKSIZE"] = row.size;
        fakeKernel().settings["SQL_BLOCKNUMBER"] = row.number;
        Request request("SELECT 1");
        EXPECT_EQ(runSql(request), row.status) << row.reason;
        if (row.status == 1) continue;
        EXPECT_EQ(request.document(),
                  faultDocument("4546", "WSQLExecSelect:1267", "WSQLFilter::ExecuteSelect",
                                "There are no more records in the result set."));
    }
}
