#include "src/support/ConfigFile.h"

#include <string_view>

#include "src/support/LineReader.h"
#include "src/support/platform.h"
#include "src/support/text.h"

namespace wsql {

namespace {
constexpr std::size_t kLineSize = 1025;

bool isComment(std::string_view line) {
    return line.empty() || line[0] == '#' || line[0] == '\'' || line[0] == ';' || line.substr(0, 2) == "//";
}
}  // namespace

bool ConfigFile::readOne(const char* path) {
    const auto lines = readLines(path, kLineSize);
    if (!lines) return false;
    std::string section;
    for (const std::string& raw : *lines) {
        const std::string_view line = trimmed(raw);
        if (isComment(line)) continue;
        if (line[0] == '[') {
            section = line.substr(1, line.find(']') - 1);
            continue;
        }
        const std::size_t equals = line.find('=');
        const std::string_view value =
            equals == std::string_view::npos ? std::string_view() : line.substr(equals + 1);
        entries_.push_back(
            {section, std::string(trimmed(line.substr(0, equals))), std::string(trimmed(value))});
    }
    return true;
}

bool ConfigFile::read(const char* path, const char* defaultSection) {
    entries_.clear();
    if (!readOne(path)) return false;
    if (const std::string* found = find(defaultSection, "ConfigDir")) {
        const std::string directory = *found;
        for (const std::string& name : platform::confFiles(directory.c_str())) {
            readOne(std::string(directory).append(1, platform::kPathSeparator).append(name).c_str());
        }
    }
    return true;
}

const std::string* ConfigFile::find(const std::string& section, const std::string& key) const {
    for (const Entry& entry : entries_) {
        if (entry.section == section && entry.key == key) return &entry.value;
    }
    return nullptr;
}

}  // namespace wsql
