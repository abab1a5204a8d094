#pragma once

#include <string_view>

namespace wdb {

// Letters of names and command words: ASCII case folding only, the same under every locale.
constexpr char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (asciiUpper(a[i]) != asciiUpper(b[i])) return false;
    }
    return true;
}

}  // namespace wdb
