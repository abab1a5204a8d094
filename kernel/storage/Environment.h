#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/storage/CommitSeal.h"
#include "kernel/storage/FileGuard.h"
#include "kernel/storage/Gate.h"
#include "kernel/storage/PageTree.h"
#include "kernel/storage/TailDictionaries.h"

struct MDB_env;
struct MDB_txn;
struct MDB_cursor;

namespace wdb {

class Environment;
class Cursor;

// A table of a file: the place of its specification in the list that the file was opened with.
using Table = size_t;

// One table of a file. Keys are byte strings of 1 to kMaxKey bytes in memcmp order; with integerKey they are
// native unsigned integers of one width (4 or 8 bytes) in numeric order.
struct TableSpec {
    const char* name;
    bool integerKey = false;
};

inline constexpr size_t kMaxKey = 511;

struct EnvironmentOptions {
    bool create = false;    // make the file and its tables; fails when the file exists
    bool readOnly = false;  // no write transaction will be asked for
    bool unpublished =
        false;  // nobody else knows the file yet: commits are not synced, sync() is called at the end
    bool walkAlways = false;  // look at every page before the file is used, also when it was closed cleanly
    size_t mapSize = size_t{16} << 30;  // reserved address range; grows between transactions
};

// The tables of the state that a reader stands on, as far as they were asked for. A reader keeps them while
// it rests: they hold when its next state has the same number.
struct ReaderTrees {
    struct Known {
        bool asked = false;
        PageTree tree;
    };
    static constexpr uint64_t kNone = ~uint64_t{0};
    uint64_t state = kNone;  // number of the transaction
    std::vector<Known> tables;
};

// What read and write transactions share: look-ups. Slices point into the mapped file: those of a read
// transaction live as long as it does, those of a write transaction until its next write.
class Txn {
public:
    bool live() const { return txn_ != nullptr; }
    explicit operator bool() const { return live(); }

    // WDB_OK with the value, WDB_FAIL when there is no such key, WDB_E_STORAGE, WDB_E_CORRUPT.
    Status get(Table table, Slice key, Slice& value) const;
    Status get(Table table, uint32_t key, Slice& value) const;  // integerKey of 4 bytes
    Status get(Table table, uint64_t key, Slice& value) const;  // integerKey of 8 bytes

    // The values of up to PageTree::kSome keys at once. Those that stay as they are may be there all the
    // same: get() tells.
    void getSome(Table table, std::span<const uint32_t> keys, std::span<Slice> values) const;

    // A cursor before the first entry. It must go before its transaction does.
    Cursor cursor(Table table) const;

    // Number of the committed state that is read; equal numbers of one file mean equal contents.
    uint64_t id() const;
    // Entries of a table.
    uint64_t entries(Table table) const;
    // Bytes of the pages that this state has given back.
    Result<uint64_t> freeBytes() const;

    const std::shared_ptr<Environment>& environment() const { return environment_; }

protected:
    Txn() = default;
    Txn(std::shared_ptr<Environment> environment, MDB_txn* txn, std::unique_ptr<ReaderTrees> trees = {})
        : environment_(std::move(environment)), txn_(txn), trees_(std::move(trees)) {}
    Txn(Txn&& other) noexcept
        : environment_(std::move(other.environment_)),
          txn_(std::exchange(other.txn_, nullptr)),
          trees_(std::move(other.trees_)) {}
    ~Txn() = default;
    // The table's pages, null when look-ups are the library's.
    const PageTree* pages(Table table) const;
    PageTree readTree(Table table) const;

    std::shared_ptr<Environment> environment_;
    MDB_txn* txn_ = nullptr;
    std::unique_ptr<ReaderTrees> trees_;  // of a read transaction
};

// One committed state of a file, used by one thread at a time. Taking and giving back costs nanoseconds (the
// file keeps a pool of readers), and it may move between threads. Default constructed it is not live.
class ReadTxn : public Txn {
public:
    ReadTxn() = default;
    ReadTxn(ReadTxn&&) noexcept = default;
    ReadTxn& operator=(ReadTxn&& other) noexcept;
    ~ReadTxn() { release(); }

    void release();

private:
    friend class Environment;
    using Txn::Txn;
};

enum class PutMode {
    Replace,  // insert or overwrite
    Insert,   // WDB_E_EXISTS when the key is there
    Append    // the key is above every key of the table: no search, full pages
};

// The one write transaction of a file. It stays on the thread that began it. Destroyed without commit() it
// leaves nothing behind.
class WriteTxn : public Txn {
public:
    WriteTxn() = default;
    WriteTxn(WriteTxn&&) noexcept = default;
    WriteTxn& operator=(WriteTxn&& other) noexcept;
    ~WriteTxn() { abort(); }

    Status put(Table table, Slice key, Slice value, PutMode mode = PutMode::Replace);
    Status put(Table table, uint32_t key, Slice value, PutMode mode = PutMode::Replace);
    Status put(Table table, uint64_t key, Slice value, PutMode mode = PutMode::Replace);
    // Makes room for a value that the caller fills before the next call on the transaction.
    Status reserve(Table table, Slice key, size_t size, char*& value, PutMode mode = PutMode::Replace);
    // WDB_FAIL when there is no such key.
    Status remove(Table table, Slice key);
    Status remove(Table table, uint32_t key);
    Status remove(Table table, uint64_t key);
    Status clear(Table table);

    // Durable when it answers WDB_OK (unless the file is unpublished). Anything else means that nothing was
    // written, or that the disk refused the state that readers see already (CommitSeal::seal): the next
    // commit waits until it is there.
    Status commit();
    void abort();

private:
    friend class Environment;
    using Txn::Txn;
    void noteFailure(int code);

    bool full_ = false;    // the map was: grow it before the next one
    bool broken_ = false;  // a write failed half-way: nothing may be committed any more
};

// A walk through a table. Every step answers WDB_OK, WDB_FAIL at the end, or an error; key() and value() are
// those of the entry of the last successful step.
class Cursor {
public:
    Cursor() = default;
    Cursor(Cursor&& other) noexcept;
    Cursor& operator=(Cursor&& other) noexcept;
    ~Cursor() { close(); }

    Status first();
    Status last();
    Status seek(Slice key);  // the first entry with a key not below the given one
    Status seek(uint32_t key);
    Status seek(uint64_t key);
    Status next();
    Status previous();
    Slice key() const { return key_; }
    Slice value() const { return value_; }
    uint32_t key32() const;  // 0 when the key has another width
    uint64_t key64() const;

    // In a write transaction: writes over the value of the current entry, or removes the entry (next() then
    // gives the one behind it).
    Status replace(Slice value);
    Status remove();
    void close();

private:
    friend class Txn;
    explicit Cursor(MDB_cursor* cursor) : cursor_(cursor) {}
    explicit Cursor(const PageTree* tree) : direct_(true), pages_(tree) {}
    Status step(int operation);
    Status stepDirectly(int operation);

    MDB_cursor* cursor_ = nullptr;
    bool direct_ = false;  // through the pages
    PageCursor pages_;
    Slice key_;
    Slice value_;
};

// One file of the storage, opened once per process however many ask for it (they share it), never to be
// opened by other means while it is in use. Safe to use from all threads.
class Environment : public std::enable_shared_from_this<Environment> {
public:
    // `tables` must be the same list at every open of a file. WDB_E_STORAGE when the file is not there or
    // cannot be opened, WDB_E_EXISTS when it is to be made and is there, WDB_E_CORRUPT when it is no file of
    // this kind, cut or damaged (see FileGuard for when that is looked at).
    static Result<std::shared_ptr<Environment>> open(const std::string& path,
                                                     std::span<const TableSpec> tables,
                                                     const EnvironmentOptions& options);
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment();

    Result<ReadTxn> read();
    // Waits for another writer of the file; the writer's lock of the home directory is held by then, so
    // nobody is there. WDB_E_READ_ONLY when the file was opened for reading.
    Result<WriteTxn> write();
    // Brings an unpublished file to the disk, its directory entry included. Of others it makes sure of the
    // last state, which a process may have committed that fell before its sync: to be called, with no write
    // transaction open, before something durable is made of what was read.
    Status sync();

    // Walks through every page of the last committed state. WDB_E_CORRUPT with a reason.
    Status checkPages(std::string& reason);

    const std::string& path() const { return path_; }
    std::span<const TableSpec> tables() const { return tables_; }
    bool readOnly() const { return options_.readOnly; }
    // Bytes of the file in use (its last page).
    uint64_t usedBytes();
    // Of a base file.
    TailDictionaries& dictionaries() { return dictionaries_; }
    // Read transactions alive in this process.
    size_t readers() const { return gate_.inside(); }

private:
    friend class Txn;
    friend class ReadTxn;
    friend class WriteTxn;
    Environment(std::string path, std::vector<TableSpec> tables, const EnvironmentOptions& options);
    Status openFile();
    Status openTables(bool create);
    Status checkSize();
    void closeFile();
    Status reopen();
    Status makeReady();
    Status growMap(size_t size);  // 0: to what another process made it
    // A reader and what it knows of the state that it stood on last.
    struct Reader {
        MDB_txn* txn = nullptr;
        std::unique_ptr<ReaderTrees> trees;
    };
    int beginRead(Reader& reader);
    int standOnNewest(MDB_txn* txn, int code);
    void endRead(Reader reader);
    Status prepareCommit(uint64_t before);
    Status makeDurable(uint64_t txn);
    void writeEnded(bool failed, bool full);

    const std::string path_;
    const std::vector<TableSpec> tables_;
    EnvironmentOptions options_;
    std::unique_ptr<FileGuard> guard_;  // goes after the library has closed the file
    std::optional<CommitSeal> seal_;
    MDB_env* env_ = nullptr;
    std::vector<unsigned> handles_;  // LMDB's number of each table
    std::atomic<size_t> mapSize_;
    Gate gate_;  // transactions enter shared; growing and reopening alone
    std::mutex poolMutex_;
    std::vector<Reader> pool_;  // readers at rest
    TailDictionaries dictionaries_;
    std::atomic<bool> reopen_{false};  // a commit failed: close and open before the next transaction
    std::atomic<bool> grow_{false};    // the map filled: grow before the next write transaction
};

}  // namespace wdb
