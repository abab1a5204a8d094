#include "src/support/CFilterBase.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "tests/unit/frame/FakeKernel.h"

namespace wsql {
namespace {

namespace fs = std::filesystem;

class TestFilter : public CFilterBase {
public:
    explicit TestFilter(FilterData* data, bool parse = false) : CFilterBase(data, parse) {}
    using CFilterBase::logFilePath;
    using CFilterBase::LogPathOptions;
};

class FilterBase : public testing::Test {
protected:
    void SetUp() override {
        fakeKernel() = FakeKernel();
        directory_ = fs::path(testing::TempDir()) / ("wsql_filterbase_" + std::to_string(getpid()));
        fs::remove_all(directory_);
        fs::create_directories(directory_);
        setenv("WDBS_LOG", (directory_.string() + "\\").c_str(), 1);
    }
    void TearDown() override {
        unsetenv("WDBS_LOG");
        fs::remove_all(directory_);
    }
    void request(std::string_view text, std::int32_t length) {
        text_.assign(text);
        data_.text = text_.data();
        data_.textLength = length;
    }
    std::string logged() const {
        std::stringstream text;
        for (const auto& entry : fs::directory_iterator(directory_))
            text << std::ifstream(entry.path()).rdbuf();
        return text.str();
    }
    std::size_t files() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(directory_), fs::directory_iterator()));
    }
    FilterData data_{};
    std::string text_;
    fs::path directory_;
};

TEST_F(FilterBase, ReadsArgumentLines) {
    const struct {
        std::string_view text;
        std::int32_t length;
        const char* name;
        const char* value;  // null: no such argument
        const char* reason;
    } rows[] = {
        {"FETCHKEY=abc\n", 13, "FETCHKEY", "abc", "a line"},
        {"FETCHKEY=abc", 12, "FETCHKEY", nullptr, "an argument must be ended"},
        {"fetchkey=abc\n", 13, "FetchKey", "abc", "names in any case"},
        {"FETCHKEY=a=b\n", 13, "FETCHKEY", "a=b", "split at the first ="},
        {"nothing\nA=1\n", 12, "A", "1", "a line without = is skipped"},
        {"A=1\nA=2\n", 8, "A", "1", "the first one counts"},
        {"A=\n", 3, "A", "", "an empty value is one"},
        {"A=1\r\n", 5, "A", "1\r", "a carriage return belongs to the value"},
        {"A=1\nB=2\n", 4, "B", nullptr, "nothing behind the length is read"},
        {std::string_view("A=1\n\0B=2\n", 9), 9, "B", nullptr, "the text ends at its NUL"},
        {"A=1\n", 0, "A", nullptr, "a length below 1 is no text"},
        {"A=1\n", -5, "A", nullptr, "a length below 1 is no text"},
    };
    for (const auto& row : rows) {
        request(row.text, row.length);
        TestFilter filter(&data_, true);
        const platform::HeapText value = filter.argument(row.name);
        EXPECT_STREQ(value.get(), row.value) << row.reason;
        CStringBuffer buffer("old");
        EXPECT_EQ(filter.argument(row.name, buffer), row.value != nullptr);
        EXPECT_STREQ(buffer.text(), row.value != nullptr ? row.value : "") << row.reason;
    }
    EXPECT_EQ(TestFilter(nullptr, true).argument("A"), nullptr);
}

TEST_F(FilterBase, WritesNothingAtLevelZero) {
    TestFilter filter(&data_);
    filter.setLevelSettingName("LEVEL");
    filter.setExplicitLevel(true);
    filter.startLogging("sqlfilter", true, true, false);
    filter.fatal("C", 1, "x");
    EXPECT_EQ(files(), 0U);
    EXPECT_EQ(filter.configurationPath(), directory_.string()) << "looked up when it is asked for";
    TestFilter unstarted(&data_);
    EXPECT_TRUE(unstarted.configurationPath().empty());
    unstarted.startLogging("/place/of/log", true, true, false);
    unstarted.startLogging("elsewhere\\log", true, true, false);
    EXPECT_EQ(unstarted.configurationPath(), "/place/of") << "the first name's directory stays";
}

TEST_F(FilterBase, LogsUpToItsLevelIntoAFileOfItsThread) {
    fakeKernel().settings["LEVEL"] = "4";
    {
        TestFilter filter(&data_);
        filter.setLevelSettingName("LEVEL");
        filter.setExplicitLevel(true);
        filter.startLogging("sqlfilter", true, true, false);
        filter.info("C", "said %s\n", "100%d");
        filter.debug("C", "unsaid\n");
        filter.error("C", 8866, "bad\n");
        EXPECT_EQ(filter.configurationPath(), directory_.string());
    }
    const std::string name =
        "sqlfilter_" + std::to_string(getpid()) + "_" + std::to_string(gettid()) + ".log";
    EXPECT_TRUE(fs::exists(directory_ / name)) << "a trailing separator of either kind is removed";
    const std::string text = logged();
    EXPECT_NE(text.find("   INFO] FilterBase: Logging started.\n"), std::string::npos) << text;
    EXPECT_NE(text.find("   INFO] C: said 100%d\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  ERROR] C: #8866 bad\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("unsaid"), std::string::npos);
    EXPECT_EQ(text.find("Logfile is"), std::string::npos) << "only at level 5";
}

TEST_F(FilterBase, TakesOnlySixLevels) {
    const struct {
        const char* value;
        std::int32_t level;
    } rows[] = {{"0", 0}, {"3", 3}, {"5", 5}, {"9", 0}, {"-1", 0}, {"x", 0}, {"", 0}};
    for (const auto& row : rows) {
        fakeKernel().settings["LEVEL"] = row.value;
        TestFilter filter(&data_);
        filter.setLevelSettingName("LEVEL");
        filter.setExplicitLevel(true);
        EXPECT_EQ(filter.logLevel(), row.level) << row.value;
    }
}

TEST_F(FilterBase, AnnouncesALevelThatItFinds) {
    fakeKernel().settings["LEVEL"] = "4";
    TestFilter filter(&data_);
    filter.setLevelSettingName("LEVEL");
    filter.setExplicitLevel(true);
    filter.startLogging("l", false, false, false);
    fakeKernel().settings["LEVEL"] = "3";
    filter.setExplicitLevel(false);
    fakeKernel().settings["LEVEL"] = "7";
    filter.evaluateLevel();
    EXPECT_EQ(filter.logLevel(), 0);
    const std::string text = logged();
    EXPECT_NE(text.find("   INFO] FilterBase: Trying to obtain log level setting.\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("WARNING] FilterBase: Log level is set to log errors and warnings.\n"),
              std::string::npos);
    EXPECT_NE(text.find("   INFO] FilterBase: Log level is set to no logging.\n"), std::string::npos);
}

TEST_F(FilterBase, NamesItsLogFiles) {
    const std::string pid = std::to_string(getpid());
    EXPECT_EQ(TestFilter::logFilePath("/d/", "n", {".txt", true, false, false}), "/d/n_" + pid + ".txt");
    EXPECT_EQ(TestFilter::logFilePath("/", "n", {nullptr, false, false, false}), "/n.log");
    EXPECT_EQ(TestFilter::logFilePath("", "n", {"", false, false, false}), directory_.string() + "/n.log");
    EXPECT_EQ(TestFilter::logFilePath("d", "n", {"log", false, false, true}).size(),
              std::string("d/n_.log").size() + 17);
}

TEST_F(FilterBase, SwitchesLoggingWithItsErrorLog) {
    fakeKernel().settings["WDBS_LOG"] = directory_.string();
    fakeKernel().messages[610] = "base not available";
    std::strcpy(data_.message, "!");
    TestFilter filter(&data_);
    filter.setLevelSettingName("LEVEL");
    filter.setLogging(true);
    EXPECT_EQ(filter.logLevel(), 5);
    EXPECT_EQ(fakeKernel().settings["LEVEL"], "3");
    EXPECT_EQ(filter.message(610, nullptr), 610);
    EXPECT_EQ(filter.messageToStatus(612, "F"), 612);
    EXPECT_EQ(data_.status, 612);
    std::ifstream file(directory_ / ("_" + std::to_string(getpid()) + ".log"));
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_EQ(text.str(), "Error #610 in WELKxml: base not available!\nError #612 in F: !\n");
    filter.setLogging(false);
    EXPECT_EQ(filter.logLevel(), 0);
    EXPECT_EQ(fakeKernel().settings["LEVEL"], "0");
}

TEST_F(FilterBase, LooksIntoItsConfigurationFileFirst) {
    const std::string path = (directory_ / "c").string();
    std::ofstream(path) << "A=file\n";
    fakeKernel().settings["A"] = "kernel";
    fakeKernel().settings["B"] = "kernel";
    TestFilter filter(&data_);
    CStringBuffer value(16);
    EXPECT_FALSE(filter.setConfigFile(path.c_str())) << "the outcome is turned round";
    EXPECT_TRUE(filter.setting("A", true, value));
    EXPECT_EQ(value.view(), "file");
    EXPECT_TRUE(filter.setting("B", true, value));
    EXPECT_EQ(value.view(), "kernel");
    EXPECT_FALSE(filter.setting("B", false, value));
    EXPECT_TRUE(value.empty());
    EXPECT_TRUE(filter.setConfigFile("/no/such/file"));
    EXPECT_TRUE(filter.setting("A", true, value));
    EXPECT_EQ(value.view(), "kernel");
}

TEST_F(FilterBase, CutsMessagesAndToleratesANullRecord) {
    TestFilter filter(&data_);
    filter.setMessage(std::string(300, 'm').c_str());
    EXPECT_EQ(std::strlen(data_.message), 255U);
    filter.setMessage("ab", 1);
    EXPECT_STREQ(data_.message, "a");
    TestFilter none(nullptr);
    none.setMessage("x");
    none.setStatus(1);
    EXPECT_EQ(none.status(), 0);
    EXPECT_EQ(none.callAse("r", "a", nullptr, nullptr), WDB_E_ASE);
}

}  // namespace
}  // namespace wsql
