#include "kernel/catalog/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace wdb::file_system {

Status makeDirectory(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) == 0 || (errno == EEXIST && isDirectory(path))) return WDB_OK;
    return WDB_E_STORAGE;
}

bool isDirectory(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool exists(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
}

bool isRemote(const std::string& path) {
    // Magic numbers of statfs(2): NFS, SMB in three generations, AFS in two, Coda, NCP, Ceph, 9P, Lustre,
    // GFS2, OCFS2.
    constexpr std::array<uint32_t, 13> kRemote{0x6969,     0x517B,     0xFF534D42, 0xFE534D42, 0x5346414F,
                                               0x6B414653, 0x73757245, 0x564C,     0x00C36400, 0x01021997,
                                               0x0BD00BD0, 0x01161970, 0x7461636F};
    struct statfs info {};
    if (::statfs(path.c_str(), &info) != 0) return false;
    return std::find(kRemote.begin(), kRemote.end(), static_cast<uint32_t>(info.f_type)) != kRemote.end();
}

std::string resolve(const std::string& path) {
    char* resolved = ::realpath(path.c_str(), nullptr);
    if (resolved == nullptr) return {};
    std::string result(resolved);
    std::free(resolved);
    return result;
}

void removeStorage(const std::string& path) {
    ::unlink(path.c_str());
    removeNotes(path);
}

void removeNotes(const std::string& path) {
    ::unlink((path + "-lock").c_str());
    ::unlink((path + "-clean").c_str());
}

Status rename(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0 ? WDB_OK : WDB_E_STORAGE;
}

Status syncDirectory(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) return WDB_E_STORAGE;
    const int failed = ::fsync(file);
    ::close(file);
    return failed == 0 ? WDB_OK : WDB_E_STORAGE;
}

std::string read(const std::string& path) {
    if (isDirectory(path)) return {};
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

Status write(const std::string& path, const std::string& bytes) {
    const int file = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600);
    if (file < 0) return WDB_E_STORAGE;
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t some = ::write(file, bytes.data() + written, bytes.size() - written);
        if (some < 0 && errno == EINTR) continue;
        if (some <= 0) break;
        written += static_cast<size_t>(some);
    }
    const bool synced = written == bytes.size() && ::fsync(file) == 0;
    return ::close(file) == 0 && synced ? WDB_OK : WDB_E_STORAGE;
}

}  // namespace wdb::file_system
