#pragma once

#include <chrono>
#include <cstdint>

namespace host {

// One line on a terminal that says how far a file has been read; nothing where standard error is no terminal.
class Progress {
public:
    explicit Progress(std::int64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    // Cheap: draws about ten times a second.
    void show(std::int64_t done, std::int64_t records);
    // What comes after reading, without a measure.
    void say(const char* what);
    void clear();

private:
    std::int64_t total_;
    bool terminal_, drawn_ = false;
    std::chrono::steady_clock::time_point last_;
};

}  // namespace host
