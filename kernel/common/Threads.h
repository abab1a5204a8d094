#pragma once

#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

namespace wdb {

// A thread of the library's own for `work`, which throws nothing; one that cannot be joined when the system
// has none to give: then the caller does the work. The host's signals are not handled on it.
template <typename Work>
std::thread threadFor(Work&& work) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    const bool blocked = ::pthread_sigmask(SIG_SETMASK, &all, &before) == 0;
    std::thread made;
    try {
        made = std::thread(std::forward<Work>(work));
    } catch (const std::system_error&) {
    }
    if (blocked) ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return made;
}

}  // namespace wdb
