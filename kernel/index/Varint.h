#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace wdb {

// Variable-length integers: seven bits to a byte, the lowest first, bit 7 set on all but the last byte.
inline void appendVarint(std::string& out, uint64_t value) {
    while (value >= 0x80) {
        out.push_back(static_cast<char>(value | 0x80));
        value >>= 7;
    }
    out.push_back(static_cast<char>(value));
}

// Bytes written, at most 10.
inline size_t putVarint(char* out, uint64_t value) {
    size_t size = 0;
    while (value >= 0x80) {
        out[size++] = static_cast<char>(value | 0x80);
        value >>= 7;
    }
    out[size++] = static_cast<char>(value);
    return size;
}

// Reads one and moves `at` behind it; false when it is cut off by `end` or longer than 32 (64) bits take.
template <typename T>
bool readVarint(const char*& at, const char* end, T& value) {
    static_assert(sizeof(T) == 4 || sizeof(T) == 8);
    T result = 0;
    for (unsigned shift = 0; at < end && shift < sizeof(T) * 8; shift += 7) {
        const auto byte = static_cast<unsigned char>(*at++);
        result |= static_cast<T>(static_cast<T>(byte & 0x7F) << shift);
        if (byte < 0x80) {
            value = result;
            return true;
        }
    }
    return false;
}

}  // namespace wdb
