// Base64 of RFC 4648, standard alphabet, "=" padding, no line breaks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "src/support/CStringBuffer.h"
#include "src/support/platform.h"

namespace wsql {

// The result is NUL-terminated; the length returned leaves the NUL out. Throws std::length_error when it
// would not fit.
std::int32_t base64Encode(std::string_view data, platform::HeapText& result);
// Length of the encoding of size bytes. Throws std::length_error when it would not fit.
std::size_t base64Length(std::size_t size);
// Writes the encoding, without a NUL, to memory of base64Length bytes. Pieces of a multiple of three bytes,
// encoded one behind the other, are the encoding of the whole.
void base64Write(std::string_view data, char* out);
// The same behind the text of a buffer.
void base64Append(std::string_view data, CStringBuffer& buffer);
// Reads up to the first NUL or "="; characters outside the alphabet are skipped, a single left-over character
// gives nothing. Returns the number of bytes.
std::int32_t base64Decode(std::string_view text, platform::HeapText& result);

}  // namespace wsql
