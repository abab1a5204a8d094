#include "kernel/index/StreamMemory.h"

#include <cstring>
#include <new>

namespace wdb {

char* StreamMemory::cut(size_t size) {
    if (size > left_) {
        const size_t area = size > kArea / 4 ? size : kArea;
        areas_.push_back(std::unique_ptr<char[]>(new char[area]));
        bytes_ += area;
        if (area != kArea) return areas_.back().get();  // a large one stands alone
        free_ = areas_.back().get();
        left_ = area;
    }
    char* const piece = free_;
    free_ += size;
    left_ -= size;
    return piece;
}

char* StreamMemory::take(uint8_t sizeClass) {
    if (sizeClass >= kClasses) throw std::bad_alloc();
    char* const block = given_[sizeClass];
    if (block == nullptr) return cut(sizeOf(sizeClass));
    std::memcpy(&given_[sizeClass], block, sizeof(char*));
    return block;
}

void StreamMemory::giveBack(char* block, uint8_t sizeClass) {
    std::memcpy(block, &given_[sizeClass], sizeof(char*));
    given_[sizeClass] = block;
}

const char* StreamMemory::keep(std::string_view bytes) {
    char* const piece = cut(bytes.size());
    std::memcpy(piece, bytes.data(), bytes.size());
    return piece;
}

void StreamMemory::clear() {
    *this = StreamMemory();
}

}  // namespace wdb
