#include "src/support/SettingsFile.h"

#include <string_view>

#include "src/support/LineReader.h"
#include "src/support/platform.h"
#include "src/support/text.h"

namespace wsql {

namespace {
constexpr std::size_t kLineSize = 512;
constexpr std::size_t kEnvironmentSize = 1024;

// Read once per thread and kept, so that the settings of a running thread never change under it.
const std::vector<std::string>& threadLines() {
    thread_local const std::vector<std::string> lines = [] {
        if (const auto home = platform::installationDirectory()) {
            if (auto found = readSettingsLines((*home + platform::kSettingsFileTail).c_str()))
                return std::move(*found);
        }
        return readSettingsLines(platform::kSettingsFileFallback).value_or(std::vector<std::string>());
    }();
    return lines;
}

std::string_view withoutTrailingBlanks(std::string_view text) {
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}
}  // namespace

std::optional<std::vector<std::string>> readSettingsLines(const char* path) {
    auto lines = readLines(path, kLineSize);
    if (lines) {
        for (std::string& line : *lines) line.resize(withoutTrailingBlanks(line).size());
    }
    return lines;
}

std::optional<std::string> findSetting(const std::vector<std::string>& lines, const char* name) {
    for (const std::string_view line : lines) {
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos || !equalNames(line.substr(0, equals), name)) continue;
        const std::string_view rest = line.substr(equals + 1);
        const std::size_t comment = rest.find('#');
        if (comment == std::string_view::npos) return std::string(rest);
        return std::string(withoutTrailingBlanks(rest.substr(0, comment)));
    }
    return std::nullopt;
}

std::optional<std::string> settingsFileValue(const char* name) {
    if (auto value = platform::environment(name, kEnvironmentSize)) return value;
    return findSetting(threadLines(), name);
}

}  // namespace wsql
