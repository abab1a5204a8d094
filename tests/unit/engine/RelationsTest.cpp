// Statements over several tables, grouped, united and nested, over the real kernel.
#include <gtest/gtest.h>

#include "tests/unit/engine/Database.h"

namespace {

/// Authors, articles (one of nobody, one author without any), and their words.
void fill(Database& database) {
    database.prepare({
        "CREATE TABLE AUTHORS (AID VARCHAR PRIMARY KEY, NAME VARCHAR, BORN INTEGER)",
        "CREATE TABLE ARTICLES (ID INTEGER, AID VARCHAR, TITLE VARCHAR, PRICE NUMERIC(8,2), DAY DATE, NOTE "
        "LONG "
        "VARCHAR)",
        "INSERT INTO AUTHORS VALUES ('a', 'Ann', 1950)",
        "INSERT INTO AUTHORS VALUES ('b', 'Bob', 1960)",
        "INSERT INTO AUTHORS VALUES ('c', 'Cid', 1970)",
        "INSERT INTO ARTICLES VALUES (1, 'a', 'one', 1.50, DATE('2024-01-01'), 'text of one')",
        "INSERT INTO ARTICLES VALUES (2, 'a', 'two', 2.50, DATE('2024-01-02'), 'text of two')",
        "INSERT INTO ARTICLES VALUES (3, 'b', 'three', NULL, DATE('2024-01-03'), 'another text')",
        "INSERT INTO ARTICLES VALUES (4, 'z', 'four', 4.00, NULL, NULL)",
        "INSERT INTO ARTICLES VALUES (5, 'B', 'Five', 0.25, NULL, 'text of five')",
    });
}

struct Row {
    const char* sql;
    const char* rows;
    const char* reason;
};

template <std::size_t N>
void check(const Row (&rows)[N]) {
    Database database;
    fill(database);
    for (const Row& row : rows) {
        const Answer answer = database.run(row.sql);
        EXPECT_EQ(answer.rows(), row.rows) << row.sql << "\n  " << row.reason;
        EXPECT_EQ(answer.status, 1) << row.sql;
    }
}

}  // namespace

TEST(Relations, Joins) {
    const Row rows[] = {
        {"SELECT TITLE, NAME FROM ARTICLES JOIN AUTHORS ON ARTICLES.AID = AUTHORS.AID ORDER BY ID",
         "one|Ann\ntwo|Ann\nthree|Bob\nFive|Bob", "letter case does not count"},
        {"SELECT TITLE, NAME FROM ARTICLES LEFT JOIN AUTHORS USING (AID) ORDER BY ID",
         "one|Ann\ntwo|Ann\nthree|Bob\nfour|~\nFive|Bob", ""},
        {"SELECT TITLE, NAME FROM ARTICLES RIGHT JOIN AUTHORS USING (AID) ORDER BY NAME, ID",
         "one|Ann\ntwo|Ann\nthree|Bob\nFive|Bob\n~|Cid", ""},
        {"SELECT TITLE FROM ARTICLES NATURAL JOIN AUTHORS WHERE BORN > 1955 ORDER BY TITLE", "Five\nthree",
         ""},
        {"SELECT NAME FROM AUTHORS, ARTICLES WHERE AUTHORS.AID = ARTICLES.AID AND PRICE > 2", "Ann",
         "a join in the WHERE"},
        {"SELECT x.TITLE, y.TITLE FROM ARTICLES x JOIN ARTICLES y ON x.AID = y.AID AND x.ID < y.ID",
         "one|two\nthree|Five", "a table with itself"},
        {"SELECT TITLE, NOTE FROM ARTICLES JOIN AUTHORS ON AUTHORS.AID = ARTICLES.AID WHERE NOTE LIKE "
         "'anoth%'",
         "three|@41525449434c4553-3-0-6", "texts stay behind their keys"},
    };
    check(rows);
}

TEST(Relations, Aggregates) {
    const Row rows[] = {
        {"SELECT COUNT(*) FROM ARTICLES", "5", ""},
        {"SELECT COUNT(*), COUNT(PRICE), SUM(ID), MIN(PRICE), MAX(DAY), AVG(ID) FROM ARTICLES",
         "5|4|15|0.25|2024-01-03|3.00", ""},
        {"SELECT COUNT(*), SUM(ID) FROM ARTICLES WHERE ID > 9", "0|~", "of no row"},
        {"SELECT AID, COUNT(*) FROM ARTICLES GROUP BY AID ORDER BY 2 DESC, 1", "a|2\nb|2\nz|1",
         "letter case does not count"},
        {"SELECT COUNT(DISTINCT AID) FROM ARTICLES", "3", ""},
        {"SELECT NAME, COUNT(ID) FROM AUTHORS JOIN ARTICLES USING (AID) GROUP BY NAME", "Ann|2\nBob|2", ""},
        {"SELECT MAX(ID) * 2 - 1, COUNT(NOTE) FROM ARTICLES", "9|4", "texts can be counted"},
        {"SELECT R, COUNT(*) FROM ARTICLES WHERE ID < 3 GROUP BY R", "1|1\n2|1", ""},
    };
    check(rows);
}

TEST(Relations, DistinctRows) {
    const Row rows[] = {
        {"SELECT DISTINCT AID FROM ARTICLES ORDER BY AID", "a\nb\nz", ""},
        {"SELECT DISTINCT AID, 1 FROM ARTICLES ORDER BY 1 DESC", "z|1\nb|1\na|1", ""},
        {"SELECT DISTINCT NAME FROM AUTHORS JOIN ARTICLES USING (AID) ORDER BY NAME", "Ann\nBob", ""},
    };
    check(rows);
}

TEST(Relations, SubQueries) {
    const Row rows[] = {
        {"SELECT TITLE FROM ARTICLES WHERE ID > (SELECT NULL FROM AUTHORS)", "", "no value at all"},
        {"SELECT TITLE FROM ARTICLES WHERE ID IN (SELECT NULL FROM AUTHORS)", "", ""},
        {"SELECT TITLE FROM ARTICLES WHERE ID IN (SELECT (SELECT MAX(ID) FROM ARTICLES) FROM AUTHORS)",
         "Five", "a query as the item of a query"},
        {"SELECT TITLE FROM ARTICLES WHERE TITLE = (SELECT '' UNION SELECT 'two')", "two",
         "named by its first member, whose item has no text"},
        {"SELECT TITLE FROM ARTICLES WHERE AID = (SELECT AID FROM AUTHORS WHERE NAME = 'Ann') ORDER BY ID",
         "one\ntwo", "as a join"},
        {"SELECT TITLE FROM ARTICLES WHERE AID IN (SELECT AID FROM AUTHORS) ORDER BY ID",
         "one\ntwo\nthree\nFive", "as a join"},
        {"SELECT NAME FROM AUTHORS WHERE AID IN (SELECT AID FROM ARTICLES)", "Ann\nBob",
         "as a set: no author twice"},
        {"SELECT NAME FROM AUTHORS WHERE NOT AID IN (SELECT AID FROM ARTICLES)", "Cid", ""},
        {"SELECT NAME FROM AUTHORS WHERE AID <> (SELECT AID FROM ARTICLES WHERE ID = 1)", "Bob\nCid", ""},
        {"SELECT TITLE FROM ARTICLES WHERE ID > (SELECT MIN(ID) FROM ARTICLES WHERE AID = 'b')", "four\nFive",
         "a computed value"},
        {"SELECT TITLE FROM ARTICLES WHERE ID = (SELECT MAX(ID) FROM ARTICLES)", "Five", ""},
        {"SELECT NAME FROM AUTHORS WHERE AID IN (SELECT AID FROM ARTICLES WHERE ID = 1 UNION SELECT AID FROM "
         "ARTICLES WHERE ID = 3)",
         "Ann\nBob", ""},
        {"SELECT NAME FROM AUTHORS WHERE AID IN (SELECT AID FROM ARTICLES WHERE ID > 9)", "", "an empty set"},
        {"SELECT NAME FROM AUTHORS WHERE BORN >= 1960 OR AID IN (SELECT AID FROM ARTICLES WHERE PRICE < 2)",
         "Ann\nBob\nCid", ""},
        {"SELECT NAME FROM AUTHORS WHERE R IN (SELECT ID FROM ARTICLES WHERE ID < 3)", "Ann\nBob",
         "record numbers"},
        {"SELECT NAME, (SELECT MAX(PRICE) FROM ARTICLES), (SELECT TITLE FROM ARTICLES WHERE ID > 9) FROM "
         "AUTHORS",
         "Ann|4.00|~\nBob|4.00|~\nCid|4.00|~", "values"},
        {"SELECT (SELECT NOTE FROM ARTICLES WHERE ID = 2) FROM AUTHORS WHERE AID = 'a'", "text of two\n", ""},
        {"SELECT (SELECT 'a<b'), (SELECT 5) FROM AUTHORS WHERE AID = 'a'", "a&lt;b|5", "constants"},
    };
    check(rows);
}

TEST(Relations, Unions) {
    const Row rows[] = {
        {"SELECT AID FROM ARTICLES UNION SELECT AID FROM AUTHORS ORDER BY 1", "a\nb\nc\nz", ""},
        {"SELECT AID FROM AUTHORS UNION ALL SELECT AID FROM ARTICLES WHERE ID < 3", "a\nb\nc\na\na", ""},
        {"SELECT NAME, 'author' FROM AUTHORS UNION SELECT TITLE, 'article' FROM ARTICLES WHERE ID = 1 ORDER "
         "BY 1",
         "Ann|author\nBob|author\nCid|author\none|article", "each member has its constants"},
        {"SELECT 'x', 1 UNION ALL SELECT NAME, BORN FROM AUTHORS WHERE AID = 'c'", "x|1\nCid|1970",
         "a member without tables"},
        {"SELECT NAME, R FROM AUTHORS UNION SELECT NOTE, R FROM ARTICLES WHERE ID = 2 ORDER BY 2",
         "Ann|1\nBob|2\n@41525449434c4553-2-0-6|2\nCid|3", "texts name their own table"},
        {"SELECT COUNT(*) FROM AUTHORS UNION ALL SELECT COUNT(*) FROM ARTICLES", "3\n5", ""},
        {"SELECT (SELECT 7), NAME FROM AUTHORS WHERE AID = 'a' UNION SELECT ID, TITLE FROM ARTICLES WHERE ID "
         "= 1 "
         "ORDER BY NAME",
         "7|Ann\n1|one", ""},
    };
    check(rows);
    Database database;
    fill(database);
    EXPECT_EQ(UpdateRCS("SQL_SELECTTEXT", "1"), WDB_OK);
    EXPECT_EQ(
        database
            .run("SELECT NAME FROM AUTHORS WHERE AID = 'a' UNION ALL SELECT NOTE FROM ARTICLES WHERE ID = 2")
            .rows(),
        "Ann\n<P>text of two\n</P>");
}

TEST(Relations, Arithmetic) {
    const Row rows[] = {
        {"SELECT ID * 2 + 1, PRICE / 2, ID / 0, PRICE + TITLE FROM ARTICLES WHERE ID < 4",
         "3|0.75|~|~\n5|1.25|~|~\n7|~|~|~", "NULL where there is nothing to compute"},
        {"SELECT (ID - 1) * (ID + 1) FROM ARTICLES ORDER BY 1 DESC", "24\n15\n8\n3\n0", "as a sort position"},
    };
    check(rows);
}

TEST(Relations, WhatTheKernelRefuses) {
    Database database;
    fill(database);
    const struct {
        const char* sql;
        const char* source;
        const char* reason;
    } rows[] = {
        {"SELECT TITLE FROM ARTICLES ORDER BY 99", "WSQLFilter::ExecuteSelect", "no such position"},
        {"SELECT * FROM AUTHORS UNION SELECT ID FROM ARTICLES", "WSQLFilter::ExecuteUnion",
         "members of different widths"},
        {"SELECT AUTHORS.NAME FROM AUTHORS NATURAL JOIN AUTHORS", "WSQLFilter::ExecuteSelect",
         "a table with itself and no alias"},
        {"SELECT TITLE FROM ARTICLES WHERE ID = 'x' AND AID IN (SELECT AID FROM AUTHORS WHERE BORN = 'y')",
         "WSQLFilter::ExecuteSelect", "in the sub-query"},
    };
    for (const auto& row : rows) {
        const Answer answer = database.run(row.sql);
        EXPECT_EQ(answer.status & 1, 0) << row.sql;
        EXPECT_NE(answer.document.find(std::string("faultSource=\"") + row.source +
                                       "\"\r\n      faultContext=\"ExecuteCCL\""),
                  std::string::npos)
            << row.sql << "\n  " << row.reason << "\n"
            << answer.document;
    }
}

TEST(Relations, PagesAreSlicesOfTheWhole) {
    Database database;
    fill(database);
    const char* statements[] = {
        "SELECT TITLE, NAME FROM ARTICLES LEFT JOIN AUTHORS USING (AID) ORDER BY TITLE",
        "SELECT AID, COUNT(*) FROM ARTICLES GROUP BY AID ORDER BY 1",
        "SELECT DISTINCT AID FROM ARTICLES ORDER BY 1",
        "SELECT AID FROM ARTICLES UNION SELECT NAME FROM AUTHORS ORDER BY 1 DESC",
    };
    for (const char* sql : statements) {
        UpdateRCS("SQL_BLOCKSIZE", "20");
        UpdateRCS("SQL_BLOCKNUMBER", "1");
        const Answer whole = database.run(sql);
        UpdateRCS("SQL_BLOCKSIZE", "2");
        std::string pages;
        for (int page = 1; page < 9; ++page) {
            UpdateRCS("SQL_BLOCKNUMBER", std::to_string(page).c_str());
            const Answer answer = database.run(sql);
            if (answer.status == 9092) {
                const bool isUnion = std::string(sql).find(" UNION ") != std::string::npos;
                EXPECT_NE(answer.document.find(isUnion ? "faultContext=\"WSQLFilter::ExecuteUnion\""
                                                       : "faultContext=\"WSQLFilter::ExecuteSelect\""),
                          std::string::npos)
                    << answer.document;
                break;
            }
            EXPECT_EQ(answer.rowCount(), whole.rowCount()) << sql;
            pages += (pages.empty() ? "" : "\n") + answer.rows();
        }
        EXPECT_EQ(pages, whole.rows()) << sql;
    }
}

TEST(Relations, DistinctRowsAreThoseThatLookDifferent) {
    Database database;
    for (const char* sql :
         {"CREATE TABLE B (V VARCHAR)", "INSERT INTO B (V) VALUES ('x')", "INSERT INTO B (V[2]) VALUES ('X')",
          "INSERT INTO B (V) VALUES ('a; b')", "INSERT INTO B (V[1], V[2]) VALUES ('a', 'b')",
          "INSERT INTO B (V[1], V[3]) VALUES ('a', 'b')", "INSERT INTO B (V) VALUES ('z')"}) {
        ASSERT_EQ(database.run(sql).status, WDB_OK) << sql;
    }
    for (const char* sql : {"SELECT DISTINCT V FROM B", "SELECT V FROM B UNION SELECT V FROM B"}) {
        const Answer all = database.run(sql);
        EXPECT_EQ(all.rowCount(), "3") << sql;
        std::string paged;
        ASSERT_EQ(UpdateRCS("SQL_BLOCKSIZE", "1"), WDB_OK);
        for (const char* block : {"1", "2", "3"}) {
            ASSERT_EQ(UpdateRCS("SQL_BLOCKNUMBER", block), WDB_OK);
            paged += (paged.empty() ? "" : "\n") + database.run(sql).rows();
        }
        ASSERT_EQ(UpdateRCS("SQL_BLOCKNUMBER", "1"), WDB_OK);
        ASSERT_EQ(UpdateRCS("SQL_BLOCKSIZE", "20"), WDB_OK);
        EXPECT_EQ(paged, all.rows()) << sql << ": a block is a slice of the whole";
    }
    EXPECT_EQ(database.run("SELECT DISTINCT V FROM B").rows(), "a; b\nx\nz");
}

TEST(Relations, KernelFailuresAreAnsweredAndLeaveNothingBehind) {
    Database database;
    fill(database);
    const char* statements[] = {
        "SELECT x.TITLE, (SELECT MAX(BORN) FROM AUTHORS) FROM ARTICLES x NATURAL JOIN AUTHORS WHERE x.AID IN "
        "(SELECT "
        "AID FROM ARTICLES WHERE ID > 1)",
        "SELECT NAME, NULL FROM AUTHORS UNION SELECT TITLE, NOTE FROM ARTICLES ORDER BY 1",
    };
    int faults = 0;
    for (const char* function : {"WdbCreateRecordControl", "WdbSetBase", "WdbCheckField", "WdbBaseInfo",
                                 "WdbShellSymbol", "WdbExecuteCcl", "WdbSearchResult", "WdbGetRows",
                                 "WdbBaseStatus", "WdbSaveStatus", "WdbLoadStatus"}) {
        for (int skip = 0; skip < 9; ++skip) {
            for (const char* sql : statements) {
                const std::string place =
                    std::string(function) + " after " + std::to_string(skip) + ": " + sql;
                const Answer answer = database.runFailing(function, skip, WDB_E_STORAGE, sql);
                const bool isFault = answer.document.find("<Fault ") != std::string::npos;
                faults += isFault ? 1 : 0;
                EXPECT_NE(answer.document, "") << place;
                EXPECT_EQ(isFault, (answer.status & 1) == 0) << place << "\n" << answer.document;
            }
        }
    }
    EXPECT_GT(faults, 30) << "the injected failures have to arrive";
}
