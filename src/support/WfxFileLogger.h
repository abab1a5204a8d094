// A log file: one line per call, flushed at once.
#pragma once

#include <cstdio>
#include <mutex>

#include "src/support/IWfxLogger.h"
#include "src/support/platform.h"

namespace wsql {

// Serialises its writes and its stream changes with its own lock, so that threads may share one. The lines
// are
//   [Thu Nov 21 02:27:00   ERROR] WSQLFilter::execSql: #8866 text
// the code only when it is not 0 and the line is a WARNING or worse; a text that holds no line feed gets one.
class WfxFileLogger : public IWfxLogger {
public:
    WfxFileLogger() = default;
    WfxFileLogger(const WfxFileLogger&) = delete;
    WfxFileLogger& operator=(const WfxFileLogger&) = delete;
    ~WfxFileLogger() override;

    void write(std::int32_t level, const char* source, std::int32_t code, const char* text) override;

    // Closes the present stream and opens the file. False, and nothing opened, at level 0 or when the system
    // refuses.
    bool open(const char* path, platform::LogMode mode);
    // Writes to a stream of the process; standard output and standard error are never closed.
    void attach(std::FILE* stream);
    void close();
    void setTimeStamp(bool on) { timeStamp_ = on; }

private:
    void closeLocked();

    bool timeStamp_ = true;
    std::FILE* stream_ = nullptr;
    std::mutex lock_;
};

}  // namespace wsql
