#include "src/support/WfxFileLogger.h"

#include <cstring>
#include <string>

namespace wsql {

namespace {

const char* levelWord(std::int32_t level) {
    switch (level) {
        case kLogFatal:
            return "  FATAL";
        case kLogError:
            return "  ERROR";
        case kLogWarning:
            return "WARNING";
        case kLogInfo:
            return "   INFO";
        case kLogDebug:
            return "  DEBUG";
        default:
            return "       ";
    }
}

}  // namespace

WfxFileLogger::~WfxFileLogger() {
    closeLocked();
}

void WfxFileLogger::write(std::int32_t level, const char* source, std::int32_t code, const char* text) {
    const std::lock_guard<std::mutex> guard(lock_);
    if (stream_ == nullptr) return;
    std::string line = "[";
    if (timeStamp_) line.append(platform::logTimeText(platform::localTime())).append(" ");
    line.append(levelWord(level)).append("] ");
    if (source != nullptr && *source != '\0') line.append(source).append(": ");
    if (code != 0 && level < kLogInfo) line.append("#").append(std::to_string(code)).append(" ");
    line.append(text);
    if (std::strchr(text, '\n') == nullptr) line.push_back('\n');
    std::fwrite(line.data(), 1, line.size(), stream_);
    std::fflush(stream_);
}

bool WfxFileLogger::open(const char* path, platform::LogMode mode) {
    if (level_ == kLogNone) return false;
    const std::lock_guard<std::mutex> guard(lock_);
    closeLocked();
    stream_ = platform::openLogFile(path, mode);
    return stream_ != nullptr;
}

void WfxFileLogger::attach(std::FILE* stream) {
    const std::lock_guard<std::mutex> guard(lock_);
    closeLocked();
    stream_ = stream;
}

void WfxFileLogger::close() {
    const std::lock_guard<std::mutex> guard(lock_);
    closeLocked();
}

void WfxFileLogger::closeLocked() {
    if (stream_ != nullptr && stream_ != stdout && stream_ != stderr) std::fclose(stream_);
    stream_ = nullptr;
}

}  // namespace wsql
