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

void Progress::show(std::int64_t done, std::int64_t records) {
    if (!terminal_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - last_ < kBetween) return;
    last_ = now;
    const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
    const int filled = static_cast<int>(part * kCells);
    std::string bar;
    for (int i = 0; i < kCells; ++i) bar += i < filled ? "█" : "░";
    std::fprintf(stderr, "\r%s %3d %%  %s records\x1b[K", bar.c_str(), static_cast<int>(part * 100),
                 grouped(records).c_str());
    std::fflush(stderr);
    drawn_ = true;
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
