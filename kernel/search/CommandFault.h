#pragma once

#include <string>
#include <utility>

#include "kernel/search/Search.h"

namespace wdb {

// Notes what a command stumbled over and hands its code on.
inline Status fault(CommandError& error, Status code, size_t position, std::string subject = {}) {
    error = {code, static_cast<int32_t>(position), std::move(subject)};
    return code;
}

}  // namespace wdb
