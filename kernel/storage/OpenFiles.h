#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "kernel/common/Status.h"

namespace wdb {

// What identifies a file or directory, whatever path leads to it.
struct FileId {
    uint64_t device = 0;
    uint64_t inode = 0;
    auto operator<=>(const FileId&) const = default;
};

// By stat, without opening: closing a second descriptor of a storage file would drop the locks of the first
// one. WDB_FAIL when there is nothing under the path, else WDB_E_STORAGE.
Result<FileId> fileId(const std::string& path);

// The storage's files must be opened once per process, so the process keeps a list of them. It is the only
// state that is not handed down: two parts of a process that know nothing of each other still share a file.
class OpenFiles {
public:
    static OpenFiles& ofProcess();

    // The object that is open for the file, or the one that `open` makes. While one thread opens or closes
    // it, the others that ask for the same file wait.
    template <typename T>
    Result<std::shared_ptr<T>> share(const FileId& id,
                                     const std::function<Result<std::unique_ptr<T>>()>& open) {
        if (std::shared_ptr<void> present = find(id)) return std::static_pointer_cast<T>(present);
        Result<std::unique_ptr<T>> made(WDB_E_MEMORY);
        try {
            made = open();
        } catch (...) {
            forget(id);
            throw;
        }
        if (!made) {
            forget(id);
            return made.status();
        }
        std::shared_ptr<T> shared(made->release(), [this, id](T* object) {
            delete object;
            forget(id);
        });
        settle(id, shared);
        return shared;
    }

private:
    OpenFiles() = default;
    // The open object, or null with the file reserved for the caller, who ends with settle() or forget().
    std::shared_ptr<void> find(const FileId& id);
    void settle(const FileId& id, const std::shared_ptr<void>& object);
    void forget(const FileId& id);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<FileId, std::weak_ptr<void>> files_;  // an expired pointer: being opened or closed
};

}  // namespace wdb
