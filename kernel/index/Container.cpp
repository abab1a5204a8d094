#include "kernel/index/Container.h"

#include <xxhash.h>

#include "kernel/common/ByteOrder.h"
#include "kernel/index/ContainerKernels.h"

namespace wdb {

namespace {

// Header: u16 cardinality - 1, u8 kind, u8 zero, u32 low half of XXH3-64 over the data, seeded with the four
// bytes before.
constexpr size_t kChecksumAt = 4;

uint32_t checksum(Slice stored) {
    const uint64_t seed = loadLittle<uint32_t>(stored.data());
    return static_cast<uint32_t>(
        XXH3_64bits_withSeed(stored.data() + kContainerHeader, stored.size() - kContainerHeader, seed));
}

// First place of an array whose member is not below `low`.
uint32_t lowerBound(const ContainerView& array, uint16_t low) {
    uint32_t begin = 0;
    uint32_t count = array.cardinality;
    while (count > 0) {
        const uint32_t half = count / 2;
        if (array.at(begin + half) < low) {
            begin += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
    return begin;
}

}  // namespace

bool ContainerView::contains(uint16_t low) const {
    if (kind == ContainerKind::Bitmap)
        return (static_cast<unsigned char>(data[low >> 3]) >> (low & 7) & 1) != 0;
    const uint32_t place = lowerBound(*this, low);
    return place < cardinality && at(place) == low;
}

uint32_t ContainerView::rank(uint16_t low) const {
    if (kind == ContainerKind::Array) return lowerBound(*this, low);
    const size_t full = low >> 6;
    const uint32_t before = containerKernels().countBits(data, full * 8);
    return before + static_cast<uint32_t>(std::popcount(word(full) & ((uint64_t{1} << (low & 63)) - 1)));
}

uint16_t ContainerView::select(uint32_t place) const {
    if (kind == ContainerKind::Array) return at(place);
    for (size_t w = 0; w < kBitmapWords; ++w) {
        uint64_t bits = word(w);
        const auto count = static_cast<uint32_t>(std::popcount(bits));
        if (place >= count) {
            place -= count;
            continue;
        }
        for (; place > 0; --place) bits &= bits - 1;
        return static_cast<uint16_t>(w * 64 + static_cast<unsigned>(std::countr_zero(bits)));
    }
    return 0;
}

Result<ContainerView> readContainer(Slice stored) {
    if (stored.size() < kContainerHeader + 2) return Status{WDB_E_CORRUPT};
    ContainerView view;
    view.cardinality = uint32_t{loadLittle<uint16_t>(stored.data())} + 1;
    const auto kind = static_cast<uint8_t>(stored[2]);
    if (kind > 1) return Status{WDB_E_CORRUPT};
    view.kind = static_cast<ContainerKind>(kind);
    view.data = stored.data() + kContainerHeader;
    if (view.kind == ContainerKind::Array && view.cardinality > kMaxArray) return Status{WDB_E_CORRUPT};
    if (stored.size() - kContainerHeader != view.bytes()) return Status{WDB_E_CORRUPT};
    return view;
}

Status validateContainer(Slice stored) {
    const Result<ContainerView> view = readContainer(stored);
    if (!view) return view.status();
    if (loadLittle<uint32_t>(stored.data() + kChecksumAt) != checksum(stored)) return WDB_E_CORRUPT;
    if (view->kind == ContainerKind::Bitmap) {
        const uint32_t count = containerKernels().countBits(view->data, kBitmapBytes);
        return count == view->cardinality && count > kMaxArray ? WDB_OK : WDB_E_CORRUPT;
    }
    for (uint32_t i = 1; i < view->cardinality; ++i) {
        if (view->at(i - 1) >= view->at(i)) return WDB_E_CORRUPT;
    }
    return WDB_OK;
}

void appendContainer(const ContainerView& container, std::string& out) {
    const size_t begin = out.size();
    char header[kContainerHeader] = {};
    storeLittle(header, static_cast<uint16_t>(container.cardinality - 1));
    header[2] = static_cast<char>(container.kind);
    out.append(header, sizeof header);
    out.append(container.data, container.bytes());
    storeLittle(out.data() + begin + kChecksumAt, checksum(Slice(out).substr(begin)));
}

void appendContainer(const uint16_t* members, uint32_t count, std::string& out) {
    if (count <= kMaxArray) {
        appendContainer({ContainerKind::Array, count, reinterpret_cast<const char*>(members)}, out);
        return;
    }
    uint64_t bits[kBitmapWords] = {};
    for (uint32_t i = 0; i < count; ++i) bits[members[i] >> 6] |= uint64_t{1} << (members[i] & 63);
    appendContainer({ContainerKind::Bitmap, count, reinterpret_cast<const char*>(bits)}, out);
}

}  // namespace wdb
