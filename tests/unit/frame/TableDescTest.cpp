#include <gtest/gtest.h>

#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

namespace {

class TableDesc : public testing::Test {
protected:
    void SetUp() override { fakeKernel() = FakeKernel(); }
};

TEST_F(TableDesc, NeedsATableName) {
    Request request("TABLE=t\n", 0);
    EXPECT_EQ(sqlgettabledesc(&request.data, nullptr), 0);
    EXPECT_STREQ(request.data.message, "Missing filter argument: \"TABLENAME\".");
    EXPECT_NE(request.document().find("faultContext=\"WSQLFilter::getTableDesc\""), std::string::npos);
    EXPECT_EQ(request.data.wdb_options, 0U);
}

TEST_F(TableDesc, GivesOnlyTheStatusWhenTheSelectionFails) {
    const struct {
        const char* text;
        std::int32_t status;
        const char* reason;
    } rows[] = {{"TABLENAME=t\n", WDB_E_UNSUPPORTED, "the dictionary cannot be asked"},
                {"TABLENAME=a\"b'c`d\n", 0, "a name that no quotes can hold"},
                {"TABLENAME=a\\\n", 0, "a name that would eat its quote"}};
    for (const auto& row : rows) {
        Request request(row.text, 1);
        char host[] = "host";
        request.data.output = host;
        request.data.outputLength = 4;
        EXPECT_EQ(sqlgettabledesc(&request.data, nullptr), row.status) << row.reason;
        EXPECT_EQ(request.data.output, host) << row.reason;
        EXPECT_EQ(request.data.outputLength, 4) << row.reason;
        EXPECT_EQ(request.text(), row.text) << "no type line without a document";
        EXPECT_EQ(request.data.wdb_options, 36U) << row.reason;
        request.data.output = nullptr;
    }
}

}  // namespace
