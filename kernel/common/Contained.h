#pragma once

#include <new>

#include "kernel/common/Status.h"
#include "kernel/common/StatusError.h"

namespace wdb {

// What the work answers, and a status for whatever it throws: at the library's edge, in threads, and for work
// behind a commit, from all of which nothing may escape.
template <typename Work>
Status contained(Work&& work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return WDB_E_MEMORY;
    } catch (const StatusError& error) {
        return error.status();
    } catch (...) {
        return WDB_E_STORAGE;
    }
}

}  // namespace wdb
