#include <gtest/gtest.h>

#include "src/WSQLFilter.h"
#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

namespace {

using Export = std::int32_t (*)(FilterData*, void*);

class Exports : public testing::Test {
protected:
    void SetUp() override { fakeKernel() = FakeKernel(); }
};

TEST_F(Exports, RefuseANullRecord) {
    for (const Export function : {execsql, sqlgetencoding, sqlgetobject, sqlsetobject, sqlgettabledesc}) {
        EXPECT_EQ(function(nullptr, nullptr), 8866);
    }
}

TEST_F(Exports, CheckTheOptionMask) {
    constexpr const char* kBadMask = "Invalid filter invocation - bad wdb_options mask.";
    const struct {
        Export function;
        std::uint32_t options;
        const char* text;
        std::int32_t status;
        const char* message;
        const char* reason;
    } rows[] = {
        {execsql, 0, "COMMIT", 8866, kBadMask, "no style at all"},
        {execsql, 8, "COMMIT", 8866, kBadMask, "an unknown bit"},
        {execsql, 32, "COMMIT", 8866, kBadMask, "allocation alone is no style"},
        {execsql, 1, "COMMIT", 1, "", "value 1 will do"},
        {execsql, 2, "COMMIT", 1, "", "value 2 will do"},
        {execsql, 4, "COMMIT", 1, "", "value 4 will do"},
        {sqlgetobject, 3, "FETCHKEY=x\n", 8866, kBadMask, "objects need value 4"},
        {sqlgetobject, 32, "FETCHKEY=x\n", 8866, kBadMask, "objects need value 4"},
        {sqlsetobject, 0, "", 0, "Missing or invalid filter argument: \"TABLE\".", "any mask will do"},
    };
    for (const auto& row : rows) {
        Request request(row.text, row.options);
        EXPECT_EQ(row.function(&request.data, nullptr), row.status) << row.reason;
        EXPECT_EQ(request.data.status, row.status) << row.reason;
        EXPECT_STREQ(request.data.message, row.message) << row.reason;
        EXPECT_EQ(request.data.output == nullptr, row.status == 8866) << row.reason;
        EXPECT_TRUE(request.hostAreaUntouched());
    }
}

TEST_F(Exports, TellTheEncodingForExactlyOneMask) {
    for (const std::uint32_t options : {36U, 4U, 32U, 37U, 0U}) {
        Request request("left alone", options);
        const bool right = options == 36;
        EXPECT_EQ(sqlgetencoding(&request.data, nullptr), right ? 1 : 0) << options;
        EXPECT_EQ(request.document(), right ? "UTF-8" : "(none)") << options;
        EXPECT_EQ(request.data.outputLength, right ? 5 : 0);
        EXPECT_STREQ(request.data.message, right ? ""
                                                 : "Filter invocation error: wdb_options must be set to "
                                                   "EXPORT_ALLOC|IEOPT_MEMORY.");
        EXPECT_EQ(request.text(), "left alone");
    }
}

TEST_F(Exports, ReadTheKernelsVersion) {
    const struct {
        const char* version;
        bool direct;
    } rows[] = {{"3.4-0:x", true}, {"3.3-9", false}, {"4.0-0:embedded", true},
                {"3.4-", false},   {"10.2-1", true}, {"3.4:0-9", false},
                {"", false},       {"x", false}};
    for (const auto& row : rows) {
        fakeKernel().version = row.version;
        EXPECT_EQ(wsql::WSQLFilter(nullptr).newCcl(), row.direct) << row.version;
    }
    fakeKernel().version = "4.0-0";
    fakeKernel().versionStatus = 0;
    EXPECT_FALSE(wsql::WSQLFilter(nullptr).newCcl());
}

}  // namespace
