#include "kernel/storage/Environment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

#include "kernel/storage/LmdbStatus.h"
#include "kernel/storage/OpenFiles.h"
#include "kernel/storage/PageWalker.h"

namespace wdb {

namespace {

constexpr unsigned kMaxReaders = 1024;
constexpr size_t kRestingReaders = 64;
constexpr std::chrono::milliseconds kAlonePatience{2000};

[[noreturn]] void failAssertion(MDB_env*, const char*) {
    throw LmdbAssertion{};
}

Status makeEmptyFile(const std::string& path) {
    const int file = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
    if (file < 0) return errno == EEXIST ? WDB_E_EXISTS : WDB_E_STORAGE;
    ::close(file);
    return WDB_OK;
}

Status syncDirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int file = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) return WDB_E_STORAGE;
    const int failed = ::fsync(file);
    ::close(file);
    return failed == 0 ? WDB_OK : WDB_E_STORAGE;
}

// The library maps the file of its locks, of this size with so many readers, and stores into it: with its
// blocks, since a store into a hole of a full disk would kill the process. Whatever else is wrong with the
// file is the library's to answer; a file system that cannot give blocks beforehand is taken as it is. No
// lock of this process is on the file: closing it would take that away.
Status fillLockFile(const std::string& path) {
    constexpr off_t kHead = 128, kReader = 64, kSize = kHead + kMaxReaders * kReader, kBlock = 512;
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0) return WDB_OK;
    struct stat present {};
    int failed = 0;
    if (::fstat(file, &present) != 0 || present.st_size < kSize || present.st_blocks * kBlock < kSize) {
        do {
            failed = ::fallocate(file, 0, 0, kSize) == 0 ? 0 : errno;
        } while (failed == EINTR);
    }
    ::close(file);
    return failed == ENOSPC || failed == EDQUOT || failed == EFBIG || failed == EIO ? WDB_E_STORAGE : WDB_OK;
}

}  // namespace

Result<std::shared_ptr<Environment>> Environment::open(const std::string& path,
                                                       std::span<const TableSpec> tables,
                                                       const EnvironmentOptions& options) {
    if (options.create) WDB_TRY(makeEmptyFile(path));
    const auto id = fileId(path);
    if (!id) return Status{WDB_E_STORAGE};
    auto opened =
        OpenFiles::ofProcess().share<Environment>(*id, [&]() -> Result<std::unique_ptr<Environment>> {
            std::unique_ptr<Environment> made(new Environment(path, {tables.begin(), tables.end()}, options));
            auto guard = FileGuard::open(path, options.create, options.walkAlways);
            if (!guard) return guard.status();
            made->guard_ = std::move(*guard);
            made->seal_.emplace(made->guard_->file());
            WDB_TRY(made->openFile());
            WDB_TRY(made->openTables(options.create));
            if (options.create && !options.unpublished) WDB_TRY(made->sync());
            return made;
        });
    if (!opened && options.create) {
        ::unlink(path.c_str());
        ::unlink((path + "-lock").c_str());
        ::unlink((path + "-clean").c_str());
    }
    return opened;
}

Environment::Environment(std::string path, std::vector<TableSpec> tables, const EnvironmentOptions& options)
    : path_(std::move(path)), tables_(std::move(tables)), options_(options), mapSize_(options.mapSize) {}

Environment::~Environment() {
    closeFile();
}

Status Environment::openFile() {
    WDB_TRY(fillLockFile(path_ + "-lock"));
    WDB_TRY(lmdbStatus(mdb_env_create(&env_)));
    mdb_env_set_assert(env_, failAssertion);
    mdb_env_set_maxdbs(env_, static_cast<MDB_dbi>(tables_.size()));
    mdb_env_set_maxreaders(env_, kMaxReaders);
    mdb_env_set_mapsize(env_, mapSize_);
    // Syncs are made by the seal.
    const unsigned flags = MDB_NOSUBDIR | MDB_NOTLS | MDB_NORDAHEAD | MDB_NOSYNC;
    int code = callLmdb([&] { return mdb_env_open(env_, path_.c_str(), flags, 0600); });
    if ((code == EACCES || code == EROFS) && options_.readOnly) {
        mdb_env_close(env_);
        env_ = nullptr;
        WDB_TRY(lmdbStatus(mdb_env_create(&env_)));
        mdb_env_set_assert(env_, failAssertion);
        mdb_env_set_maxdbs(env_, static_cast<MDB_dbi>(tables_.size()));
        mdb_env_set_mapsize(env_, mapSize_);
        code = callLmdb([&] { return mdb_env_open(env_, path_.c_str(), flags | MDB_RDONLY, 0600); });
    } else {
        options_.readOnly = false;
    }
    if (code != MDB_SUCCESS) {
        closeFile();
        return lmdbStatus(code);
    }
    int dead = 0;
    mdb_reader_check(env_, &dead);
    return checkSize();
}

// A file that ends before its last page would kill the process at the first look behind its end. Pages that
// were given back before they were ever written may be missing at the end: the room for them is made good.
Status Environment::checkSize() {
    MDB_envinfo info;
    MDB_stat statistics;
    mdb_env_info(env_, &info);
    mdb_env_stat(env_, &statistics);
    mapSize_ = info.me_mapsize;
    const uint64_t needed = (uint64_t{info.me_last_pgno} + 1) * statistics.ms_psize;
    struct stat file {};
    int descriptor = -1;
    mdb_env_get_fd(env_, &descriptor);
    if (::fstat(descriptor, &file) != 0) return WDB_E_STORAGE;
    const auto size = static_cast<uint64_t>(file.st_size);
    if (size >= needed) return WDB_OK;
    constexpr uint64_t kUnwrittenPages = 256;
    if (options_.readOnly || needed - size > kUnwrittenPages * statistics.ms_psize) return WDB_E_CORRUPT;
    return ::ftruncate(descriptor, static_cast<off_t>(needed)) == 0 ? WDB_OK : WDB_E_STORAGE;
}

Status Environment::openTables(bool create) {
    MDB_txn* txn = nullptr;
    WDB_TRY(
        lmdbStatus(callLmdb([&] { return mdb_txn_begin(env_, nullptr, create ? 0 : MDB_RDONLY, &txn); })));
    handles_.clear();
    for (const TableSpec& table : tables_) {
        MDB_dbi handle = 0;
        const unsigned flags = (create ? MDB_CREATE : 0) | (table.integerKey ? MDB_INTEGERKEY : 0);
        const int code = callLmdb([&] { return mdb_dbi_open(txn, table.name, flags, &handle); });
        unsigned stored = 0;
        if (code != MDB_SUCCESS || mdb_dbi_flags(txn, handle, &stored) != MDB_SUCCESS ||
            ((stored & MDB_INTEGERKEY) != 0) != table.integerKey) {
            mdb_txn_abort(txn);
            return code == MDB_SUCCESS || code == MDB_NOTFOUND || code == MDB_INCOMPATIBLE ? WDB_E_CORRUPT
                                                                                           : lmdbStatus(code);
        }
        handles_.push_back(handle);
    }
    return lmdbStatus(callLmdb([&] { return mdb_txn_commit(txn); }));
}

void Environment::closeFile() {
    for (const Reader& reader : pool_) mdb_txn_abort(reader.txn);
    pool_.clear();
    if (env_ != nullptr) mdb_env_close(env_);
    env_ = nullptr;
}

uint64_t Environment::usedBytes() {
    gate_.enter();
    MDB_envinfo info;
    MDB_stat statistics;
    const bool known =
        env_ != nullptr && mdb_env_info(env_, &info) == 0 && mdb_env_stat(env_, &statistics) == 0;
    gate_.leave();
    return known ? (uint64_t{info.me_last_pgno} + 1) * statistics.ms_psize : 0;
}

Status Environment::reopen() {
    if (!gate_.enterAlone(kAlonePatience)) return WDB_E_STORAGE;
    Status status = WDB_OK;
    closeFile();
    status = openFile();
    if (ok(status)) status = openTables(false);
    if (ok(status))
        reopen_.store(false);
    else
        closeFile();
    gate_.leaveAlone();
    return status;
}

Status Environment::growMap(size_t size) {
    if (!gate_.enterAlone(kAlonePatience)) return WDB_E_STORAGE;
    const int code = callLmdb([&] { return mdb_env_set_mapsize(env_, size); });
    MDB_envinfo info;
    if (code == MDB_SUCCESS && mdb_env_info(env_, &info) == MDB_SUCCESS) mapSize_ = info.me_mapsize;
    if (code == MDB_SUCCESS) grow_.store(false);
    for (const Reader& reader : pool_)
        reader.trees->state = ReaderTrees::kNone;  // the map may lie elsewhere now
    gate_.leaveAlone();
    return lmdbStatus(code);
}

Status Environment::checkPages(std::string& reason) {
    // The reader keeps the pages of its state. The page that names it is kept until the second commit after
    // it.
    constexpr int kTries = 20;
    for (int i = 0; i < kTries; ++i) {
        const auto txn = read();
        if (!txn) return txn.status();
        const Status status = walkPages(guard_->file(), WalkDepth::Whole, txn->id(), reason);
        if (status != WDB_FAIL) return status;
    }
    return WDB_E_STORAGE;
}

int Environment::beginRead(Reader& reader) {
    if (env_ == nullptr) return MDB_PANIC;
    {
        std::lock_guard lock(poolMutex_);
        if (!pool_.empty()) {
            reader = std::move(pool_.back());
            pool_.pop_back();
        }
    }
    MDB_txn*& txn = reader.txn;
    int code = MDB_SUCCESS;
    if (txn == nullptr) {
        code = callLmdb([&] { return mdb_txn_begin(env_, nullptr, MDB_RDONLY, &txn); });
        if (code != MDB_SUCCESS) return code;
    } else {
        code = callLmdb([&] { return mdb_txn_renew(txn); });
    }
    code = standOnNewest(txn, code);
    if (code != MDB_SUCCESS) {
        mdb_txn_abort(txn);
        return code;
    }
    if (reader.trees == nullptr) reader.trees = std::make_unique<ReaderTrees>();
    if (const uint64_t state = mdb_txn_id(txn); reader.trees->state != state) {
        reader.trees->state = state;
        reader.trees->tables.assign(tables_.size(), {});
    }
    return code;
}

// The number of the state comes from the lock file and the state itself from the page that the number names,
// which the second commit after it overwrites: a reader that is held up between the two has a state that is
// not announced yet, and its next look would see an older one. A state is taken when nothing newer was on its
// way behind it; a writer that is held up there is not waited for.
int Environment::standOnNewest(MDB_txn* txn, int code) {
    constexpr int kTries = 64;
    for (int i = 0; i < kTries && code == MDB_SUCCESS; ++i) {
        MDB_envinfo info;
        code = mdb_env_info(env_, &info);
        if (code != MDB_SUCCESS || info.me_last_txnid == mdb_txn_id(txn)) break;
        if (i > 0) std::this_thread::yield();
        mdb_txn_reset(txn);
        code = callLmdb([&] { return mdb_txn_renew(txn); });
    }
    return code;
}

Result<ReadTxn> Environment::read() {
    for (int attempt = 0;; ++attempt) {
        gate_.enter();
        Reader reader;
        const int code = beginRead(reader);
        if (code == MDB_SUCCESS) return ReadTxn(shared_from_this(), reader.txn, std::move(reader.trees));
        int dead = 0;
        if (code == MDB_READERS_FULL) mdb_reader_check(env_, &dead);
        gate_.leave();
        if (attempt > 0) return lmdbStatus(code);
        if (code == MDB_PANIC)
            WDB_TRY(reopen());
        else if (code == MDB_MAP_RESIZED)
            WDB_TRY(growMap(0));
        else if (code != MDB_READERS_FULL)
            return lmdbStatus(code);
    }
}

void Environment::endRead(Reader reader) {
    MDB_txn* const txn = reader.txn;
    mdb_txn_reset(txn);
    bool kept = false;
    {
        std::lock_guard lock(poolMutex_);
        if (pool_.size() < kRestingReaders) {
            pool_.push_back(std::move(reader));
            kept = true;
        }
    }
    if (!kept) mdb_txn_abort(txn);
    gate_.leave();
}

Result<WriteTxn> Environment::write() {
    if (options_.readOnly) return Status{WDB_E_READ_ONLY};
    for (int attempt = 0;; ++attempt) {
        WDB_TRY(makeReady());
        gate_.enter();
        MDB_txn* txn = nullptr;
        const int code =
            env_ == nullptr ? MDB_PANIC : callLmdb([&] { return mdb_txn_begin(env_, nullptr, 0, &txn); });
        if (code == MDB_SUCCESS) return WriteTxn(shared_from_this(), txn);
        gate_.leave();
        if (attempt > 0 || code != MDB_MAP_RESIZED) return lmdbStatus(code);
        WDB_TRY(growMap(0));
    }
}

// Between units there is room for everything: the map grows when three quarters of it are used, so that a
// unit meets a full map only when it writes gigabytes.
Status Environment::makeReady() {
    if (reopen_.load()) WDB_TRY(reopen());
    if (!grow_.load() && usedBytes() < mapSize_ / 4 * 3) return WDB_OK;
    gate_.enter();
    int dead = 0;
    if (env_ != nullptr) mdb_reader_check(env_, &dead);  // readers that died keep pages from being used again
    gate_.leave();
    const Status grown = growMap(mapSize_ * 2);
    // Readers that stay keep the map as it is; there is a quarter left unless it already overflowed.
    return grow_.load() ? grown : WDB_OK;
}

Status Environment::prepareCommit(uint64_t before) {
    return options_.unpublished ? WDB_OK : seal_->prepare(before);
}

Status Environment::makeDurable(uint64_t txn) {
    return options_.unpublished ? WDB_OK : seal_->seal(txn);
}

void Environment::writeEnded(bool failed, bool full) {
    if (full) grow_.store(true);
    if (failed) reopen_.store(true);
    gate_.leave();
}

Status Environment::sync() {
    if (!options_.unpublished && !options_.create) {
        auto txn = write();
        return txn ? txn->commit() : txn.status();
    }
    WDB_TRY(lmdbStatus(callLmdb([&] { return mdb_env_sync(env_, 1); })));
    options_.unpublished = options_.create = false;
    return syncDirectoryOf(path_);
}

}  // namespace wdb
