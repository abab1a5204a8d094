#include "kernel/session/Settings.h"

#include <charconv>
#include <cstdlib>

#include "kernel/record/Schema.h"

namespace wdb {

std::optional<std::string> environmentSetting(std::string_view name) {
    const char* value = std::getenv(std::string(trimName(name)).c_str());
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

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
