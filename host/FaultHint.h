#pragma once

#include <cstdint>
#include <string>

namespace host {

// What this program can see of the reason of a fault that tells none itself: lines of two blanks and a text,
// or nothing. `directory` is where the data are.
std::string faultHint(std::int32_t code, const std::string& directory);

// The rule behind "Invalid name." when a table is made.
inline constexpr const char* kNameRule =
    "a table's name is a letter, then letters, digits and _, 60 bytes at most; a column's is shorter";

// The data directory of the session bound to this thread; empty without one.
std::string dataDirectory();

}  // namespace host
