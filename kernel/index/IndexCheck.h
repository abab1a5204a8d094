#pragma once

#include <string>

#include "kernel/common/Status.h"
#include "kernel/storage/Environment.h"

namespace wdb {

// Read a whole index file and check each entry: form of the key, checksum, order of members and positions,
// and that postings and positions name the same records. WDB_OK, WDB_E_CORRUPT with the table and what is
// wrong in `reason`, or WDB_E_STORAGE. Whether the file agrees with the base's records is not looked at.
Status checkWordFile(const Txn& words, std::string& reason);
Status checkValueFile(const Txn& values, std::string& reason);

}  // namespace wdb
