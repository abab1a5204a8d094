#pragma once

#include <string>

#include "kernel/common/Progress.h"
#include "kernel/common/Status.h"
#include "kernel/storage/Environment.h"

namespace wdb {

// Makes a file with what a transaction sees: the same tables and entries, without free pages, synced.
// Progress counts bytes of keys and values; a copy that ends early leaves no file. WDB_E_EXISTS when there is
// one, WDB_E_STORAGE.
Status copyFile(const Txn& from, const std::string& path, Progress& progress);

}  // namespace wdb
