#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace wdb {

namespace detail {
template <typename T>
constexpr T swapBytes(T value) {
    static_assert(std::is_unsigned_v<T>);
    if constexpr (sizeof(T) == 2) return __builtin_bswap16(value);
    if constexpr (sizeof(T) == 4) return __builtin_bswap32(value);
    if constexpr (sizeof(T) == 8) return __builtin_bswap64(value);
    return value;
}
}  // namespace detail

// Unsigned integers in stored bytes, at any address. Little endian is what files hold, big endian what keys
// hold, so that the order of bytes is the order of numbers.
template <typename T>
T loadLittle(const void* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return std::endian::native == std::endian::little ? value : detail::swapBytes(value);
}

template <typename T>
T loadBig(const void* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return std::endian::native == std::endian::big ? value : detail::swapBytes(value);
}

template <typename T>
void storeLittle(void* bytes, T value) {
    if constexpr (std::endian::native != std::endian::little) value = detail::swapBytes(value);
    std::memcpy(bytes, &value, sizeof value);
}

template <typename T>
void storeBig(void* bytes, T value) {
    if constexpr (std::endian::native != std::endian::big) value = detail::swapBytes(value);
    std::memcpy(bytes, &value, sizeof value);
}

template <typename T>
void appendLittle(std::string& out, T value) {
    char bytes[sizeof value];
    storeLittle(bytes, value);
    out.append(bytes, sizeof value);
}

template <typename T>
void appendBig(std::string& out, T value) {
    char bytes[sizeof value];
    storeBig(bytes, value);
    out.append(bytes, sizeof value);
}

}  // namespace wdb
