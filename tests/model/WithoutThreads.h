#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <thread>

// Takes away from a process that is going to end what it needs to begin threads, the superuser's rights
// included; everything below `directory` becomes its new user's. Whether there are none left.
inline bool withoutThreads(const std::string& directory) {
    constexpr uid_t kNobody = 54321;
    if (::geteuid() == 0) {
        if (::chown(directory.c_str(), kNobody, kNobody) != 0) return false;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory))
            if (::chown(entry.path().c_str(), kNobody, kNobody) != 0) return false;
        if (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) return false;
    }
    const rlimit none{0, 0};
    if (::setrlimit(RLIMIT_NPROC, &none) != 0) return false;
    try {
        std::thread([] {}).join();
        return false;
    } catch (const std::system_error&) {
        return true;
    }
}
