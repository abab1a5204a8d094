// CREATE TABLE and DROP TABLE: what they define, what they refuse, and what a failing kernel makes of them.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/unit/engine/Database.h"
#include "tests/unit/engine/Faults.h"

namespace {

const std::string kCreate = "WSQLFilter::ExecuteCreateTable";

class Definitions : public testing::Test {
protected:
    void expectFault(const std::string& sql, std::int32_t status, const std::string& fault) {
        const Answer answer = database_.run(sql);
        EXPECT_EQ(answer.status, status) << sql;
        EXPECT_EQ(faultOf(answer), fault) << sql;
        database_.expectClean(sql);
    }
    void expectInjected(const char* function, const std::string& sql, const std::string& fault) {
        WdbInjectFailure(function, 0, WDB_E_STORAGE);
        expectFault(sql, WDB_E_STORAGE, std::to_string(WDB_E_STORAGE) + " " + fault);
        WdbInjectFailure(nullptr, 0, 0);
    }
    WdbBaseDef definition(const char* name) {
        WdbBaseDef result{};
        EXPECT_EQ(WdbGetBaseDef(name, &result), WDB_OK);
        return result;
    }
    std::string message(const std::string& sql) {
        const Answer answer = database_.run(sql);
        std::size_t at = 0;
        return between(answer.document, "<Success>", "</Success>", at);
    }

    Database database_;
};

TEST_F(Definitions, Locations) {
    const std::string file = database_.directory() + "/file";
    std::ofstream(file) << "x";
    UpdateRCS("a_b_c", database_.directory().c_str());
    UpdateRCS("FILELOC", file.c_str());
    UpdateRCS("NOWHERE", "/no/such/directory");
    const std::string place = "0 " + kCreate + " execution ";
    expectFault("CREATE TABLE T (A INTEGER) WITH LOCATION = MISSING", 0,
                place + "Table location \"MISSING\" does not exist.");
    expectFault("CREATE TABLE T (A INTEGER) WITH LOCATION = NOWHERE", 0,
                place + "The symbol \"NOWHERE\" is not a table location.");
    expectFault("CREATE TABLE T (A INTEGER) WITH LOCATION = FILELOC", 0,
                place + "Table location \"FILELOC\" does not refer to a directory.");
    database_.prepare({"CREATE TABLE T (A INTEGER) WITH LOCATION = a_b_c, CHARSET = 'LATIN'",
                       "CREATE TABLE U (A INTEGER)"});
    const WdbBaseDef named = definition("T"), plain = definition("U");
    EXPECT_STREQ(named.baseFile, "a$b_c:T.BAF");
    EXPECT_STREQ(named.indexFile, "a$b_c:T.BIF");
    EXPECT_STREQ(named.valueFile, "a$b_c:T.VIF");
    EXPECT_STREQ(named.comment, "Database created via the CREATE TABLE command in WELKsql.");
    EXPECT_STREQ(named.charset, "LATI") << "four characters of it";
    EXPECT_STREQ(plain.baseFile, "WELKSQL$BASES:U.BAF");
    EXPECT_STREQ(plain.charset, "MUL");
    EXPECT_EQ(plain.charsetFlag, 0);
}

TEST_F(Definitions, TypesAndConstraintsBecomeFieldSettings) {
    database_.prepare(
        {"CREATE TABLE P (K VARCHAR PRIMARY KEY)",
         "CREATE TABLE T (C CHAR(10), V VARCHAR DEFAULT 'x' NOT NULL, L LONG VARCHAR, B LONG VARBINARY, I "
         "INTEGER DEFAULT 5, N NUMERIC(8,2), E NUMERIC(5), D DATE, M TIME, S SERIAL, K VARCHAR PRIMARY KEY, "
         "F "
         "VARCHAR REFERENCES P (K))"});
    ASSERT_STREQ(definition("T").uniqueKey, "K");
    const struct {
        const char *name, *type, *flags, *reason;
    } rows[] = {
        {"C", "PHRASE", "indexed whole ", ""},
        {"V", "PHRASE", "indexed mandatory whole default ", ""},
        {"L", "TEXT", "indexed ", "words, not one value"},
        {"B", "STRING", "", "not searched"},
        {"I", "INTEGER", "indexed whole default ", ""},
        {"N", "NUMBER", "indexed whole ", ""},
        {"E", "NUMBER", "indexed whole ", ""},
        {"D", "DATE", "indexed whole ", ""},
        {"M", "TIME", "indexed whole ", ""},
        {"S", "INTEGER", "indexed serial mandatory whole ", ""},
        {"K", "PHRASE", "indexed whole key ", ""},
        {"F", "PHRASE", "indexed whole reference ", ""},
    };
    for (const auto& row : rows) {
        WdbFieldSpec field{};
        std::snprintf(field.name, sizeof field.name, "%s", row.name);
        ASSERT_EQ(WdbGetFieldSpec(&field), WDB_OK) << row.name;
        EXPECT_STREQ(field.typeName, row.type) << row.name;
        std::string flags;
        if (field.indexed != 0) flags += "indexed ";
        if (field.serial != 0) flags += "serial ";
        if (field.mandatory != 0) flags += "mandatory ";
        if (field.wholeValue != 0) flags += "whole ";
        if (field.hasDefault != 0) flags += "default ";
        if (field.hasReference != 0) flags += "reference ";
        if (field.key != 0) flags += "key ";
        EXPECT_EQ(flags, row.flags) << row.name << "  " << row.reason;
        EXPECT_STREQ(field.comment, field.serial != 0 ? "SQL: SERIAL" : "");
        EXPECT_STREQ(field.reference, field.hasReference != 0 ? "P.K" : "");
    }
}

TEST_F(Definitions, WhatIsRefused) {
    database_.prepare({"CREATE TABLE T (A VARCHAR PRIMARY KEY)"});
    const std::string parse = "0 WSQLFilter:585 SQLFilter::execSql ";
    expectFault("CREATE TABLE T (A INTEGER)", 1220,
                "610 " + kCreate + " WdbBaseInfo The table \"T\" already exists.");
    EXPECT_EQ(message("CREATE TABLE IF NOT EXISTS T (A INTEGER)"), "The table \"T\" already exists.");
    expectFault("CREATE TABLE N (A234567890123456 INTEGER)", 0,
                "0 WSQLFilter::CreateField execution Column name is too long: \"A234567890123456\".");
    database_.prepare({"CREATE TABLE M (A23456789012345 INTEGER)"});
    expectFault("CREATE TABLE N (A INTEGER, A INTEGER)", WDB_E_EXISTS,
                std::to_string(WDB_E_EXISTS) + " WdbPutFieldSpec WSQLFilter::CreateField " +
                    kernelText(WDB_E_EXISTS));
    expectFault("CREATE TABLE N (A INTEGER DEFAULT 'x')", WDB_E_VALUE,
                std::to_string(WDB_E_VALUE) + " WdbPutDefaultValue WSQLFilter::CreateField " +
                    kernelText(WDB_E_VALUE));
    expectFault("CREATE TABLE " + std::string(61, 'N') + " (A INTEGER)", WDB_E_NAME,
                std::to_string(WDB_E_NAME) + " WdbGetBaseDef " + kCreate + " " + kernelText(WDB_E_NAME));
    expectFault("CREATE TABLE N (A VARCHAR REFERENCES N (A))", 0,
                parse + "A table cannot be declared to reference itself.");
    expectFault("CREATE TABLE N (A INTEGER PRIMARY KEY)", 0,
                parse + "A WELKsql primary key column must be VARCHAR.");
    expectFault("CREATE TABLE N (A VARCHAR PRIMARY KEY, B VARCHAR, PRIMARY KEY (B))", 0,
                parse + "A WELKsql table cannot have more than one primary key column.");
    expectFault("CREATE TABLE N (A VARCHAR DEFAULT (SELECT B FROM T))", 0,
                "0 WSQLFilter:656 WSQLFilter::execSql Statement not currently supported.");
    expectFault("CREATE TABLE N (A VARCHAR, PRIMARY KEY (B))", 0,
                parse + "Unknown column \"B\" in table constraint.");
    EXPECT_EQ(database_.run("SELECT NAME FROM WDBS.TABLES").rows(), "M\nT") << "none of it was defined";
}

TEST_F(Definitions, FailingCalls) {
    database_.prepare({"CREATE TABLE P (K VARCHAR PRIMARY KEY)"});
    const std::string sql = "CREATE TABLE T (A VARCHAR DEFAULT 'x' REFERENCES P (K))";
    const struct {
        const char *function, *context;
        std::int32_t skip;
    } rows[] = {
        {"WdbGetBaseDef", "ExecuteCreateTable", 0}, {"WdbGetFieldSpec", "CreateField", 0},
        {"WdbPutFieldSpec", "CreateField", 0},      {"WdbPutDefaultValue", "CreateField", 0},
        {"WdbPutBaseDef", "ExecuteCreateTable", 0},
    };
    for (const auto& row : rows) {
        WdbInjectFailure(row.function, row.skip, WDB_E_STORAGE);
        expectFault(sql, WDB_E_STORAGE,
                    std::to_string(WDB_E_STORAGE) + " " + row.function + " WSQLFilter::" + row.context + " " +
                        kernelText(WDB_E_STORAGE));
        WdbInjectFailure(nullptr, 0, 0);
        EXPECT_EQ(database_.run("SELECT NAME FROM WDBS.TABLES").rows(), "P") << row.function;
    }
    // References that cannot be registered leave a table without them.
    const struct {
        const char* function;
        std::int32_t skip;
    } warnings[] = {{"WdbGetBaseDef", 1}, {"WdbSetForeignKey", 0}, {"WdbPutBaseDef", 1}};
    int number = 0;
    for (const auto& row : warnings) {
        const std::string name = "W" + std::to_string(++number);
        WdbInjectFailure(row.function, row.skip, WDB_E_STORAGE);
        EXPECT_EQ(message("CREATE TABLE " + name + " (A VARCHAR REFERENCES P (K))"),
                  "The table \"" + name + "\" was successfully created.");
        WdbInjectFailure(nullptr, 0, 0);
        EXPECT_EQ(database_.run("SELECT FKTABLE_NAME FROM WDBS.KEYREFS").rows(), "") << row.function;
        database_.expectClean(row.function);
    }
}

TEST_F(Definitions, RightsThatCannotBeChanged) {
    database_.prepare({"CREATE TABLE T (A VARCHAR)"});
    const std::string grant = "GRANT READ PRIVILEGES (A) ON T TO READER";
    for (const char* function :
         {"WdbCheckBase", "WdbGetDbAccess", "WdbCreateRecordControl", "WdbSetBase", "WdbCheckField"}) {
        expectInjected(function, grant,
                       function + (" WSQLFilter::ExecuteModifyAccess " + kernelText(WDB_E_STORAGE)));
    }
    expectInjected("WdbPutDbAccess", grant,
                   "WdbSetBase WSQLFilter::ExecuteModifyAccess " + kernelText(WDB_E_STORAGE));
    EXPECT_EQ(message(grant), "Access privileges on T have been modified.");
}

TEST_F(Definitions, DroppingWhatIsNotThere) {
    expectFault("DROP TABLE T", 1220,
                "610 WSQLFilter::ExecuteDropTable WdbBaseInfo The table \"T\" does not exist.");
    EXPECT_EQ(message("DROP TABLE IF EXISTS T"), "The table \"T\" does not exist.");
    expectFault(
        "DROP TABLE IF EXISTS " + std::string(61, 'N'), WDB_E_NAME,
        std::to_string(WDB_E_NAME) + " WSQLFilter::ExecuteDropTable WdbBaseInfo " + kernelText(WDB_E_NAME));
}

TEST_F(Definitions, DroppingThatFails) {
    database_.prepare({"CREATE TABLE T (A VARCHAR)", "INSERT INTO T VALUES ('a')",
                       "CREATE TABLE U (A VARCHAR)", "INSERT INTO U VALUES ('a')", "SELECT A FROM U"});
    expectInjected("WdbDeleteBaseDef", "DROP TABLE T",
                   "WdbGetBaseDef WSQLFilter::ExecuteDropTable " + kernelText(WDB_E_STORAGE));
    WdbInjectFailure("WdbDeleteBaseDef", 0, WDB_OK);
    EXPECT_EQ(message("DROP TABLE T"), "The table \"T\" was successfully dropped.");
    EXPECT_EQ(database_.run("SELECT A FROM T").rowCount(), "0") << "its records go first";
    // Without a search of its own no record is touched: the latest result is another table's.
    for (const char* function :
         {"WdbExecuteCcl", "WdbGetSearch", "WdbGetRecordInSearchRis", "WdbDeleteRecordInBase"}) {
        database_.prepare({"CREATE TABLE IF NOT EXISTS T (A VARCHAR)", "INSERT INTO T VALUES ('b')"});
        WdbInjectFailure(function, 0, WDB_E_STORAGE);
        database_.run("DROP TABLE T");
        WdbInjectFailure(nullptr, 0, 0);
        database_.expectClean(function);
        EXPECT_EQ(database_.run("SELECT A FROM U").rowCount(), "1") << function;
    }
}

}  // namespace
