#include <algorithm>

#include "kernel/index/ContainerOps.h"
#include "kernel/index/RecordSet.h"

namespace wdb {
namespace {

// A slot lists its members up to so many, then it becomes a bitmap.
constexpr size_t kListed = 512;

void setBit(char* bits, uint16_t member) {
    bits[member >> 3] = static_cast<char>(static_cast<unsigned char>(bits[member >> 3]) | 1u << (member & 7));
}

}  // namespace

RecordSetBuilder::Slot& RecordSetBuilder::slot(uint16_t number) {
    if (last_ < slots_.size() && slots_[last_].number == number) return slots_[last_];
    auto place = std::lower_bound(slots_.begin(), slots_.end(), number,
                                  [](const Slot& slot, uint16_t wanted) { return slot.number < wanted; });
    if (place == slots_.end() || place->number != number) place = slots_.insert(place, Slot{number, nullptr, {}});
    last_ = static_cast<size_t>(place - slots_.begin());
    return *place;
}

void RecordSetBuilder::promote(Slot& slot) {
    slot.bits = std::make_unique<char[]>(kBitmapBytes);
    for (const uint16_t member : slot.members) setBit(slot.bits.get(), member);
    slot.members.clear();
}

void RecordSetBuilder::add(RecordNumber record) {
    Slot& target = slot(static_cast<uint16_t>(record >> 16));
    const auto low = static_cast<uint16_t>(record & 0xFFFF);
    if (target.bits == nullptr && target.members.size() == kListed) promote(target);
    if (target.bits != nullptr) setBit(target.bits.get(), low);
    else target.members.push_back(low);
}

void RecordSetBuilder::add(uint16_t chunk, const ContainerView& container) {
    Slot& target = slot(chunk);
    if (target.bits == nullptr && target.members.size() + container.cardinality > kListed) promote(target);
    if (target.bits == nullptr) {
        container.forEach([&](uint16_t member) { target.members.push_back(member); });
        return;
    }
    if (container.kind == ContainerKind::Array) {
        for (uint32_t i = 0; i < container.cardinality; ++i) setBit(target.bits.get(), container.at(i));
        return;
    }
    for (size_t at = 0; at < kBitmapBytes; at += 8) {
        uint64_t word;
        std::memcpy(&word, target.bits.get() + at, 8);
        word |= container.word(at / 8);
        std::memcpy(target.bits.get() + at, &word, 8);
    }
}

Status RecordSetBuilder::add(uint16_t chunk, Slice stored) {
    const Result<ContainerView> view = readContainer(stored);
    if (!view) return view.status();
    add(chunk, *view);
    return WDB_OK;
}

void RecordSetBuilder::add(const RecordSet& set) {
    for (size_t place = 0; place < set.chunkCount(); ++place) add(set.chunkNumber(place), set.chunk(place));
}

void RecordSetBuilder::addWord(uint32_t word, uint64_t bits) {
    if (bits == 0) return;
    Slot& target = slot(static_cast<uint16_t>(word / kBitmapWords));
    if (target.bits == nullptr) promote(target);
    char* at = target.bits.get() + size_t{word % kBitmapWords} * 8;
    uint64_t old;
    std::memcpy(&old, at, 8);
    old |= bits;
    std::memcpy(at, &old, 8);
}

RecordSet RecordSetBuilder::finish() {
    RecordSet set;
    for (Slot& done : slots_) {
        OwnedContainer made;
        if (done.bits != nullptr) {
            made = containerOfBits(done.bits.get());
        } else {
            std::sort(done.members.begin(), done.members.end());
            done.members.erase(std::unique(done.members.begin(), done.members.end()), done.members.end());
            made = containerOf(done.members.data(), static_cast<uint32_t>(done.members.size()));
        }
        set.adopt(done.number, made.view, std::move(made.data));
    }
    slots_.clear();
    last_ = 0;
    return set;
}

}  // namespace wdb
