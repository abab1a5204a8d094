#pragma once

#include <cstdint>
#include <string_view>

#include "include/wdb.h"
#include "kernel/common/Status.h"

namespace wdb {

// The extension routines of the process, by name (case and trailing blanks do not count). A handle stands for
// one registration: it is good in every session until that registration ends, and never stands for another.
// Nothing is made when a routine is loaded, so nothing is left behind. Safe from all threads.
namespace routines {

struct Routine {
    WdbAseFn function = nullptr;
    void* context = nullptr;
};

// WDB_E_NAME for an empty name, WDB_E_ARGUMENT without a function, WDB_E_EXISTS.
Status add(std::string_view name, Routine routine);
// Does not wait for calls that are running: what the context points to has to outlive them. WDB_E_ASE.
Status remove(std::string_view name);
// WDB_E_ASE.
Result<WdbAse*> load(std::string_view name);
// WDB_E_HANDLE.
Result<Routine> find(const WdbAse* handle);

}  // namespace routines

}  // namespace wdb
