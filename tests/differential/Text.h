// The dialect's view of texts, written a second time and simply: what the twin's functions answer.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace differential {

/// Stand for "any run of characters" and "one character" in a pattern.
constexpr char kAnyRun = '\x01';
constexpr char kAnyOne = '\x02';

/// As texts compare: upper case (ASCII and the letters of Latin-1), blanks and line ends run together, none
/// at the ends.
std::string normalized(std::string_view text);

/// Whole text against pattern; both normalized here.
bool matches(std::string_view text, std::string_view pattern);

/// A line of LONG VARCHAR: the words of the pattern stand side by side in one paragraph; an empty line ends
/// one.
bool holdsPhrase(std::string_view text, std::string_view pattern);

/// Words of a text of all paragraphs, normalized.
std::vector<std::string> wordsOf(std::string_view text);

/// As documents show it: lines in paragraphs.
std::string paragraphs(std::string_view text);

/// Items of a cell, gaps included.
std::vector<std::string> itemsOf(std::string_view cell);

}  // namespace differential
