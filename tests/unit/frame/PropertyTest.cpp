#include <gtest/gtest.h>

#include "src/WSQLFilter.h"
#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

namespace {

class Property : public testing::Test {
protected:
    void SetUp() override {
        fakeKernel() = FakeKernel();
        setenv("WDBS_LOG", "/nonexistent-directory", 1);
    }
    void TearDown() override { unsetenv("WDBS_LOG"); }
};

TEST_F(Property, SetStoresAndEchoes) {
    const struct {
        const char *statement, *name, *answer, *setting, *stored, *reason;
    } rows[] = {
        {"SET PROPERTY selecttext = 'false'", "selecttext", "false", "SQL_SELECTTEXT", "0",
         "exactly false is off"},
        {"SET PROPERTY selecttext = FALSE", "selecttext", "false", "SQL_SELECTTEXT", "0",
         "the keyword in any case"},
        {"SET PROPERTY selecttext = 'FALSE'", "selecttext", "true", "SQL_SELECTTEXT", "1",
         "a text in another case is on"},
        {"SET PROPERTY SELECTBLOB = 0", "selectblob", "true", "SQL_SELECTBLOB", "1", "so is the digit"},
        {"SET PROPERTY batchindex = 'no'", "batchindex", "true", "SQL_BATCHINDEX", "1", "and the word no"},
        {"SET PROPERTY LazyIndex = TRUE", "lazyindex", "true", "SQL_LAZYINDEX", "1", "names in any case"},
        {"SET PROPERTY lazyindex = NULL", "lazyindex", "true", "SQL_LAZYINDEX", "1",
         "NULL is the empty text"},
        {"SET PROPERTY loglevel = 9", "loglevel", "9", "WELKSQL_LOG", "5",
         "the number is echoed, the level is limited"},
        {"SET PROPERTY loglevel = '-2'", "loglevel", "-2", "WELKSQL_LOG", "0", "a sign needs a text"},
        {"SET PROPERTY loglevel = '3x'", "loglevel", "3", "WELKSQL_LOG", "3", "the decimal prefix"},
        {"SET PROPERTY logging = TRUE", "logging", "true", "WELKSQL_LOG", "3",
         "stored as 3, whatever this call logs"},
        {"SET PROPERTY logging = FALSE", "logging", "false", "WELKSQL_LOG", "0", "off"},
    };
    for (const auto& row : rows) {
        fakeKernel() = FakeKernel();
        Request request(row.statement);
        EXPECT_EQ(execsql(&request.data, nullptr), 1) << row.reason;
        EXPECT_EQ(request.document(), propertyDocument(row.name, row.answer)) << row.reason;
        EXPECT_EQ(fakeKernel().settings[row.setting], row.stored) << row.reason;
    }
}

TEST_F(Property, GetReadsTheStore) {
    const struct {
        const char *setting, *value, *statement, *name, *answer;
    } rows[] = {
        {"SQL_LAZYINDEX", nullptr, "GET PROPERTY lazyindex", "lazyindex", "false"},
        {"SQL_LAZYINDEX", "1", "GET PROPERTY LAZYINDEX", "lazyindex", "true"},
        {"SQL_SELECTTEXT", "true", "GET PROPERTY selecttext", "selecttext", "false"},
        {"SQL_SELECTBLOB", "11", "GET PROPERTY selectblob", "selectblob", "false"},
        {"WELKSQL_LOG", "2", "GET PROPERTY loglevel", "loglevel", "2"},
        {"WELKSQL_LOG", "2", "GET PROPERTY logging", "logging", "true"},
        {"WELKSQL_LOG", nullptr, "GET PROPERTY logging", "logging", "false"},
    };
    for (const auto& row : rows) {
        fakeKernel().settings.clear();
        if (row.value != nullptr) fakeKernel().settings[row.setting] = row.value;
        Request request(row.statement);
        EXPECT_EQ(execsql(&request.data, nullptr), 1) << row.statement;
        EXPECT_EQ(request.document(), propertyDocument(row.name, row.answer)) << row.statement;
    }
}

TEST_F(Property, UnknownNamesAreAFaultWithItsOwnRoles) {
    for (const char* statement : {"GET PROPERTY Colour", "SET PROPERTY COLOUR = 1"}) {
        Request request(statement);
        EXPECT_EQ(execsql(&request.data, nullptr), 0);
        EXPECT_EQ(request.document(), faultDocument("0", "WSQLFilter::ExecuteProperty", "execution",
                                                    "Unknown property \"colour\"."));
    }
}

TEST_F(Property, RawValuesHoldForOneScopeOfOneCall) {
    fakeKernel().settings["SQL_SELECTBLOB"] = "1";
    wsql::WSQLFilter filter(nullptr);
    EXPECT_FALSE(filter.selectText());
    {
        const wsql::WSQLFilter::RawValues outer(filter);
        { const wsql::WSQLFilter::RawValues inner(filter); }
        EXPECT_TRUE(filter.selectText());
        EXPECT_EQ(fakeKernel().settings.count("SQL_SELECTTEXT"), 0U) << "the store is not touched";
    }
    EXPECT_FALSE(filter.selectText());
    EXPECT_TRUE(filter.selectBlob());
    filter.setSelectBlob(false);
    EXPECT_EQ(fakeKernel().settings["SQL_SELECTBLOB"], "0");
}

TEST_F(Property, EmptySearchesAreAllowedInTheSessionsWords) {
    Request request("x");
    wsql::WSQLFilter filter(&request.data);
    EXPECT_TRUE(filter.UseZeroSearchSets());
    ASSERT_EQ(fakeKernel().commands.size(), 1U);
    EXPECT_EQ(fakeKernel().commands[0], "wDEF wFIN wMIN=0");
    fakeKernel().cclStatus = WDB_E_CCL_SYNTAX;
    EXPECT_FALSE(filter.UseZeroSearchSets());
    EXPECT_EQ(request.data.status, WDB_E_CCL_SYNTAX);
    EXPECT_NE(
        request.document().find("faultSource=\"WSQLFilter\"\r\n      faultContext=\"UseZeroSearchSets\""),
        std::string::npos);
}

}  // namespace
