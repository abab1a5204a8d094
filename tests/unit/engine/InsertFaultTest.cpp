// What INSERT refuses and who says so, and what CREATE TABLE leaves for it: defaults and referential rules.
#include <gtest/gtest.h>

#include "tests/unit/engine/Faults.h"

namespace {

const std::string kChecked = "1 validation SQLFilter::ValidateInsert ";
const std::string kExecuted = "0 SQLFilter::ExecuteInsert execution ";

}  // namespace

TEST(InsertFaults, NameThePlaceAndTheColumn) {
    Database database;
    database.prepare(
        {"CREATE TABLE P (K VARCHAR PRIMARY KEY, V INTEGER)",
         "CREATE TABLE C (A VARCHAR, I INTEGER, N NUMERIC, D DATE, T TIME, X LONG VARCHAR, B LONG "
         "VARBINARY)"});
    const struct {
        const char* sql;
        std::int32_t status;
        std::string fault;
        const char* reason;
    } rows[] = {
        {"INSERT INTO NOPE VALUES (1)", 1220,
         "610 validation SQLFilter::ValidateInsert Table \"NOPE\" does not exist.", "the kernel's code"},
        {"INSERT INTO P (K, Q) VALUES ('a', 2)", 2,
         kChecked + "Column \"Q\" does not exist or is not writable.", ""},
        {"INSERT INTO P (K, R) VALUES ('a', 2)", 2,
         kChecked + "Column \"R\" does not exist or is not writable.", "the row identifier"},
        {"INSERT INTO P VALUES (1, 2, 3)", 2,
         kChecked + "Specified number of values (3) does not match the number of columns in the table (2).",
         "counted before the values are looked at"},
        {"INSERT INTO P VALUES (1, 'x')", 2,
         kChecked + "Value for column #1 \"K\" must be a string constant.", "the first that does not fit"},
        {"INSERT INTO C (I) VALUES ('1')", 2,
         kChecked + "Value for column #1 \"I\" must be an integer constant.", "no text becomes a number"},
        {"INSERT INTO C (A, I) VALUES ('a', 1.0)", 2,
         kChecked + "Value for column #2 \"I\" must be an integer constant.", "positions of the list"},
        {"INSERT INTO C (N) VALUES ('1')", 2,
         kChecked + "Value for column #1 \"N\" must be a numeric constant.", ""},
        {"INSERT INTO C (N) VALUES (1)", 0,
         kExecuted + "Value for column #1 \"N\" must be a numeric constant.",
         "a whole number passes the check and is refused when it is stored"},
        {"INSERT INTO C (D) VALUES ('2024-01-01')", 2,
         kChecked + "Value for column #1 \"D\" must be a date constant.", "a text that looks like one"},
        {"INSERT INTO C (D) VALUES (9:30)", 2,
         kChecked + "Value for column #1 \"D\" must be a date constant.", ""},
        {"INSERT INTO C (D) VALUES (CURRENT_TIMESTAMP)", 2,
         kChecked + "Value for column #1 \"D\" must be a date constant.", "a text"},
        {"INSERT INTO C (T) VALUES (DATE('2024-01-01'))", 2,
         kChecked + "Value for column #1 \"T\" must be a time constant.", ""},
        {"INSERT INTO C (X) VALUES (5)", 2, kChecked + "Value for column #1 \"X\" must be a string constant.",
         ""},
        {"INSERT INTO C (B) VALUES ('x')", 2,
         kChecked + "Data type LONG VARBINARY cannot be used with INSERT.", ""},
        {"INSERT INTO C (I) VALUES ((SELECT 'a'))", 0,
         kExecuted + "Value for column #1 \"I\" must be an integer constant.",
         "a query's value is known when it has run"},
        {"INSERT INTO C (N) VALUES ((SELECT 10))", 0,
         kExecuted + "Value for column #1 \"N\" must be a numeric constant.", ""},
        {"INSERT INTO C (D) VALUES (DATE('2023-02-29'))", WDB_E_VALUE,
         std::to_string(WDB_E_VALUE) +
             " SQLFilter::ExecuteInsert execution The value does not fit the field type.",
         "no such day: the kernel says so"},
    };
    for (const auto& row : rows) {
        const Answer answer = database.run(row.sql);
        EXPECT_EQ(answer.status, row.status) << row.sql << "\n  " << row.reason;
        EXPECT_EQ(faultOf(answer), row.fault) << row.sql << "\n  " << row.reason;
    }
    EXPECT_EQ(database.run("SELECT R FROM C").rowCount(), "0") << "nothing of it was stored";
    EXPECT_EQ(database.run("SELECT R FROM P").rowCount(), "0");
}

TEST(InsertFaults, WhatFits) {
    Database database;
    database.prepare(
        {"CREATE TABLE C (A VARCHAR, I INTEGER DEFAULT (SELECT -5), N NUMERIC DEFAULT 1.5, D DATE DEFAULT "
         "DATE('2024-1-2'), T TIME DEFAULT 9:30, B LONG VARBINARY, S SERIAL)",
         "INSERT INTO C (A) VALUES ('defaults')", "INSERT INTO C (A, B, I) VALUES ('null', NULL, NULL)",
         "INSERT INTO C (A, I, N, D, T, S) VALUES ('given', 0, 0.0, DATE('1999-12-31'), 0:00, 7)",
         "INSERT INTO C (A, I) VALUES ((SELECT 'query'), (SELECT 2 - 5 * 3))",
         "INSERT INTO C (A, B, N) VALUES ((SELECT NULL), (SELECT NULL), (SELECT 10 / 4.0))",
         "INSERT INTO C (A, A, I) VALUES ('first', 'again', 4294967296)"});
    EXPECT_EQ(database.run("SELECT A, I, N, D, T, S FROM C").rows(),
              "defaults|-5|1.50|2024-01-02|09:30:00|1\n"
              "null|-5|1.50|2024-01-02|09:30:00|2\n"
              "given|0|0.00|1999-12-31|00:00:00|7\n"
              "query|-13|1.50|2024-01-02|09:30:00|8\n"
              "~|-5|2.50|2024-01-02|09:30:00|9\n"
              "again|2147483647|1.50|2024-01-02|09:30:00|10");
}

TEST(CreateTable, RegistersReferences) {
    Database database;
    database.prepare(
        {"CREATE TABLE P (K VARCHAR PRIMARY KEY, V INTEGER)",
         "CREATE TABLE C (A VARCHAR REFERENCES P (K) ON DELETE CASCADE ON UPDATE SET NULL, B VARCHAR "
         "REFERENCES P (V), E VARCHAR, FOREIGN KEY (E) REFERENCES P (K))"});
    ASSERT_EQ(WdbCheckBase("C", 1), WDB_OK);
    WdbIntegrityRules* rules = nullptr;
    ASSERT_EQ(WdbGetIntegrityRules(&rules), WDB_OK);
    std::string found;
    for (std::int32_t i = 0; i < rules->count; ++i) {
        const WdbIntegrityRule& rule = rules->rule[i];
        found += std::string(rule.fkColumn) + ">" + rule.pkTable + "." + rule.pkColumn + " " +
                 std::to_string(rule.deleteAction) + " " + std::to_string(rule.updateAction) + "\n";
    }
    WdbFreeIntegrityRules(&rules);
    EXPECT_EQ(found, "A>P.K 2 4\nE>P.K 1 1\n") << "the delete action first; what is not written restricts; a "
                                                  "column that is no key cannot be referred to";
}
