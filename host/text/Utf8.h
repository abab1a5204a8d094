#pragma once

#include <string_view>

namespace host {

// No overlong forms, no surrogates, nothing above U+10FFFF.
bool isUtf8(std::string_view text);

}  // namespace host
