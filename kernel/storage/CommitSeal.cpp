#include "kernel/storage/CommitSeal.h"

#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "kernel/common/ByteOrder.h"
#include "kernel/storage/MetaPage.h"
#include "kernel/storage/NewPages.h"
#include "kernel/storage/PageFormat.h"

namespace wdb {

namespace {

constexpr uint64_t kSealMagic = 0x6C6165536B6C6557;
constexpr uint64_t kWitnessMagic = 0x6E7469576B6C6557;
constexpr size_t kSealSize = 48;
constexpr size_t kCopies = 2;  // one byte that flips does not unmake a commit

enum class SealKind : uint64_t {
    Checked = 1,  // the checksum tells whether the state is whole
    Durable = 2,  // the state was on the disk before the seal was written; no checksum
    // As Checked; a sync failed, pages that the system holds for written may be missing on the disk.
    Unwritten = 3
};

struct Seal {
    uint64_t txn = 0;
    SealKind kind = SealKind::Durable;
    uint64_t pages = 0;
    uint64_t sum = 0;
};

std::string encode(const Seal& seal) {
    std::string bytes;
    appendLittle(bytes, kSealMagic);
    appendLittle(bytes, seal.txn);
    appendLittle(bytes, static_cast<uint64_t>(seal.kind));
    appendLittle(bytes, seal.pages);
    appendLittle(bytes, seal.sum);
    appendLittle(bytes, static_cast<uint64_t>(XXH3_64bits(bytes.data(), bytes.size())));
    return bytes + bytes;
}

uint64_t metaPlace(const MetaPage& meta, uint64_t txn) {
    return (txn & 1) * meta.pageSize;
}

// Behind the seal: what the library's part of the meta page was when the seal was written.
constexpr size_t kWitnessAt = page_format::kSealAt + kCopies * kSealSize;

std::optional<std::string> witness(int file, const MetaPage& meta, uint64_t txn) {
    char bytes[page_format::kMetaEnd];
    if (!readAt(file, metaPlace(meta, txn), bytes, sizeof bytes)) return std::nullopt;
    std::string out;
    appendLittle(out, kWitnessMagic);
    appendLittle(out, txn);
    appendLittle(out, static_cast<uint64_t>(XXH3_64bits(bytes, sizeof bytes)));
    appendLittle(out, static_cast<uint64_t>(XXH3_64bits(out.data(), out.size())));
    return out;
}

// Whether the next commit began to write over the meta page of `meta`, a state that was sealed, and did not
// come to its end. False for pages sealed before there were witnesses.
bool halfWritten(int file, const MetaPage& meta) {
    const auto now = witness(file, meta, meta.txn);
    if (!now) return false;
    std::string then(now->size(), '\0');
    if (!readAt(file, metaPlace(meta, meta.txn) + kWitnessAt, then.data(), then.size())) return false;
    constexpr size_t kSumAt = 2 * sizeof(uint64_t), kOwnSumAt = 3 * sizeof(uint64_t);
    return then.compare(0, kSumAt, *now, 0, kSumAt) == 0 && then != *now &&
           loadLittle<uint64_t>(then.data() + kOwnSumAt) == XXH3_64bits(then.data(), kOwnSumAt);
}

bool writeSeal(int file, const MetaPage& meta, const Seal& seal) {
    const auto seen = witness(file, meta, seal.txn);
    if (!seen) return false;
    const std::string bytes = encode(seal) + *seen;
    return writeAt(file, metaPlace(meta, seal.txn) + page_format::kSealAt, bytes.data(), bytes.size());
}

std::optional<Seal> readSeal(int file, const MetaPage& meta, uint64_t txn) {
    char bytes[kCopies * kSealSize];
    if (!readAt(file, metaPlace(meta, txn) + page_format::kSealAt, bytes, sizeof bytes)) return std::nullopt;
    for (size_t copy = 0; copy < kCopies; ++copy) {
        const char* at = bytes + copy * kSealSize;
        const auto kind = loadLittle<uint64_t>(at + 16);
        if (loadLittle<uint64_t>(at) != kSealMagic || kind < 1 || kind > 3 ||
            loadLittle<uint64_t>(at + 40) != XXH3_64bits(at, 40))
            continue;
        return Seal{loadLittle<uint64_t>(at + 8), static_cast<SealKind>(kind), loadLittle<uint64_t>(at + 24),
                    loadLittle<uint64_t>(at + 32)};
    }
    return std::nullopt;
}

// A file that nobody committed to with a seal has none: each of its states was synced before it was named.
bool everSealed(int file, const std::array<MetaPage, 2>& metas) {
    return readSeal(file, metas[0], 0) || readSeal(file, metas[0], 1);
}

constexpr uint64_t kPagesAtOnce = 64;

// Calls `each` with the number and the bytes of every page. False when a page cannot be read or `each` says
// so.
template <typename Each>
bool eachPage(int file, uint32_t pageSize, const std::vector<PageRun>& runs, const Each& each) {
    std::vector<char> bytes;
    for (const PageRun& run : runs) {
        for (uint64_t done = 0; done < run.count;) {
            const uint64_t count = std::min(kPagesAtOnce, run.count - done);
            bytes.resize(count * pageSize);
            if (!readAt(file, (run.first + done) * pageSize, bytes.data(), bytes.size())) return false;
            for (uint64_t i = 0; i < count; ++i)
                if (!each(run.first + done + i, bytes.data() + i * pageSize)) return false;
            done += count;
        }
    }
    return true;
}

// The seal of the state `txn`, from the pages as they are. The sum does not depend on the order of the pages.
std::optional<Seal> compute(int file, const std::array<MetaPage, 2>& metas, uint64_t txn,
                            std::vector<PageRun>& runs) {
    const MetaPage& now = metas[txn & 1];
    const MetaPage& before = metas[(txn & 1) ^ 1];
    if (now.txn != txn || before.txn + 1 != txn || !newPages(file, before, now, runs)) return std::nullopt;
    Seal seal{txn, SealKind::Checked, 0, 0};
    const auto add = [&](uint64_t page, const char* bytes) {
        seal.sum += XXH3_64bits_withSeed(bytes, now.pageSize, page);
        ++seal.pages;
        return true;
    };
    if (!eachPage(file, now.pageSize, runs, add)) return std::nullopt;
    // The meta page itself has parts outside of the trees' pages.
    char meta[page_format::kMetaEnd];
    if (!readAt(file, metaPlace(now, txn), meta, sizeof meta)) return std::nullopt;
    seal.sum += XXH3_64bits_withSeed(meta, sizeof meta, txn & 1);
    return seal;
}

bool same(const Seal& left, const Seal& right) {
    return left.pages == right.pages && left.sum == right.sum;
}

bool sync(int file) {
    return ::fdatasync(file) == 0;
}

// Tells whoever writes next, in any process, that a sync failed. If even that cannot be written, this process
// at least does not take the state for durable.
Status unwritten(int file, const MetaPage& meta, Seal seal) {
    if (seal.kind == SealKind::Checked) {
        seal.kind = SealKind::Unwritten;
        static_cast<void>(writeSeal(file, meta, seal));
    }
    return WDB_E_STORAGE;
}

// After a failed sync the system may hold pages for written that are not on the disk: they are written again,
// from its memory, if that still has them.
Status writeAgain(int file, const std::array<MetaPage, 2>& metas, const Seal& wanted) {
    std::vector<PageRun> runs;
    const auto found = compute(file, metas, wanted.txn, runs);
    if (!found || !same(*found, wanted)) return WDB_E_STORAGE;
    const MetaPage& meta = metas[wanted.txn & 1];
    runs.push_back({wanted.txn & 1, 1});
    const auto put = [&](uint64_t page, const char* bytes) {
        return writeAt(file, page * meta.pageSize, bytes, meta.pageSize);
    };
    if (!eachPage(file, meta.pageSize, runs, put) || !sync(file)) return WDB_E_STORAGE;
    // Only now: until here the state is one that other processes must not take for written.
    Seal seal = wanted;
    seal.kind = SealKind::Checked;
    return writeSeal(file, meta, seal) && sync(file) ? WDB_OK : WDB_E_STORAGE;
}

// For a state that a sync failed for, or whose writer fell, or was refused, before the seal.
Status makeGood(int file, const std::array<MetaPage, 2>& metas, uint64_t txn,
                const std::optional<Seal>& present) {
    std::vector<PageRun> runs;
    const auto wanted = present && present->txn == txn ? present : compute(file, metas, txn, runs);
    return wanted ? writeAgain(file, metas, *wanted) : Status{WDB_E_STORAGE};
}

}  // namespace

Status CommitSeal::prepare(uint64_t txn) {
    std::lock_guard lock(mutex_);
    if (durable_ == txn) return WDB_OK;
    std::array<MetaPage, 2> metas;
    if (!readMetas(file_, metas) || metas[txn & 1].txn != txn) return WDB_E_STORAGE;
    const auto present = readSeal(file_, metas[txn & 1], txn);
    if (present && present->txn == txn && present->kind != SealKind::Unwritten) {
        if (!sync(file_)) return unwritten(file_, metas[txn & 1], *present);
    } else if (!everSealed(file_, metas)) {
        if (!sync(file_) || !writeSeal(file_, metas[txn & 1], {txn, SealKind::Durable, 0, 0}) || !sync(file_))
            return WDB_E_STORAGE;
    } else {
        WDB_TRY(makeGood(file_, metas, txn, present));
    }
    durable_ = txn;
    return WDB_OK;
}

Status CommitSeal::seal(uint64_t txn) {
    std::lock_guard lock(mutex_);
    if (durable_ >= txn) return WDB_OK;
    std::array<MetaPage, 2> metas;
    if (!readMetas(file_, metas)) return WDB_E_STORAGE;
    const MetaPage& meta = metas[txn & 1];
    if (meta.txn < txn) return WDB_OK;  // nothing was written
    // Somebody committed the next state already, and made this one durable before (prepare()).
    if (std::max(metas[0].txn, metas[1].txn) > txn) return WDB_OK;
    std::vector<PageRun> runs;
    const auto seal = compute(file_, metas, txn, runs);
    if (!seal || !writeSeal(file_, meta, *seal)) return WDB_E_STORAGE;
    if (!sync(file_)) {
        static_cast<void>(unwritten(file_, meta, *seal));
        WDB_TRY(writeAgain(file_, metas, *seal));
    }
    durable_ = txn;
    return WDB_OK;
}

namespace {

// The state before the newest one takes its place; the newest one's meta page becomes a second name of it,
// under an older number.
Status fallBack(int file, const std::array<MetaPage, 2>& metas, uint64_t newest) {
    const MetaPage& before = metas[(newest & 1) ^ 1];
    if (before.txn + 1 != newest) return WDB_E_CORRUPT;
    if (!writeSeal(file, before, {before.txn, SealKind::Durable, 0, 0}) || !sync(file)) return WDB_E_STORAGE;
    std::string page(before.pageSize, '\0');
    if (!readAt(file, metaPlace(before, before.txn), page.data(), page_format::kMetaEnd))
        return WDB_E_STORAGE;
    storeLittle(page.data(), newest & 1);
    storeLittle(page.data() + page_format::kTxnAt, newest > 1 ? newest - 2 : 0);
    return writeAt(file, metaPlace(before, newest), page.data(), page.size()) && sync(file) ? WDB_OK
                                                                                            : WDB_E_STORAGE;
}

}  // namespace

Status recoverLastState(int file) {
    std::array<MetaPage, 2> metas;
    if (!readMetas(file, metas) || !everSealed(file, metas)) return WDB_OK;
    const uint64_t newest = std::max(metas[0].txn, metas[1].txn);
    const auto seal = readSeal(file, metas[newest & 1], newest);
    if (seal && seal->txn == newest) {
        if (seal->kind == SealKind::Durable) return WDB_OK;
        std::vector<PageRun> runs;
        const auto found = compute(file, metas, newest, runs);
        if (found && same(*found, *seal)) return WDB_OK;
        // No commit begins to name itself before the last one is durable.
        if (halfWritten(file, metas[(newest & 1) ^ 1])) return WDB_OK;
    }
    return fallBack(file, metas, newest);
}

bool noteDurable(int file) {
    std::array<MetaPage, 2> metas;
    if (!readMetas(file, metas)) return false;
    if (!everSealed(file, metas)) return true;
    const uint64_t newest = std::max(metas[0].txn, metas[1].txn);
    const auto seal = readSeal(file, metas[newest & 1], newest);
    if (!seal || seal->txn != newest || seal->kind == SealKind::Unwritten) {
        if (!ok(makeGood(file, metas, newest, seal))) return false;
    } else if (seal->kind == SealKind::Durable) {
        return true;
    }
    return sync(file) && writeSeal(file, metas[newest & 1], {newest, SealKind::Durable, 0, 0});
}

}  // namespace wdb
