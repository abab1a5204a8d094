#include "kernel/storage/FileGuard.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "kernel/common/ByteOrder.h"
#include "kernel/common/Ids.h"
#include "kernel/storage/CommitSeal.h"
#include "kernel/storage/FreeSpace.h"
#include "kernel/storage/OpenFileLock.h"
#include "kernel/storage/PageWalker.h"

namespace wdb {

namespace {

constexpr char kNoteMagic[] = "wdbclean";
constexpr std::chrono::seconds kWalkPatience{120};
constexpr std::chrono::milliseconds kWalkPause{2};

std::string readSmall(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return {};
    char bytes[128];
    const ssize_t size = ::read(file, bytes, sizeof bytes);
    ::close(file);
    return size > 0 ? std::string(bytes, static_cast<size_t>(size)) : std::string();
}

}  // namespace

Result<std::unique_ptr<FileGuard>> FileGuard::open(const std::string& path, bool fresh, bool always) {
    std::unique_ptr<FileGuard> guard(new FileGuard(path));
    guard->file_ = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (guard->file_ < 0) guard->file_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (guard->file_ < 0) return Status{WDB_E_STORAGE};
    WDB_TRY(guard->enter(fresh, always));
    return guard;
}

Status FileGuard::enter(bool fresh, bool always) {
    const auto deadline = std::chrono::steady_clock::now() + kWalkPatience;
    for (;;) {
        // Files that may only be read take no lock of a writer's kind: they are looked at under the other.
        if (setOpenFileLock(file_, F_WRLCK) || errno == EBADF) {
            const Status status = fresh ? WDB_OK : inspect(always);
            sound_ = ok(status);
            return setOpenFileLock(file_, F_RDLCK) ? status : WDB_E_STORAGE;
        }
        if (errno != EAGAIN && errno != EACCES && errno != EINTR) return WDB_E_STORAGE;
        // Shared: the file is in use and was looked at. Neither: somebody is looking.
        if (setOpenFileLock(file_, F_RDLCK)) {
            sound_ = true;
            return WDB_OK;
        }
        if (std::chrono::steady_clock::now() >= deadline) return WDB_E_LOCKED;
        std::this_thread::sleep_for(kWalkPause);
    }
}

Status FileGuard::inspect(bool always) const {
    const std::string present = note();
    const bool clean = !always && !present.empty() && readSmall(path_ + "-clean") == present;
    if (!clean) {
        // Who may only read the file is not alone with it: what others use is in force, and theirs.
        const Status status = recoverLastState(file_);
        if (!ok(status) && !othersLockOpenFile(file_)) return status;
    }
    std::string reason;
    return walkPages(file_, clean ? WalkDepth::Tables : WalkDepth::Whole, std::nullopt, reason);
}

// Empty when the file is none that could be noted.
std::string FileGuard::note() const {
    struct stat info {};
    const auto txn = lastTransaction(file_);
    if (!txn || ::fstat(file_, &info) != 0) return {};
    std::string bytes(kNoteMagic, sizeof kNoteMagic - 1);
    appendLittle(bytes, static_cast<uint64_t>(info.st_size));
    appendLittle(bytes, static_cast<uint64_t>(info.st_mtim.tv_sec));
    appendLittle(bytes, static_cast<uint64_t>(info.st_mtim.tv_nsec));
    appendLittle(bytes, *txn);
    appendLittle(bytes, static_cast<uint64_t>(XXH3_64bits(bytes.data(), bytes.size())));
    return bytes;
}

FileGuard::~FileGuard() {
    if (file_ < 0) return;
    if (sound_ && setOpenFileLock(file_, F_WRLCK)) writeNote();
    ::close(file_);
}

void FileGuard::writeNote() const {
    struct stat here {};
    struct stat named {};
    if (::fstat(file_, &here) != 0 || ::stat(path_.c_str(), &named) != 0) return;
    // Removed, or replaced by hand, meanwhile.
    if (here.st_ino != named.st_ino || here.st_dev != named.st_dev) return;
    if (!noteDurable(file_)) return;
    giveFreeSpaceBack(file_);
    const std::string bytes = note();
    const std::string path = path_ + "-clean";
    if (bytes.empty() || readSmall(path) == bytes) return;
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0) return;
    // A note that is cut fits no file.
    static_cast<void>(::write(file, bytes.data(), bytes.size()) < 0);
    ::close(file);
}

}  // namespace wdb
