#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdlib>

#include <filesystem>
#include <fstream>

#include "src/support/ConfigFile.h"
#include "src/support/SettingsFile.h"
#include "src/support/text.h"

namespace wsql {
namespace {

namespace fs = std::filesystem;

class Settings : public testing::Test {
protected:
    void SetUp() override {
        directory_ = fs::path(testing::TempDir()) / ("wsql_settings_" + std::to_string(getpid()));
        fs::remove_all(directory_);
        fs::create_directories(directory_ / "more.conf");
    }
    void TearDown() override { fs::remove_all(directory_); }
    std::string put(const std::string& name, const std::string& text) const {
        std::ofstream(directory_ / name) << text;
        return (directory_ / name).string();
    }
    fs::path directory_;
};

TEST_F(Settings, LooksUpLinesOfTheInstallation) {
    const auto lines =
        readSettingsLines(put("s",
                              "OTHER=1\nWDBS_Log=/var/log  # here\nnothing\nwdbs_log=second\nE=\n"
                              "H=#x\nT=a b \t\r\n")
                              .c_str());
    ASSERT_TRUE(lines.has_value());
    EXPECT_EQ(findSetting(*lines, "WDBS_LOG"), "/var/log");
    EXPECT_EQ(findSetting(*lines, "E"), "");
    EXPECT_EQ(findSetting(*lines, "H"), "");
    EXPECT_EQ(findSetting(*lines, "T"), "a b");
    EXPECT_EQ(findSetting(*lines, "nothing"), std::nullopt);
    EXPECT_EQ(readSettingsLines("/no/such/file"), std::nullopt);
    EXPECT_EQ(readSettingsLines(directory_.c_str()), std::nullopt) << "a directory opens but cannot be read";
}

TEST_F(Settings, TakesTheEnvironmentFirst) {
    setenv("WSQL_TEST_SETTING", "from environment", 1);
    EXPECT_EQ(settingsFileValue("WSQL_TEST_SETTING"), "from environment");
    unsetenv("WSQL_TEST_SETTING");
    EXPECT_EQ(settingsFileValue("WSQL_TEST_SETTING"), std::nullopt);
}

TEST_F(Settings, ReadsConfigurationFilesWithTheirIncludes) {
    put("b.conf", "key=late\nnew=b\n");
    put("a.conf", "new=a\n");
    put("c.txt", "key=never\n");
    const std::string path = put(
        "main", "# comment\n'x=1\n;x=1\n//x=1\n  key = value = 2 \nbare\nConfigDir=" + directory_.string() +
                    "\n[Section]\nkey=in section\n");
    ConfigFile file;
    ASSERT_TRUE(file.read(path.c_str()));
    const auto value = [&](const char* section, const char* key) {
        const std::string* found = file.find(section, key);
        return found != nullptr ? *found : "(none)";
    };
    EXPECT_EQ(value("", "key"), "value = 2");
    EXPECT_EQ(value("", "bare"), "");
    EXPECT_EQ(value("", "x"), "(none)");
    EXPECT_EQ(value("", "Key"), "(none)") << "keys compare exactly";
    EXPECT_EQ(value("Section", "key"), "in section");
    EXPECT_EQ(value("", "new"), "a") << "included files in name order";
    EXPECT_FALSE(file.read("/no/such/file"));
    EXPECT_EQ(value("", "key"), "(none)");
}

TEST(Text, ReadsDecimalPrefixes) {
    const struct {
        const char* text;
        std::int32_t number;
    } rows[] = {{"5", 5},
                {" -2x", -2},
                {"+7", 7},
                {"", 0},
                {"x", 0},
                {"3.9", 3},
                {"- 1", 0},
                {"4294967296", INT32_MAX},
                {"-99999999999999999999", INT32_MIN},
                {"2147483647", INT32_MAX},
                {"-2147483648", INT32_MIN}};
    for (const auto& row : rows) EXPECT_EQ(decimalPrefix(row.text), row.number) << row.text;
}

TEST(Text, ComparesNamesByAsciiCase) {
    EXPECT_TRUE(equalNames("Name_1", "nAME_1"));
    EXPECT_FALSE(equalNames("Name", "Names"));
    EXPECT_FALSE(equalNames("\xC4", "\xE4"));
    EXPECT_FALSE(equalNames("[", "{"));
}

}  // namespace
}  // namespace wsql
