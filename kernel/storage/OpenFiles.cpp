#include "kernel/storage/OpenFiles.h"

#include <sys/stat.h>
#include <cerrno>

namespace wdb {

Result<FileId> fileId(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        return errno == ENOENT || errno == ENOTDIR ? Status{WDB_FAIL} : Status{WDB_E_STORAGE};
    }
    return FileId{static_cast<uint64_t>(info.st_dev), static_cast<uint64_t>(info.st_ino)};
}

OpenFiles& OpenFiles::ofProcess() {
    // Never destroyed: sessions of threads that outlive main still close their files through it.
    static OpenFiles& files = *new OpenFiles;
    return files;
}

std::shared_ptr<void> OpenFiles::find(const FileId& id) {
    std::unique_lock lock(mutex_);
    for (;;) {
        const auto [place, added] = files_.try_emplace(id);
        if (added) return nullptr;
        if (auto present = place->second.lock()) return present;
        changed_.wait(lock);
    }
}

void OpenFiles::settle(const FileId& id, const std::shared_ptr<void>& object) {
    std::lock_guard lock(mutex_);
    files_[id] = object;
    changed_.notify_all();
}

void OpenFiles::forget(const FileId& id) {
    std::lock_guard lock(mutex_);
    files_.erase(id);
    changed_.notify_all();
}

}  // namespace wdb
