#pragma once

#include <cstdint>
#include <deque>
#include <vector>

namespace wdb {

// The live objects of one kind that a session has handed out. A handle is no address: it holds a tag (session
// and kind), a generation and a slot, so that a dead or foreign pointer is told apart without looking at what
// it points to, also when the slot is in use again. Objects keep their address and their buffers when a slot
// is used again; T::reset() empties one.
template <typename T>
class HandleTable {
public:
    // Tags of 16 bits with the highest set: no address of a process looks so.
    explicit HandleTable(uint16_t tag) : tag_(static_cast<uint64_t>(tag | 0x8000u) << kTagShift) {}

    uint64_t add() {
        if (free_.empty()) {
            free_.push_back(static_cast<uint32_t>(slots_.size()));
            slots_.emplace_back();
        }
        const uint32_t slot = free_.back();
        free_.pop_back();
        slots_[slot].live = true;
        ++live_;
        return handle(slot);
    }
    T& object(uint64_t handle) { return slots_[slotOf(handle)].value; }

    // Null unless the handle is live.
    T* find(uint64_t handle) {
        const uint64_t slot = slotOf(handle);
        if (slot >= slots_.size() || !slots_[slot].live || this->handle(slot) != handle) return nullptr;
        return &slots_[slot].value;
    }
    // The handle was given out by this table once, and is dead.
    bool wasAlive(uint64_t handle) const {
        const uint64_t slot = slotOf(handle);
        if ((handle & kTagMask) != tag_ || slot >= slots_.size()) return false;
        return ((handle >> kSlotBits) & kGenerationMask) < slots_[slot].generation;
    }
    void remove(uint64_t handle) {
        Slot& slot = slots_[slotOf(handle)];
        slot.live = false;
        --live_;
        slot.value.reset();
        slot.generation = (slot.generation + 1) & kGenerationMask;
        free_.push_back(static_cast<uint32_t>(slotOf(handle)));
    }
    size_t size() const { return live_; }

    // Calls visit(handle, object) for the live ones; visit may remove the one that it is given.
    template <typename Visit>
    void each(Visit visit) {
        for (uint32_t slot = 0; slot < slots_.size(); ++slot) {
            if (slots_[slot].live) visit(handle(slot), slots_[slot].value);
        }
    }

private:
    static constexpr int kSlotBits = 24;
    static constexpr int kTagShift = 48;
    static constexpr uint64_t kTagMask = uint64_t{0xFFFF} << kTagShift;
    static constexpr uint32_t kGenerationMask = 0xFFFFFF;
    struct Slot {
        T value;
        uint32_t generation = 0;
        bool live = false;
    };

    static uint64_t slotOf(uint64_t handle) { return handle & ((uint64_t{1} << kSlotBits) - 1); }
    uint64_t handle(uint64_t slot) const {
        return tag_ | (static_cast<uint64_t>(slots_[slot].generation) << kSlotBits) | slot;
    }

    uint64_t tag_;
    std::deque<Slot> slots_;
    std::vector<uint32_t> free_;
    size_t live_ = 0;
};

// Handles as the API's pointer types carry them.
template <typename Pointer>
uint64_t handleOf(const Pointer* pointer) {
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(pointer));
}
template <typename Pointer>
Pointer* handlePointer(uint64_t handle) {
    return reinterpret_cast<Pointer*>(static_cast<uintptr_t>(handle));
}

}  // namespace wdb
