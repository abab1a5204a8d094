#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace wdb {

// TEXT values are lines with LF between them; an empty line separates two paragraphs, so that n empty lines
// make n + 1 paragraphs, empty ones included. The empty text has no lines and no paragraphs. (A text of one
// empty line alone has no stored form: it is the empty text.)

// Data as they are handed in, cut at LF or CR LF; a line end at the very end adds no line.
std::string linesFromData(std::string_view data);

uint32_t paragraphCount(std::string_view text);

// A stretch of whole lines of a text; `text` without the line end behind its last line.
struct LineRange {
    size_t begin = 0;
    size_t end = 0;
    bool none = true;  // no line at all (an empty paragraph)
};
// The lines of a paragraph, from 1; 0 is the whole text. Nothing for a paragraph behind the last one.
LineRange paragraphLines(std::string_view text, uint32_t paragraph);

// Puts lines (as linesFromData makes them; empty takes the lines away) in place of a paragraph. Missing
// paragraphs before it become empty ones.
void replaceParagraph(std::string& text, uint32_t paragraph, std::string_view lines);
// Puts paragraphs (lines, as above; empty is one empty paragraph) before a paragraph, from 1; answers how
// many.
uint32_t insertParagraphs(std::string& text, uint32_t paragraph, std::string_view lines);
// Puts lines behind the last line of a paragraph, or of the text for 0. `lines` may be one empty line.
void appendLines(std::string& text, uint32_t paragraph, std::string_view lines);

}  // namespace wdb
