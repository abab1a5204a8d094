#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

// Columns that a text takes on a terminal: East Asian wide characters take two, combining ones none.
int displayWidth(std::string_view text);

// The text as it may go to a terminal: tabs become four blanks, other control characters their pictures
// (U+2400..), bytes that are no UTF-8 the replacement character. Line feeds stay, carriage returns before
// them go.
std::string printable(std::string_view text);

// The lines of a printable text, each at most `width` columns wide (a single character may be wider). Breaks
// at blanks where there are any and within words where there are none; the text's own line ends are kept.
std::vector<std::string> wrap(std::string_view text, int width);

}  // namespace host
