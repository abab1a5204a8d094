#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/Settings.h"

struct WdbSession;

namespace host {

// The one session of this program, open and bound to the thread that made it until it goes.
class Session {
public:
    // Opens the data directory, which is made when it is not there, and asks for a password when one is
    // needed. Throws KernelError or std::runtime_error.
    explicit Session(const Options& options);

private:
    struct Close {
        void operator()(WdbSession* session) const;
    };
    void open(const std::string& data, const std::string& user, const char* password);
    std::unique_ptr<WdbSession, Close> session_;
};

// Paging of the following SELECT statements; nothing means what the environment says, or 20 rows from the
// first. Size -1 with block 1 is every row.
void setPaging(std::optional<std::int32_t> blockSize, std::optional<std::int32_t> block);

}  // namespace host
