#include <gtest/gtest.h>

#include "src/WSQLFilter.h"
#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

namespace wsql {
namespace {

class Answers : public testing::Test {
protected:
    void SetUp() override { fakeKernel() = FakeKernel(); }
    Request request{"x"};
    WSQLFilter filter{&request.data};
    FilterData& data = request.data;
};

TEST_F(Answers, SuccessWithAndWithoutText) {
    filter.ReportSuccess(nullptr);
    EXPECT_EQ(request.document(), successDocument(""));
    EXPECT_EQ(data.status, 1);
    EXPECT_STREQ(data.message, "");
    filter.ReportSuccess("The table \"%s\" was successfully created.", "x<%d>");
    EXPECT_EQ(request.document(), successDocument("The table \"x<%d>\" was successfully created."));
    EXPECT_STREQ(data.message, "The table \"x<%d>\" was successfully created.");
    EXPECT_EQ(data.output[data.outputLength], '\0');
}

TEST_F(Answers, LongTextsReachTheDocumentOnly) {
    const struct {
        std::size_t length;
        bool inMessage;
    } rows[] = {{254, true}, {255, true}, {256, false}, {300, false}};
    for (const auto& row : rows) {
        const std::string text(row.length, 'm');
        filter.ReportSuccess("%s", text.c_str());
        EXPECT_EQ(request.document(), successDocument(text));
        EXPECT_EQ(data.message, row.inMessage ? text : "") << row.length;
        filter.ReportFault(0, text.data(), static_cast<std::int32_t>(row.length), "WSQLFilter", 1, "C");
        EXPECT_EQ(request.document(), faultDocument("0", "WSQLFilter:1", "C", text));
        EXPECT_EQ(data.message, row.inMessage ? text : "Fault in SQL processing.") << row.length;
    }
    filter.ReportSuccess("%s", std::string(10000, 's').c_str());
    EXPECT_EQ(request.document(), successDocument(std::string(8191, 's'))) << "cut at the size of its buffer";
}

TEST_F(Answers, FaultsNameTheirUnitAndLine) {
    const struct {
        const char *path, *source;
    } rows[] = {{"src/WSQLFilter", "WSQLFilter:656"},
                {"d:\\work\\WSQLFilter", "WSQLFilter:656"},
                {"a\\b/WSQLFilter", "WSQLFilter:656"},
                {"a/b\\WSQLFilter", "WSQLFilter:656"},
                {"WSQLFilter", "WSQLFilter:656"}};
    for (const auto& row : rows) {
        filter.ReportFault(0, "Statement not currently supported.", -1, row.path, 656, "WSQLFilter::execSql");
        EXPECT_EQ(request.document(),
                  faultDocument("0", row.source, "WSQLFilter::execSql", "Statement not currently supported."))
            << row.path;
        EXPECT_EQ(data.status, 0);
        EXPECT_STREQ(data.message, "Statement not currently supported.");
    }
}

TEST_F(Answers, FaultTextsAreCopiedAndNeverFormats) {
    filter.ReportFault(610, "Table \"%s\" <&> 100%", -1, "U", 1, "C");
    EXPECT_EQ(request.document(), faultDocument("610", "U:1", "C", "Table \"%s\" <&> 100%"));
    EXPECT_EQ(data.status, 1220);
    filter.ReportFault(1, "abcdef", 3, "U", 1, "C");
    EXPECT_EQ(request.document(), faultDocument("1", "U:1", "C", "abc"));
    EXPECT_EQ(data.status, 2);
    EXPECT_STREQ(data.message, "abc");
    for (const char* none : {"", static_cast<const char*>(nullptr)}) {
        filter.ReportFault(2, none, -1, "U", 1, "C");
        EXPECT_EQ(request.document(), faultDocument("2", "U:1", "C", "Unknown error parsing SQL statement."));
        EXPECT_STREQ(data.message, "Fault in SQL processing.");
    }
    filter.WriteFaultDocument(static_cast<std::uint32_t>(-6), "x", -1, "S", "C");
    EXPECT_EQ(request.document(), faultDocument("-6", "S", "C", "x")) << "codes are written signed";
}

TEST_F(Answers, KernelErrorsCarryTheKernelsTextAndCode) {
    fakeKernel().messages[610] = "base not available";
    filter.ReportKernelError(610, "WdbSetBase", "WSQLFilter::F");
    EXPECT_EQ(request.document(), faultDocument("610", "WdbSetBase", "WSQLFilter::F", "base not available"));
    EXPECT_EQ(data.status, 610) << "not doubled";
    EXPECT_EQ(filter.lastStatus(), 610);
    EXPECT_STREQ(data.message, "base not available");
    filter.ReportKernelError(9994, "execution", "F");
    EXPECT_EQ(request.document(),
              faultDocument("9994", "execution", "F",
                            "Unknown WELK error #9994 (source=\"execution\", context=\"F\")."));
    filter.ReportKernelError(-1, "execution", "F");
    EXPECT_EQ(data.status, 0) << "no failure looks like a success";
}

TEST_F(Answers, TheLastAnswerWinsAndTheHostGetsOne) {
    EXPECT_FALSE(filter.answered());
    filter.ReportFault(0, "first", -1, "U", 1, "C");
    EXPECT_TRUE(filter.answered());
    filter.ReportSuccess("second");
    EXPECT_EQ(request.document(), successDocument("second"));
    EXPECT_EQ(data.status, 1);
    CStringBuffer empty(16);
    filter.SetAnswer(empty);
    EXPECT_EQ(data.outputLength, 0);
    EXPECT_STREQ(data.output, "");
}

TEST_F(Answers, LeaveTheHostsOwnPointerAlone) {
    char own[] = "host memory";
    data.output = own;
    filter.ReportSuccess(nullptr);
    EXPECT_STREQ(own, "host memory");
    EXPECT_EQ(request.document(), successDocument(""));
}

TEST_F(Answers, AnExceptionBecomesAFault) {
    EXPECT_EQ(filter.AnswerException("WSQLFilter::execSql"), 0);
    EXPECT_EQ(request.document(),
              faultDocument("0", "execution", "WSQLFilter::execSql", "Fault in SQL processing."));
    EXPECT_EQ(WSQLFilter::AnswerWithoutDocument(&data), 0);
    EXPECT_STREQ(data.message, "Fault in SQL processing.");
}

TEST(AnswersWithoutRecord, AreDropped) {
    WSQLFilter filter(nullptr);
    filter.ReportSuccess("x");
    filter.ReportFault(0, "x", -1, "U", 1, "C");
    EXPECT_EQ(filter.AnswerException("C"), 8866);
    EXPECT_EQ(WSQLFilter::AnswerWithoutDocument(nullptr), 8866);
}

}  // namespace
}  // namespace wsql
