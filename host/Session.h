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
    // Opens the data directory and asks for a password when one is needed. A directory that is not there is
    // made, with a word on standard error, unless nothing is to be changed. Throws KernelError or
    // std::runtime_error.
    explicit Session(const Options& options);

private:
    struct Close {
        void operator()(WdbSession* session) const;
    };
    std::int32_t tryOpen(const Options& options, const char* password, std::uint32_t mode);
    void open(const Options& options, const char* password);
    std::unique_ptr<WdbSession, Close> session_;
};

// Paging of the following SELECT statements; nothing means what the environment says, or 20 rows from the
// first. Size -1 with block 1 is every row.
void setPaging(std::optional<std::int32_t> blockSize, std::optional<std::int32_t> block);

}  // namespace host
