#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"

namespace wdb {

// A large object that is being written and belongs to no record yet: in memory up to kMemory bytes, beyond
// that in a file without a name in the directory for temporary files, which goes with the object (or with the
// process).
class ObjectSpool {
public:
    static constexpr size_t kMemory = size_t{4} << 20;
    static constexpr uint64_t kMaxSize = INT32_MAX;

    // WDB_E_VALUE when the object would pass kMaxSize bytes, WDB_E_STORAGE when the file cannot take it.
    Status append(Slice bytes);
    uint32_t size() const { return static_cast<uint32_t>(size_); }

    // Copies up to `size` bytes from an offset (from 0); fewer at the end.
    Result<size_t> read(uint64_t offset, char* buffer, size_t size) const;

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::string memory_;
    std::unique_ptr<std::FILE, CloseFile> file_;  // holds everything once it is there
    uint64_t size_ = 0;
};

}  // namespace wdb
