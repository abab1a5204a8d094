// The base of the filter object: the caller's record, its arguments, the log and an optional configuration
// file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "include/sqlengine.h"
#include "src/support/CStringBuffer.h"
#include "src/support/ConfigFile.h"
#include "src/support/IWfxLogger.h"
#include "src/support/platform.h"

namespace wsql {

class CFilterBase {
public:
    CFilterBase(const CFilterBase&) = delete;
    CFilterBase& operator=(const CFilterBase&) = delete;
    virtual ~CFilterBase();

    // ---- filter arguments ----
    // Reads the request text as lines "NAME=value", each ended by the terminator; a line without separator,
    // and text behind the last terminator, do not count. Replaces the arguments of before. Never reads beyond
    // the record's text length, nor beyond the first NUL.
    virtual void parseArguments(char separator = '=', char terminator = '\n');
    // The letter case that argument names are compared in.
    virtual const CaseTable& caseTable() const { return CaseTable::latin(); }
    // The first argument of that name, whatever its case; null when there is none.
    platform::HeapText argument(const char* name) const;
    // The same into a buffer, which is cleared first. False when there is none.
    bool argument(const char* name, CStringBuffer& value) const;

    // ---- log level ----
    std::int32_t logLevel() const { return level_; }
    void setLogLevel(std::int32_t level);
    // Cheap question to ask before an argument of a log line is worked out.
    bool logs(std::int32_t level) const { return logLevel() >= level; }
    // The name of the setting that holds the level.
    void setLevelSettingName(const char* name);
    // When set, the level is taken as it is, without announcement. Re-evaluates the level.
    void setExplicitLevel(bool explicitLevel);
    // The same with the setting's value, which is known already.
    void setExplicitLevel(std::string_view value);
    void evaluateLevel();
    // The switch behind the logging property: remembers it, stores "3" or "0" as the level setting, opens the
    // error log when switched on, and goes to level 5 or 0.
    void setLogging(bool on);
    // Whether anything is written; without a logger, whether it was switched on.
    bool logging() const { return logger_ != nullptr ? logger_->getLevel() > kLogNone : errorLogEnabled_; }

    // Opens the log file <directory>/<name>_<process>_<thread>.log (see logFilePath). At level 0 no path is
    // built and nothing is opened.
    void startLogging(const char* name, bool withProcessId, bool withThreadId, bool withTimeStamp);

    // Written when the level allows, and formatted only then. The context names class and method. Texts end
    // with a line feed.
    void fatal(const char* context, std::int32_t code, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    void error(const char* context, std::int32_t code, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    void warning(const char* context, std::int32_t code, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    void info(const char* context, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void debug(const char* context, const char* format, ...) __attribute__((format(printf, 3, 4)));

    // ---- settings ----
    // Opens and parses a configuration file; an empty path closes the present one. The result is the outcome
    // turned round: false, with an ERROR line, when the file was read; true when it was not, or was closed.
    // Callers rely on neither.
    bool setConfigFile(const char* path);
    // The unnamed section of the configuration file first, then (when asked to fall back) the kernel's
    // setting store. False and an empty value when neither has it.
    bool setting(const char* name, bool fallBackToKernel, CStringBuffer& value) const;
    // The directory that startLogging was given, else that of the log files; looked for when it is first
    // asked for. Empty before startLogging.
    const std::string& configurationPath() const;

    // ---- kernel helpers ----
    // Turns a kernel code into the line "Error #code in source: text" plus the record's message, logged at
    // ERROR (without a logger: to the error log). Returns the code.
    std::int32_t message(std::int32_t code, const char* source);
    // The same to the error log and into the record's status: for failures that the caller answers by status
    // alone.
    std::int32_t messageToStatus(std::int32_t code, const char* source);
    // Calls the kernel-side routine of that name; result is an area of *length bytes or null. Returns the
    // routine's status, or the kernel's when there is no such routine.
    std::int32_t callAse(const char* name, const char* argument, char* result, std::int32_t* length);

    // ---- the caller's record: every write ignores a null record ----
    FilterData* filterData() const { return filterData_; }
    std::int32_t status() const { return filterData_ != nullptr ? filterData_->status : 0; }
    void setStatus(std::int32_t status);
    // Clears the 256 bytes and copies at most 255.
    void setMessage(const char* text, std::int32_t length = -1);

protected:
    // filterData may be null and outlives this object.
    CFilterBase(FilterData* filterData, bool parseArgumentsNow);

    struct LogPathOptions {
        const char* extension;
        bool withProcessId, withThreadId, withTimeStamp;
    };
    // The directory without one trailing separator; an empty one means the setting WDBS_LOG (environment,
    // then settings file), else the temporary directory.
    static std::string logDirectory(const std::string& directory);
    // "<directory>/<name>_<process>_<thread>_<time>.<extension>", the directory as above.
    static std::string logFilePath(const std::string& directory, const std::string& name,
                                   const LogPathOptions& options);

private:
    void takeLevel(std::string_view value);
    void openErrorLog();
    void writeErrorLog(const char* text);
    std::string kernelErrorLine(std::int32_t code, const char* source) const;

    FilterData* filterData_;
    std::vector<std::pair<std::string, std::string>> arguments_;
    std::optional<std::string> givenDirectory_;  // what the log's name held, once logging has been started
    mutable std::string configurationPath_;
    bool explicitLevel_ = false;
    std::unique_ptr<IWfxLogger> logger_;
    std::unique_ptr<ConfigFile> configFile_;
    std::FILE* errorStream_ = nullptr;
    std::string levelSettingName_;
    std::string errorLogName_;
    bool errorLogEnabled_ = false;
    std::int32_t level_ = kLogNone;  // the logger's, too
};

// A setting of the kernel's store, searched on all its levels; false and the empty text when it is missing.
bool kernelSetting(const char* name, CStringBuffer& value);

}  // namespace wsql
