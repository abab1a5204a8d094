#include "host/format/DisplayText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace host {

namespace {

bool isAscii(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

// Reads the character at `at` and moves behind it; below 0 for bytes that are no UTF-8.
UChar32 nextCharacter(std::string_view text, std::size_t& at) {
    // A character is at most four bytes, so a short window keeps the index in 32 bits.
    const auto window = text.substr(at, 4);
    std::int32_t i = 0;
    UChar32 c = 0;
    U8_NEXT(window.data(), i, static_cast<std::int32_t>(window.size()), c);
    at += static_cast<std::size_t>(i);
    return c;
}

int characterWidth(UChar32 c) {
    if (c < 0x300) return 1;
    const auto mask = U_GET_GC_MASK(c);
    if ((mask & (U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK)) != 0 || (c >= 0x1160 && c <= 0x11FF)) return 0;
    const int width = u_getIntPropertyValue(c, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

// The longest beginning of `line` that is at most `width` columns wide, at least one character with what
// combines with it.
std::size_t fittingPrefix(std::string_view line, int width) {
    int used = 0;
    std::size_t at = 0;
    while (at < line.size()) {
        std::size_t next = at;
        const int wide = characterWidth(nextCharacter(line, next));
        if (used + wide > width && used > 0) break;
        used += wide;
        at = next;
    }
    return at;
}

void wrapLine(std::string_view line, int width, std::vector<std::string>& lines) {
    for (;;) {
        std::size_t cut = fittingPrefix(line, width);
        if (cut >= line.size()) break;
        // The blank at which to break may stand right behind what fits.
        const auto blank = line.rfind(' ', cut);
        const auto word = line.find_first_not_of(' ');
        if (blank != std::string_view::npos && word != std::string_view::npos && blank > word) cut = blank;
        auto end = cut;
        while (end > 0 && line[end - 1] == ' ') --end;
        lines.emplace_back(line.substr(0, end > 0 ? end : cut));
        while (cut < line.size() && line[cut] == ' ') ++cut;
        line.remove_prefix(cut);
        if (line.empty()) return;
    }
    lines.emplace_back(line);
}

}  // namespace

int displayWidth(std::string_view text) {
    if (isAscii(text)) return static_cast<int>(text.size());
    int width = 0;
    for (std::size_t at = 0; at < text.size();) width += characterWidth(nextCharacter(text, at));
    return width;
}

std::string printable(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        const UChar32 c = nextCharacter(text, at);
        if (c == '\n' || c == '\r') {
            if (c == '\n' || at >= text.size() || text[at] != '\n') out += '\n';
        } else if (c == '\t') {
            out += "    ";
        } else if (c >= 0 && c < 0x20) {
            out += "\xE2\x90";
            out += static_cast<char>(0x80 + c);
        } else if (c < 0 || (c >= 0x7F && c < 0xA0)) {
            out += c == 0x7F ? "\xE2\x90\xA1" : "\xEF\xBF\xBD";
        } else {
            out.append(text.substr(start, at - start));
        }
    }
    return out;
}

std::vector<std::string> wrap(std::string_view text, int width) {
    std::vector<std::string> lines;
    for (;;) {
        const auto end = text.find('\n');
        wrapLine(text.substr(0, end), width, lines);
        if (end == std::string_view::npos) return lines;
        text.remove_prefix(end + 1);
    }
}

}  // namespace host
