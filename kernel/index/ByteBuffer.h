#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#include "kernel/common/Ids.h"
#include "kernel/index/Varint.h"

namespace wdb {

// Bytes that are appended one or a few at a time, millions of times: what std::string does in a call, inline.
class ByteBuffer {
public:
    ByteBuffer() = default;
    ByteBuffer(ByteBuffer&& other) noexcept
        : bytes_(std::move(other.bytes_)),
          size_(std::exchange(other.size_, 0)),
          room_(std::exchange(other.room_, 0)) {}
    ByteBuffer& operator=(ByteBuffer&& other) noexcept {
        std::swap(bytes_, other.bytes_);
        std::swap(size_, other.size_);
        std::swap(room_, other.room_);
        return *this;
    }

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    void clear() { size_ = 0; }
    Slice view() const { return {bytes_.get(), size_}; }

    void push(char byte) {
        need(1);
        bytes_[size_++] = byte;
    }
    void varint(uint64_t value) {
        need(kMostVarint);
        size_ += putVarint(&bytes_[size_], value);
    }
    void append(Slice bytes) {
        need(bytes.size());
        char* to = &bytes_[size_];
        size_ += bytes.size();
        if (bytes.size() > kFew) {
            std::memcpy(to, bytes.data(), bytes.size());
        } else {
            for (const char byte : bytes) *to++ = byte;
        }
    }

private:
    static constexpr size_t kMostVarint = 10;
    static constexpr size_t kFew = 4;  // bytes that are copied sooner than memcpy is called
    static constexpr size_t kFirst = 256;

    // One more than is written, so that there is always a place to point at.
    void need(size_t bytes) {
        if (size_ + bytes >= room_) [[unlikely]]
            grow(bytes);
    }
    void grow(size_t bytes) {
        const size_t room = 2 * room_ + bytes + kFirst;
        std::unique_ptr<char[]> larger(new char[room]);
        if (size_ > 0) std::memcpy(larger.get(), bytes_.get(), size_);
        bytes_ = std::move(larger);
        room_ = room;
    }

    std::unique_ptr<char[]> bytes_;
    size_t size_ = 0;
    size_t room_ = 0;
};

}  // namespace wdb
