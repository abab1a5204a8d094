#include "kernel/index/RankCounter.h"

#include <algorithm>

#include "kernel/index/ContainerKernels.h"

namespace wdb {

namespace {

// std::popcount without the processor's instruction is a call into a library.
uint32_t countOnes(uint64_t bits) {
    bits -= (bits >> 1) & 0x5555555555555555U;
    bits = (bits & 0x3333333333333333U) + ((bits >> 2) & 0x3333333333333333U);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0FU;
    return static_cast<uint32_t>((bits * 0x0101010101010101U) >> 56);
}

}  // namespace

uint32_t RankCounter::inBitmap(const ContainerView& container, uint16_t low) {
    if (!opened_) containerKernels().countBefore(container.data, before_.data());
    opened_ = true;
    const uint64_t below = container.word(low / 64) & ((uint64_t{1} << (low % 64)) - 1);
    return before_[low / 64] + countOnes(below);
}

// Galloping from the latest place.
uint32_t RankCounter::inArray(const ContainerView& container, uint16_t low) {
    if (!opened_) member_ = 0;
    opened_ = true;
    uint32_t step = 1;
    uint32_t end = member_;
    while (end < container.cardinality && container.at(end) < low) {
        member_ = end + 1;
        end += step;
        step *= 2;
    }
    end = std::min(end, container.cardinality);
    while (member_ < end) {
        const uint32_t middle = member_ + (end - member_) / 2;
        if (container.at(middle) < low)
            member_ = middle + 1;
        else
            end = middle;
    }
    return member_;
}

}  // namespace wdb
