#pragma once

#include <lmdb.h>

#include "kernel/common/Status.h"

namespace wdb {

// Thrown by the library's assertion handler, through its frames, where it would end the process; callLmdb
// catches it.
struct LmdbAssertion {};

Status lmdbStatus(int code);

// Runs a call of the library. What its assertions find is damage of the file, not the end of the process.
template <typename Call>
int callLmdb(Call&& call) {
    try {
        return call();
    } catch (const LmdbAssertion&) {
        return MDB_CORRUPTED;
    }
}

}  // namespace wdb
