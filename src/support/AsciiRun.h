// Long runs of bytes that need no attention, found sixteen at a time.
#pragma once

#include <cstddef>
#include <string_view>

namespace wsql {

// How many bytes from the start of text lie below 128.
std::size_t runOfAscii(std::string_view text);

// How many bytes from the start of text are none of & < > (and, with quotes, none of ").
std::size_t runWithoutMarkup(std::string_view text, bool quotes);

}  // namespace wsql
