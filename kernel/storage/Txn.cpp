#include <algorithm>
#include <cstring>
#include <utility>

#include "kernel/common/ByteOrder.h"
#include "kernel/storage/Environment.h"
#include "kernel/storage/LmdbStatus.h"
#include "kernel/storage/PageFormat.h"

namespace wdb {

namespace {

MDB_val toVal(Slice bytes) {
    return {bytes.size(), const_cast<char*>(bytes.data())};
}

template <typename Integer>
Slice keyBytes(const Integer& key) {
    return {reinterpret_cast<const char*>(&key), sizeof key};
}

Slice toSlice(const MDB_val& value) {
    return {static_cast<const char*>(value.mv_data), value.mv_size};
}

unsigned putFlags(PutMode mode) {
    return mode == PutMode::Append ? MDB_APPEND : mode == PutMode::Insert ? MDB_NOOVERWRITE : 0;
}

bool keyFits(Slice key) {
    return !key.empty() && key.size() <= kMaxKey;
}

}  // namespace

Status Txn::get(Table table, Slice key, Slice& value) const {
    if (!keyFits(key)) return WDB_FAIL;
    if (const PageTree* const tree = pages(table)) {
        const Look look = tree->find(key, value);
        if (look == Look::Damaged) return WDB_E_CORRUPT;
        return look == Look::Found ? WDB_OK : WDB_FAIL;
    }
    MDB_val keyVal = toVal(key);
    MDB_val found{};
    const int code = callLmdb([&] { return mdb_get(txn_, environment_->handles_[table], &keyVal, &found); });
    if (code == MDB_SUCCESS) value = toSlice(found);
    return lmdbStatus(code);
}

Status Txn::get(Table table, uint32_t key, Slice& value) const {
    return get(table, keyBytes(key), value);
}
Status Txn::get(Table table, uint64_t key, Slice& value) const {
    return get(table, keyBytes(key), value);
}

void Txn::getSome(Table table, std::span<const uint32_t> keys, std::span<Slice> values) const {
    if (const PageTree* const tree = pages(table)) tree->findSome(keys, values);
}

Cursor Txn::cursor(Table table) const {
    if (const PageTree* const tree = pages(table)) return Cursor(tree);
    MDB_cursor* cursor = nullptr;
    if (mdb_cursor_open(txn_, environment_->handles_[table], &cursor) != MDB_SUCCESS) cursor = nullptr;
    return Cursor(cursor);
}

const PageTree* Txn::pages(Table table) const {
    if (trees_ == nullptr) return nullptr;
    ReaderTrees::Known& known = trees_->tables[table];
    if (!known.asked) {
        known.tree = readTree(table);
        known.asked = true;
    }
    return known.tree.known() ? &known.tree : nullptr;
}

// The library tells no address of its map: it follows from a value in it, whose page has its number.
PageTree Txn::readTree(Table table) const {
    using namespace page_format;
    constexpr MDB_dbi kMainTree = 1;  // the names of the tables, and where their trees are
    MDB_envinfo info;
    MDB_stat statistics;
    MDB_val record{};
    MDB_val name = toVal(environment_->tables_[table].name);
    const int code = callLmdb([&] { return mdb_get(txn_, kMainTree, &name, &record); });
    if (code != MDB_SUCCESS || record.mv_size != kTreeRecord ||
        mdb_env_info(environment_->env_, &info) != MDB_SUCCESS ||
        mdb_stat(txn_, kMainTree, &statistics) != MDB_SUCCESS || statistics.ms_psize != PageTree::kPage)
        return {};
    const auto* const bytes = static_cast<const char*>(record.mv_data);
    const char* const holder = bytes - reinterpret_cast<uintptr_t>(bytes) % PageTree::kPage;
    const uint64_t pages = std::min(uint64_t{info.me_last_pgno} + 1, info.me_mapsize / PageTree::kPage);
    const auto number = loadLittle<uint64_t>(holder);
    if (number >= pages || loadLittle<uint16_t>(holder + kFlagsAt) != kLeaf) return {};
    return PageTree(holder - number * PageTree::kPage, pages, toSlice(record));
}

uint64_t Txn::id() const {
    return mdb_txn_id(txn_);
}

uint64_t Txn::entries(Table table) const {
    MDB_stat statistics;
    return mdb_stat(txn_, environment_->handles_[table], &statistics) == MDB_SUCCESS ? statistics.ms_entries
                                                                                     : 0;
}

Result<uint64_t> Txn::freeBytes() const {
    constexpr MDB_dbi kFreeTree = 0;  // lists of pages, each behind its length
    MDB_cursor* opened = nullptr;
    MDB_stat statistics;
    if (mdb_stat(txn_, kFreeTree, &statistics) != MDB_SUCCESS ||
        mdb_cursor_open(txn_, kFreeTree, &opened) != MDB_SUCCESS)
        return Status{WDB_E_STORAGE};
    Cursor cursor(opened);
    uint64_t pages = 0;
    Status status = cursor.first();
    for (; ok(status); status = cursor.next()) {
        if (cursor.value().size() < sizeof(uint64_t)) return Status{WDB_E_CORRUPT};
        pages += loadLittle<uint64_t>(cursor.value().data());
    }
    if (status != WDB_FAIL) return status;
    return pages * statistics.ms_psize;
}

ReadTxn& ReadTxn::operator=(ReadTxn&& other) noexcept {
    if (this != &other) {
        release();
        environment_ = std::move(other.environment_);
        txn_ = std::exchange(other.txn_, nullptr);
        trees_ = std::move(other.trees_);
    }
    return *this;
}

void ReadTxn::release() {
    if (txn_ != nullptr) environment_->endRead({std::exchange(txn_, nullptr), std::move(trees_)});
    environment_.reset();
}

WriteTxn& WriteTxn::operator=(WriteTxn&& other) noexcept {
    if (this != &other) {
        abort();
        environment_ = std::move(other.environment_);
        txn_ = std::exchange(other.txn_, nullptr);
    }
    return *this;
}

Status WriteTxn::put(Table table, Slice key, Slice value, PutMode mode) {
    char* place = nullptr;
    WDB_TRY(reserve(table, key, value.size(), place, mode));
    if (!value.empty()) std::memcpy(place, value.data(), value.size());
    return WDB_OK;
}

Status WriteTxn::put(Table table, uint32_t key, Slice value, PutMode mode) {
    return put(table, keyBytes(key), value, mode);
}

Status WriteTxn::put(Table table, uint64_t key, Slice value, PutMode mode) {
    return put(table, keyBytes(key), value, mode);
}

Status WriteTxn::reserve(Table table, Slice key, size_t size, char*& value, PutMode mode) {
    if (txn_ == nullptr || !keyFits(key)) return WDB_E_STORAGE;
    MDB_val keyVal = toVal(key);
    MDB_val room{size, nullptr};
    const int code = callLmdb([&] {
        return mdb_put(txn_, environment_->handles_[table], &keyVal, &room, MDB_RESERVE | putFlags(mode));
    });
    noteFailure(code);
    value = static_cast<char*>(room.mv_data);
    return lmdbStatus(code);
}

Status WriteTxn::remove(Table table, Slice key) {
    if (txn_ == nullptr) return WDB_E_STORAGE;
    if (!keyFits(key)) return WDB_FAIL;
    MDB_val keyVal = toVal(key);
    const int code = callLmdb([&] { return mdb_del(txn_, environment_->handles_[table], &keyVal, nullptr); });
    noteFailure(code);
    return lmdbStatus(code);
}

Status WriteTxn::remove(Table table, uint32_t key) {
    return remove(table, keyBytes(key));
}
Status WriteTxn::remove(Table table, uint64_t key) {
    return remove(table, keyBytes(key));
}

Status WriteTxn::clear(Table table) {
    const int code = callLmdb([&] { return mdb_drop(txn_, environment_->handles_[table], 0); });
    noteFailure(code);
    return lmdbStatus(code);
}

void WriteTxn::noteFailure(int code) {
    if (code == MDB_MAP_FULL) full_ = true;
    if (code != MDB_SUCCESS && code != MDB_NOTFOUND && code != MDB_KEYEXIST) broken_ = true;
}

Status WriteTxn::commit() {
    if (txn_ == nullptr) return WDB_E_STORAGE;
    if (broken_) {
        abort();
        return WDB_E_STORAGE;
    }
    const uint64_t number = id();
    if (const Status status = environment_->prepareCommit(number - 1); !ok(status)) {
        abort();
        return WDB_E_STORAGE;
    }
    MDB_txn* txn = std::exchange(txn_, nullptr);
    const int code = callLmdb([&] { return mdb_txn_commit(txn); });
    const Status status = code == MDB_SUCCESS ? environment_->makeDurable(number) : WDB_E_STORAGE;
    environment_->writeEnded(code != MDB_SUCCESS, code == MDB_MAP_FULL);
    environment_.reset();
    return status;
}

void WriteTxn::abort() {
    if (txn_ == nullptr) return;
    mdb_txn_abort(std::exchange(txn_, nullptr));
    environment_->writeEnded(false, full_);
    environment_.reset();
}

Cursor::Cursor(Cursor&& other) noexcept
    : cursor_(std::exchange(other.cursor_, nullptr)),
      direct_(other.direct_),
      pages_(other.pages_),
      key_(other.key_),
      value_(other.value_) {}

Cursor& Cursor::operator=(Cursor&& other) noexcept {
    if (this != &other) {
        close();
        cursor_ = std::exchange(other.cursor_, nullptr);
        direct_ = other.direct_;
        pages_ = other.pages_;
        key_ = other.key_;
        value_ = other.value_;
    }
    return *this;
}

void Cursor::close() {
    if (cursor_ != nullptr) mdb_cursor_close(std::exchange(cursor_, nullptr));
    direct_ = false;
}

Status Cursor::step(int operation) {
    if (direct_) return stepDirectly(operation);
    if (cursor_ == nullptr) return WDB_E_STORAGE;
    MDB_val key = toVal(key_);
    MDB_val value{};
    const int code = callLmdb(
        [&] { return mdb_cursor_get(cursor_, &key, &value, static_cast<MDB_cursor_op>(operation)); });
    if (code == MDB_SUCCESS) {
        key_ = toSlice(key);
        value_ = toSlice(value);
    }
    return lmdbStatus(code);
}

Status Cursor::stepDirectly(int operation) {
    Look look = Look::Damaged;
    switch (operation) {
        case MDB_FIRST:
            look = pages_.first();
            break;
        case MDB_LAST:
            look = pages_.last();
            break;
        case MDB_NEXT:
            look = pages_.next();
            break;
        case MDB_PREV:
            look = pages_.previous();
            break;
        default:
            look = pages_.seek(key_);
    }
    if (look == Look::Missing) return WDB_FAIL;
    Slice key, value;
    if (look == Look::Damaged || !pages_.entry(key, value)) {
        close();
        return WDB_E_CORRUPT;
    }
    key_ = key;
    value_ = value;
    return WDB_OK;
}

Status Cursor::first() {
    return step(MDB_FIRST);
}
Status Cursor::last() {
    return step(MDB_LAST);
}
Status Cursor::next() {
    return step(MDB_NEXT);
}
Status Cursor::previous() {
    return step(MDB_PREV);
}

Status Cursor::seek(Slice key) {
    if (key.empty()) return first();
    if (key.size() > kMaxKey) return WDB_E_ARGUMENT;
    const Slice before = key_;
    key_ = key;
    const Status status = step(MDB_SET_RANGE);
    if (!ok(status)) key_ = before;
    return status;
}

Status Cursor::seek(uint32_t key) {
    return seek(keyBytes(key));
}
Status Cursor::seek(uint64_t key) {
    return seek(keyBytes(key));
}

uint32_t Cursor::key32() const {
    uint32_t key = 0;
    if (key_.size() == sizeof key) std::memcpy(&key, key_.data(), sizeof key);
    return key;
}

uint64_t Cursor::key64() const {
    uint64_t key = 0;
    if (key_.size() == sizeof key) std::memcpy(&key, key_.data(), sizeof key);
    return key;
}

Status Cursor::replace(Slice value) {
    // A value of another size is taken out and put in again, which moves the page's bytes under the key.
    const std::string copy(key_);
    MDB_val key = toVal(copy);
    MDB_val data = toVal(value);
    return lmdbStatus(callLmdb([&] { return mdb_cursor_put(cursor_, &key, &data, MDB_CURRENT); }));
}

Status Cursor::remove() {
    return lmdbStatus(callLmdb([&] { return mdb_cursor_del(cursor_, 0); }));
}

}  // namespace wdb
