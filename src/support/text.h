// Comparing names and reading numbers without a locale.
#pragma once

#include <cstdint>
#include <string_view>

namespace wsql {

constexpr char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
constexpr bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Names of tables, columns, schemas, keywords, functions: only ASCII letters have case.
constexpr bool equalNames(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && asciiLower(a[i]) != asciiLower(b[i])) return false;
    }
    return true;
}

// Optional blanks, sign and digits in front of the text; what follows is ignored, no digits give 0, and a
// number out of range becomes the nearest 32-bit one.
constexpr std::int32_t decimalPrefix(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i])) ++i;
    const bool negative = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
    std::int64_t number = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) {
        if (number <= INT32_MAX) number = number * 10 + (text[i] - '0');
    }
    if (negative) number = -number;
    if (number > INT32_MAX) return INT32_MAX;
    return number < INT32_MIN ? INT32_MIN : static_cast<std::int32_t>(number);
}

constexpr std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

}  // namespace wsql
