#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "kernel/catalog/BaseDefinition.h"
#include "kernel/catalog/OpenBase.h"
#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/storage/Environment.h"
#include "kernel/storage/WriterLock.h"

namespace wdb {

struct UserRecord {
    std::string name;          // the spelling given
    std::string passwordHash;  // argon2id, empty: no password
    uint32_t rights = 0;       // WDB_USER_...
};

struct DirectoryOptions {
    bool create = false;      // make the catalogue when there is none, with `owner` as administrator
    bool readOnly = false;
    std::string owner;
    std::string password;
};

// A home directory: the catalogue `system.mdb` with bases, users and lasting settings, the writer's lock, and the bases
// that the process has open. One per directory and process, shared by its sessions; safe from all threads.
class SystemDirectory : public std::enable_shared_from_this<SystemDirectory> {
public:
    // WDB_E_ARGUMENT when there is no such directory (it is made with `create`, its parent must exist), WDB_E_STORAGE
    // (also for a remote file system), WDB_E_CORRUPT. Removes files that a cut-short job left behind.
    static Result<std::shared_ptr<SystemDirectory>> open(const std::string& home, const DirectoryOptions& options);
    ~SystemDirectory();

    const std::string& home() const { return home_; }

    // --- bases ---
    // The open base of that name, as the catalogue has it now: one atomic load when nothing changed. WDB_E_BASE when
    // there is none.
    Result<std::shared_ptr<OpenBase>> find(Slice name);
    // Its definition without opening files. WDB_E_BASE.
    Result<std::shared_ptr<const BaseDefinition>> definition(Slice name);
    // All definitions by name.
    Result<std::vector<std::shared_ptr<const BaseDefinition>>> definitions();

    // --- the writer ---
    Result<WriterHold> acquireWriter(std::chrono::milliseconds patience) { return lock_->acquire(patience); }

    // --- changes: the caller holds the writer's lock ---
    // Makes the files of a new base and names them; the definition gets its id, directory entries and version.
    Status createBase(BaseDefinition definition, int64_t now, const WriterHold& hold);
    // Stores a changed definition; with other index file names the old files go.
    Status storeBase(BaseDefinition definition, const WriterHold& hold);
    // Paths of a new generation of index files, noted so that they are removed should the job not come to its end.
    Status planIndexFiles(BaseDefinition& definition, const WriterHold& hold);
    // Removes the files that no entry names.
    Status removeLeftovers(const WriterHold& hold);

    // --- users ---
    // WDB_E_USER when the user is unknown or the password is wrong.
    Result<UserRecord> authenticate(Slice name, Slice password);
    Status storeUser(const UserRecord& user, const WriterHold& hold);

    // --- lasting settings, names without regard to case; then the lines of conf/welk.rcs ---
    std::optional<std::string> setting(Slice name);
    Status storeSetting(Slice name, std::optional<Slice> value, const WriterHold& hold);

private:
    struct Entry {
        std::shared_ptr<const BaseDefinition> definition;
        std::shared_ptr<OpenBase> base;  // when somebody asked for it
    };
    using Entries = std::map<std::string, Entry, std::less<>>;  // by foldName
    SystemDirectory() = default;
    Status initialize(const DirectoryOptions& options);
    Status reload();
    Status publish(WriteTxn& txn, const WriterHold& hold);

    std::string home_;
    bool readOnly_ = false;
    std::shared_ptr<WriterLock> lock_;
    std::shared_ptr<Environment> catalog_;
    mutable std::shared_mutex mutex_;  // guards what follows
    uint64_t cachedVersion_ = 1;       // shared counter under which entries_ and settings_ were read; odd: none
    Entries entries_;
    std::map<std::string, std::string, std::less<>> settings_;
    std::map<std::string, std::string, std::less<>> fileSettings_;
};

}  // namespace wdb
