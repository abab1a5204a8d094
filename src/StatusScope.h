// The kernel's search state, saved and restored around work that searches or writes.
#pragma once

#include <cstdint>

namespace wsql {

class WSQLFilter;

// Saves at construction and restores exactly once: by restore(), or at destruction on every other way out.
// The restore is also what commits the work's writes, so its failure replaces the answer by that kernel error
// (source "WdbLoadStatus", context the method). Nothing saved to restore, or no session at all, is no
// failure. The same failure is answered once.
class StatusScope {
public:
    // method is a literal: "WSQLFilter::ExecuteInsert".
    StatusScope(WSQLFilter& filter, const char* method);
    StatusScope(const StatusScope&) = delete;
    StatusScope& operator=(const StatusScope&) = delete;
    ~StatusScope();

    // The kernel's status of the restore (1 when there was nothing to do).
    std::int32_t restore();

private:
    WSQLFilter& filter_;
    const char* method_;
    bool open_ = false;
};

}  // namespace wsql
