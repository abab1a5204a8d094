// The log of the engine's work, at its most talkative.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

/// Filters that are made while it lives write their log into a directory of its own. The level is a setting
/// of the session: WELKSQL_LOG = 5.
class LogDirectory {
public:
    LogDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "welk_log_XXXXXX").string();
        directory_ = mkdtemp(pattern.data());
        setenv("WDBS_LOG", directory_.c_str(), 1);
    }
    LogDirectory(const LogDirectory&) = delete;
    LogDirectory& operator=(const LogDirectory&) = delete;
    ~LogDirectory() {
        unsetenv("WDBS_LOG");
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }
    /// Everything written by filters that are gone.
    std::string text() const {
        std::stringstream all;
        for (const auto& entry : std::filesystem::directory_iterator(directory_))
            all << std::ifstream(entry.path()).rdbuf();
        return all.str();
    }

private:
    std::string directory_;
};
