#pragma once

#include <cstddef>
#include <cstdint>

namespace wdb::page_format {

// The page format of LMDB 0.9 (data version 1), as its files have it on a 64-bit little-endian machine; see
// docs/formats/storage-file.md. Offsets are in bytes from the beginning of a page, of a node, or of the
// record of a tree.

inline constexpr uint32_t kMagic = 0xBEEFC0DE;
inline constexpr uint32_t kDataVersion = 1;
inline constexpr size_t kLeastPage = 512;
inline constexpr size_t kLargestPage = 65536;

// Page header.
inline constexpr size_t kPageHeader = 16;
inline constexpr size_t kFlagsAt = 10;
inline constexpr size_t kLowerAt = 12;          // end of the list of nodes
inline constexpr size_t kUpperAt = 14;          // begin of the nodes
inline constexpr size_t kOverflowPagesAt = 12;  // u32, of the first page of a large value
enum PageFlag : uint16_t { kBranch = 0x01, kLeaf = 0x02, kOverflow = 0x04, kMetaPage = 0x08 };

// Meta page, behind the header.
inline constexpr size_t kMagicAt = 16;
inline constexpr size_t kVersionAt = 20;
inline constexpr size_t kFreeTreeAt = 40;
inline constexpr size_t kMainTreeAt = 88;
inline constexpr size_t kLastPageAt = 136;
inline constexpr size_t kTxnAt = 144;
inline constexpr size_t kMetaEnd = 152;
inline constexpr size_t kSealAt = 160;  // ours, see CommitSeal.h; within the first 512 bytes

// Record of a tree, 48 bytes: in the meta page, and as value of a table's name in the main tree.
inline constexpr size_t kTreeRecord = 48;
inline constexpr size_t kTreePadAt = 0;  // of the free tree: the page size
inline constexpr size_t kTreeFlagsAt = 4;
inline constexpr size_t kTreeDepthAt = 6;
inline constexpr size_t kTreeBranchesAt = 8;
inline constexpr size_t kTreeLeavesAt = 16;
inline constexpr size_t kTreeOverflowsAt = 24;
inline constexpr size_t kTreeEntriesAt = 32;
inline constexpr size_t kTreeRootAt = 40;
inline constexpr uint64_t kNoPage = ~uint64_t{0};
enum TreeFlag : uint16_t { kFixedMap = 0x01, kReverseKey = 0x02, kDupSort = 0x04, kIntegerKey = 0x08 };

// Node: u16 low, u16 high, u16 flags, u16 size of the key, the key, the value. In a leaf low and high are the
// size of the value, in a branch these and the flags are the page below.
inline constexpr size_t kNodeHeader = 8;
enum NodeFlag : uint16_t { kBigData = 0x01, kSubTree = 0x02 };

}  // namespace wdb::page_format
