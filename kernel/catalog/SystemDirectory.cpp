#include "kernel/catalog/SystemDirectory.h"

#include "kernel/catalog/CatalogLayout.h"
#include "kernel/catalog/FileSystem.h"
#include "kernel/catalog/Names.h"
#include "kernel/catalog/Passwords.h"
#include "kernel/common/Ascii.h"
#include "kernel/storage/OpenFiles.h"

namespace wdb {

using namespace catalog_layout;

namespace {

constexpr std::chrono::milliseconds kCreatePatience{10000};
constexpr std::chrono::milliseconds kRepairPatience{2000};
const char* const kDefaultBases = "WELKSQL_BASES";

}  // namespace

Result<std::shared_ptr<SystemDirectory>> SystemDirectory::open(const std::string& home,
                                                               const DirectoryOptions& options) {
    if (home.empty()) return Status{WDB_E_ARGUMENT};
    if (options.create && !file_system::exists(home)) static_cast<void>(file_system::makeDirectory(home));
    if (!file_system::isDirectory(home)) return Status{WDB_E_ARGUMENT};
    const auto id = fileId(home);
    if (!id) return Status{WDB_E_ARGUMENT};
    return OpenFiles::ofProcess().share<SystemDirectory>(
        *id, [&] { return make(file_system::resolve(home), options); });
}

Result<std::unique_ptr<SystemDirectory>> SystemDirectory::make(const std::string& home,
                                                               const DirectoryOptions& options) {
    if (file_system::isRemote(home)) return Status{WDB_E_STORAGE};
    std::unique_ptr<SystemDirectory> made(new SystemDirectory);
    made->home_ = home;
    made->readOnly_ = options.readOnly;
    const bool present = file_system::exists(home + "/system.mdb");
    if (!present && !options.create) return Status{WDB_E_ARGUMENT};
    if (!present && !validUserName(options.owner)) return Status{WDB_E_USER};
    auto lock = WriterLock::open(home + "/writer.lock");
    if (!lock) return lock.status();
    made->lock_ = std::move(*lock);
    if (!present) WDB_TRY(made->createCatalog(options));
    WDB_TRY(made->openCatalog(options.readOnly));
    return made;
}

SystemDirectory::~SystemDirectory() = default;

// The catalogue is made under another name and gets its own when it is whole and on the disk.
Status SystemDirectory::createCatalog(const DirectoryOptions& options) {
    const auto hold = lock_->acquire(kCreatePatience);
    if (!hold) return hold.status();
    const std::string path = home_ + "/system.mdb";
    if (file_system::exists(path)) return WDB_OK;  // another process was faster
    const std::string working = home_ + "/system.new";
    file_system::removeStorage(working);
    const auto hash = hashPassword(options.password);
    if (!hash) return hash.status();
    {
        EnvironmentOptions making;
        making.create = making.unpublished = true;
        auto catalog = Environment::open(working, kTables, making);
        if (!catalog) return catalog.status();
        auto txn = (*catalog)->write();
        if (!txn) return txn.status();
        const UserRecord owner{options.owner, *hash, WDB_USER_ADMIN | WDB_USER_CREATE};
        WDB_TRY(txn->put(kMeta, kMetaKey, encodeMeta({})));
        WDB_TRY(txn->put(kUsers, foldName(owner.name), encodeUser(owner)));
        WDB_TRY(txn->commit());
        WDB_TRY((*catalog)->sync());
    }
    WDB_TRY(file_system::makeDirectory(home_ + "/bases"));
    WDB_TRY(file_system::rename(working, path));
    file_system::removeStorage(working);  // the file of its locks
    return file_system::syncDirectory(home_);
}

Status SystemDirectory::openCatalog(bool readOnly) {
    EnvironmentOptions options;
    options.readOnly = readOnly;
    options.walkAlways = true;  // it is small, and nobody asks for it to be verified
    auto catalog = Environment::open(home_ + "/system.mdb", kTables, options);
    if (!catalog) return catalog.status();
    catalog_ = std::move(*catalog);
    fileSettings_ = parseSettings(file_system::read(home_ + "/conf/welk.rcs"));
    WDB_TRY(refresh());
    const auto hold = lock_->acquire(std::chrono::milliseconds(0));
    // While somebody writes, what looks left over may be in the making; it is removed at the next occasion.
    if (!hold || catalog_->readOnly()) return WDB_OK;
    lock_->catalogVersion().endChange();   // of a process that died at it
    static_cast<void>(finishUnit(*hold));  // what fails is for the next writer to try again
    return removeLeftovers(*hold);
}

Result<WriterHold> SystemDirectory::acquireWriter(std::chrono::milliseconds patience) {
    auto hold = lock_->acquire(patience);
    if (hold && lock_->unitPending().load() != 0) WDB_TRY(finishUnit(*hold));
    return hold;
}

bool SystemDirectory::current() const {
    const uint64_t version = lock_->catalogVersion().load();
    return SharedCounter::settled(version) && version == cachedVersion_;
}

Status SystemDirectory::refresh() {
    // The version before the contents: what is read may be newer than it says, never older.
    const uint64_t version = lock_->catalogVersion().load();
    const auto txn = catalog_->read();
    if (!txn) return txn.status();
    const auto meta = readMeta(*txn);
    if (!meta) return meta.status();
    Entries entries;
    Texts settings;
    WDB_TRY(readEntries(*txn, entries));
    WDB_TRY(readSettings(*txn, settings));
    const std::unique_lock lock(mutex_);
    replaceEntries(std::move(entries));
    settings_ = std::move(settings);
    cachedVersion_ = version;
    return WDB_OK;
}

Status SystemDirectory::readEntries(const Txn& txn, Entries& entries) const {
    Cursor cursor = txn.cursor(kBases);
    Status status = cursor.first();
    for (; ok(status); status = cursor.next()) {
        auto definition = decodeDefinition(cursor.value());
        if (!definition) return definition.status();
        definition->directory = fullPath(definition->directory);
        entries.emplace(std::string(cursor.key()),
                        Entry{std::make_shared<const BaseDefinition>(std::move(*definition)), nullptr});
    }
    return status == WDB_FAIL ? WDB_OK : status;
}

Status SystemDirectory::readSettings(const Txn& txn, Texts& settings) const {
    Cursor cursor = txn.cursor(kSettings);
    Status status = cursor.first();
    for (; ok(status); status = cursor.next()) settings.emplace(cursor.key(), cursor.value());
    return status == WDB_FAIL ? WDB_OK : status;
}

// Bases that stay keep what they have open. A base whose new index files cannot be opened is opened afresh
// when somebody asks for it.
void SystemDirectory::replaceEntries(Entries entries) {
    for (auto& [name, old] : entries_) {
        if (old.base == nullptr) continue;
        const auto found = entries.find(name);
        if (found == entries.end() || found->second.definition->id != old.definition->id) {
            old.base->setGone();
        } else if (found->second.definition->version < old.definition->version) {
            found->second = std::move(old);  // another thread has read later
        } else if (ok(old.base->refresh(found->second.definition))) {
            found->second.base = std::move(old.base);
        }
    }
    entries_ = std::move(entries);
    referrers_.clear();
    for (const auto& [name, entry] : entries_) {
        for (const ReferenceRule& rule : entry.definition->rules)
            referrers_[foldName(rule.table)].push_back({entry.definition, rule});
    }
}

Result<std::shared_ptr<OpenBase>> SystemDirectory::find(Slice name, const WriterHold* hold) {
    const std::string key = foldName(name);
    for (int attempt = 0; attempt < 2; ++attempt) {
        {
            const std::shared_lock lock(mutex_);
            if (current()) {
                const auto place = entries_.find(key);
                if (place == entries_.end()) return Status{WDB_E_BASE};
                if (place->second.base != nullptr) return place->second.base;
            }
        }
        WDB_TRY(refresh());
        auto base = openBase(key, hold);
        // Between reading the names and opening them the files may have been replaced: look at the names
        // again.
        if (base || base.status() == WDB_E_BASE || attempt > 0) return base;
    }
    return Status{WDB_E_BASE};
}

Result<std::shared_ptr<OpenBase>> SystemDirectory::openBase(const std::string& key, const WriterHold* hold) {
    std::shared_ptr<const BaseDefinition> definition;
    {
        const std::shared_lock lock(mutex_);
        const auto place = entries_.find(key);
        if (place == entries_.end()) return Status{WDB_E_BASE};
        if (place->second.base != nullptr) return place->second.base;
        definition = place->second.definition;
    }
    auto base = OpenBase::open(definition, readOnly_);
    if (!base) return base.status();
    (*base)->setCatalog([directory = weak_from_this()] {
        const auto live = directory.lock();
        return live == nullptr ? WDB_OK : live->ensureCurrent();
    });
    if (!ok((*base)->useIndex())) WDB_TRY(repairIndex(**base, hold));
    const std::unique_lock lock(mutex_);
    const auto place = entries_.find(key);
    if (place == entries_.end() || place->second.definition->id != definition->id) return Status{WDB_E_BASE};
    if (place->second.base == nullptr) {
        WDB_TRY((*base)->refresh(place->second.definition));
        place->second.base = std::move(*base);
    }
    return place->second.base;
}

Status SystemDirectory::repairIndex(OpenBase& base, const WriterHold* hold) {
    WriterHold own;
    if (hold == nullptr) {
        auto acquired = lock_->acquire(kRepairPatience);
        if (!acquired) return acquired.status();
        own = std::move(*acquired);
    }
    // Somebody may have built the files, or new ones under other names, while the lock was waited for.
    WDB_TRY(refresh());
    const auto now = definition(base.definition()->name);
    if (!now) return now.status();
    if (ok(base.refresh(*now)) && ok(base.useIndex())) return WDB_OK;
    return buildIndex(base, hold == nullptr ? own : *hold);
}

Status SystemDirectory::ensureCurrent() {
    {
        const std::shared_lock lock(mutex_);
        if (current()) return WDB_OK;
    }
    return refresh();
}

Result<std::shared_ptr<const BaseDefinition>> SystemDirectory::definition(Slice name) {
    WDB_TRY(ensureCurrent());
    const std::shared_lock lock(mutex_);
    const auto place = entries_.find(foldName(name));
    if (place == entries_.end()) return Status{WDB_E_BASE};
    return place->second.definition;
}

Result<std::vector<Referrer>> SystemDirectory::referrers(Slice name) {
    WDB_TRY(ensureCurrent());
    const std::shared_lock lock(mutex_);
    if (referrers_.empty()) return std::vector<Referrer>();
    const auto place = referrers_.find(foldName(name));
    return place == referrers_.end() ? std::vector<Referrer>() : place->second;
}

Result<std::vector<std::shared_ptr<const BaseDefinition>>> SystemDirectory::definitions() {
    WDB_TRY(ensureCurrent());
    std::vector<std::shared_ptr<const BaseDefinition>> all;
    const std::shared_lock lock(mutex_);
    for (const auto& [name, entry] : entries_) all.push_back(entry.definition);
    return all;
}

Result<ReadTxn> SystemDirectory::readCatalog() {
    return catalog_->read();
}

std::optional<std::string> SystemDirectory::setting(Slice name) {
    std::optional<std::string> value;
    settings({&name, 1}, {&value, 1});
    return value;
}

void SystemDirectory::settings(std::span<const Slice> names, std::span<std::optional<std::string>> values) {
    static_cast<void>(ensureCurrent());  // a damaged catalogue leaves what was known
    const std::shared_lock lock(mutex_);
    for (size_t i = 0; i < names.size(); ++i) {
        if (!values[i]) values[i] = knownSetting(names[i]);
    }
}

std::optional<std::string> SystemDirectory::knownSetting(Slice name) const {
    // Most directories have none.
    if (settings_.empty() && fileSettings_.empty() && !equalsIgnoreCase(trimName(name), kDefaultBases))
        return std::nullopt;
    const std::string key = foldName(name);
    if (const auto place = settings_.find(key); place != settings_.end()) return place->second;
    if (const auto place = fileSettings_.find(key); place != fileSettings_.end()) return place->second;
    if (key == kDefaultBases) return home_ + "/bases";
    return std::nullopt;
}

}  // namespace wdb
