#include "host/text/Utf8.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace host {

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const auto other = std::find_if(text.begin(), text.end(),
                                        [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
        text.remove_prefix(static_cast<std::size_t>(other - text.begin()));
        if (text.empty()) break;
        // A character is at most four bytes, so a short window keeps the index in 32 bits.
        const std::string_view window = text.substr(0, 4);
        std::int32_t length = 0;
        UChar32 c = 0;
        U8_NEXT(window.data(), length, static_cast<std::int32_t>(window.size()), c);
        if (c < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(length));
    }
    return true;
}

}  // namespace host
