#pragma once

#include <string>

#include "kernel/common/Ids.h"

namespace wdb {

// How names of bases, users and settings compare: trailing blanks do not count, ASCII letters have no case.
std::string nameKey(Slice name);
// At most WDB_BASE_NAME_MAX bytes: a letter, then letters, digits and underscores; bytes from 128 up are letters.
bool validBaseName(Slice name);
// At most WDB_FIELD_NAME_MAX bytes without control characters, `"`, `.`, `,`, parentheses and blanks at the ends.
bool validFieldName(Slice name);
// The name without trailing blanks.
Slice trimName(Slice name);

}  // namespace wdb
