// The commands that a SELECT sends, and what it never sends.
#include <gtest/gtest.h>

#include "src/ElementAt.h"
#include "src/SelectCommand.h"
#include "src/parser/Keywords.h"
#include "src/parser/WSQLSymbolTable.h"
#include "src/parser/parse.h"
#include "src/tree/Tree.h"
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
        {"SELECT NAME AS Q, A + 1 AS NEXT, A AS NAME FROM T ORDER BY q, NEXT DESC, NAME",
         "wSEL  wFRL(T) FIELD(T.NAME,T.A+1,T.A)  SORT(T.NAME,2 wDES,T.NAME)",
         "a label stands for its item, a column goes before the label"},
        {"SELECT NAME, COUNT(*) AS N FROM T GROUP BY NAME ORDER BY N DESC",
         "wSEL  wFRL(T) FIELD(T.NAME,COUNT(*))  SORT(2 wDES) GROUP(T.NAME)", "an aggregate by its label"},
        {"SELECT A, 1, 'a\"b', NULL FROM T ORDER BY 2, 1 DESC",
         "wSEL  wFRL(T) FIELD(T.A,1,\"a\"\"b\",NULL)  SORT(2,T.A wDES)",
         "constants keep the positions right"},
        {"SELECT VALUELIST(NAME, '/', 1, 2) FROM T", "wSEL  wFRL(T) FIELD(T.NAME) ",
         "the engine cuts the list itself"},
        {"SELECT R, COUNT(P), COUNT(1) FROM T GROUP BY A",
         "wSEL  wFRL(T) FIELD(T.R,COUNT(T.P),COUNT(*))  GROUP(T.A)",
         "the row identifier needs no group; every row has a constant"},
        {"SELECT \"nowhere\" FROM T", "wSEL  wFRL(T) FIELD(\"nowhere\") ",
         "a quoted item that is no column is a text"},
    };
    for (const auto& row : rows) {
        const auto commands = commandsOf(row.sql);
        ASSERT_FALSE(commands.empty()) << row.sql;
        EXPECT_EQ(commands.back(), row.command) << row.sql << "\n  " << row.reason;
    }
}

namespace {

/// Parses statements without a session.
class Parser : public wsql::ParseContext {
public:
    Parser() { wsql::loadKeywords(symbols_); }
    std::unique_ptr<wsql::WSQLStatement> parse(const char* sql) {
        std::unique_ptr<wsql::WSQLStatement> statement;
        EXPECT_EQ(wsql::parseStatement(*this, sql, statement), 0) << sql << ": " << message_;
        return statement;
    }
    const wsql::WSQLSymbolTable* symbolTable() const override { return &symbols_; }
    void parserMessage(std::string_view text) override { message_ = text; }
    const wsql::WSQLTimestamp* statementInstant() override { return nullptr; }
    wsql::DateSettings dateSettings() override { return {}; }

private:
    wsql::WSQLSymbolTable symbols_;
    std::string message_;
};

std::unique_ptr<wsql::WSQLColumnRef> boundColumn(const char* table, const char* name) {
    auto column = std::make_unique<wsql::WSQLColumnRef>(name);
    column->table = table;
    return column;
}

}  // namespace

TEST(SelectCommand, ClausesOfLargerStatements) {
    const struct {
        const char* sql;
        bool subselect, inUnion;
        const char* command;
    } rows[] = {
        {"SELECT DISTINCT T.A FROM T", false, false, "SEL  DISTINCT FRL(T) FIELD(T.A) "},
        {"SELECT DISTINCT T.A FROM T ORDER BY 1", false, true, "SEL  FRL(T) FIELD(T.A) "},
        {"SELECT T.A FROM T", true, false, "SEL SFX FRL(T) FIELD(T.A) "},
        {"SELECT COUNT(*), COUNT(DISTINCT T.A), SUM(T.P) FROM T", false, false,
         "SEL  FRL(T) FIELD(COUNT(*),COUNT(DISTINCT T.A),SUM(T.P)) "},
        {"SELECT T.A FROM T GROUP BY T.A, T.R", false, false, "SEL  FRL(T) FIELD(T.A)  GROUP(T.A,T.0)"},
        {"SELECT T.A * 2 - T.P, (T.A - 1) * T.N[2] FROM T", false, false,
         "SEL  FRL(T) FIELD((T.A*2)-T.P,(T.A-1)*(T.N.2)) "},
        {"SELECT T.A * NULL, T.A - 'x', T.A / 0.5 FROM T", false, false,
         "SEL  FRL(T) FIELD(NULL,NULL,T.A/0.50) "},
        {"SELECT T.A FROM T, U ORDER BY T.A", false, false,
         "SEL  FRL(T,U) FIELD(T.A)  LEFT(T.A<=U.B)  SORT(T.A)"},
    };
    for (const auto& row : rows) {
        const auto statement = Parser().parse(row.sql);
        auto* select = dynamic_cast<wsql::WSQLStmtSelect*>(statement.get());
        ASSERT_NE(select, nullptr) << row.sql;
        if (select->tables->Count() > 1) {
            auto join = std::make_unique<wsql::WSQLWelkJoin>();
            join->kind = wsql::JoinKind::kLeft;
            join->op = wsql::ComparisonOp::kLessEqual;
            join->leftTable = std::make_unique<wsql::WSQLTableRef>("T");
            join->rightTable = std::make_unique<wsql::WSQLTableRef>("U");
            join->leftColumn = boundColumn("T", "A");
            join->rightColumn = boundColumn("U", "B");
            select->joins->append(std::move(join));
        }
        for (std::int32_t i = 0; select->groupBy && i < select->groupBy->Count(); ++i) {
            wsql::WSQLColumnRef& column = wsql::elementAt(*select->groupBy, i);
            if (column.column == "R") column.fieldNumber = wsql::WSQLColumnRef::kRowIdentifier;
        }
        wsql::CStringBuffer command(256);
        EXPECT_TRUE(wsql::appendSelectCommand(command, *select, {"SEL", "SFX", "FRL", "DES"},
                                              {"", row.subselect, row.inUnion}));
        EXPECT_EQ(command.view(), row.command) << row.sql;
    }
}

TEST(SelectCommand, KnowsNoOtherJoins) {
    const auto statement = Parser().parse("SELECT T.A FROM T, U");
    auto* select = dynamic_cast<wsql::WSQLStmtSelect*>(statement.get());
    ASSERT_NE(select, nullptr);
    auto join = std::make_unique<wsql::WSQLWelkJoin>();
    join->kind = wsql::JoinKind::kCross;
    select->joins->append(std::move(join));
    wsql::CStringBuffer command(256);
    EXPECT_FALSE(
        wsql::appendSelectCommand(command, *select, {"SEL", "SFX", "FRL", "DES"}, {"", false, false}));
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
