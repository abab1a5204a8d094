#pragma once

#include <string>
#include <string_view>

#include "kernel/ccl/Tree.h"

namespace wdb::ccl {

// A name as commands spell it: bare when it is letters, digits and underscores and no word of the language,
// else quoted.
std::string spellName(std::string_view name);
// A text between quotes, its own quotes doubled.
std::string spellQuoted(std::string_view text);
// A value with its wildcards and escapes: bare when nothing in it could be read as something else, else
// quoted.
std::string spellValue(const Value& value);

}  // namespace wdb::ccl
