// The array of untyped pointers underneath every list.
#pragma once

#include <cstdint>

namespace wsql {

// Never destroys what it points to. Indices are zero-based. Grows by ten entries beyond what is asked for.
// Throws std::bad_alloc.
class WfxPtrList {
public:
    WfxPtrList() = default;
    WfxPtrList(const WfxPtrList&) = delete;
    WfxPtrList& operator=(const WfxPtrList&) = delete;
    ~WfxPtrList();

    void Add(void* item);
    // Before the entry at index; an index outside 0 .. Count() appends.
    void Insert(std::int32_t index, void* item);
    // Ignored when there is no such entry.
    void Remove(std::int32_t index);
    // Replaces the entry at index; ignored when there is none.
    void Set(std::int32_t index, void* item);
    // Null when there is no such entry.
    void* Get(std::int32_t index) const { return index >= 0 && index < count_ ? items_[index] : nullptr; }
    std::int32_t Count() const { return count_; }
    std::int32_t Capacity() const { return capacity_; }

private:
    void reserve(std::int64_t capacity);

    std::int32_t capacity_ = 0;
    std::int64_t storage_ = 0;  // entries really allocated, at least capacity_
    std::int32_t count_ = 0;
    void** items_ = nullptr;
};

}  // namespace wsql
