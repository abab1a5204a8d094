#include <dirent.h>
#include <fcntl.h>
#include <locale.h>
#include <malloc.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "src/support/platform.h"

namespace wsql::platform {

namespace {
// A call of its own: next to the clearing of its block the compiler makes calloc of it.
[[gnu::noinline]] void* smallBlock(std::size_t size) {
    return std::realloc(nullptr, size);
}
}  // namespace

void* heapAllocate(std::size_t size) {
    // The C library keeps small blocks at hand for malloc and realloc only.
    constexpr std::size_t kSmall = 1032;
    size = std::max<std::size_t>(size, 1);
    void* block = size <= kSmall ? smallBlock(size) : std::calloc(1, size);
    if (block == nullptr) throw std::bad_alloc();
    if (size <= kSmall) std::memset(block, 0, size);
    return block;
}

void* heapGrow(void* block, std::size_t oldSize, std::size_t newSize) {
    if (block == nullptr) return heapAllocate(newSize);
    void* grown = std::realloc(block, std::max<std::size_t>(newSize, 1));
    if (grown == nullptr) throw std::bad_alloc();
    if (newSize > oldSize) std::memset(static_cast<char*>(grown) + oldSize, 0, newSize - oldSize);
    return grown;
}

void heapTrim() noexcept {
    malloc_trim(0);
}

void heapFree(void* block) noexcept {
    std::free(block);
}

HeapText heapCopy(const char* text, std::size_t length) {
    HeapText copy(static_cast<char*>(heapAllocate(length + 1)));
    if (length > 0) std::memcpy(copy.get(), text, length);
    return copy;
}

namespace {
std::mutex& environmentLock() {
    static std::mutex lock;
    return lock;
}
}  // namespace

std::optional<std::string> environment(const char* name, std::size_t limit) {
    const std::lock_guard<std::mutex> guard(environmentLock());
    const char* value = std::getenv(name);
    if (value == nullptr) return std::nullopt;
    return std::string(value, strnlen(value, limit));
}

std::optional<std::string> installationDirectory() {
    std::optional<std::string> home = environment("WDBS_HOME", 511);
    if (home && home->empty()) return std::nullopt;
    return home;
}

std::string temporaryDirectory() {
    std::string directory = environment("TMPDIR", 4096).value_or("");
    while (directory.size() > 1 && directory.back() == '/') directory.pop_back();
    return directory.empty() ? "/tmp" : directory;
}

FileKind fileKind(const char* path) {
    struct stat info {};
    if (stat(path, &info) != 0) return FileKind::kMissing;
    return S_ISDIR(info.st_mode) ? FileKind::kDirectory : FileKind::kOther;
}

std::string openableFileName(const char* name) {
    return name;
}

std::vector<std::string> confFiles(const char* directory) {
    std::vector<std::string> names;
    DIR* entries = opendir(directory);
    if (entries == nullptr) return names;
    while (const dirent* entry = readdir(entries)) {
        const std::string name = entry->d_name;
        if (name.size() >= 5 && name.compare(name.size() - 5, 5, ".conf") == 0) names.push_back(name);
    }
    closedir(entries);
    std::sort(names.begin(), names.end());
    return names;
}

void deleteFile(const char* path) noexcept {
    (void)unlink(path);
}

FileStream openRegularFile(const char* path) {
    const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    struct stat info {};
    if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) {
        close(descriptor);
        return nullptr;
    }
    FileStream stream(fdopen(descriptor, "rb"));
    if (!stream) close(descriptor);
    return stream;
}

std::int64_t streamSize(std::FILE* stream) {
    const std::int64_t size = fseeko(stream, 0, SEEK_END) == 0 ? ftello(stream) : -1;
    return fseeko(stream, 0, SEEK_SET) == 0 ? size : -1;
}

std::FILE* openLogFile(const char* path, LogMode mode) {
    // In a directory that others may write to, a pipe of that name must not make the caller wait.
    const int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC |
                      (mode == LogMode::kAppend ? O_APPEND : O_TRUNC);
    const int descriptor = open(path, flags, 0600);
    if (descriptor < 0) return nullptr;
    struct stat info {};
    if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) {
        close(descriptor);
        return nullptr;
    }
    std::FILE* stream = fdopen(descriptor, mode == LogMode::kAppend ? "ab" : "wb");
    if (stream == nullptr) close(descriptor);
    return stream;
}

std::int32_t processId() {
    return static_cast<std::int32_t>(getpid());
}
std::uint32_t threadId() {
    return static_cast<std::uint32_t>(syscall(SYS_gettid));
}

LocalTime localTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    localtime_r(&now.tv_sec, &parts);
    return {parts.tm_year + 1900,
            parts.tm_mon + 1,
            parts.tm_mday,
            parts.tm_hour,
            parts.tm_min,
            parts.tm_sec,
            static_cast<int>(now.tv_nsec / 1000000),
            parts.tm_wday};
}

std::string logTimeText(const LocalTime& time) {
    static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    char text[64];
    std::snprintf(text, sizeof text, "%s %s %2d %02d:%02d:%02d", kDays[time.weekday % 7],
                  kMonths[(time.month - 1) % 12], time.day, time.hour, time.minute, time.second);
    return text;
}

double monotonicSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void sleepMilliseconds(int milliseconds) {
    timespec rest{milliseconds / 1000, (milliseconds % 1000) * 1000000L};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}

namespace {
// Numbers carry a point while one of these lives, whatever the host has set for this thread or for the
// process.
class PlainNumbers {
public:
    PlainNumbers()
        : plain_(newlocale(LC_ALL_MASK, "C", nullptr)),
          before_(plain_ != nullptr ? uselocale(plain_) : nullptr) {}
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;
    ~PlainNumbers() {
        if (plain_ == nullptr) return;
        uselocale(before_);
        freelocale(plain_);
    }

private:
    locale_t plain_;
    locale_t before_;
};
}  // namespace

int formatText(char* buffer, std::size_t size, const char* format, std::va_list arguments) {
    const PlainNumbers plainNumbers;
    return std::vsnprintf(buffer, size, format, arguments);
}

}  // namespace wsql::platform
