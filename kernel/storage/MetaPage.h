#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace wdb {

// The record of a tree of a storage file.
struct TreeRecord {
    uint16_t flags = 0;
    uint16_t depth = 0;
    uint64_t branches = 0;
    uint64_t leaves = 0;
    uint64_t overflows = 0;
    uint64_t entries = 0;
    uint64_t root = ~uint64_t{0};
    bool operator==(const TreeRecord&) const = default;
};

// `at` are the bytes of a record, page_format::kTreeRecord of them.
TreeRecord treeAt(const char* at);

// What one of the two meta pages says: a state of the file.
struct MetaPage {
    uint32_t pageSize = 0;
    uint64_t lastPage = 0;
    uint64_t txn = 0;
    TreeRecord free;
    TreeRecord main;
};

// Both, by their place. False when one is none; a new file's have both transaction 0.
bool readMetas(int file, std::array<MetaPage, 2>& metas);

// `size` bytes of a file, or false; a file that ends before them, or an error, is false.
bool readAt(int file, uint64_t offset, char* to, size_t size);

// All bytes, or false with errno.
bool writeAt(int file, uint64_t offset, const char* from, size_t size);

}  // namespace wdb
