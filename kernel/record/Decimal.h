#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wdb {

// Exact decimals as texts. The canonical text is the one that was typed without a plus sign and needless
// leading zeros:
// "-0012.50" is "-12.50", "-0.0" is "0.0". Equal numbers can have different texts ("1.5" and "1.50").

inline constexpr size_t kMaxNumberText = 32000;  // bytes

// The canonical text of [sign] digits [. digits], blanks around it ignored; nothing for any other text.
std::optional<std::string> canonicalNumber(std::string_view text);

// Less than, equal to, greater than 0 as a is to b; both canonical.
int compareNumbers(std::string_view a, std::string_view b);

// Appends bytes that order and equal as the numbers do; no key is the beginning of another one. A sign byte
// (1 negative, 2 zero, 3 positive), the decimal exponent as 16 bits, the significant digits two to a byte, an
// end byte; all but the sign byte inverted for negative numbers.
void appendNumberKey(std::string_view canonical, std::string& out);
// The shortest number with this key, or as much of it as the beginning of a key tells; nothing for bytes that
// are no key.
std::optional<std::string> numberOfKey(std::string_view key);

}  // namespace wdb
