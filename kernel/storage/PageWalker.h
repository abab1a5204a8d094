#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kernel/common/Status.h"
#include "kernel/storage/NewPages.h"

namespace wdb {

enum class WalkDepth {
    Tables,  // the meta pages, the tree of tables and the root page of each
    Whole    // every page
};

// Reads a storage file page by page, without the storage library: page numbers, flags, offsets, order of the
// keys, counts, every page in one place only. A file that passes cannot lead the library out of its pages;
// what values mean is not looked at. `file` is open for reading. With `txn` the state of that transaction is
// walked, which a reader of this process keeps from being written over; else the last one.
//
// WDB_OK; WDB_E_CORRUPT with the first thing found in `reason`; WDB_E_STORAGE when reading fails; WDB_FAIL
// when the file has no state `txn` any more.
Status walkPages(int file, WalkDepth depth, std::optional<uint64_t> txn, std::string& reason);

// The pages that neither the last state nor the one before it uses, in no order. Nobody has the file open.
// False when its free pages cannot be told.
bool freePages(int file, std::vector<PageRun>& runs);

// Number of the last committed transaction; nothing when the meta pages are no such.
std::optional<uint64_t> lastTransaction(int file);

}  // namespace wdb
