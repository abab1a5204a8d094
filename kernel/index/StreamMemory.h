#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace wdb {

// Memory for many byte streams that grow: blocks of 32, 64, 128, ... bytes. What a stream outgrows is given
// to the next one that needs a block of that size. Everything goes at once, with clear().
class StreamMemory {
public:
    static constexpr size_t sizeOf(uint8_t sizeClass) { return kSmallest << sizeClass; }

    // A block of a size class.
    char* take(uint8_t sizeClass);
    void giveBack(char* block, uint8_t sizeClass);
    // A copy that nobody gives back.
    const char* keep(std::string_view bytes);
    size_t bytes() const { return bytes_; }
    void clear();

private:
    static constexpr size_t kSmallest = 32;
    static constexpr size_t kClasses = 28;
    static constexpr size_t kArea = size_t{256} << 10;

    char* cut(size_t size);

    std::vector<std::unique_ptr<char[]>> areas_;
    char* free_ = nullptr;
    size_t left_ = 0;
    size_t bytes_ = 0;
    std::array<char*, kClasses> given_{};  // lists: each block begins with the address of the next one
};

}  // namespace wdb
