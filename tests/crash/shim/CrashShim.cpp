#include "tests/crash/shim/CrashShim.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/crash/shim/Trace.h"

// The calls go to the kernel directly, so that the shim needs no other definition of them and watches itself
// nowhere. The state is the library's own: there is one process to watch.

namespace {

struct Watch {
    char directory[4096] = "";
    size_t size = 0;
    std::atomic<int64_t> count{0};
    int64_t at = 0;
    ShimAction action = ShimAction::None;
    int error = EIO;
    bool lasting = false;
    int trace = -1;
};

Watch& watch() {
    static Watch& it = *new Watch;
    return it;
}

void setDirectory(const char* directory) {
    char resolved[4096];
    Watch& w = watch();
    w.size = 0;
    if (directory == nullptr || *directory == '\0') return;
    if (::realpath(directory, resolved) == nullptr) return;
    std::strcpy(w.directory, resolved);
    w.size = std::strlen(resolved);
}

ShimAction actionNamed(const char* name) {
    constexpr const char* kNames[] = {"none", "kill-before", "kill-half", "kill-after",
                                      "fail", "fail-after",  "short"};
    for (int i = 0; i < 7; ++i) {
        if (name != nullptr && std::strcmp(name, kNames[i]) == 0) return static_cast<ShimAction>(i);
    }
    return ShimAction::None;
}

const char* orEmpty(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

__attribute__((constructor)) void readEnvironment() {
    if (std::getenv("WELK_SHIM_DIR") == nullptr) return;
    const int error = std::atoi(orEmpty("WELK_SHIM_ERROR"));
    crashShimWatch(orEmpty("WELK_SHIM_DIR"), std::atoll(orEmpty("WELK_SHIM_AT")),
                   actionNamed(orEmpty("WELK_SHIM_ACTION")), error == 0 ? EIO : error,
                   std::atoi(orEmpty("WELK_SHIM_LASTING")));
    crashShimTrace(orEmpty("WELK_SHIM_TRACE"));
}

bool below(const char* path) {
    const Watch& w = watch();
    return w.size != 0 && std::strncmp(path, w.directory, w.size) == 0 &&
           (path[w.size] == '/' || path[w.size] == '\0');
}

// The path of an open file when it is watched, else empty.
std::string watchedPath(int file) {
    if (watch().size == 0) return {};
    char link[64];
    char path[4096];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const ssize_t size = ::readlink(link, path, sizeof path - 1);
    if (size <= 0) return {};
    path[size] = '\0';
    return below(path) ? path : std::string();
}

// A path as a caller gave it, made absolute; empty when it is not watched. The last part need not exist.
std::string watchedPath(const char* given) {
    if (watch().size == 0 || given == nullptr) return {};
    const std::string path(given);
    const size_t slash = path.rfind('/');
    char resolved[4096];
    const std::string parent = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    if (::realpath(parent.c_str(), resolved) == nullptr) return {};
    const std::string whole =
        std::string(resolved) + "/" + (slash == std::string::npos ? path : path.substr(slash + 1));
    return below(whole.c_str()) ? whole : std::string();
}

[[noreturn]] void die() {
    ::syscall(SYS_kill, ::getpid(), SIGKILL);
    for (;;) ::pause();
}

ShimAction nextAction() {
    Watch& w = watch();
    const int64_t number = ++w.count;
    if (w.at == 0 || number < w.at || (number > w.at && !w.lasting)) return ShimAction::None;
    return w.action;
}

void append(int file, const void* data, size_t size) {
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        const long written = ::syscall(SYS_write, file, at, size);
        if (written <= 0) std::abort();
        at += written;
        size -= static_cast<size_t>(written);
    }
}

// One record at once, so that threads do not mix theirs.
void note(TraceHeader header, const std::string& path, const std::string& second = {},
          const std::string& bytes = {}) {
    if (watch().trace < 0) return;
    header.pathSize = static_cast<uint32_t>(path.size());
    header.secondSize = static_cast<uint32_t>(second.size());
    header.byteCount = bytes.size();
    std::string record(reinterpret_cast<const char*>(&header), sizeof header);
    record.append(path).append(second).append(bytes);
    append(watch().trace, record.data(), record.size());
}

uint64_t inodeOf(int file) {
    struct stat info {};
    return ::fstat(file, &info) == 0 ? info.st_ino : 0;
}

uint64_t inodeOf(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

template <typename Result>
Result fail(int error) {
    errno = error;
    return static_cast<Result>(-1);
}

// A call that is no write: `perform` answers as the system does, `record` notes what was done.
template <typename Perform, typename Record>
int other(bool watched, Perform perform, Record record) {
    if (!watched) return perform();
    const ShimAction action = nextAction();
    if (action == ShimAction::KillBefore || action == ShimAction::KillHalf) die();
    if (action == ShimAction::Fail || action == ShimAction::Short) return fail<int>(watch().error);
    const int result = perform();
    const int error = errno;
    if (result >= 0) record(result);
    if (action == ShimAction::KillAfter) die();
    if (action == ShimAction::FailAfter) return fail<int>(watch().error);
    errno = error;
    return result;
}

// The bytes of a write, gathered; `offset` below 0: where the file stands.
ssize_t writeBytes(int file, const std::string& bytes, off64_t offset) {
    return offset < 0 ? ::syscall(SYS_write, file, bytes.data(), bytes.size())
                      : ::syscall(SYS_pwrite64, file, bytes.data(), bytes.size(), offset);
}

ssize_t tracedWrite(int file, const std::string& path, const std::string& bytes, off64_t offset) {
    off64_t at = offset;
    const int flags = ::fcntl(file, F_GETFL);
    if (at < 0) at = (flags & O_APPEND) != 0 ? ::lseek64(file, 0, SEEK_END) : ::lseek64(file, 0, SEEK_CUR);
    const ssize_t result = writeBytes(file, bytes, offset);
    const int error = errno;
    if (result > 0) {
        TraceHeader header{};
        header.kind = TraceKind::Write;
        header.synchronous = (flags & O_DSYNC) != 0 ? 1 : 0;
        header.inode = inodeOf(file);
        header.offset = static_cast<uint64_t>(at);
        note(header, path, {}, bytes.substr(0, static_cast<size_t>(result)));
    }
    errno = error;
    return result;
}

std::string gather(const struct iovec* parts, int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(static_cast<const char*>(parts[i].iov_base), parts[i].iov_len);
    return bytes;
}

ssize_t watchedWrite(int file, const std::string& path, const std::string& bytes, off64_t offset) {
    const ShimAction action = nextAction();
    if (action == ShimAction::KillBefore) die();
    if (action == ShimAction::Fail) return fail<ssize_t>(watch().error);
    const bool half = action == ShimAction::KillHalf || action == ShimAction::Short;
    const ssize_t result = tracedWrite(file, path, half ? bytes.substr(0, bytes.size() / 2) : bytes, offset);
    if (action == ShimAction::KillHalf || action == ShimAction::KillAfter) die();
    if (action == ShimAction::FailAfter) return fail<ssize_t>(watch().error);
    return result;
}

int syncCall(int file, long number) {
    const std::string path = watchedPath(file);
    return other(
        !path.empty(), [&] { return static_cast<int>(::syscall(number, file)); },
        [&](int) {
            TraceHeader header{};
            header.kind = TraceKind::Sync;
            header.inode = inodeOf(file);
            note(header, path);
        });
}

int truncateCall(int file, off64_t size) {
    const std::string path = watchedPath(file);
    return other(
        !path.empty(), [&] { return static_cast<int>(::syscall(SYS_ftruncate, file, size)); },
        [&](int) {
            TraceHeader header{};
            header.kind = TraceKind::Truncate;
            header.inode = inodeOf(file);
            header.offset = static_cast<uint64_t>(size);
            note(header, path);
        });
}

int allocateCall(int file, int mode, off64_t offset, off64_t size) {
    const std::string path = watchedPath(file);
    return other(
        !path.empty(), [&] { return static_cast<int>(::syscall(SYS_fallocate, file, mode, offset, size)); },
        [&](int) {
            struct stat info {};
            TraceHeader header{};
            header.kind = TraceKind::Truncate;
            if (::fstat(file, &info) != 0) return;
            header.inode = info.st_ino;
            header.offset = static_cast<uint64_t>(info.st_size);
            note(header, path);
        });
}

// Opening counts as a writing call when it makes or empties a file.
int openCall(int directory, const char* path, int flags, mode_t mode) {
    const auto perform = [&] {
        return static_cast<int>(::syscall(SYS_openat, directory, path, flags, mode));
    };
    if (watch().size == 0 || (flags & (O_CREAT | O_TRUNC)) == 0) return perform();
    const std::string whole = watchedPath(path);
    if (whole.empty()) return perform();
    const bool fresh = inodeOf(whole) == 0;
    if (!fresh && (flags & O_TRUNC) == 0) return perform();
    return other(true, perform, [&](int file) {
        TraceHeader header{};
        header.kind = fresh ? TraceKind::Create : TraceKind::Truncate;
        header.inode = inodeOf(file);
        note(header, whole);
    });
}

int nameCall(TraceKind kind, const char* from, const char* to, long number) {
    const std::string path = watchedPath(from);
    const std::string second = to == nullptr ? std::string() : watchedPath(to);
    return other(
        !path.empty() || !second.empty(),
        [&] {
            return static_cast<int>(to == nullptr ? ::syscall(number, from) : ::syscall(number, from, to));
        },
        [&](int) {
            TraceHeader header{};
            header.kind = kind;
            note(header, path, second);
        });
}

}  // namespace

#define SHIM_EXPORT __attribute__((visibility("default")))

extern "C" {

SHIM_EXPORT void crashShimWatch(const char* directory, int64_t at, ShimAction action, int32_t error,
                                int32_t lasting) {
    setDirectory(directory);
    Watch& w = watch();
    w.at = at;
    w.action = action;
    w.error = error;
    w.lasting = lasting != 0;
    w.count = 0;
}

SHIM_EXPORT int64_t crashShimCount() {
    return watch().count.load();
}

SHIM_EXPORT void crashShimTrace(const char* file) {
    Watch& w = watch();
    if (w.trace >= 0) ::close(w.trace);
    w.trace = -1;
    if (file == nullptr || *file == '\0') return;
    w.trace = static_cast<int>(
        ::syscall(SYS_openat, AT_FDCWD, file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    if (w.trace < 0) std::abort();
}

SHIM_EXPORT void crashShimMark(uint64_t number) {
    TraceHeader header{};
    header.kind = TraceKind::Mark;
    header.offset = number;
    note(header, {});
}

SHIM_EXPORT ssize_t write(int file, const void* data, size_t size) {
    const std::string path = watchedPath(file);
    if (path.empty()) return ::syscall(SYS_write, file, data, size);
    return watchedWrite(file, path, std::string(static_cast<const char*>(data), size), -1);
}

SHIM_EXPORT ssize_t pwrite64(int file, const void* data, size_t size, off64_t offset) {
    const std::string path = watchedPath(file);
    if (path.empty()) return ::syscall(SYS_pwrite64, file, data, size, offset);
    return watchedWrite(file, path, std::string(static_cast<const char*>(data), size), offset);
}

SHIM_EXPORT ssize_t pwrite(int file, const void* data, size_t size, off_t offset) {
    return pwrite64(file, data, size, offset);
}

SHIM_EXPORT ssize_t writev(int file, const struct iovec* parts, int count) {
    const std::string path = watchedPath(file);
    if (path.empty()) return ::syscall(SYS_writev, file, parts, count);
    return watchedWrite(file, path, gather(parts, count), -1);
}

SHIM_EXPORT ssize_t pwritev64(int file, const struct iovec* parts, int count, off64_t offset) {
    const std::string path = watchedPath(file);
    if (path.empty()) return ::syscall(SYS_pwritev, file, parts, count, offset, 0);
    return watchedWrite(file, path, gather(parts, count), offset);
}

SHIM_EXPORT ssize_t pwritev(int file, const struct iovec* parts, int count, off_t offset) {
    return pwritev64(file, parts, count, offset);
}

SHIM_EXPORT int fsync(int file) {
    return syncCall(file, SYS_fsync);
}
SHIM_EXPORT int fdatasync(int file) {
    return syncCall(file, SYS_fdatasync);
}
SHIM_EXPORT int sync_file_range(int file, off64_t offset, off64_t size, unsigned flags) {
    return other(
        !watchedPath(file).empty(),
        [&] { return static_cast<int>(::syscall(SYS_sync_file_range, file, offset, size, flags)); },
        [](int) {});  // promises nothing about the disk
}
// No data goes through a writable map; were it so, the replay of a trace would miss it and say so.
SHIM_EXPORT int msync(void* address, size_t size, int flags) {
    return other(
        watch().size != 0, [&] { return static_cast<int>(::syscall(SYS_msync, address, size, flags)); },
        [](int) {});
}
SHIM_EXPORT int ftruncate64(int file, off64_t size) noexcept {
    return truncateCall(file, size);
}
SHIM_EXPORT int ftruncate(int file, off_t size) noexcept {
    return truncateCall(file, size);
}
SHIM_EXPORT int fallocate64(int file, int mode, off64_t offset, off64_t size) {
    return allocateCall(file, mode, offset, size);
}
SHIM_EXPORT int fallocate(int file, int mode, off_t offset, off_t size) {
    return allocateCall(file, mode, offset, size);
}
SHIM_EXPORT int posix_fallocate64(int file, off64_t offset, off64_t size) {
    return allocateCall(file, 0, offset, size) == 0 ? 0 : errno;
}
SHIM_EXPORT int posix_fallocate(int file, off_t offset, off_t size) {
    return posix_fallocate64(file, offset, size);
}

SHIM_EXPORT int open64(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openCall(AT_FDCWD, path, flags, mode);
}
SHIM_EXPORT int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openCall(AT_FDCWD, path, flags, mode);
}
SHIM_EXPORT int mkdir(const char* path, mode_t mode) noexcept {
    const std::string whole = watchedPath(path);
    return other(
        !whole.empty(), [&] { return static_cast<int>(::syscall(SYS_mkdir, path, mode)); },
        [&](int) {
            TraceHeader header{};
            header.kind = TraceKind::Create;
            header.inode = inodeOf(whole);
            header.offset = 1;
            note(header, whole);
        });
}
SHIM_EXPORT int rename(const char* from, const char* to) noexcept {
    return nameCall(TraceKind::Rename, from, to, SYS_rename);
}
SHIM_EXPORT int unlink(const char* path) noexcept {
    return nameCall(TraceKind::Unlink, path, nullptr, SYS_unlink);
}

}  // extern "C"
