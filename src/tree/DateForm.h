#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wsql {

/// What the session says about dates.
struct DateSettings {
    int32_t form = 1;   ///< the session's date form, 1 to 17; 1 when the kernel does not tell
    std::string today;  ///< today in that form; its first two characters that are no letter or digit are the
                        ///< separators
    int32_t century = 0;      ///< value of the symbol "CMI"; only a negative one widens two-digit years
    int32_t currentYear = 0;  ///< calendar year of the process clock, local time, four digits
};

/// Rewrites a date text into the session's form; nothing when it is no date there. Month names pass
/// unchecked, every February has 29 days, and a numeric month above 12 is not refused here.
std::optional<std::string> normaliseDate(std::string_view text, const DateSettings& settings);

}  // namespace wsql
