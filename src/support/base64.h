// Base64 of RFC 4648, standard alphabet, "=" padding, no line breaks.
#pragma once

#include <cstdint>
#include <string_view>

#include "src/support/CStringBuffer.h"
#include "src/support/platform.h"

namespace wsql {

// The result is NUL-terminated; the length returned leaves the NUL out. Throws std::length_error when it
// would not fit.
std::int32_t base64Encode(std::string_view data, platform::HeapText& result);
// The same behind the text of a buffer.
void base64Append(std::string_view data, CStringBuffer& buffer);
// Reads up to the first NUL or "="; characters outside the alphabet are skipped, a single left-over character
// gives nothing. Returns the number of bytes.
std::int32_t base64Decode(std::string_view text, platform::HeapText& result);

}  // namespace wsql
