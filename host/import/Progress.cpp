#include "host/import/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "host/format/Formatter.h"

namespace host {

namespace {
constexpr int kCells = 30;
constexpr auto kBetween = std::chrono::milliseconds(100);
}  // namespace

Progress::Progress(std::int64_t total)
    : total_(std::max<std::int64_t>(total, 1)),
      terminal_(::isatty(STDERR_FILENO) == 1),
      last_(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
    clear();
}

bool Progress::due() {
    if (!terminal_) return false;
    const auto now = std::chrono::steady_clock::now();
    if (now - last_ < kBetween) return false;
    last_ = now;
    return true;
}

void Progress::bar(double part, const std::string& text) {
    part = std::clamp(part, 0.0, 1.0);
    const int filled = static_cast<int>(part * kCells);
    std::string cells;
    for (int i = 0; i < kCells; ++i) cells += i < filled ? "█" : "░";
    std::fprintf(stderr, "\r%s %3d %%  %s\x1b[K", cells.c_str(), static_cast<int>(part * 100), text.c_str());
    std::fflush(stderr);
    drawn_ = true;
}

void Progress::show(std::int64_t done, std::int64_t records) {
    if (due()) bar(static_cast<double>(done) / static_cast<double>(total_), grouped(records) + " records");
}

void Progress::draw(const std::string& what, std::int64_t done, std::int64_t total) {
    if (due()) bar(static_cast<double>(done) / static_cast<double>(std::max<std::int64_t>(total, 1)), what);
}

void Progress::say(const char* what) {
    if (!terminal_) return;
    std::fprintf(stderr, "\r%s\x1b[K", what);
    std::fflush(stderr);
    drawn_ = true;
}

void Progress::clear() {
    if (drawn_) std::fputs("\r\x1b[K", stderr);
    drawn_ = false;
}

}  // namespace host
