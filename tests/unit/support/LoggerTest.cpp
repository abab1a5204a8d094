#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "src/support/WfxFileLogger.h"

namespace wsql {
namespace {

class Logger : public testing::Test {
protected:
    void SetUp() override {
        path_ = testing::TempDir() + "wsql_logger_" + std::to_string(getpid()) + ".log";
        std::remove(path_.c_str());
    }
    void TearDown() override { std::remove(path_.c_str()); }
    std::string written() const {
        std::ifstream file(path_);
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }
    std::string path_;
};

TEST_F(Logger, WritesOneFormOfLine) {
    WfxFileLogger logger;
    EXPECT_FALSE(logger.open(path_.c_str(), platform::LogMode::kAppend)) << "level 0 opens nothing";
    EXPECT_TRUE(written().empty());
    logger.setLevel(kLogDebug);
    ASSERT_TRUE(logger.open(path_.c_str(), platform::LogMode::kAppend));
    logger.setTimeStamp(false);
    logger.error("WSQLFilter::execSql", 8866, "text %s", "%d");
    logger.info("", "%s\n", "line");
    logger.write(kLogInfo, "S", 5, "code never shown");
    logger.warning("S", -7, "two\nlines");
    logger.fatal("S", 0, "f\n");
    logger.write(0, "S", 3, "none\n");
    EXPECT_EQ(written(),
              "[  ERROR] WSQLFilter::execSql: #8866 text %d\n"
              "[   INFO] line\n"
              "[   INFO] S: code never shown\n"
              "[WARNING] S: #-7 two\nlines"
              "[  FATAL] S: f\n"
              "[       ] S: #3 none\n");
}

TEST_F(Logger, KeepsToItsLevel) {
    WfxFileLogger logger;
    logger.setTimeStamp(false);
    logger.setLevel(kLogInfo);
    ASSERT_TRUE(logger.open(path_.c_str(), platform::LogMode::kTruncate));
    logger.debug("S", "not this\n");
    logger.info("S", "this\n");
    logger.setLevel(kLogError);
    logger.warning("S", 0, "not this\n");
    logger.error("S", 0, "and this\n");
    EXPECT_EQ(written(), "[   INFO] S: this\n[  ERROR] S: and this\n");
}

TEST_F(Logger, CutsLongTextsAndKeepsTheirLineEnd) {
    WfxFileLogger logger;
    logger.setTimeStamp(false);
    logger.setLevel(kLogInfo);
    ASSERT_TRUE(logger.open(path_.c_str(), platform::LogMode::kTruncate));
    logger.info("", "%s\n", (std::string("a\n") + std::string(9000, 'x')).c_str());
    const std::string text = written();
    EXPECT_EQ(text.size(), std::string("[   INFO] ").size() + 8191 + 1);
    EXPECT_EQ(text.back(), '\n');
}

TEST_F(Logger, StampsLinesInAFixedForm) {
    WfxFileLogger logger;
    logger.setLevel(kLogInfo);
    ASSERT_TRUE(logger.open(path_.c_str(), platform::LogMode::kTruncate));
    logger.info("S", "x\n");
    EXPECT_THAT(written(), testing::MatchesRegex("\\[(Mon|Tue|Wed|Thu|Fri|Sat|Sun) [A-Z][a-z]{2} [ 1-3][0-9] "
                                                 "[0-9]{2}:[0-9]{2}:[0-9]{2}    INFO\\] S: x\n"));
    EXPECT_EQ(platform::logTimeText({2024, 11, 21, 2, 27, 0, 0, 4}), "Thu Nov 21 02:27:00");
}

TEST_F(Logger, OpensItsFileForTheOwnerAloneAndThroughNoLink) {
    WfxFileLogger logger;
    logger.setLevel(kLogInfo);
    ASSERT_TRUE(logger.open(path_.c_str(), platform::LogMode::kAppend));
    struct stat info {};
    ASSERT_EQ(stat(path_.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0600U);
    const std::string link = path_ + ".link";
    std::remove(link.c_str());
    ASSERT_EQ(symlink(path_.c_str(), link.c_str()), 0);
    EXPECT_FALSE(logger.open(link.c_str(), platform::LogMode::kAppend));
    std::remove(link.c_str());
    ASSERT_EQ(mkfifo(link.c_str(), 0600), 0);
    EXPECT_FALSE(logger.open(link.c_str(), platform::LogMode::kAppend)) << "nobody waits for a pipe's reader";
    std::remove(link.c_str());
}

}  // namespace
}  // namespace wsql
