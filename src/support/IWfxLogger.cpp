#include "src/support/IWfxLogger.h"

#include <cstring>

#include "src/support/platform.h"

namespace wsql {

void IWfxLogger::vwrite(LogLevel level, const char* source, std::int32_t code, const char* format,
                        std::va_list arguments) {
    char text[kTextSize + 1];
    const int length = platform::formatText(text, kTextSize, format, arguments);
    if (length < 0) return;
    if (length >= kTextSize) std::memcpy(text + kTextSize - 1, "\n", 2);
    write(level, source, code, text);
}

void IWfxLogger::fatal(const char* source, std::int32_t code, const char* format, ...) {
    if (level_ < kLogFatal) return;
    std::va_list arguments;
    va_start(arguments, format);
    vwrite(kLogFatal, source, code, format, arguments);
    va_end(arguments);
}

void IWfxLogger::error(const char* source, std::int32_t code, const char* format, ...) {
    if (level_ < kLogError) return;
    std::va_list arguments;
    va_start(arguments, format);
    vwrite(kLogError, source, code, format, arguments);
    va_end(arguments);
}

void IWfxLogger::warning(const char* source, std::int32_t code, const char* format, ...) {
    if (level_ < kLogWarning) return;
    std::va_list arguments;
    va_start(arguments, format);
    vwrite(kLogWarning, source, code, format, arguments);
    va_end(arguments);
}

void IWfxLogger::info(const char* source, const char* format, ...) {
    if (level_ < kLogInfo) return;
    std::va_list arguments;
    va_start(arguments, format);
    vwrite(kLogInfo, source, 0, format, arguments);
    va_end(arguments);
}

void IWfxLogger::debug(const char* source, const char* format, ...) {
    if (level_ < kLogDebug) return;
    std::va_list arguments;
    va_start(arguments, format);
    vwrite(kLogDebug, source, 0, format, arguments);
    va_end(arguments);
}

}  // namespace wsql
