#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <span>
#include <string>
#include <vector>

#include "include/wdb.h"
#include "kernel/catalog/BaseDefinition.h"
#include "kernel/catalog/OpenBase.h"
#include "kernel/catalog/UnitRecord.h"
#include "kernel/common/Ids.h"
#include "kernel/common/Progress.h"
#include "kernel/common/Status.h"
#include "kernel/storage/Environment.h"
#include "kernel/storage/WriterLock.h"

namespace wdb {

struct UserRecord {
    std::string name;          // the spelling given
    std::string passwordHash;  // argon2id, empty: no password
    uint32_t rights = 0;       // WDB_USER_...
};

// A rule of a base, seen from the base that it refers to.
struct Referrer {
    std::shared_ptr<const BaseDefinition> base;  // the referring one
    ReferenceRule rule;
};

struct DirectoryOptions {
    bool create = false;  // make the catalogue when there is none, with `owner` as administrator
    bool readOnly = false;
    std::string owner;
    std::string password;
};

// A home directory: the catalogue `system.mdb` with bases, users and lasting settings, the writer's lock, and
// the bases that the process has open. One per directory and process, shared by its sessions; safe from all
// threads.
class SystemDirectory : public std::enable_shared_from_this<SystemDirectory> {
public:
    // WDB_E_ARGUMENT when there is no such directory (it is made with `create`, its parent must exist),
    // WDB_E_STORAGE (also for a remote file system), WDB_E_CORRUPT. Removes files that a cut-short job left
    // behind.
    static Result<std::shared_ptr<SystemDirectory>> open(const std::string& home,
                                                         const DirectoryOptions& options);
    ~SystemDirectory();

    const std::string& home() const { return home_; }

    // --- bases ---
    // The open base of that name, as the catalogue has it now: one atomic load when nothing changed.
    // WDB_E_BASE when there is none. `hold`: the writer's lock, from a caller that has it; index files that
    // are to be built anew are built under it.
    Result<std::shared_ptr<OpenBase>> find(Slice name, const WriterHold* hold = nullptr);
    // Its definition without opening files. WDB_E_BASE.
    Result<std::shared_ptr<const BaseDefinition>> definition(Slice name);
    // The rules of all bases, its own ones included, that refer to a base, by the referring base's name.
    Result<std::vector<Referrer>> referrers(Slice name);
    // The catalogue as it is now, for a copy.
    Result<ReadTxn> readCatalog();
    // All definitions by name.
    Result<std::vector<std::shared_ptr<const BaseDefinition>>> definitions();

    // --- the writer ---
    // Waits at most so long: WDB_E_LOCKED. Finishes the unit over several bases that somebody left half
    // committed.
    Result<WriterHold> acquireWriter(std::chrono::milliseconds patience);
    // Keeps the writes of a unit, durably, until dropUnit(); finishUnit() does what of them is not done yet.
    // `identity` names the record for refuseUnit().
    Status storeUnit(const std::vector<BaseWrites>& bases, uint64_t& identity, const WriterHold& hold);
    Status dropUnit(const WriterHold& hold);
    // Drops the record of a unit of which no base was committed; should the record not go, nobody finishes
    // it.
    void refuseUnit(uint64_t identity, const WriterHold& hold);
    Status finishUnit(const WriterHold& hold);

    // --- changes: the caller holds the writer's lock ---
    // Makes the files of a new base in definition.directory and names them; the definition gets its id, file
    // names and version. WDB_E_EXISTS when there is a base of that name.
    Status createBase(BaseDefinition definition, int64_t now, const WriterHold& hold);
    // Stores a changed definition, with the next version; when it names other files the old ones go.
    // WDB_E_BASE.
    Status storeBase(BaseDefinition definition, const WriterHold& hold);
    // Takes a base out of the catalogue, with the rules of others that refer to it, and then its files.
    // WDB_E_BASE.
    Status dropBase(Slice name, const WriterHold& hold);
    // Names a new generation of index files in the definition and notes them, so that they are removed should
    // the job that makes them not come to its end.
    Status planIndexFiles(BaseDefinition& definition, const WriterHold& hold);
    // The same for all three files.
    Status planFiles(BaseDefinition& definition, const WriterHold& hold);
    // Builds the index files of a base anew from its records and publishes them. `progress`, which may be
    // null, counts records.
    Status buildIndex(OpenBase& base, const WriterHold& hold, Progress* progress = nullptr);
    // Removes the files that no entry names.
    Status removeLeftovers(const WriterHold& hold);

    // Moves whenever something in the catalogue changed, in whichever process; unsettled (SharedCounter)
    // while it is changing.
    uint64_t version() const { return lock_->catalogVersion().load(); }

    // --- users and their rights ---
    // WDB_E_USER when the user is unknown or the password is wrong, after the same time in both cases.
    Result<UserRecord> authenticate(Slice name, Slice password) const;
    // WDB_E_USER when there is none.
    Result<UserRecord> user(Slice name) const;
    // The first user behind a name, which need not be a user's, by folded name. WDB_FAIL behind the last one.
    Result<UserRecord> nextUser(Slice name) const;
    // Adds or changes a user. WDB_E_RIGHT when no administrator would be left.
    Status storeUser(const UserRecord& user, const WriterHold& hold);
    // Removes a user with the access records. WDB_E_USER; WDB_E_RIGHT for the last administrator.
    Status removeUser(Slice name, const WriterHold& hold);
    // The access record of a base for a name, which need not be a user's: zeroes when there is none.
    Result<WdbAccessRecord> accessRecord(BaseId base, Slice name) const;
    // WDB_E_BASE when the base is not there any more.
    Status storeAccess(const BaseDefinition& base, Slice name, const WdbAccessRecord& record,
                       const WriterHold& hold);

    // --- lasting settings, names without regard to case; then the lines of conf/welk.rcs ---
    std::optional<std::string> setting(Slice name);
    // The same for several names, of which those that have a value keep it.
    void settings(std::span<const Slice> names, std::span<std::optional<std::string>> values);
    Status storeSetting(Slice name, std::optional<Slice> value, const WriterHold& hold);

private:
    struct Entry {
        std::shared_ptr<const BaseDefinition> definition;
        std::shared_ptr<OpenBase> base;  // when somebody asked for it
    };
    using Entries = std::map<std::string, Entry, std::less<>>;  // by foldName
    using Referrers =
        std::map<std::string, std::vector<Referrer>, std::less<>>;  // by foldName of the referred
    using Texts = std::map<std::string, std::string, std::less<>>;

    SystemDirectory() = default;
    static Result<std::unique_ptr<SystemDirectory>> make(const std::string& home,
                                                         const DirectoryOptions& options);
    Status createCatalog(const DirectoryOptions& options);
    Status openCatalog(bool readOnly);

    // What is cached is what the catalogue says now; reads it again when not.
    bool current() const;
    Status ensureCurrent();
    Status refresh();
    // Under the mutex.
    std::optional<std::string> knownSetting(Slice name) const;
    Status readEntries(const Txn& txn, Entries& entries) const;
    Status readSettings(const Txn& txn, Texts& settings) const;
    void replaceEntries(Entries entries);
    Result<std::shared_ptr<OpenBase>> openBase(const std::string& key, const WriterHold* hold);
    Status repairIndex(OpenBase& base, const WriterHold* hold);

    // A change of the catalogue: `change` fills the transaction, which is then committed between two steps of
    // the version.
    Status publish(const std::function<Status(WriteTxn&)>& change);
    // Paths below the home directory are stored relative to it, so that it can be moved or copied.
    std::string storedPath(const std::string& path) const;
    std::string fullPath(Slice stored) const;
    Status noteFiles(const std::vector<std::string>& paths);

    std::string home_;
    bool readOnly_ = false;
    std::shared_ptr<WriterLock> lock_;
    std::shared_ptr<Environment> catalog_;
    Texts fileSettings_;               // of conf/welk.rcs, by folded name
    mutable std::shared_mutex mutex_;  // guards what follows
    uint64_t cachedVersion_ = 1;       // version under which the rest was read; odd: none
    Entries entries_;
    Referrers referrers_;
    Texts settings_;
};

}  // namespace wdb
