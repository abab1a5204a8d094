#include "host/FaultHint.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include "host/format/DisplayText.h"
#include "host/format/Formatter.h"
#include "wdb.h"

namespace host {

namespace {

// With less than this a change of the least size may have failed already.
constexpr std::uint64_t kLittleRoom = 1 << 20;

std::string storageHint(const std::string& directory) {
    if (directory.empty() || ::access(directory.c_str(), F_OK) != 0) return {};
    struct statvfs info {};
    const bool known = ::statvfs(directory.c_str(), &info) == 0;
    if (known && (info.f_flag & ST_RDONLY) != 0) return directory + " is on a read-only file system";
    for (const std::string& place : {directory, directory + "/bases"}) {
        if (::access(place.c_str(), W_OK | X_OK) != 0 && ::access(place.c_str(), F_OK) == 0)
            return place + " cannot be written";
    }
    if (!known) return {};
    const std::uint64_t room = static_cast<std::uint64_t>(info.f_bavail) * info.f_frsize;
    if (room < kLittleRoom)
        return "no space left on the file system of " + directory + " (" +
               counted(static_cast<std::int64_t>(room), "byte") + ")";
    if (info.f_files > 0 && info.f_favail == 0)
        return "the file system of " + directory + " can hold no more files";
    return {};
}

}  // namespace

std::string faultHint(std::int32_t code, const std::string& directory) {
    const std::string text = code == WDB_E_STORAGE ? storageHint(directory) : std::string();
    return text.empty() ? text : "  " + printable(text) + "\n";
}

std::string dataDirectory() {
    std::string path(4096, '\0');
    auto length = static_cast<std::int32_t>(path.size());
    if (!WDB_SUCCESS(WdbSessionInfo(WDB_SI_HOME, nullptr, path.data(), &length)) || length < 0) return {};
    path.resize(static_cast<std::size_t>(length));
    return path;
}

}  // namespace host
