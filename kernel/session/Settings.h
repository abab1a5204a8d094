#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Status.h"

namespace wdb {

// Where a setting may stand; masks of these are searched in this order.
enum SettingLevel : int32_t { kSessionLevel = 1, kEnvironmentLevel = 2, kLastingLevel = 4, kAllLevels = 7 };

inline constexpr size_t kMaxSetting = 255;  // bytes of a value

// The environment variable of that exact name.
std::optional<std::string> environmentSetting(std::string_view name);

// A session's settings (level 1) over the environment and the lasting ones of the home directory.
class Settings {
public:
    explicit Settings(SystemDirectory& directory) : directory_(&directory) {}

    std::optional<std::string> find(std::string_view name, int32_t levels) const;
    // find() on all levels for several names: the environment is walked once, the lasting settings are looked
    // into once. As many values as names, which are without blanks at their ends and at least two letters
    // long.
    void findAll(std::span<const std::string_view> names, std::span<std::optional<std::string>> values) const;
    // The session's own value; nothing removes it. WDB_E_ARGUMENT for an empty name or a value that is too
    // long.
    Status set(std::string_view name, std::optional<std::string_view> value);
    // A whole number of at least 0 from any level, or the default.
    int64_t number(std::string_view name, int64_t otherwise) const;

private:
    SystemDirectory* directory_;
    std::map<std::string, std::string, std::less<>> own_;  // by folded name
};

}  // namespace wdb
