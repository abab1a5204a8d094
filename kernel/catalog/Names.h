#pragma once

#include "kernel/common/Ids.h"

namespace wdb {

// At most WDB_BASE_NAME_MAX bytes: a letter, then letters, digits and underscores; bytes from 128 up are
// letters.
bool validBaseName(Slice name);
// At most WDB_FIELD_NAME_MAX bytes without control characters, `"`, `.`, `,`, parentheses and blanks at the
// ends.
bool validFieldName(Slice name);
// A name that access records may be given to: 1 to WDB_BASE_NAME_MAX bytes without control characters, and no
// blank in front.
bool validGrantee(Slice name);
// The name that holds the rights of everyone. Nobody can log on as it.
inline constexpr Slice kPublic = "PUBLIC";
// A grantee who is somebody.
bool validUserName(Slice name);

}  // namespace wdb
