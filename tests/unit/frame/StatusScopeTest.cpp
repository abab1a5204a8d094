#include "src/StatusScope.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "src/WSQLFilter.h"
#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

namespace wsql {
namespace {

class Scope : public testing::Test {
protected:
    void SetUp() override { fakeKernel() = FakeKernel(); }
};

TEST_F(Scope, RestoresOnceOnEveryWayOut) {
    WSQLFilter filter(nullptr);
    {
        StatusScope scope(filter, "WSQLFilter::F");
        EXPECT_EQ(fakeKernel().saves, 1);
        EXPECT_EQ(scope.restore(), WDB_OK);
        EXPECT_EQ(scope.restore(), WDB_OK);
    }
    EXPECT_EQ(fakeKernel().loads, 1);
    EXPECT_THROW(
        {
            StatusScope scope(filter, "WSQLFilter::F");
            throw std::runtime_error("on the way");
        },
        std::runtime_error);
    EXPECT_EQ(fakeKernel().loads, 2);
}

TEST_F(Scope, AnswersWhatCouldNotBeStored) {
    const struct {
        std::int32_t status;
        bool replaces;
    } rows[] = {{WDB_OK, false},
                {WDB_E_NO_STATUS, false},
                {WDB_E_NO_SESSION, false},
                {WDB_E_STORAGE, true},
                {WDB_E_CORRUPT, true}};
    for (const auto& row : rows) {
        fakeKernel().loadStatus = row.status;
        fakeKernel().messages[row.status] = "the kernel's text";
        Request request("x");
        {
            WSQLFilter filter(&request.data);
            StatusScope scope(filter, "WSQLFilter::ExecuteInsert");
            filter.ReportSuccess("stored");
        }
        EXPECT_EQ(request.document(), row.replaces
                                          ? faultDocument(std::to_string(row.status), "WdbLoadStatus",
                                                          "WSQLFilter::ExecuteInsert", "the kernel's text")
                                          : successDocument("stored"));
        EXPECT_EQ(request.data.status, row.replaces ? row.status : 1);
    }
}

}  // namespace
}  // namespace wsql
