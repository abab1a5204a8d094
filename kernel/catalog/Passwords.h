#pragma once

#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"

namespace wdb {

// argon2id hashes as texts that carry their salt and cost. The empty password has the empty hash.
// WDB_E_MEMORY.
Result<std::string> hashPassword(Slice password);
bool passwordMatches(const std::string& hash, Slice password);

}  // namespace wdb
