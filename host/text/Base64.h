#pragma once

#include <string>
#include <string_view>

namespace host {

// RFC 4648; characters outside the alphabet are passed over, padding ends the text.
std::string decodeBase64(std::string_view text);
std::string encodeBase64(std::string_view bytes);  // on one line, padded

}  // namespace host
