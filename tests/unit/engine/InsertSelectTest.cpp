// INSERT from a SELECT, and values that sub-queries find.
#include <gtest/gtest.h>

#include "tests/unit/engine/Faults.h"

namespace {

/// S: three rows with a value of every type; T: the same columns, empty; N: one of numbers.
void fill(Database& database) {
    const std::string columns =
        " (K VARCHAR PRIMARY KEY, I INTEGER, P NUMERIC, D DATE, H TIME, M VARCHAR, X LONG VARCHAR, B LONG "
        "VARBINARY)";
    database.prepare(
        {"CREATE TABLE S" + columns, "CREATE TABLE T" + columns,
         "CREATE TABLE N (A INTEGER, B INTEGER, C VARCHAR)",
         "INSERT INTO S (K, I, P, D, H, M[1], M[2], X) VALUES ('a', 1, 1.50, DATE('2024-01-31'), "
         "9:30, 'm', 'n', 'one\n\ntwo')",
         "INSERT INTO S (K, I) VALUES ('b', 2)", "INSERT INTO S (K, I, P) VALUES ('c', 3, 3.25)",
         "UPDATE S SET B = 'bytes' WHERE K = 'c'"});
    ASSERT_EQ(UpdateRCS("SQL_SELECTTEXT", "1"), WDB_OK);
    ASSERT_EQ(UpdateRCS("SQL_SELECTBLOB", "1"), WDB_OK);
}

/// The count of a row-count document; the whole document when it is none.
std::string countOf(const Answer& answer) {
    std::size_t at = 0;
    const std::string count = between(answer.document, "<Column ID=\"1\"><P>", "</P></Column>\r\n", at);
    return count.empty() ? answer.document : count;
}

}  // namespace

TEST(InsertSelect, RowsBecomeRecords) {
    const std::string whole =
        "a|1|1.50|2024-01-31|09:30:00|m; n|<P>one\n</P><P>two\n</P>|~\n"
        "b|2|~|~|~|~|~|~\n"
        "c|3|3.25|~|~|~|~|Ynl0ZXM=";
    const struct {
        const char* sql;
        const char* count;
        const char* query;
        std::string rows;
        const char* reason;
    } rows[] = {
        {"INSERT INTO T SELECT * FROM S", "3", "SELECT * FROM T", whole,
         "every type, TEXT and objects whole"},
        {"INSERT INTO T SELECT K FROM S", "3", "SELECT K, I FROM T", "a|~\nb|~\nc|~",
         "missing items write nothing"},
        {"INSERT INTO N SELECT I, I, K, M FROM S", "3", "SELECT * FROM N", "1|1|a\n2|2|b\n3|3|c",
         "items behind the last column are left out"},
        {"INSERT INTO N (C[2], A) SELECT K, I FROM S WHERE I > 2", "1", "SELECT C[2], A FROM N", "c|3",
         "positions of the column list"},
        {"INSERT INTO N (A) SELECT I FROM S WHERE I > 5", "0", "SELECT A FROM N", "", "no rows, no records"},
        {"INSERT INTO N (A, C) SELECT 7, 'text'", "1", "SELECT A, C FROM N", "7|text", "no table"},
        {"INSERT INTO N (A, C) SELECT COUNT(*), MAX(D) FROM S", "1", "SELECT A, C FROM N", "3|2024-01-31",
         "computed values; a date as a text"},
        {"INSERT INTO N (A, B) SELECT I, (SELECT MAX(I) FROM S) FROM S ORDER BY I DESC", "3",
         "SELECT A, B FROM N", "3|3\n2|3\n1|3", "in the order of the rows"},
        {"INSERT INTO N (A, C) SELECT x.I, y.K FROM S x JOIN S y ON x.K = y.K", "3", "SELECT A, C FROM N",
         "1|a\n2|b\n3|c", "a join"},
        {"INSERT INTO N (A) SELECT I * 10 FROM S", "3", "SELECT A FROM N", "10\n20\n30", "arithmetic"},
        {"INSERT INTO N (C) SELECT VALUELIST(M, '+') FROM S WHERE I = 1", "1", "SELECT C FROM N", "m+n", ""},
        {"INSERT INTO S SELECT K FROM S WHERE I < 0", "0", "SELECT K FROM S", "a\nb\nc", ""},
        {"INSERT INTO N (A, C) SELECT P, K FROM S WHERE P IS NULL", "1", "SELECT A, C FROM N", "~|b",
         "NULL writes nothing"},
    };
    Database database;
    fill(database);
    for (const auto& row : rows) {
        database.prepare({"DELETE FROM T", "DELETE FROM N"});
        const Answer answer = database.run(row.sql);
        EXPECT_EQ(countOf(answer), row.count) << row.sql << "\n  " << row.reason;
        EXPECT_NE(answer.document.find("statementType=\"INSERT\""), std::string::npos);
        EXPECT_EQ(database.run(row.query).rows(), row.rows) << row.sql << "\n  " << row.reason;
    }
}

TEST(InsertSelect, TheTablesOwnRowsAreReadOnce) {
    Database database;
    database.prepare({"CREATE TABLE N (A INTEGER)", "INSERT INTO N VALUES (1)"});
    for (int doubled = 1; doubled <= 4096; doubled *= 2) {
        ASSERT_EQ(countOf(database.run("INSERT INTO N SELECT A FROM N ORDER BY A")), std::to_string(doubled));
    }
    EXPECT_EQ(database.run("SELECT COUNT(*) FROM N").rows(), "8192");
}

TEST(InsertSelect, RefusedRecords) {
    const std::string executed = " SQLFilter::ExecuteInsert execution ";
    const std::string duplicate = std::to_string(WDB_E_DUPLICATE) + executed + kernelText(WDB_E_DUPLICATE);
    const std::string value = std::to_string(WDB_E_VALUE) + executed + kernelText(WDB_E_VALUE);
    const struct {
        const char* sql;
        std::string outcome;  ///< the count, or the fault
        const char* rows;     ///< K of T afterwards
        const char* reason;
    } rows[] = {
        {"INSERT INTO T (K) SELECT K FROM S ORDER BY K", duplicate, "b\na", "what was stored before stays"},
        {"INSERT IGNORE INTO T (K) SELECT K FROM S ORDER BY K", "2", "b\na\nc", "the refused one is skipped"},
        {"INSERT IGNORE INTO T (K) VALUES ('b')", "0", "b", ""},
        {"INSERT IGNORE INTO T (K) VALUES ('c')", "1", "b\nc", ""},
        {"INSERT INTO T (K) VALUES ('b')", duplicate, "b", ""},
        {"INSERT INTO T (K, I) SELECT K, K FROM S", value, "b", "a text in a field of numbers"},
        {"INSERT IGNORE INTO T (K, I) SELECT K, K FROM S", value, "b",
         "only the storing of a record may fail, not the making"},
        {"INSERT INTO T (K, I) SELECT K, H FROM S ORDER BY K DESC", duplicate, "b\nc", ""},
    };
    Database database;
    fill(database);
    for (const auto& row : rows) {
        database.prepare({"DELETE FROM T", "DELETE FROM N"});
        database.prepare({"INSERT INTO T (K) VALUES ('b')"});
        const Answer answer = database.run(row.sql);
        EXPECT_EQ((answer.status & 1) != 0 ? countOf(answer) : faultOf(answer), row.outcome)
            << row.sql << "\n  " << row.reason;
        EXPECT_EQ(database.run("SELECT K FROM T").rows(), row.rows) << row.sql << "\n  " << row.reason;
    }
}

TEST(InsertSelect, ValuesOfSubQueries) {
    const std::string executed = "0 SQLFilter::ExecuteInsert execution ";
    const struct {
        const char* sql;
        std::string outcome;  ///< the last row of T, or the fault
        const char* reason;
    } rows[] = {
        {"INSERT INTO T (I) VALUES ((SELECT MAX(I) FROM S))", "~|3|~|~|~|~|~|~", ""},
        {"INSERT INTO T (I, P) VALUES ((SELECT COUNT(*) FROM S), (SELECT P FROM S WHERE K = 'c'))",
         "~|3|3.25|~|~|~|~|~", ""},
        {"INSERT INTO T (D, H) VALUES ((SELECT D FROM S WHERE K = 'a'), (SELECT H FROM S WHERE K = 'a'))",
         "~|~|~|2024-01-31|09:30:00|~|~|~", ""},
        {"INSERT INTO T (M[2], X) VALUES ((SELECT K FROM S ORDER BY K), (SELECT X FROM S WHERE K = 'a'))",
         "~|~|~|~|~|a|<P>one\n</P><P>two\n</P>|~", "the first of several rows; TEXT whole"},
        {"INSERT INTO T (K, P) VALUES ('null', (SELECT P FROM S WHERE K = 'b'))", "null|~|~|~|~|~|~|~",
         "NULL needs no class"},
        {"INSERT INTO T (K, B) VALUES ('null2', (SELECT B FROM S WHERE K = 'b'))", "null2|~|~|~|~|~|~|~", ""},
        {"INSERT INTO T (K, D) VALUES ('day', (SELECT DATE('2024-02-29') FROM S))",
         "day|~|~|2024-02-29|~|~|~|~", "a constant for each row"},
        {"INSERT INTO T (B) VALUES ((SELECT B FROM S WHERE K = 'c'))",
         executed + "Data type LONG VARBINARY cannot be used with INSERT.", ""},
        {"INSERT INTO T (I) VALUES ((SELECT K FROM S))",
         executed + "Value for column #1 \"I\" must be an integer constant.", ""},
        {"INSERT INTO T (K, P) VALUES ('p', (SELECT I FROM S))",
         executed + "Value for column #2 \"P\" must be a numeric constant.", "the class of the inner column"},
        {"INSERT INTO T (K) VALUES ((SELECT K FROM S WHERE I > 9))",
         executed + "Value for column #1 \"K\" must be a string constant.", "no row: no value of any class"},
        {"INSERT INTO T (K) VALUES ((SELECT K FROM S UNION SELECT 'x'))",
         "0 WSQLFilter:585 SQLFilter::execSql syntax error", "no union stands for a value"},
        {"INSERT INTO T (K) SELECT K FROM S UNION SELECT 'x'",
         "0 WSQLFilter:585 SQLFilter::execSql syntax error", "nor for rows to store"},
    };
    Database database;
    fill(database);
    for (const auto& row : rows) {
        const Answer answer = database.run(row.sql);
        std::string outcome = faultOf(answer);
        if ((answer.status & 1) != 0) {
            EXPECT_EQ(countOf(answer), "1") << row.sql;
            outcome = database.run("SELECT * FROM T WHERE R = " + database.run("SELECT MAX(R) FROM T").rows())
                          .rows();
        }
        EXPECT_EQ(outcome, row.outcome) << row.sql << "\n  " << row.reason;
    }
}

TEST(InsertSelect, FailingCalls) {
    const char* const sql = "INSERT INTO T (K, X, B) SELECT K, X, B FROM S";
    const struct {
        const char* function;
        int skip;
        const char* source;  ///< of the fault
        const char* context;
        const char* rows;  ///< K of T afterwards
    } rows[] = {
        {"WdbExecuteCcl", 0, "WSQLFilter", "UseZeroSearchSets", ""},
        {"WdbExecuteCcl", 2, "WSQLFilter::ExecuteSelect", "ExecuteCCL", ""},
        {"WdbGetRows", 0, "WSQLFilter::GetNextJoinRow", "WdbGetRows", ""},
        {"WdbGetRows", 2, "WSQLFilter::GetNextJoinRow", "WdbGetRows", "a\nb"},
        {"WdbReplaceItem", 0, "SQLFilter::ExecuteInsert", "execution", ""},
        {"WdbReplaceItem", 2, "SQLFilter::ExecuteInsert", "execution", "a"},
        {"WdbPutBlobBlock", 0, "SQLFilter::ExecuteInsert", "execution", "a\nb"},
        {"WdbPutRecord", 1, "SQLFilter::ExecuteInsert", "execution", "a"},
    };
    Database database;
    fill(database);
    for (const auto& row : rows) {
        database.prepare({"DELETE FROM T", "DELETE FROM N"});
        const Answer answer = database.runFailing(row.function, row.skip, WDB_E_STORAGE, sql);
        EXPECT_EQ(faultOf(answer), std::to_string(WDB_E_STORAGE) + " " + row.source + " " + row.context +
                                       " " + kernelText(WDB_E_STORAGE))
            << row.function;
        EXPECT_EQ(answer.status, WDB_E_STORAGE);
        EXPECT_EQ(database.run("SELECT K FROM T").rows(), row.rows) << row.function << " " << row.skip;
    }
}
