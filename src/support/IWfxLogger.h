// What a log is to the engine: leveled lines, each with a source and, for failures, a code.
#pragma once

#include <cstdarg>
#include <cstdint>

namespace wsql {

enum LogLevel : std::int32_t {
    kLogNone = 0,
    kLogFatal = 1,
    kLogError = 2,
    kLogWarning = 3,
    kLogInfo = 4,
    kLogDebug = 5,
};

class IWfxLogger {
public:
    // Longest text of one line, its NUL included; longer ones are cut.
    static constexpr std::int32_t kTextSize = 8192;

    virtual ~IWfxLogger() = default;

    // Writes one line, whatever the logger's level. The text is written as it stands.
    virtual void write(std::int32_t level, const char* source, std::int32_t code, const char* text) = 0;
    virtual void setLevel(std::int32_t level) { level_ = level; }
    virtual std::int32_t getLevel() const { return level_; }

    // Written when the logger's level is at least the line's. Nothing is formatted otherwise.
    virtual void fatal(const char* source, std::int32_t code, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    virtual void error(const char* source, std::int32_t code, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    virtual void warning(const char* source, std::int32_t code, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    virtual void info(const char* source, const char* format, ...) __attribute__((format(printf, 3, 4)));
    virtual void debug(const char* source, const char* format, ...) __attribute__((format(printf, 3, 4)));

    // Formats one text, cut to kTextSize, and writes it whatever the logger's level. A text that is cut loses
    // its line feed with its end, and gets it back.
    void vwrite(LogLevel level, const char* source, std::int32_t code, const char* format,
                std::va_list arguments) __attribute__((format(printf, 5, 0)));

protected:
    std::int32_t level_ = kLogNone;
};

}  // namespace wsql
