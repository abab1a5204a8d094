#include "kernel/index/RecordSet.h"

#include <algorithm>
#include <utility>

#include "kernel/index/ContainerKernels.h"
#include "kernel/index/ContainerOperations.h"

namespace wdb {

namespace {

// Members kept as a list before a slot takes a bitmap.
constexpr size_t kMaxList = 256;

// Sets the bits of an array. Eight members to a step, their places known before the first byte is written: a
// write could be to anywhere as far as the compiler knows.
void setBits(char* bits, const char* members, uint32_t count) {
    for (; count >= 8; count -= 8, members += 16) {
        uint64_t four[2];
        std::memcpy(four, members, 16);
        for (const uint64_t places : four) {
            setBit(bits, static_cast<uint16_t>(places));
            setBit(bits, static_cast<uint16_t>(places >> 16));
            setBit(bits, static_cast<uint16_t>(places >> 32));
            setBit(bits, static_cast<uint16_t>(places >> 48));
        }
    }
    for (; count > 0; --count, members += 2) {
        uint16_t member;
        std::memcpy(&member, members, 2);
        setBit(bits, member);
    }
}

}  // namespace

RecordSetBuilder::Slot& RecordSetBuilder::slot(uint16_t number) {
    if (last_ < slots_.size() && slots_[last_].number == number) return slots_[last_];
    const auto found =
        std::lower_bound(slots_.begin(), slots_.end(), number,
                         [](const Slot& slot, uint16_t wanted) { return slot.number < wanted; });
    last_ = static_cast<size_t>(found - slots_.begin());
    if (found == slots_.end() || found->number != number) slots_.insert(found, Slot{number, nullptr, {}});
    return slots_[last_];
}

void RecordSetBuilder::promote(Slot& slot) {
    slot.bits = allocateContainer(kBitmapBytes);
    std::memset(slot.bits.get(), 0, kBitmapBytes);
    for (const uint16_t member : slot.members) setBit(slot.bits.get(), member);
    slot.members.clear();
}

void RecordSetBuilder::add(RecordNumber record) {
    Slot& target = slot(static_cast<uint16_t>(record >> 16));
    const auto member = static_cast<uint16_t>(record & 0xFFFF);
    if (!target.bits && target.members.size() >= kMaxList) promote(target);
    if (target.bits)
        setBit(target.bits.get(), member);
    else
        target.members.push_back(member);
}

void RecordSetBuilder::add(uint16_t chunk, const ContainerView& container) {
    if (container.cardinality == 0) return;
    Slot& target = slot(chunk);
    if (!target.bits && container.kind == ContainerKind::Array &&
        target.members.size() + container.cardinality <= kMaxList) {
        container.forEach([&](uint16_t member) { target.members.push_back(member); });
        return;
    }
    if (!target.bits) promote(target);
    if (container.kind == ContainerKind::Bitmap) {
        containerKernels().orBitmaps(target.bits.get(), container.data, target.bits.get());
        return;
    }
    setBits(target.bits.get(), container.data, container.cardinality);
}

Status RecordSetBuilder::add(uint16_t chunk, Slice stored) {
    const Result<ContainerView> view = readContainer(stored);
    if (!view) return view.status();
    add(chunk, *view);
    return WDB_OK;
}

void RecordSetBuilder::add(const RecordSet& set) {
    for (size_t i = 0; i < set.chunkCount(); ++i) add(set.chunkNumber(i), set.chunk(i));
}

void RecordSetBuilder::addWords(uint32_t first, const uint64_t* words, uint32_t count) {
    while (count > 0) {
        const uint32_t within = first % kBitmapWords;
        const uint32_t here = std::min(count, static_cast<uint32_t>(kBitmapWords) - within);
        const bool any = std::any_of(words, words + here, [](uint64_t word) { return word != 0; });
        if (any) {
            Slot& target = slot(static_cast<uint16_t>(first / kBitmapWords));
            if (!target.bits) promote(target);
            char* at = target.bits.get() + size_t{within} * 8;
            for (uint32_t w = 0; w < here; ++w, at += 8) {
                uint64_t value;
                std::memcpy(&value, at, 8);
                value |= words[w];
                std::memcpy(at, &value, 8);
            }
        }
        first += here;
        words += here;
        count -= here;
    }
}

RecordSet RecordSetBuilder::finish() {
    RecordSet out;
    for (Slot& slot : slots_) {
        OwnedContainer made;
        if (slot.bits) {
            const uint32_t count = containerKernels().countBits(slot.bits.get(), kBitmapBytes);
            made = fromBits(std::move(slot.bits), count);
        } else {
            std::sort(slot.members.begin(), slot.members.end());
            slot.members.erase(std::unique(slot.members.begin(), slot.members.end()), slot.members.end());
            made = fromMembers(slot.members.data(), static_cast<uint32_t>(slot.members.size()));
        }
        out.adopt(slot.number, made.view, std::move(made.data));
    }
    slots_.clear();
    last_ = 0;
    return out;
}

}  // namespace wdb
