#include "kernel/index/ContainerOps.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#if defined(__x86_64__)
#include <immintrin.h>
#define WDB_X86 1
#else
#define WDB_X86 0
#endif

namespace wdb {
namespace {

// Above this ratio of sizes an array is searched by galloping rather than walked.
constexpr uint32_t kGallopRatio = 32;

void store(char* out, uint32_t place, uint16_t member) { std::memcpy(out + size_t{place} * 2, &member, 2); }

// An array of members at any address.
struct Members {
    const char* data;
    uint32_t count;
    uint16_t at(uint32_t place) const {
        uint16_t value;
        std::memcpy(&value, data + size_t{place} * 2, 2);
        return value;
    }
};

Members members(const ContainerView& container) { return {container.data, container.cardinality}; }

// The first place from `from` on whose member is not below `value`.
uint32_t gallop(const Members& in, uint32_t from, uint16_t value) {
    uint32_t step = 1;
    uint32_t low = from;
    while (low + step < in.count && in.at(low + step) < value) {
        low += step;
        step *= 2;
    }
    uint32_t high = std::min(low + step, in.count);
    while (low < high) {
        const uint32_t middle = low + (high - low) / 2;
        if (in.at(middle) < value) low = middle + 1;
        else high = middle;
    }
    return low;
}

// Both ways to intersect hand the members out through `out`, which may be null to count only.
uint32_t intersectGalloping(const Members& few, const Members& many, char* out) {
    uint32_t count = 0;
    uint32_t place = 0;
    for (uint32_t i = 0; i < few.count; ++i) {
        const uint16_t value = few.at(i);
        place = gallop(many, place, value);
        if (place == many.count) break;
        if (many.at(place) != value) continue;
        if (out != nullptr) store(out, count, value);
        ++count;
    }
    return count;
}

uint32_t intersectWalking(const Members& a, uint32_t i, const Members& b, uint32_t j, char* out, uint32_t count) {
    while (i < a.count && j < b.count) {
        const uint16_t x = a.at(i);
        const uint16_t y = b.at(j);
        if (x == y) {
            if (out != nullptr) store(out, count, x);
            ++count;
        }
        i += x <= y;
        j += y <= x;
    }
    return count;
}

#if WDB_X86
// For each mask of eight lanes the byte shuffle that moves the lanes set to the front.
constexpr std::array<std::array<uint8_t, 16>, 256> makeShuffles() {
    std::array<std::array<uint8_t, 16>, 256> shuffles{};
    for (unsigned mask = 0; mask < 256; ++mask) {
        unsigned at = 0;
        for (unsigned lane = 0; lane < 8; ++lane) {
            if ((mask >> lane & 1) == 0) continue;
            shuffles[mask][at++] = static_cast<uint8_t>(lane * 2);
            shuffles[mask][at++] = static_cast<uint8_t>(lane * 2 + 1);
        }
        while (at < 16) shuffles[mask][at++] = 0x80;
    }
    return shuffles;
}
alignas(16) constexpr auto kShuffles = makeShuffles();

// `out` must have room for 8 members more than the smaller array has.
__attribute__((target("sse4.2,popcnt"))) uint32_t intersectVector(const Members& a, const Members& b, char* out) {
    constexpr int kMode = _SIDD_UWORD_OPS | _SIDD_CMP_EQUAL_ANY | _SIDD_BIT_MASK;
    const auto load = [](const char* at) { return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(at))); };
    uint32_t i = 0;
    uint32_t j = 0;
    uint32_t count = 0;
    while (i + 8 <= a.count && j + 8 <= b.count) {
        const __m128i x = load(a.data + size_t{i} * 2);
        const __m128i y = load(b.data + size_t{j} * 2);
        const auto mask = static_cast<unsigned>(_mm_extract_epi32(_mm_cmpestrm(y, 8, x, 8, kMode), 0)) & 0xFFu;
        if (out != nullptr && mask != 0) {
            const __m128i packed = _mm_shuffle_epi8(x, load(static_cast<const char*>(static_cast<const void*>(kShuffles[mask].data()))));
            _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(out + size_t{count} * 2)), packed);
        }
        count += static_cast<uint32_t>(__builtin_popcount(mask));
        const uint16_t lastX = a.at(i + 7);
        const uint16_t lastY = b.at(j + 7);
        i += lastX <= lastY ? 8 : 0;
        j += lastY <= lastX ? 8 : 0;
    }
    return intersectWalking(a, i, b, j, out, count);
}

__attribute__((target("avx2,popcnt"))) uint32_t countBitsVector(const char* a, const char* b) {
    uint64_t count = 0;
    for (size_t at = 0; at < kBitmapBytes; at += 8) {
        uint64_t x;
        uint64_t y;
        std::memcpy(&x, a + at, 8);
        std::memcpy(&y, b + at, 8);
        count += static_cast<uint64_t>(__builtin_popcountll(x & y));
    }
    return static_cast<uint32_t>(count);
}
#endif

bool hasStringCompare() {
#if WDB_X86
    static const bool has = __builtin_cpu_supports("sse4.2") != 0 && __builtin_cpu_supports("popcnt") != 0;
    return has;
#else
    return false;
#endif
}

bool hasWideVectors() {
#if WDB_X86
    static const bool has = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("popcnt") != 0;
    return has;
#else
    return false;
#endif
}

uint32_t intersectArrays(const ContainerView& a, const ContainerView& b, char* out) {
    const Members few = members(a.cardinality <= b.cardinality ? a : b);
    const Members many = members(a.cardinality <= b.cardinality ? b : a);
    if (few.count * kGallopRatio < many.count) return intersectGalloping(few, many, out);
#if WDB_X86
    if (hasStringCompare()) return intersectVector(few, many, out);
#endif
    return intersectWalking(few, 0, many, 0, out, 0);
}

// Members of the array that are in the bitmap, or, with `present` 0, that are not.
uint32_t filterArray(const ContainerView& array, const ContainerView& bitmap, unsigned present, char* out) {
    uint32_t count = 0;
    for (uint32_t i = 0; i < array.cardinality; ++i) {
        const uint16_t value = array.at(i);
        const unsigned bit = static_cast<unsigned char>(bitmap.data[value >> 3]) >> (value & 7) & 1u;
        if (out != nullptr) store(out, count, value);
        count += bit == present ? 1 : 0;
    }
    return count;
}

uint32_t countBits(const char* a, const char* b) {
#if WDB_X86
    if (hasWideVectors()) return countBitsVector(a, b);
#endif
    uint32_t count = 0;
    for (size_t at = 0; at < kBitmapBytes; at += 8) {
        uint64_t x;
        uint64_t y;
        std::memcpy(&x, a + at, 8);
        std::memcpy(&y, b + at, 8);
        count += static_cast<uint32_t>(std::popcount(x & y));
    }
    return count;
}

OwnedContainer finish(ContainerKind kind, uint32_t cardinality, std::unique_ptr<char[]> data) {
    if (cardinality == 0) return {};
    OwnedContainer result;
    result.view = {kind, cardinality, data.get()};
    result.data = std::move(data);
    return result;
}

std::unique_ptr<char[]> buffer(size_t bytes) { return std::make_unique_for_overwrite<char[]>(bytes); }

// Room for an array, and for the eight members that the vector kernel may write beyond it.
std::unique_ptr<char[]> arrayBuffer(uint32_t members) { return buffer(size_t{members} * 2 + 32); }

void setBit(char* bits, uint16_t member) {
    bits[member >> 3] = static_cast<char>(static_cast<unsigned char>(bits[member >> 3]) | 1u << (member & 7));
}

std::unique_ptr<char[]> bitsOf(const ContainerView& container) {
    auto bits = buffer(kBitmapBytes);
    if (container.kind == ContainerKind::Bitmap) {
        std::memcpy(bits.get(), container.data, kBitmapBytes);
    } else {
        std::memset(bits.get(), 0, kBitmapBytes);
        for (uint32_t i = 0; i < container.cardinality; ++i) setBit(bits.get(), container.at(i));
    }
    return bits;
}

template <typename Operation>
OwnedContainer combineBits(const char* a, const char* b, Operation operation) {
    auto bits = buffer(kBitmapBytes);
    for (size_t at = 0; at < kBitmapBytes; at += 8) {
        uint64_t x;
        uint64_t y;
        std::memcpy(&x, a + at, 8);
        std::memcpy(&y, b + at, 8);
        const uint64_t word = operation(x, y);
        std::memcpy(bits.get() + at, &word, 8);
    }
    const uint32_t count = countBits(bits.get(), bits.get());
    if (count <= kMaxArray) return containerOfBits(bits.get());
    return finish(ContainerKind::Bitmap, count, std::move(bits));
}

OwnedContainer uniteArrays(const ContainerView& a, const ContainerView& b) {
    std::vector<uint16_t> merged;
    merged.reserve(size_t{a.cardinality} + b.cardinality);
    uint32_t i = 0;
    uint32_t j = 0;
    while (i < a.cardinality && j < b.cardinality) {
        const uint16_t x = a.at(i);
        const uint16_t y = b.at(j);
        merged.push_back(std::min(x, y));
        i += x <= y;
        j += y <= x;
    }
    for (; i < a.cardinality; ++i) merged.push_back(a.at(i));
    for (; j < b.cardinality; ++j) merged.push_back(b.at(j));
    return containerOf(merged.data(), static_cast<uint32_t>(merged.size()));
}

OwnedContainer subtractArrays(const ContainerView& a, const ContainerView& b) {
    auto data = arrayBuffer(a.cardinality);
    uint32_t count = 0;
    uint32_t place = 0;
    for (uint32_t i = 0; i < a.cardinality; ++i) {
        const uint16_t value = a.at(i);
        place = gallop(members(b), place, value);
        if (place < b.cardinality && b.at(place) == value) continue;
        store(data.get(), count++, value);
    }
    return finish(ContainerKind::Array, count, std::move(data));
}

// A bitmap without the members of an array.
OwnedContainer clearMembers(const ContainerView& bitmap, const ContainerView& array) {
    auto bits = bitsOf(bitmap);
    uint32_t count = bitmap.cardinality;
    for (uint32_t i = 0; i < array.cardinality; ++i) {
        const uint16_t member = array.at(i);
        const unsigned byte = static_cast<unsigned char>(bits[member >> 3]);
        const unsigned bit = 1u << (member & 7);
        count -= (byte & bit) != 0 ? 1 : 0;
        bits[member >> 3] = static_cast<char>(byte & ~bit);
    }
    if (count <= kMaxArray) return containerOfBits(bits.get());
    return finish(ContainerKind::Bitmap, count, std::move(bits));
}

}  // namespace

OwnedContainer intersect(const ContainerView& a, const ContainerView& b) {
    if (a.kind == ContainerKind::Bitmap && b.kind == ContainerKind::Bitmap) {
        return combineBits(a.data, b.data, [](uint64_t x, uint64_t y) { return x & y; });
    }
    const uint32_t most = std::min(a.kind == ContainerKind::Array ? a.cardinality : kMaxArray,
                                   b.kind == ContainerKind::Array ? b.cardinality : kMaxArray);
    auto data = arrayBuffer(most);
    uint32_t count = 0;
    if (a.kind == b.kind) count = intersectArrays(a, b, data.get());
    else if (a.kind == ContainerKind::Array) count = filterArray(a, b, 1, data.get());
    else count = filterArray(b, a, 1, data.get());
    return finish(ContainerKind::Array, count, std::move(data));
}

OwnedContainer unite(const ContainerView& a, const ContainerView& b) {
    if (a.kind == ContainerKind::Array && b.kind == ContainerKind::Array) return uniteArrays(a, b);
    if (a.kind == ContainerKind::Bitmap && b.kind == ContainerKind::Bitmap) {
        return combineBits(a.data, b.data, [](uint64_t x, uint64_t y) { return x | y; });
    }
    const ContainerView& bitmap = a.kind == ContainerKind::Bitmap ? a : b;
    const ContainerView& array = a.kind == ContainerKind::Bitmap ? b : a;
    auto bits = bitsOf(bitmap);
    uint32_t count = bitmap.cardinality;
    for (uint32_t i = 0; i < array.cardinality; ++i) {
        const uint16_t member = array.at(i);
        count += (static_cast<unsigned char>(bits[member >> 3]) >> (member & 7) & 1u) ^ 1u;
        setBit(bits.get(), member);
    }
    return finish(ContainerKind::Bitmap, count, std::move(bits));
}

OwnedContainer subtract(const ContainerView& a, const ContainerView& b) {
    if (a.kind == ContainerKind::Bitmap) {
        if (b.kind == ContainerKind::Array) return clearMembers(a, b);
        return combineBits(a.data, b.data, [](uint64_t x, uint64_t y) { return x & ~y; });
    }
    if (b.kind == ContainerKind::Array) return subtractArrays(a, b);
    auto data = arrayBuffer(a.cardinality);
    const uint32_t count = filterArray(a, b, 0, data.get());
    return finish(ContainerKind::Array, count, std::move(data));
}

uint32_t intersectionCardinality(const ContainerView& a, const ContainerView& b) {
    if (a.kind == ContainerKind::Bitmap && b.kind == ContainerKind::Bitmap) return countBits(a.data, b.data);
    if (a.kind == b.kind) return intersectArrays(a, b, nullptr);
    return a.kind == ContainerKind::Array ? filterArray(a, b, 1, nullptr) : filterArray(b, a, 1, nullptr);
}

bool intersects(const ContainerView& a, const ContainerView& b) {
    if (a.kind == ContainerKind::Bitmap && b.kind == ContainerKind::Bitmap) {
        for (size_t w = 0; w < kBitmapWords; ++w) {
            if ((a.word(w) & b.word(w)) != 0) return true;
        }
        return false;
    }
    const ContainerView& array = a.kind == ContainerKind::Array && (b.kind == ContainerKind::Bitmap || a.cardinality <= b.cardinality) ? a : b;
    const ContainerView& other = &array == &a ? b : a;
    for (uint32_t i = 0; i < array.cardinality; ++i) {
        if (other.contains(array.at(i))) return true;
    }
    return false;
}

OwnedContainer copyOf(const ContainerView& container) {
    auto data = buffer(container.bytes());
    std::memcpy(data.get(), container.data, container.bytes());
    return finish(container.kind, container.cardinality, std::move(data));
}

OwnedContainer containerOf(const uint16_t* ascending, uint32_t count) {
    if (count <= kMaxArray) {
        auto data = buffer(size_t{count} * 2);
        if (count != 0) std::memcpy(data.get(), ascending, size_t{count} * 2);
        return finish(ContainerKind::Array, count, std::move(data));
    }
    auto bits = buffer(kBitmapBytes);
    std::memset(bits.get(), 0, kBitmapBytes);
    for (uint32_t i = 0; i < count; ++i) setBit(bits.get(), ascending[i]);
    return finish(ContainerKind::Bitmap, count, std::move(bits));
}

OwnedContainer containerOfBits(const char* source) {
    const uint32_t count = countBits(source, source);
    if (count > kMaxArray) {
        auto bits = buffer(kBitmapBytes);
        std::memcpy(bits.get(), source, kBitmapBytes);
        return finish(ContainerKind::Bitmap, count, std::move(bits));
    }
    auto data = buffer(size_t{count} * 2);
    uint32_t place = 0;
    const ContainerView view{ContainerKind::Bitmap, count, source};
    view.forEach([&](uint16_t member) { store(data.get(), place++, member); });
    return finish(ContainerKind::Array, count, std::move(data));
}

OwnedContainer containerOfRange(uint16_t first, uint16_t last) {
    const uint32_t count = uint32_t{last} - first + 1;
    if (count > kMaxArray) {
        auto bits = buffer(kBitmapBytes);
        std::memset(bits.get(), 0, kBitmapBytes);
        for (uint32_t member = first; member <= last;) {
            if (member % 8 == 0 && member + 7 <= last) {
                bits[member / 8] = static_cast<char>(0xFF);
                member += 8;
            } else {
                setBit(bits.get(), static_cast<uint16_t>(member++));
            }
        }
        return finish(ContainerKind::Bitmap, count, std::move(bits));
    }
    auto data = buffer(size_t{count} * 2);
    for (uint32_t i = 0; i < count; ++i) store(data.get(), i, static_cast<uint16_t>(first + i));
    return finish(ContainerKind::Array, count, std::move(data));
}

}  // namespace wdb
