#pragma once

#include <stdlib.h>

#include <filesystem>
#include <string>

// A directory of its own for a test, removed with everything in it.
class TempDirectory {
public:
    TempDirectory() {
        std::string path = (std::filesystem::temp_directory_path() / "wdb-test-XXXXXX").string();
        path_ = ::mkdtemp(path.data()) == nullptr ? std::string() : path;
    }
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;
    ~TempDirectory() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};
