// UPDATE and DELETE over the real kernel: which records, which values, what is answered, what fails.
#include <gtest/gtest.h>

#include "tests/unit/engine/Faults.h"

namespace {

std::string counted(const std::string& statement, const std::string& table, int count) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n<ResultSet>\r\n<ResultSetMetaData "
           "statementType=\"" +
           statement + "\" columnCount=\"1\" rowCount=\"1\">\r\n<ColumnMetaData ID=\"1\" columnLabel=\"Row " +
           "Count\" tableName=\"" + table + "\" columnType=\"INTEGER\" maxLength=\"4\" " +
           "isNullable=\"false\"/>\r\n</ResultSetMetaData>\r\n<ResultSetData>\r\n<Row rowNumber=\"1\">\r\n" +
           "<Column ID=\"1\"><P>" + std::to_string(count) +
           "</P></Column>\r\n</Row>\r\n</ResultSetData>\r\n</ResultSet>\r\n";
}

/// T holds nothing but its five rows, K from a to e, N from 1 to 5.
void restore(Database& database) {
    database.prepare({"DELETE FROM T"});
    for (int i = 1; i <= 5; ++i) {
        const std::string name(1, static_cast<char>('a' + i - 1)), number = std::to_string(i);
        database.prepare({"INSERT INTO T (K, N, P, D, H, M[1], M[2], X) VALUES ('" + name + "', " + number +
                          ", " + number + ".50, DATE('2024-01-0" + number + "'), 9:30, 'm" + number +
                          "', 'n" + number + "', 'line " + number + "')"});
    }
}

/// U names some of the rows of T.
void fill(Database& database) {
    database.prepare(
        {"CREATE TABLE T (K VARCHAR PRIMARY KEY, N INTEGER, P NUMERIC, D DATE, H TIME, M VARCHAR, "
         "X LONG VARCHAR, B LONG VARBINARY)",
         "CREATE TABLE U (NAME VARCHAR, SCORE INTEGER NOT NULL)", "INSERT INTO U VALUES ('b', 20)",
         "INSERT INTO U VALUES ('d', 40)"});
    restore(database);
}

}  // namespace

TEST(Change, ConditionsChooseTheRecords) {
    const struct {
        const char* where;
        const char* keys;  ///< the records that it names
        const char* reason;
    } rows[] = {
        {" WHERE R = 2", "b", "the row identifier, in front: later rows are new records"},
        {"", "abcde", "no condition: all records"},
        {" WHERE N = 3", "c", ""},
        {" WHERE N > 3 OR K = 'a'", "ade", ""},
        {" WHERE NOT (N > 3 OR K = 'a')", "bc", ""},
        {" WHERE K LIKE 'B%'", "b", "texts are found without regard to case"},
        {" WHERE X LIKE 'line' AND N BETWEEN 2 AND 4", "bcd", ""},
        {" WHERE M[2] = 'n4'", "d", "one value of a field"},
        {" WHERE M[1] = 'n4'", "", "which is not the other one"},
        {" WHERE N IS NULL", "", ""},
        {" WHERE 1 = 1", "abcde", "a constant truth"},
        {" WHERE 1 = 2", "", "a constant untruth changes nothing, though all records were searched first"},
        {" WHERE K IN (SELECT NAME FROM U)", "bd", "the sub-query opens a table of its own"},
        {" WHERE N > 2 AND K IN (SELECT NAME FROM U)", "d", "in front of it, and behind it"},
        {" WHERE K IN (SELECT NAME FROM U) AND N > 2", "d", ""},
        {" WHERE N < (SELECT MAX(N) FROM T)", "abcd", "of the same table"},
        {" WHERE x.N = 3 AND x.K = 'c'", "c", "by a correlation name"},
    };
    for (const bool update : {true, false}) {
        Database database;
        fill(database);
        for (const auto& row : rows) {
            const std::string keys = row.keys;
            std::string expected;
            for (char key = 'a'; key <= 'e'; ++key) {
                const bool named = keys.find(key) != std::string::npos;
                if (named && !update) continue;
                const std::string number = named ? "99" : std::string(1, static_cast<char>(key - 'a' + '1'));
                expected += (expected.empty() ? "" : "\n") + std::string(1, key) + "|" + number;
            }
            const std::string sql =
                std::string(update ? "UPDATE T x SET N = 99" : "DELETE FROM T x") + row.where;
            EXPECT_EQ(database.run(sql).document,
                      counted(update ? "UPDATE" : "DELETE", "T", static_cast<int>(keys.size())))
                << sql << "\n  " << row.reason;
            EXPECT_EQ(database.run("SELECT K, N FROM T ORDER BY K").rows(), expected) << sql;
            restore(database);
        }
    }
}

TEST(Change, AssignmentsOfEveryKind) {
    const struct {
        const char* set;
        const char* column;
        const char* value;
        const char* reason;
    } rows[] = {
        {"N = 7", "N", "7", ""},
        {"n = 7", "N", "7", "names in any case"},
        {"x.N = 7", "N", "7", "a qualifier"},
        {"N = NULL", "N", "~", "the field is emptied"},
        {"P = 10", "P", "10", "no class is asked for here: the kernel judges"},
        {"P = 10.257", "P", "10.26", ""},
        {"N = '12'", "N", "12", "a text that reads as the field's type"},
        {"D = DATE('2023-12-24')", "D", "2023-12-24", ""},
        {"D = DATE(NULL)", "D", "~", ""},
        {"H = 23:59", "H", "23:59:00", ""},
        {"M = 'all'", "M", "all", "without a position the whole field is replaced"},
        {"M[1] = 'one'", "M", "one; n2", "one value"},
        {"M[4] = 'four'", "M", "m2; n2; four", "behind a gap"},
        {"M[1] = NULL", "M", "n2", "an empty value moves nothing"},
        {"M[1] = NULL, M[2] = 'x', M[1] = 'y'", "M", "y; x", "assignments in their order"},
        {"M = NULL, M[2] = 'late'", "M", "late", ""},
        {"X = 'new\n\ntext'", "X", "<P>new\n</P><P>text\n</P>", "TEXT whole"},
        {"X[1] = 'first'", "X", "<P>first\n</P>", "and by paragraphs"},
        {"X = NULL", "X", "~", ""},
        {"B = 'bytes'", "B", "Ynl0ZXM=", "a text becomes the bytes of an object"},
        {"N = (SELECT MAX(SCORE) FROM U)", "N", "40", "a sub-query's value"},
        {"N = (SELECT SCORE FROM U ORDER BY SCORE)", "N", "20", "of its first row"},
        {"M[2] = (SELECT NAME FROM U WHERE SCORE = 40)", "M", "m2; d", ""},
        {"N = (SELECT NULL)", "N", "~", ""},
        {"X = (SELECT X FROM T WHERE K = 'e')", "X", "<P>line 5\n</P>", "TEXT whole"},
        {"N = (SELECT MAX(N) FROM T), M = (SELECT MAX(N) FROM T)", "M", "5",
         "asked before the first record is stored"},
        {"K = 'z'", "K", "z", "the key"},
        {"K = 'b'", "K", "b", "which may stay as it is"},
    };
    Database database;
    fill(database);
    ASSERT_EQ(UpdateRCS("SQL_SELECTTEXT", "1"), WDB_OK);
    ASSERT_EQ(UpdateRCS("SQL_SELECTBLOB", "1"), WDB_OK);
    for (const auto& row : rows) {
        database.prepare(
            {"DELETE FROM T WHERE R = 2 OR N = 99 OR K = 'b' OR K = 'z'",
             "INSERT INTO T (K, N, M[1], M[2], X, B) VALUES ('b', 2, 'm2', 'n2', 'line 2', NULL)"});
        const std::string sql = std::string("UPDATE T x SET ") + row.set + " WHERE K = 'b'";
        EXPECT_EQ(database.run(sql).document, counted("UPDATE", "T", 1)) << sql << "\n  " << row.reason;
        EXPECT_EQ(database
                      .run(std::string("SELECT ") + row.column +
                           " FROM T WHERE R = " + database.run("SELECT MAX(R) FROM T").rows())
                      .rows(),
                  row.value)
            << sql << "\n  " << row.reason;
    }
}

TEST(Change, FaultsChangeNothing) {
    const std::string update = " SQLFilter::ExecuteUpdate execution ";
    const struct {
        const char* sql;
        std::int32_t status;
        std::string fault;
        const char* reason;
    } rows[] = {
        {"UPDATE NOPE SET A = 1", 610, "610 src/WSQLValidation Validation " + kernelText(610), ""},
        {"DELETE FROM NOPE", 610, "610 src/WSQLValidation Validation " + kernelText(610), ""},
        {"UPDATE T SET Q = 1", 0, "0" + update + "Column \"Q\" does not exist or is not writable.", ""},
        {"UPDATE T SET N = 1, R = 2", 0, "0" + update + "Column \"R\" does not exist or is not writable.",
         "the row identifier"},
        {"UPDATE T SET N = (SELECT Q FROM U)", 32772, "", "a column that the sub-query's table has not"},
        {"UPDATE T SET N = (SELECT SCORE FROM U WHERE SCORE > 99)", 0,
         "0" + update + "Internal error: NULL pointer for column 1.", "no row, no value"},
        {"UPDATE T SET K = 'q', N = (SELECT SCORE FROM U WHERE SCORE > 99)", 0,
         "0" + update + "Internal error: NULL pointer for column 2.", "numbered from 1"},
        {"UPDATE T SET N = 1 WHERE Q = 2", 32772, "", "a column of the condition"},
        {"DELETE FROM T WHERE Q = 2", 32772, "", ""},
        {"DELETE FROM T WHERE N = P", 0,
         "0 WSQLExecSelect:268 WSQLFilter::TranslateCondition A comparison must include an expression that "
         "evaulates to a constant value.",
         "no search can ask that; the search of all records in front of it deletes nothing"},
        {"DELETE FROM T WHERE N = 'no number'", WDB_E_VALUE,
         std::to_string(WDB_E_VALUE) + " SQLFilter::TranslateCondition execution " + kernelText(WDB_E_VALUE),
         "the kernel refuses the search"},
        {"UPDATE T SET N = 1 WHERE N = 'no number'", WDB_E_VALUE,
         std::to_string(WDB_E_VALUE) + " SQLFilter::TranslateCondition execution " + kernelText(WDB_E_VALUE),
         ""},
        {"UPDATE T SET N = 'twelve'", WDB_E_VALUE,
         std::to_string(WDB_E_VALUE) + update + kernelText(WDB_E_VALUE), "the value does not fit the field"},
        {"UPDATE T SET K = 'b' WHERE K = 'c'", WDB_E_DUPLICATE,
         std::to_string(WDB_E_DUPLICATE) + update + kernelText(WDB_E_DUPLICATE), "the key is taken"},
        {"UPDATE U SET SCORE = NULL", WDB_E_MANDATORY,
         std::to_string(WDB_E_MANDATORY) + update + kernelText(WDB_E_MANDATORY), ""},
    };
    Database database;
    fill(database);
    const std::string before = database.run("SELECT * FROM T").document;
    for (const auto& row : rows) {
        const Answer answer = database.run(row.sql);
        EXPECT_EQ(answer.status, row.status) << row.sql << "\n  " << row.reason;
        if (!row.fault.empty()) {
            EXPECT_EQ(faultOf(answer), row.fault) << row.sql << "\n  " << row.reason;
        }
    }
    EXPECT_EQ(database.run("SELECT * FROM T").document, before);
    EXPECT_EQ(database.run("SELECT * FROM U").rows(), "b|20\nd|40");
}

TEST(Change, WhatWasChangedBeforeAFaultStays) {
    Database database;
    fill(database);
    EXPECT_EQ(database.run("UPDATE T SET K = 'q' WHERE N > 1").status, WDB_E_DUPLICATE);
    EXPECT_EQ(database.run("SELECT K FROM T").rows(), "a\nq\nc\nd\ne");
    for (const int skip : {0, 2}) {
        const std::string remove = "DELETE FROM T WHERE K <> 'a'";
        EXPECT_EQ(faultOf(database.runFailing("WdbDeleteRecordInBase", skip, WDB_E_STORAGE, remove)),
                  std::to_string(WDB_E_STORAGE) + " SQLFilter::ExecuteDelete execution " +
                      kernelText(WDB_E_STORAGE));
        EXPECT_EQ(database.run("SELECT K FROM T").rows(), skip == 0 ? "a\nq\nc\nd\ne" : "a\nd\ne");
    }
}

TEST(Change, TheSearchForAllRecordsMayFail) {
    Database database;
    fill(database);
    for (const bool one : {true, false}) {
        // Behind the find minimum and the opening of the table.
        const Answer answer = database.runFailing("WdbExecuteCcl", 2, WDB_E_STORAGE,
                                                  one ? "DELETE FROM T WHERE N = 3" : "DELETE FROM T");
        EXPECT_EQ(answer.document, counted("DELETE", "T", one ? 1 : 4)) << "only what comes behind it counts";
        EXPECT_EQ(database.run("SELECT K FROM T").rows(), one ? "a\nb\nd\ne" : "");
    }
    restore(database);
    EXPECT_EQ(faultOf(database.runFailing("WdbExecuteCcl", 3, WDB_E_STORAGE, "DELETE FROM T WHERE N = 3")),
              std::to_string(WDB_E_STORAGE) + " SQLFilter::TranslateCondition execution " +
                  kernelText(WDB_E_STORAGE));
    EXPECT_EQ(database.run("SELECT K FROM T").rows(), "a\nb\nc\nd\ne")
        << "a condition that failed leaves nothing of the search before it";
}

TEST(Change, TwoSessions) {
    Database database;
    fill(database);
    WdbSession *mine = WdbBoundSession(), *other = nullptr;
    ASSERT_EQ(WdbOpenSession(database.directory().c_str(), "tester", nullptr, 0, &other), WDB_OK);
    const auto bind = [](WdbSession* session) { ASSERT_EQ(WdbBindSession(session), WDB_OK); };
    const struct {
        const char* sql;
        const char* rows;  ///< K and N of T, as both sessions see them
    } steps[] = {
        {"UPDATE T SET N = 10 WHERE K = 'a'", "a|10\nb|2\nc|3\nd|4\ne|5"},
        {"DELETE FROM T WHERE N < 4", "a|10\nd|4\ne|5"},
        {"UPDATE T SET N = 11 WHERE N = 10", "a|11\nd|4\ne|5"},
        {"INSERT INTO T (K, N) VALUES ('f', 6)", "a|11\nd|4\ne|5\nf|6"},
        {"DELETE FROM T WHERE K IN (SELECT NAME FROM U)", "a|11\ne|5\nf|6"},
    };
    int turn = 0;
    for (const auto& step : steps) {
        bind(turn++ % 2 == 0 ? mine : other);
        database.prepare({step.sql});
        for (WdbSession* session : {mine, other}) {
            bind(session);
            EXPECT_EQ(database.run("SELECT K, N FROM T ORDER BY K").rows(), step.rows) << step.sql;
        }
    }
    bind(mine);
    EXPECT_EQ(WdbCloseSession(&other), WDB_OK);
}
