#include "kernel/session/Settings.h"

#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <cstring>

#include "kernel/common/Ascii.h"
#include "kernel/record/Schema.h"

namespace wdb {

std::optional<std::string> environmentSetting(std::string_view name) {
    const char* value = std::getenv(std::string(trimName(name)).c_str());
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

namespace {

// The first two bytes of a variable, its name's unless that has one, as one bit of many.
uint64_t initialBit(char first, char second) {
    return uint64_t{1} << ((static_cast<unsigned char>(first) * 7U + static_cast<unsigned char>(second)) &
                           63);
}

// What getenv answers for the names that have no value yet. Most variables begin with none of their letters.
void findInEnvironment(std::span<const std::string_view> names,
                       std::span<std::optional<std::string>> values) {
    uint64_t initials = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        if (!values[i] && !names[i].empty())
            initials |= initialBit(names[i][0], names[i].size() > 1 ? names[i][1] : '=');
    }
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        const char* text = *variable;
        if (text[0] == '\0' || (initials & initialBit(text[0], text[1])) == 0) continue;
        for (size_t i = 0; i < names.size(); ++i) {
            const size_t size = names[i].size();
            if (!values[i] && size > 0 && std::strncmp(text, names[i].data(), size) == 0 && text[size] == '=')
                values[i] = text + size + 1;
        }
    }
}

}  // namespace

std::optional<std::string> Settings::find(std::string_view name, int32_t levels) const {
    if ((levels & kSessionLevel) != 0 && !own_.empty()) {
        const auto own = own_.find(foldName(name));
        if (own != own_.end()) return own->second;
    }
    if ((levels & kEnvironmentLevel) != 0) {
        if (auto value = environmentSetting(name)) return value;
    }
    if ((levels & kLastingLevel) != 0) return directory_->setting(name);
    return std::nullopt;
}

void Settings::findAll(std::span<const std::string_view> names,
                       std::span<std::optional<std::string>> values) const {
    // A session has few of its own: looking at them in turn takes less than folding the names.
    for (const auto& [name, value] : own_) {
        for (size_t i = 0; i < names.size(); ++i) {
            if (!values[i] && equalsIgnoreCase(name, names[i])) values[i] = value;
        }
    }
    findInEnvironment(names, values);
    directory_->settings(names, values);
}

Status Settings::set(std::string_view name, std::optional<std::string_view> value) {
    const std::string folded = foldName(name);
    if (folded.empty() || (value && value->size() > kMaxSetting)) return WDB_E_ARGUMENT;
    if (value)
        own_.insert_or_assign(folded, std::string(*value));
    else
        own_.erase(folded);
    return WDB_OK;
}

int64_t Settings::number(std::string_view name, int64_t otherwise) const {
    const auto text = find(name, kAllLevels);
    int64_t value = 0;
    if (!text || std::from_chars(text->data(), text->data() + text->size(), value).ec != std::errc() ||
        value < 0)
        return otherwise;
    return value;
}

}  // namespace wdb
