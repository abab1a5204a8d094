#include "src/support/WfxPtrList.h"

#include <algorithm>
#include <new>

#include "src/support/platform.h"

namespace wsql {

namespace {
constexpr std::int32_t kGrowth = 10;
}

WfxPtrList::~WfxPtrList() {
    platform::heapFree(items_);
}

void WfxPtrList::reserve(std::int64_t capacity) {
    if (capacity <= capacity_) return;
    if (capacity > INT32_MAX) throw std::bad_alloc();
    if (capacity > storage_) {
        // Ten by ten alone, a list of half a million values would be copied fifty thousand times.
        const std::int64_t storage = std::max(capacity, std::int64_t{storage_} + storage_ / 2);
        items_ =
            static_cast<void**>(platform::heapGrow(items_, static_cast<std::size_t>(storage_) * sizeof(void*),
                                                   static_cast<std::size_t>(storage) * sizeof(void*)));
        storage_ = storage;
    }
    capacity_ = static_cast<std::int32_t>(capacity);
}

void WfxPtrList::Add(void* item) {
    if (count_ >= capacity_) reserve(std::int64_t{count_} + 1 + kGrowth);
    items_[count_++] = item;
}

void WfxPtrList::Insert(std::int32_t index, void* item) {
    reserve(std::max(std::int64_t{index}, std::int64_t{count_}) + kGrowth);
    if (index < 0 || index > count_) index = count_;
    std::move_backward(items_ + index, items_ + count_, items_ + count_ + 1);
    items_[index] = item;
    ++count_;
}

void WfxPtrList::Remove(std::int32_t index) {
    if (index < 0 || index >= count_) return;
    std::move(items_ + index + 1, items_ + count_, items_ + index);
    items_[--count_] = nullptr;
}

void WfxPtrList::Set(std::int32_t index, void* item) {
    if (index >= 0 && index < count_) items_[index] = item;
}

}  // namespace wsql
