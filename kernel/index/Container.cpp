#include "kernel/index/Container.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "kernel/common/ByteOrder.h"

namespace wdb {
namespace {

constexpr size_t kKindAt = 0;
constexpr size_t kCardinalityAt = 2;  // less one
constexpr size_t kChecksumAt = 4;

uint32_t checksum(const char* data, size_t size) { return static_cast<uint32_t>(XXH3_64bits(data, size)); }

uint32_t lowerBound(const ContainerView& array, uint16_t low) {
    uint32_t from = 0;
    uint32_t to = array.cardinality;
    while (from < to) {
        const uint32_t middle = from + (to - from) / 2;
        if (array.at(middle) < low) from = middle + 1;
        else to = middle;
    }
    return from;
}

bool ascending(const ContainerView& array) {
    for (uint32_t i = 1; i < array.cardinality; ++i) {
        if (array.at(i - 1) >= array.at(i)) return false;
    }
    return true;
}

uint32_t bitCount(const ContainerView& bitmap) {
    uint32_t count = 0;
    for (size_t w = 0; w < kBitmapWords; ++w) count += static_cast<uint32_t>(std::popcount(bitmap.word(w)));
    return count;
}

}  // namespace

bool ContainerView::contains(uint16_t low) const {
    if (kind == ContainerKind::Bitmap) return (static_cast<unsigned char>(data[low >> 3]) >> (low & 7) & 1u) != 0;
    const uint32_t place = lowerBound(*this, low);
    return place < cardinality && at(place) == low;
}

uint32_t ContainerView::rank(uint16_t low) const {
    if (kind == ContainerKind::Array) return lowerBound(*this, low);
    uint32_t count = 0;
    for (size_t w = 0; w < low / 64u; ++w) count += static_cast<uint32_t>(std::popcount(word(w)));
    const uint64_t below = (uint64_t{1} << (low % 64u)) - 1;
    return count + static_cast<uint32_t>(std::popcount(word(low / 64u) & below));
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
    if (stored.size() < kContainerHeader) return WDB_E_CORRUPT;
    const auto kind = static_cast<uint8_t>(stored[kKindAt]);
    if (kind > static_cast<uint8_t>(ContainerKind::Bitmap)) return WDB_E_CORRUPT;
    ContainerView view;
    view.kind = static_cast<ContainerKind>(kind);
    view.cardinality = uint32_t{loadLittle<uint16_t>(stored.data() + kCardinalityAt)} + 1;
    view.data = stored.data() + kContainerHeader;
    if (stored.size() != kContainerHeader + view.bytes()) return WDB_E_CORRUPT;
    return view;
}

Status validateContainer(Slice stored) {
    const Result<ContainerView> view = readContainer(stored);
    if (!view) return view.status();
    if (loadLittle<uint32_t>(stored.data() + kChecksumAt) != checksum(view->data, view->bytes())) return WDB_E_CORRUPT;
    const bool array = view->cardinality <= kMaxArray;
    if (array != (view->kind == ContainerKind::Array)) return WDB_E_CORRUPT;
    const bool sound = array ? ascending(*view) : bitCount(*view) == view->cardinality;
    return sound ? WDB_OK : WDB_E_CORRUPT;
}

void appendContainer(const ContainerView& container, std::string& out) {
    if (container.cardinality == 0) return;
    char header[kContainerHeader] = {};
    header[kKindAt] = static_cast<char>(container.kind);
    storeLittle<uint16_t>(header + kCardinalityAt, static_cast<uint16_t>(container.cardinality - 1));
    storeLittle<uint32_t>(header + kChecksumAt, checksum(container.data, container.bytes()));
    out.append(header, sizeof header);
    out.append(container.data, container.bytes());
}

void appendContainer(const uint16_t* members, uint32_t count, std::string& out) {
    std::string bytes;
    ContainerView view{ContainerKind::Array, count, nullptr};
    if (count <= kMaxArray) {
        view.data = static_cast<const char*>(static_cast<const void*>(members));
    } else {
        bytes.assign(kBitmapBytes, '\0');
        for (uint32_t i = 0; i < count; ++i) {
            char& byte = bytes[members[i] >> 3];
            byte = static_cast<char>(static_cast<unsigned char>(byte) | 1u << (members[i] & 7));
        }
        view.kind = ContainerKind::Bitmap;
        view.data = bytes.data();
    }
    appendContainer(view, out);
}

}  // namespace wdb
