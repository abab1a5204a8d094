#pragma once

#include <string>
#include <string_view>

#include "include/wdb.h"
#include "kernel/common/Status.h"

namespace wdb {

// A session's test hooks, and whether the kernel is calling the host back. `any` is the one thing that a call
// looks at.
struct Hooks {
    // Alive while a function of the host runs inside a call: the session can be neither closed nor unbound
    // then, and when that function stands in the middle of a job (Calls::Refused) every other call is refused
    // too.
    enum class Calls { Served, Refused };
    class Callback {
    public:
        explicit Callback(Hooks& hooks, Calls calls = Calls::Served) : hooks_(&hooks), calls_(calls) {
            count(1);
        }
        Callback(const Callback&) = delete;
        Callback& operator=(const Callback&) = delete;
        ~Callback() { count(-1); }

    private:
        void count(int32_t by) {
            hooks_->callbacks += by;
            if (calls_ == Calls::Refused) hooks_->refusing += by;
            hooks_->update();
        }
        Hooks* hooks_;
        Calls calls_;
    };

    bool any = false;
    WdbTraceFn trace = nullptr;
    void* traceContext = nullptr;
    WdbStepFn step = nullptr;  // told of commands and their steps
    void* stepContext = nullptr;
    WdbProgressFn progress = nullptr;  // told how far long jobs are
    void* progressContext = nullptr;
    std::string function;  // whose call is to fail, empty: none
    int32_t skip = 0;      // calls of it that work before
    Status failure = WDB_OK;
    int32_t callbacks = 0;  // functions of the host that run now
    int32_t refusing = 0;   // of them, in the middle of a job

    void update() { any = trace != nullptr || !function.empty() || refusing > 0; }
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
