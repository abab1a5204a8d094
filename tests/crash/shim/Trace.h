#pragma once

#include <cstdint>

// Records of a trace, in the byte order of the machine: a TraceHeader, the path, the second path, the bytes.
enum class TraceKind : uint32_t {
    Write = 1,  // `bytes` at `offset`
    Sync,       // of a file's bytes, or of a directory's entries
    Truncate,   // to `offset`
    Create,     // a file, or with `offset` 1 a directory, under `path` that was not there
    Rename,     // from `path` to the second path
    Unlink,     // of `path`
    Mark,       // by the program: `offset` is its number
};

struct TraceHeader {
    TraceKind kind;
    uint32_t synchronous;  // a write through a descriptor that writes synchronously: durable when it returns
    uint64_t inode;        // of the file that is written, synced or made
    uint64_t offset;
    uint32_t pathSize;
    uint32_t secondSize;
    uint64_t byteCount;
};
