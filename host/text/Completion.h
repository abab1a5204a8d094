#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

// The SQL words that a person may be typing.
const std::vector<std::string>& sqlKeywords();
bool isKeyword(std::string_view word);  // whatever the case of its letters

// Those of the candidates that begin with the word, whatever the case of its letters, sorted and once each;
// keywords come in the case that the word is typed in.
std::vector<std::string> completions(std::string_view word, const std::vector<std::string>& names);

// The longest beginning that all of them have.
std::string commonPrefix(const std::vector<std::string>& words);

}  // namespace host
