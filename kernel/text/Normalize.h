#pragma once

#include <string>
#include <string_view>

namespace wdb {

// The parts of a normalisation; a mode is any mask of them.
enum NormalizeMode : int {
    kFoldCase = 1,       // each character to its simple upper case, one for one (Unicode simple case mapping)
    kFoldBlanks = 2,     // tabs and line ends become blanks, runs of blanks one, none at either end
    kCompose = 4,        // Unicode normalisation form C
    kNormalizeValue = 7  // how values are compared: PHRASE search, order, keys, DISTINCT, GROUP
};

// The normalised form of a text. Never longer than the text: a character (for kCompose: a combining sequence)
// whose new form needs more bytes stays as it is. Bytes that are no UTF-8 are kept. Normalising twice changes
// nothing more.
std::string normalize(std::string_view utf8, int mode);

// The same, appended to a buffer that the caller keeps: no allocation once the buffer has grown.
void normalizeTo(std::string_view utf8, int mode, std::string& out);

// True when the text holds bytes below 128 only.
bool isAscii(std::string_view text);

}  // namespace wdb
