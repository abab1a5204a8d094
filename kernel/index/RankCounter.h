#pragma once

#include <array>
#include <cstdint>

#include "kernel/common/Ids.h"
#include "kernel/index/Container.h"
#include "kernel/index/RecordSet.h"

namespace wdb {

// Counts the members of a set below record numbers that never descend from call to call: a few nanoseconds
// each, and one pass over a bitmap when the numbers reach it. The set must outlive it.
class RankCounter {
public:
    explicit RankCounter(const RecordSet& set) : set_(&set) {}

    uint64_t below(RecordNumber record) {
        const auto chunk = static_cast<uint16_t>(record >> 16);
        while (place_ < set_->chunkCount() && set_->chunkNumber(place_) < chunk) {
            passed_ += set_->chunk(place_++).cardinality;
            opened_ = false;
        }
        if (place_ == set_->chunkCount() || set_->chunkNumber(place_) != chunk) return passed_;
        const auto low = static_cast<uint16_t>(record & 0xFFFF);
        const ContainerView& container = set_->chunk(place_);
        return passed_ +
               (container.kind == ContainerKind::Bitmap ? inBitmap(container, low) : inArray(container, low));
    }

private:
    uint32_t inBitmap(const ContainerView& container, uint16_t low);
    uint32_t inArray(const ContainerView& container, uint16_t low);

    const RecordSet* set_;
    size_t place_ = 0;                           // chunk
    uint64_t passed_ = 0;                        // members of the chunks before it
    bool opened_ = false;                        // what follows is the chunk's
    uint32_t member_ = 0;                        // array: members below the latest number
    std::array<uint16_t, kBitmapWords> before_;  // bitmap: bits before each word
};

}  // namespace wdb
