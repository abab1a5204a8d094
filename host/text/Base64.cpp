#include "host/text/Base64.h"

#include <cstdint>

namespace host {

namespace {
int digit(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}
}  // namespace

std::string decodeBase64(std::string_view text) {
    std::string out;
    out.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        if (c == '=') break;
        const int value = digit(c);
        if (value < 0) continue;
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        out += static_cast<char>(bits >> count & 0xFF);
    }
    return out;
}

}  // namespace host
