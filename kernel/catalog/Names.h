#pragma once

#include "kernel/common/Ids.h"

namespace wdb {

// At most WDB_BASE_NAME_MAX bytes: a letter, then letters, digits and underscores; bytes from 128 up are
// letters.
bool validBaseName(Slice name);
// At most WDB_FIELD_NAME_MAX bytes without control characters, `"`, `.`, `,`, parentheses and blanks at the
// ends.
bool validFieldName(Slice name);

}  // namespace wdb
