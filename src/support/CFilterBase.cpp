#include "src/support/CFilterBase.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "include/wdb.h"
#include "src/support/text.h"

namespace wsql {

CFilterBase::CFilterBase(FilterData* filterData, bool parseArgumentsNow)
    : filterData_(filterData), levelSettingName_("FILTER_LOG") {
    if (parseArgumentsNow) CFilterBase::parseArguments();
}

CFilterBase::~CFilterBase() {
    if (errorStream_ != nullptr && errorStream_ != stdout && errorStream_ != stderr)
        std::fclose(errorStream_);
}

// ---- the caller's record ----

void CFilterBase::setStatus(std::int32_t status) {
    if (filterData_ != nullptr) filterData_->status = status;
}

void CFilterBase::setMessage(const char* text, std::int32_t length) {
    if (filterData_ == nullptr) return;
    constexpr std::size_t kLongest = sizeof filterData_->message - 1;
    const std::size_t size = length < 0 ? strnlen(text, kLongest)
                                        : std::min<std::size_t>(static_cast<std::size_t>(length), kLongest);
    std::memset(filterData_->message, 0, sizeof filterData_->message);
    std::memcpy(filterData_->message, text, size);
}

// ---- filter arguments ----

void CFilterBase::parseArguments(char separator, char terminator) {
    arguments_.clear();
    if (filterData_ == nullptr || filterData_->text == nullptr || filterData_->textLength < 1) return;
    const char* request = filterData_->text;
    std::string_view rest(request, strnlen(request, static_cast<std::size_t>(filterData_->textLength)));
    for (std::size_t end = rest.find(terminator); end != std::string_view::npos;
         end = rest.find(terminator)) {
        const std::string_view line = rest.substr(0, end);
        const std::size_t split = line.find(separator);
        if (split != std::string_view::npos)
            arguments_.emplace_back(line.substr(0, split), line.substr(split + 1));
        rest.remove_prefix(end + 1);
    }
}

platform::HeapText CFilterBase::argument(const char* name) const {
    const CaseTable& table = caseTable();
    for (const auto& [key, value] : arguments_) {
        if (table.equal(key, name)) return platform::heapCopy(value.data(), value.size());
    }
    return nullptr;
}

bool CFilterBase::argument(const char* name, CStringBuffer& value) const {
    value.clear();
    const platform::HeapText found = argument(name);
    if (found) value.set(found.get());
    return found != nullptr;
}

// ---- settings ----

bool kernelSetting(const char* name, CStringBuffer& value) {
    char text[256] = "";
    std::int32_t length = sizeof text;
    const bool found = WDB_SUCCESS(QueryRCS(name, text, &length, 7));
    text[sizeof text - 1] = '\0';
    value.set(found ? text : "");
    return found;
}

bool CFilterBase::setting(const char* name, bool fallBackToKernel, CStringBuffer& value) const {
    if (configFile_ != nullptr) {
        if (const std::string* found = configFile_->find("", name)) {
            value.set(*found);
            return true;
        }
    }
    if (fallBackToKernel) return kernelSetting(name, value);
    value.clear();
    return false;
}

bool CFilterBase::setConfigFile(const char* path) {
    configFile_.reset();
    if (path == nullptr || *path == '\0') return true;
    auto file = std::make_unique<ConfigFile>();
    if (!file->read(path)) return true;
    configFile_ = std::move(file);
    error("CFilterBase::setConfigFile", 4, "Could not open config file %s", path);
    return false;
}

// ---- kernel helpers ----

std::string CFilterBase::kernelErrorLine(std::int32_t code, const char* source) const {
    char text[256] = "";
    std::int32_t length = sizeof text;
    if (!WDB_SUCCESS(WdbMessage(code, text, &length))) text[0] = '\0';
    text[sizeof text - 1] = '\0';
    std::string line = "Error #" + std::to_string(code) + " in ";
    line.append(source != nullptr && *source != '\0' ? source : "WELKxml").append(": ").append(text);
    if (filterData_ != nullptr)
        line.append(filterData_->message, strnlen(filterData_->message, sizeof filterData_->message));
    return line + "\n";
}

std::int32_t CFilterBase::message(std::int32_t code, const char* source) {
    const std::string line = kernelErrorLine(code, source);
    if (logger_ != nullptr) {
        error("", code, "%s", line.c_str());
    } else {
        writeErrorLog(line.c_str());
    }
    return code;
}

std::int32_t CFilterBase::messageToStatus(std::int32_t code, const char* source) {
    writeErrorLog(kernelErrorLine(code, source).c_str());
    setStatus(code);
    return code;
}

std::int32_t CFilterBase::callAse(const char* name, const char* argument, char* result,
                                  std::int32_t* length) {
    WdbAse* routine = nullptr;
    const std::int32_t loaded = WdbLoadAse(name, &routine);
    if (!WDB_SUCCESS(loaded)) return message(loaded, "CFilterBase::callAse");
    char ownResult[256];
    std::int32_t ownLength = sizeof ownResult;
    const bool own = result == nullptr || length == nullptr;
    return WdbCallAse(routine, argument, own ? ownResult : result, own ? &ownLength : length);
}

}  // namespace wsql
