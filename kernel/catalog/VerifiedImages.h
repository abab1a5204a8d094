#pragma once

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <memory>
#include <mutex>

#include "kernel/common/Ids.h"
#include "kernel/record/RecordImage.h"

namespace wdb {

// The images of a base's records that were found whole, so that a record that is read again and again has its
// checksum computed once. An image is told by its record's number and the checksum that it carries, which
// covers the number of its commit: a changed record has another one, whatever state of the base is read.
// Slots are shared by record numbers; the latest one stays. Safe to use from all threads.
class VerifiedImages {
public:
    VerifiedImages() = default;
    VerifiedImages(const VerifiedImages&) = delete;
    VerifiedImages& operator=(const VerifiedImages&) = delete;

    // WDB_E_CORRUPT when the image is not one, or was damaged before it was first read.
    // `records`: how many the base has, about. `dictionary`: of a packed image.
    Result<RecordView> view(RecordNumber number, Slice image, uint64_t records,
                            const TailDictionary* dictionary = nullptr) {
        const uint64_t tag = uint64_t{RecordView::checksum(image)} << 32 | number;
        if (Slot* slots = slots_.load(std::memory_order_acquire); slots != nullptr) [[likely]] {
            if (slots[number & mask_].load(std::memory_order_relaxed) == tag)
                return RecordView::validateShape(image, dictionary);
        }
        Result<RecordView> found = RecordView::validate(image, dictionary);
        if (found) note(number, tag, records);
        return found;
    }

    // That the record will be viewed soon.
    void expect(RecordNumber number) const {
        if (const Slot* slots = slots_.load(std::memory_order_acquire))
            __builtin_prefetch(slots + (number & mask_));
    }

private:
    using Slot = std::atomic<uint64_t>;
    static constexpr uint64_t kLeast = 256, kMost = uint64_t{1} << 16;  // slots of 8 bytes

    void note(RecordNumber number, uint64_t tag, uint64_t records) {
        Slot* slots = slots_.load(std::memory_order_acquire);
        if (slots == nullptr) slots = make(records);
        slots[number & mask_].store(tag, std::memory_order_relaxed);
    }
    Slot* make(uint64_t records) {
        const std::lock_guard lock(mutex_);
        if (memory_ == nullptr) {
            const uint64_t size = std::bit_ceil(std::clamp(records, kLeast, kMost));
            memory_ = std::make_unique<Slot[]>(size);
            mask_ = size - 1;
            slots_.store(memory_.get(), std::memory_order_release);
        }
        return memory_.get();
    }

    std::atomic<Slot*> slots_{nullptr};
    uint64_t mask_ = 0;  // set before slots_
    std::mutex mutex_;
    std::unique_ptr<Slot[]> memory_;
};

}  // namespace wdb
