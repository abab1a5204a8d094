// The log side of the filter base: level, files, lines.
#include <cstdarg>
#include <cstring>

#include "include/wdb.h"
#include "src/support/CFilterBase.h"
#include "src/support/SettingsFile.h"
#include "src/support/WfxFileLogger.h"
#include "src/support/text.h"

namespace wsql {

namespace {

constexpr const char* kSource = "FilterBase";
constexpr const char* kDirectorySetting = "WDBS_LOG";

constexpr const char* kLevelTexts[] = {
    "Log level is set to no logging.",
    "Log level is set to log critical errors only.",
    "Log level is set to log errors.",
    "Log level is set to log errors and warnings.",
    "Log level is set to log all information.",
    "Log level is set to log everything including debug messages.",
};

bool endsInSeparator(const std::string& path) {
    return !path.empty() && (path.back() == '/' || path.back() == '\\');
}

}  // namespace

// ---- level ----

void CFilterBase::setLogLevel(std::int32_t level) {
    level_ = level;
    if (logger_ != nullptr) logger_->setLevel(level);
}

void CFilterBase::setLevelSettingName(const char* name) {
    levelSettingName_.assign(name, strnlen(name, 255));
}

void CFilterBase::setExplicitLevel(bool explicitLevel) {
    explicitLevel_ = explicitLevel;
    evaluateLevel();
}

void CFilterBase::setExplicitLevel(std::string_view value) {
    explicitLevel_ = true;
    takeLevel(value);
}

void CFilterBase::evaluateLevel() {
    if (!explicitLevel_ && logger_ != nullptr) {
        logger_->write(kLogInfo, kSource, 0, "Trying to obtain log level setting.");
    }
    CStringBuffer value(64);
    setting(levelSettingName_.c_str(), true, value);
    takeLevel(value.view());
}

void CFilterBase::takeLevel(std::string_view value) {
    const std::int32_t number = decimalPrefix(value);
    const std::int32_t level =
        number >= kLogNone && number <= kLogDebug ? number : static_cast<std::int32_t>(kLogNone);
    setLogLevel(level);
    if (explicitLevel_ || logger_ == nullptr) return;
    logger_->write(level == kLogNone ? static_cast<std::int32_t>(kLogInfo) : level, kSource, 0,
                   kLevelTexts[level]);
}

void CFilterBase::setLogging(bool on) {
    errorLogEnabled_ = on;
    UpdateRCS(levelSettingName_.c_str(), on ? "3" : "0");
    if (on && errorStream_ == nullptr) openErrorLog();
    setLogLevel(on ? kLogDebug : kLogNone);
}

// ---- files ----

std::string CFilterBase::logDirectory(const std::string& directory) {
    std::string path = directory;
    if (path.empty()) path = settingsFileValue(kDirectorySetting).value_or("");
    if (path.empty()) path = platform::temporaryDirectory();
    if (endsInSeparator(path)) path.pop_back();
    return path;
}

const std::string& CFilterBase::configurationPath() const {
    if (configurationPath_.empty() && givenDirectory_)
        configurationPath_ = givenDirectory_->empty() ? logDirectory("") : *givenDirectory_;
    return configurationPath_;
}

std::string CFilterBase::logFilePath(const std::string& directory, const std::string& name,
                                     const LogPathOptions& options) {
    std::string path = logDirectory(directory);
    path.append(1, platform::kPathSeparator).append(name);
    if (options.withProcessId) path.append("_").append(std::to_string(platform::processId()));
    if (options.withThreadId) path.append("_").append(std::to_string(platform::threadId()));
    if (options.withTimeStamp) {
        const platform::LocalTime now = platform::localTime();
        CStringBuffer stamp(32);
        stamp.format("_%04d%02d%02d%02d%02d%02d%03d", now.year, now.month, now.day, now.hour, now.minute,
                     now.second, now.millisecond);
        path.append(stamp.view());
    }
    const char* extension = options.extension != nullptr ? options.extension : "";
    if (*extension == '.') ++extension;
    return path.append(".").append(*extension != '\0' ? extension : "log");
}

void CFilterBase::startLogging(const char* name, bool withProcessId, bool withThreadId, bool withTimeStamp) {
    if (logger_ == nullptr) logger_ = std::make_unique<WfxFileLogger>();
    logger_->setLevel(level_);
    const std::string_view full = name;
    std::size_t split = full.rfind('/');
    if (split == std::string_view::npos) split = full.rfind('\\');
    const std::string directory(split == std::string_view::npos ? "" : full.substr(0, split));
    if (!givenDirectory_) givenDirectory_ = directory;
    if (level_ == kLogNone) return;

    const std::string base(split == std::string_view::npos ? full : full.substr(split + 1));
    const std::string path =
        logFilePath(directory, base, {"log", withProcessId, withThreadId, withTimeStamp});
    if (auto* file = dynamic_cast<WfxFileLogger*>(logger_.get()))
        file->open(path.c_str(), platform::LogMode::kAppend);
    logger_->write(kLogInfo, kSource, 0, "Logging started.");
    debug(kSource, "Logfile is \"%s\"\n", path.c_str());
}

// The separate error log exists only when the level setting asks for warnings at least.
void CFilterBase::openErrorLog() {
    CStringBuffer value(64);
    setting(levelSettingName_.c_str(), true, value);
    if (decimalPrefix(value.view()) < kLogWarning) return;
    setting(kDirectorySetting, true, value);
    std::string path = value.empty() ? platform::temporaryDirectory() : std::string(value.view());
    if (!endsInSeparator(path)) path.push_back(platform::kPathSeparator);
    path.append(errorLogName_).append("_").append(std::to_string(platform::processId())).append(".log");
    errorStream_ = platform::openLogFile(path.c_str(), platform::LogMode::kTruncate);
}

void CFilterBase::writeErrorLog(const char* text) {
    if (!errorLogEnabled_ || errorStream_ == nullptr) return;
    std::fputs(text, errorStream_);
    std::fflush(errorStream_);
}

// ---- lines ----

void CFilterBase::fatal(const char* context, std::int32_t code, const char* format, ...) {
    if (logger_ == nullptr || !logs(kLogFatal)) return;
    std::va_list arguments;
    va_start(arguments, format);
    logger_->vwrite(kLogFatal, context, code, format, arguments);
    va_end(arguments);
}

void CFilterBase::error(const char* context, std::int32_t code, const char* format, ...) {
    if (logger_ == nullptr || !logs(kLogError)) return;
    std::va_list arguments;
    va_start(arguments, format);
    logger_->vwrite(kLogError, context, code, format, arguments);
    va_end(arguments);
}

void CFilterBase::warning(const char* context, std::int32_t code, const char* format, ...) {
    if (logger_ == nullptr || !logs(kLogWarning)) return;
    std::va_list arguments;
    va_start(arguments, format);
    logger_->vwrite(kLogWarning, context, code, format, arguments);
    va_end(arguments);
}

void CFilterBase::info(const char* context, const char* format, ...) {
    if (logger_ == nullptr || !logs(kLogInfo)) return;
    std::va_list arguments;
    va_start(arguments, format);
    logger_->vwrite(kLogInfo, context, 0, format, arguments);
    va_end(arguments);
}

void CFilterBase::debug(const char* context, const char* format, ...) {
    if (logger_ == nullptr || !logs(kLogDebug)) return;
    std::va_list arguments;
    va_start(arguments, format);
    logger_->vwrite(kLogDebug, context, 0, format, arguments);
    va_end(arguments);
}

}  // namespace wsql
