#include "kernel/storage/MetaPage.h"

#include <unistd.h>

#include <cerrno>

#include "kernel/common/ByteOrder.h"
#include "kernel/storage/PageFormat.h"

namespace wdb {

using namespace page_format;

TreeRecord treeAt(const char* at) {
    TreeRecord tree;
    tree.flags = loadLittle<uint16_t>(at + kTreeFlagsAt);
    tree.depth = loadLittle<uint16_t>(at + kTreeDepthAt);
    tree.branches = loadLittle<uint64_t>(at + kTreeBranchesAt);
    tree.leaves = loadLittle<uint64_t>(at + kTreeLeavesAt);
    tree.overflows = loadLittle<uint64_t>(at + kTreeOverflowsAt);
    tree.entries = loadLittle<uint64_t>(at + kTreeEntriesAt);
    tree.root = loadLittle<uint64_t>(at + kTreeRootAt);
    return tree;
}

bool readAt(int file, uint64_t offset, char* to, size_t size) {
    while (size > 0) {
        const ssize_t got = ::pread(file, to, size, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        to += got;
        offset += static_cast<uint64_t>(got);
        size -= static_cast<size_t>(got);
    }
    return true;
}

bool writeAt(int file, uint64_t offset, const char* from, size_t size) {
    while (size > 0) {
        const ssize_t put = ::pwrite(file, from, size, static_cast<off_t>(offset));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        from += put;
        offset += static_cast<uint64_t>(put);
        size -= static_cast<size_t>(put);
    }
    return true;
}

namespace {

bool readMeta(int file, uint64_t number, uint32_t pageSize, MetaPage& meta) {
    char bytes[kMetaEnd];
    if (!readAt(file, number * pageSize, bytes, sizeof bytes)) return false;
    if (loadLittle<uint64_t>(bytes) != number || loadLittle<uint16_t>(bytes + kFlagsAt) != kMetaPage ||
        loadLittle<uint32_t>(bytes + kMagicAt) != kMagic ||
        loadLittle<uint32_t>(bytes + kVersionAt) != kDataVersion)
        return false;
    meta.free = treeAt(bytes + kFreeTreeAt);
    meta.main = treeAt(bytes + kMainTreeAt);
    meta.pageSize = loadLittle<uint32_t>(bytes + kFreeTreeAt + kTreePadAt);
    meta.lastPage = loadLittle<uint64_t>(bytes + kLastPageAt);
    meta.txn = loadLittle<uint64_t>(bytes + kTxnAt);
    const bool sized = meta.pageSize >= kLeastPage && meta.pageSize <= kLargestPage &&
                       (meta.pageSize & (meta.pageSize - 1)) == 0 &&
                       (pageSize == 0 || meta.pageSize == pageSize);
    const bool placed = meta.txn == 0 || (meta.txn & 1) == number;
    const bool flags =
        (meta.free.flags & (kFixedMap | kReverseKey | kDupSort | kIntegerKey)) == kIntegerKey &&
        meta.main.flags == 0;
    return sized && placed && flags && meta.lastPage >= 1 && meta.lastPage < (uint64_t{1} << 47);
}

}  // namespace

bool readMetas(int file, std::array<MetaPage, 2>& metas) {
    return readMeta(file, 0, 0, metas[0]) && readMeta(file, 1, metas[0].pageSize, metas[1]);
}

}  // namespace wdb
