#include <gtest/gtest.h>

#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

namespace {

class ObjectArguments : public testing::Test {
protected:
    void SetUp() override {
        fakeKernel() = FakeKernel();
        fakeKernel().tables["ART"] = {{"TEXT", 1, WDB_T_TEXT, 0},
                                      {"IMAGE", 2, WDB_T_STRING, 0},
                                      {"QTY", 3, WDB_T_INTEGER, 0},
                                      {"PARTTEXT", 4, WDB_T_TEXT, WDB_F_PART}};
    }
};

// The document with the line of its source, if it has one, taken out: only the unit is fixed there.
std::string withoutLine(std::string document) {
    const std::size_t colon = document.find("\"WSQLFilter:");
    if (colon == std::string::npos) return document;
    const std::size_t line = colon + std::strlen("\"WSQLFilter");
    return document.erase(line, document.find('"', line) - line);
}

TEST_F(ObjectArguments, GetNeedsAFetchKey) {
    const struct {
        const char *text, *fault, *source, *context, *reason;
    } rows[] = {
        {"", "Missing filter argument: \"FETCHKEY\".", "WSQLFilter", "WSQLFilter::getObject", "no argument"},
        {"FETCHKEY=abc", "Missing filter argument: \"FETCHKEY\".", "WSQLFilter", "WSQLFilter::getObject",
         "not ended"},
        {"fetchkey=abc\n", "Invalid fetch key \"abc\"", "SQLFilter::getObject", "validation", "found"},
    };
    for (const auto& row : rows) {
        Request request(row.text, 4);
        EXPECT_EQ(sqlgetobject(&request.data, nullptr), 0) << row.reason;
        EXPECT_EQ(withoutLine(request.document()), faultDocument("0", row.source, row.context, row.fault))
            << row.reason;
        EXPECT_STREQ(request.data.message, row.fault) << row.reason;
    }
}

TEST_F(ObjectArguments, SetChecksThemInOrder) {
    fakeKernel().messages[WDB_E_FIELD] = "no such field";
    fakeKernel().messages[WDB_E_UNSUPPORTED] = "not modelled";
    constexpr const char* kTable = "Missing or invalid filter argument: \"TABLE\".";
    constexpr const char* kColumn = "Missing filter argument: \"COLUMNNAME\" or \"COLUMNID\".";
    constexpr const char* kRecord = "Missing or invalid filter argument: \"RID\".";
    constexpr const char* kPart = "Missing or invalid filter argument: \"PART\".";
    const struct {
        const char* text;
        std::int32_t status;
        const char *fault, *reason;
    } rows[] = {
        {"", 0, kTable, "nothing given"},
        {"TABLE=\n", 0, kTable, "an empty name"},
        {"TABLE=NONE\nCOLUMNNAME=TEXT\nRID=1\n", 1220, "Table \"%s\" does not exist.",
         "the placeholder stays"},
        {"TABLE=ART\nRID=1\n", 0, kColumn, "no column"},
        {"TABLE=ART\nCOLUMNNAME=NONE\nRID=1\n", WDB_E_FIELD, "no such field",
         "the kernel's error, not doubled"},
        {"TABLE=ART\nCOLUMNID=9\nRID=1\n", WDB_E_FIELD, "no such field", "by number too"},
        {"TABLE=ART\nCOLUMNNAME=QTY\nRID=1\n", 0,
         "Column \"QTY\" in table \"ART\" is of an incompatible type. Must be LONG VARCHAR or LONG "
         "VARBINARY.",
         "its type"},
        {"TABLE=ART\nCOLUMNID=3\nRID=1\n", 0,
         "Column \"QTY\" in table \"ART\" is of an incompatible type. Must be LONG VARCHAR or LONG "
         "VARBINARY.",
         "a number's name is found"},
        {"TABLE=ART\nCOLUMNNAME=R\nRID=1\n", 0,
         "Column \"R\" in table \"ART\" is of an incompatible type. Must be LONG VARCHAR or LONG VARBINARY.",
         "the row identifier holds no object"},
        {"TABLE=ART\nCOLUMNNAME=TEXT\nCOLUMNID=3\nRID=0\n", 0, kRecord, "the name goes before the number"},
        {"TABLE=ART\nCOLUMNID= 2x\n", 0, kRecord, "no record"},
        {"TABLE=ART\nCOLUMNNAME=TEXT\nRID=-1\n", 0, kRecord, "below 1"},
        {"TABLE=ART\nCOLUMNNAME=TEXT\nRID=x\n", 0, kRecord, "no number"},
        {"TABLE=ART\nCOLUMNNAME=PARTTEXT\nRID=1\n", 0, kPart, "a part field needs its part"},
        {"TABLE=ART\nCOLUMNNAME=PARTTEXT\nRID=1\nPART=0\n", 0, kPart, "below 1"},
        {"TABLE=ART\nCOLUMNNAME=PARTTEXT\nRID=1\nPART=2\n", WDB_E_UNSUPPORTED, "not modelled",
         "complete: the search was made"},
        {"TABLE=ART\nCOLUMNNAME=IMAGE\nRID=1\n", WDB_E_UNSUPPORTED, "not modelled",
         "complete without a part"},
    };
    for (const auto& row : rows) {
        Request request(row.text, 0);
        EXPECT_EQ(sqlsetobject(&request.data, nullptr), row.status) << row.reason;
        EXPECT_STREQ(request.data.message, row.fault) << row.reason;
        EXPECT_EQ(request.text(), row.text) << row.reason;
        EXPECT_EQ(fakeKernel().saves, fakeKernel().loads);
    }
    const auto& commands = fakeKernel().commands;
    ASSERT_GE(commands.size(), 2U);
    EXPECT_EQ(commands[commands.size() - 2], "wBAS ART");
    EXPECT_EQ(commands.back(), "wFIN wRXX=1");
}

TEST_F(ObjectArguments, SetNamesThePhaseOfAColumnThatIsMissing) {
    fakeKernel().messages[WDB_E_FIELD] = "no such field";
    Request request("TABLE=ART\nCOLUMNNAME=NONE\n", 0);
    sqlsetobject(&request.data, nullptr);
    EXPECT_EQ(request.document(), faultDocument(std::to_string(WDB_E_FIELD), "validation",
                                                "WSQLFilter::setObject", "no such field"));
}

}  // namespace
