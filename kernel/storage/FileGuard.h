#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "kernel/common/Status.h"

namespace wdb {

// What a process does around the use of a storage file, so that damage is met before the storage library is.
// While a file is in use each process holds a shared lock on it; the first one to come is alone for a moment
// and looks whether the file is as the last one noted it at its end: size, time of change, last transaction.
// If not, its last whole state is put in force (CommitSeal.h) and the whole file is walked. The note is the
// file `PATH-clean`; to lose it costs a walk.
class FileGuard {
public:
    // Waits while another process walks the file. With `always` the first one walks the file whatever the
    // note says. A `fresh` file was made by the caller and is not looked at. WDB_E_CORRUPT, WDB_E_STORAGE,
    // WDB_E_LOCKED when another process walks it for a very long time.
    static Result<std::unique_ptr<FileGuard>> open(const std::string& path, bool fresh, bool always);
    FileGuard(const FileGuard&) = delete;
    FileGuard& operator=(const FileGuard&) = delete;
    // The storage library has closed the file. The last process gives free space back and notes what it
    // leaves.
    ~FileGuard();

    // Open for reading, and for writing where the file may be written.
    int file() const { return file_; }

private:
    explicit FileGuard(std::string path) : path_(std::move(path)) {}
    Status enter(bool fresh, bool always);
    Status inspect(bool always) const;
    std::string note() const;
    void writeNote() const;

    const std::string path_;
    int file_ = -1;
    bool sound_ = false;
};

}  // namespace wdb
