#include "kernel/index/ContainerOperations.h"

#include <algorithm>
#include <utility>

#include "kernel/index/ContainerKernels.h"

namespace wdb {

namespace {

// From this ratio of sizes on, galloping beats merging.
constexpr uint32_t kGallopRatio = 48;

uint16_t* members(const std::unique_ptr<char[]>& data) {
    return reinterpret_cast<uint16_t*>(data.get());
}

bool bit(const char* bits, uint16_t low) {
    return (static_cast<unsigned char>(bits[low >> 3]) >> (low & 7) & 1) != 0;
}

OwnedContainer arrayOf(std::unique_ptr<char[]> data, uint32_t count) {
    OwnedContainer out;
    if (count == 0) return out;
    out.view = {ContainerKind::Array, count, data.get()};
    out.data = std::move(data);
    return out;
}

// Members of the array whose bit in the bitmap is `wanted`.
OwnedContainer filterArray(const ContainerView& array, const char* bits, bool wanted) {
    auto data = allocateContainer(size_t{array.cardinality} * 2 + 16);
    const uint32_t count =
        containerKernels().filterArray(array.data, array.cardinality, bits, wanted, members(data));
    return arrayOf(std::move(data), count);
}

uint32_t intersectArrays(const ContainerView& a, const ContainerView& b, uint16_t* out) {
    const ContainerView& small = a.cardinality <= b.cardinality ? a : b;
    const ContainerView& large = a.cardinality <= b.cardinality ? b : a;
    if (large.cardinality / kGallopRatio >= small.cardinality)
        return intersectGalloping(small.data, small.cardinality, large.data, large.cardinality, out);
    return containerKernels().intersectArrays(a.data, a.cardinality, b.data, b.cardinality, out);
}

std::unique_ptr<char[]> bitsOf(const ContainerView& a) {
    auto bits = allocateContainer(kBitmapBytes);
    if (a.kind == ContainerKind::Bitmap) {
        std::memcpy(bits.get(), a.data, kBitmapBytes);
        return bits;
    }
    std::memset(bits.get(), 0, kBitmapBytes);
    for (uint32_t i = 0; i < a.cardinality; ++i) setBit(bits.get(), a.at(i));
    return bits;
}

OwnedContainer uniteArrays(const ContainerView& a, const ContainerView& b) {
    auto data = allocateContainer((size_t{a.cardinality} + b.cardinality) * 2);
    uint16_t* out = members(data);
    uint32_t i = 0;
    uint32_t j = 0;
    uint32_t count = 0;
    while (i < a.cardinality && j < b.cardinality) {
        const uint16_t x = a.at(i);
        const uint16_t y = b.at(j);
        out[count++] = x < y ? x : y;
        i += x <= y ? 1U : 0U;
        j += y <= x ? 1U : 0U;
    }
    while (i < a.cardinality) out[count++] = a.at(i++);
    while (j < b.cardinality) out[count++] = b.at(j++);
    return arrayOf(std::move(data), count);
}

OwnedContainer subtractArrays(const ContainerView& a, const ContainerView& b) {
    auto data = allocateContainer(size_t{a.cardinality} * 2);
    uint16_t* out = members(data);
    uint32_t count = 0;
    uint32_t j = 0;
    for (uint32_t i = 0; i < a.cardinality; ++i) {
        const uint16_t x = a.at(i);
        while (j < b.cardinality && b.at(j) < x) ++j;
        if (j == b.cardinality || b.at(j) != x) out[count++] = x;
    }
    return arrayOf(std::move(data), count);
}

}  // namespace

OwnedContainer fromMembers(const uint16_t* ascending, uint32_t count) {
    if (count > kMaxArray) {
        auto bits = allocateContainer(kBitmapBytes);
        std::memset(bits.get(), 0, kBitmapBytes);
        for (uint32_t i = 0; i < count; ++i) setBit(bits.get(), ascending[i]);
        return fromBits(std::move(bits), count);
    }
    auto data = allocateContainer(size_t{count} * 2);
    std::memcpy(data.get(), ascending, size_t{count} * 2);
    return arrayOf(std::move(data), count);
}

OwnedContainer fromBits(std::unique_ptr<char[]> bits, uint32_t count) {
    OwnedContainer out;
    out.view = {ContainerKind::Bitmap, count, bits.get()};
    if (count > kMaxArray) {
        out.data = std::move(bits);
        return out;
    }
    auto data = allocateContainer(size_t{count} * 2);
    uint16_t* to = members(data);
    uint32_t written = 0;
    out.view.forEach([&](uint16_t low) {
        if (written < count) to[written++] = low;
    });
    return arrayOf(std::move(data), written);
}

OwnedContainer copyContainer(const ContainerView& a) {
    OwnedContainer out{a, allocateContainer(a.bytes())};
    std::memcpy(out.data.get(), a.data, a.bytes());
    out.view.data = out.data.get();
    return out;
}

OwnedContainer intersectContainers(const ContainerView& a, const ContainerView& b) {
    if (a.kind == ContainerKind::Bitmap && b.kind == ContainerKind::Bitmap) {
        auto bits = allocateContainer(kBitmapBytes);
        const uint32_t count = containerKernels().andBitmaps(a.data, b.data, bits.get());
        return fromBits(std::move(bits), count);
    }
    if (b.kind == ContainerKind::Bitmap) return filterArray(a, b.data, true);
    if (a.kind == ContainerKind::Bitmap) return filterArray(b, a.data, true);
    auto data = allocateContainer(size_t{std::min(a.cardinality, b.cardinality)} * 2 + 16);
    const uint32_t count = intersectArrays(a, b, members(data));
    return arrayOf(std::move(data), count);
}

OwnedContainer uniteContainers(const ContainerView& a, const ContainerView& b) {
    if (a.kind == ContainerKind::Bitmap && b.kind == ContainerKind::Bitmap) {
        auto bits = allocateContainer(kBitmapBytes);
        const uint32_t count = containerKernels().orBitmaps(a.data, b.data, bits.get());
        return fromBits(std::move(bits), count);
    }
    if (a.kind == ContainerKind::Array && b.kind == ContainerKind::Array &&
        a.cardinality + b.cardinality <= kMaxArray)
        return uniteArrays(a, b);
    const bool swap = b.kind == ContainerKind::Bitmap;
    const ContainerView& large = swap ? b : a;
    const ContainerView& small = swap ? a : b;
    auto bits = bitsOf(large);
    for (uint32_t i = 0; i < small.cardinality; ++i) setBit(bits.get(), small.at(i));
    const uint32_t count = containerKernels().countBits(bits.get(), kBitmapBytes);
    return fromBits(std::move(bits), count);
}

OwnedContainer subtractContainers(const ContainerView& a, const ContainerView& b) {
    if (a.kind == ContainerKind::Array)
        return b.kind == ContainerKind::Array ? subtractArrays(a, b) : filterArray(a, b.data, false);
    auto bits = allocateContainer(kBitmapBytes);
    if (b.kind == ContainerKind::Bitmap) {
        const uint32_t count = containerKernels().andNotBitmaps(a.data, b.data, bits.get());
        return fromBits(std::move(bits), count);
    }
    std::memcpy(bits.get(), a.data, kBitmapBytes);
    for (uint32_t i = 0; i < b.cardinality; ++i) {
        const uint16_t low = b.at(i);
        bits[low >> 3] = static_cast<char>(static_cast<unsigned char>(bits[low >> 3]) & ~(1U << (low & 7)));
    }
    const uint32_t count = containerKernels().countBits(bits.get(), kBitmapBytes);
    return fromBits(std::move(bits), count);
}

uint32_t countIntersection(const ContainerView& a, const ContainerView& b) {
    if (a.kind == ContainerKind::Bitmap && b.kind == ContainerKind::Bitmap)
        return containerKernels().countAnd(a.data, b.data);
    if (a.kind != b.kind) {
        const ContainerView& array = a.kind == ContainerKind::Array ? a : b;
        const char* bits = a.kind == ContainerKind::Array ? b.data : a.data;
        uint32_t count = 0;
        for (uint32_t i = 0; i < array.cardinality; ++i) count += bit(bits, array.at(i)) ? 1U : 0U;
        return count;
    }
    uint16_t out[kMaxArray + 8];
    return intersectArrays(a, b, out);
}

}  // namespace wdb
