#pragma once

#include <chrono>
#include <cstdint>
#include <string>

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
    // The same for a job of the kernel that counts in a measure of its own.
    void draw(const std::string& what, std::int64_t done, std::int64_t total);
    // What comes after reading, without a measure.
    void say(const char* what);
    void clear();

private:
    bool due();
    void bar(double part, const std::string& text);

    std::int64_t total_;
    bool terminal_, drawn_ = false;
    std::chrono::steady_clock::time_point last_;
};

}  // namespace host
