#include "kernel/record/ObjectSpool.h"

#include <algorithm>
#include <cstring>

namespace wdb {

Status ObjectSpool::append(Slice bytes) {
    if (bytes.size() > kMaxSize - size_) return WDB_E_VALUE;
    if (!file_ && size_ + bytes.size() <= kMemory) {
        memory_.append(bytes);
        size_ += bytes.size();
        return WDB_OK;
    }
    if (!file_) {
        file_.reset(std::tmpfile());
        if (!file_ || std::fwrite(memory_.data(), 1, memory_.size(), file_.get()) != memory_.size())
            return WDB_E_STORAGE;
        memory_ = std::string();
    }
    if (std::fseek(file_.get(), static_cast<long>(size_), SEEK_SET) != 0) return WDB_E_STORAGE;
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) return WDB_E_STORAGE;
    size_ += bytes.size();
    return WDB_OK;
}

Result<size_t> ObjectSpool::read(uint64_t offset, char* buffer, size_t size) const {
    if (offset >= size_) return size_t{0};
    size = static_cast<size_t>(std::min<uint64_t>(size, size_ - offset));
    if (!file_) {
        std::memcpy(buffer, memory_.data() + offset, size);
        return size;
    }
    if (std::fseek(file_.get(), static_cast<long>(offset), SEEK_SET) != 0) return WDB_E_STORAGE;
    if (std::fread(buffer, 1, size, file_.get()) != size) return WDB_E_STORAGE;
    return size;
}

}  // namespace wdb
