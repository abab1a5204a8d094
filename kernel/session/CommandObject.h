#pragma once

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "include/wdb.h"
#include "kernel/common/Status.h"

namespace wdb {

// The session's one command object, whose memory the caller writes, and the command taken from it that waits
// to be run.
class CommandObject {
public:
    // The object with an empty command area; its address stays the same.
    WdbCommandObject* cleared() {
        object_ = WdbCommandObject{};
        object_.size = sizeof object_;
        return &object_;
    }
    // Takes the text of the area as the pending command; on failure the pending one stays what it was.
    // WDB_E_HANDLE, WDB_E_CCL_LENGTH, WDB_E_CCL_SYNTAX.
    Status take(const WdbCommandObject* object) {
        if (object != &object_) return WDB_E_HANDLE;
        const int32_t limit = object_.commandLength;
        const size_t size = strnlen(object_.command, sizeof object_.command);
        if (limit < 1 || limit > WDB_COMMAND_AREA || size == sizeof object_.command) return WDB_E_CCL_LENGTH;
        if (size == 0) return WDB_E_CCL_SYNTAX;
        pending_.emplace(object_.command, std::min(size, static_cast<size_t>(limit)));
        return WDB_OK;
    }
    // The pending command, which then is none any more.
    std::optional<std::string> order() {
        std::optional<std::string> command;
        command.swap(pending_);
        return command;
    }
    void answered(Status status) { object_.status = status; }

private:
    WdbCommandObject object_{};
    std::optional<std::string> pending_;
};

}  // namespace wdb
