// The operating system behind one header: nothing else of the engine includes system headers or asks which
// system it runs on. platform_posix.cpp is the built and tested half.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace wsql::platform {

// ---- process heap ----
// One allocator for everything that may reach the host, which releases it with free(). Fresh bytes are zero.

// size bytes, all zero; at least one byte is allocated. Throws std::bad_alloc.
void* heapAllocate(std::size_t size);
// Grows a block (or null) from oldSize to newSize bytes, zeroes what is new and returns its new place. The
// old block is gone on success and untouched when std::bad_alloc is thrown.
void* heapGrow(void* block, std::size_t oldSize, std::size_t newSize);
void heapFree(void* block) noexcept;

// Gives memory that was freed back to the system.
void heapTrim() noexcept;

struct HeapFree {
    void operator()(void* block) const noexcept { heapFree(block); }
};
using HeapText = std::unique_ptr<char, HeapFree>;

// A NUL-terminated copy of length bytes on the process heap.
HeapText heapCopy(const char* text, std::size_t length);

// ---- environment and places ----

// The value of an environment variable, at most limit bytes of it; nothing when it is not set. Reads are
// serialised among the engine's threads, but a host that calls setenv at the same time breaks the rules of
// the C library.
std::optional<std::string> environment(const char* name, std::size_t limit);

// The installation directory (WDBS_HOME, at most 511 bytes); nothing when the machine names none.
std::optional<std::string> installationDirectory();

// What follows the installation directory to name the settings file, and the file that is read when that one
// is missing.
inline constexpr const char* kSettingsFileTail = "/conf/wdbs.conf";
inline constexpr const char* kSettingsFileFallback = "/etc/WELKrcs";

inline constexpr char kPathSeparator = '/';

// TMPDIR, else /tmp; without a trailing separator.
std::string temporaryDirectory();

// ---- files ----
enum class FileKind { kMissing, kDirectory, kOther };

// Follows links. A path that cannot be examined counts as missing.
FileKind fileKind(const char* path);

// The form in which the system opens a file name that a user typed: as it stands here; elsewhere the long
// form of a name that begins with two backslashes.
std::string openableFileName(const char* name);

// Names (without directory) of the entries that end in ".conf", in name order. Empty when the directory
// cannot be read.
std::vector<std::string> confFiles(const char* directory);

struct FileClose {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};
using FileStream = std::unique_ptr<std::FILE, FileClose>;

// Opens an ordinary file for reading; nothing for a directory, a pipe or a device, which are never waited
// for.
FileStream openRegularFile(const char* path);

// The number of bytes of a stream, which is put to its start; -1 when it cannot be told.
std::int64_t streamSize(std::FILE* stream);

// Failure is ignored: the caller has no use for it.
void deleteFile(const char* path) noexcept;

enum class LogMode { kAppend, kTruncate };

// Opens a log file for its owner alone (mode 0600), never through a symbolic link, never a pipe or a device.
// Null when it cannot be opened.
std::FILE* openLogFile(const char* path, LogMode mode);

// ---- processes, threads, time ----
std::int32_t processId();
std::uint32_t threadId();

struct LocalTime {
    int year;   // 4 digits
    int month;  // 1 to 12
    int day;    // 1 to 31
    int hour, minute, second, millisecond;
    int weekday;  // 0 is Sunday
};
LocalTime localTime();

// "Thu Nov 21 02:27:00": English names whatever the locale, 19 characters.
std::string logTimeText(const LocalTime& time);

// Seconds since some fixed moment; never goes back.
double monotonicSeconds();
void sleepMilliseconds(int milliseconds);

// ---- text ----
// printf-style formatting with "." as decimal point whatever the host's locale. Writes at most size - 1
// characters and a NUL; returns the length that the whole text has (below 0 for a format that cannot be
// written). A null %s is the caller's error: pass "(null)".
int formatText(char* buffer, std::size_t size, const char* format, std::va_list arguments)
    __attribute__((format(printf, 3, 0)));

}  // namespace wsql::platform
