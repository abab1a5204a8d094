#pragma once

#include <string>
#include <string_view>

#include "include/wdb.h"
#include "kernel/common/Status.h"

namespace wdb {

// A session's test hooks. `any` is the one thing that a call looks at.
struct Hooks {
    bool any = false;
    WdbTraceFn trace = nullptr;
    void* traceContext = nullptr;
    std::string function;  // whose call is to fail, empty: none
    int32_t skip = 0;      // calls of it that work before
    Status failure = WDB_OK;

    void update() { any = trace != nullptr || !function.empty(); }
    // True when this call is to answer `failure` instead of working; that happens once.
    bool injects(std::string_view called) {
        if (function.empty() || called != function || skip-- > 0) return false;
        function.clear();
        update();
        return true;
    }
};

// The latest failure of a session.
struct LastError {
    Status code = WDB_OK;
    int32_t position = 0;  // byte offset in the command, for commands
    std::string subject;   // the field, base or value concerned, UTF-8; may be empty
    bool fresh = false;    // set by the call that is running
};

}  // namespace wdb
