#include "kernel/index/ContainerKernels.h"

#include <array>
#include <bit>
#include <cstring>

#include "kernel/index/Container.h"

#if defined(__x86_64__)
#include <immintrin.h>
#define WDB_X86 1
#endif

namespace wdb {

namespace {

inline uint16_t at(const char* array, uint32_t place) {
    uint16_t value;
    std::memcpy(&value, array + size_t{place} * 2, 2);
    return value;
}

inline uint64_t wordAt(const char* bitmap, size_t place) {
    uint64_t value;
    std::memcpy(&value, bitmap + place * 8, 8);
    return value;
}

uint32_t mergeFrom(const char* a, uint32_t i, uint32_t aCount, const char* b, uint32_t j, uint32_t bCount,
                   uint16_t* out, uint32_t written) {
    while (i < aCount && j < bCount) {
        const uint16_t x = at(a, i);
        const uint16_t y = at(b, j);
        out[written] = x;
        written += x == y ? 1U : 0U;
        i += x <= y ? 1U : 0U;
        j += y <= x ? 1U : 0U;
    }
    return written;
}

uint32_t intersectArraysPortable(const char* a, uint32_t aCount, const char* b, uint32_t bCount,
                                 uint16_t* out) {
    return mergeFrom(a, 0, aCount, b, 0, bCount, out, 0);
}

uint32_t filterFrom(const char* array, uint32_t i, uint32_t count, const char* bitmap, bool wanted,
                    uint16_t* out, uint32_t written) {
    for (; i < count; ++i) {
        const uint16_t member = at(array, i);
        const bool in = (static_cast<unsigned char>(bitmap[member >> 3]) >> (member & 7) & 1) != 0;
        out[written] = member;
        written += in == wanted ? 1U : 0U;
    }
    return written;
}

uint32_t filterArrayPortable(const char* array, uint32_t count, const char* bitmap, bool wanted,
                             uint16_t* out) {
    return filterFrom(array, 0, count, bitmap, wanted, out, 0);
}

template <typename Operation>
uint32_t combinePortable(const char* a, const char* b, char* out, Operation operation) {
    uint32_t count = 0;
    for (size_t w = 0; w < kBitmapWords; ++w) {
        const uint64_t value = operation(wordAt(a, w), wordAt(b, w));
        std::memcpy(out + w * 8, &value, 8);
        count += static_cast<uint32_t>(std::popcount(value));
    }
    return count;
}

uint32_t andPortable(const char* a, const char* b, char* out) {
    return combinePortable(a, b, out, [](uint64_t x, uint64_t y) { return x & y; });
}
uint32_t orPortable(const char* a, const char* b, char* out) {
    return combinePortable(a, b, out, [](uint64_t x, uint64_t y) { return x | y; });
}
uint32_t andNotPortable(const char* a, const char* b, char* out) {
    return combinePortable(a, b, out, [](uint64_t x, uint64_t y) { return x & ~y; });
}

uint32_t countAndPortable(const char* a, const char* b) {
    uint32_t count = 0;
    for (size_t w = 0; w < kBitmapWords; ++w)
        count += static_cast<uint32_t>(std::popcount(wordAt(a, w) & wordAt(b, w)));
    return count;
}

uint32_t countBitsPortable(const char* bitmap, size_t bytes) {
    uint32_t count = 0;
    for (size_t w = 0; w < bytes / 8; ++w) count += static_cast<uint32_t>(std::popcount(wordAt(bitmap, w)));
    return count;
}

void countBeforePortable(const char* bitmap, uint16_t* out) {
    uint32_t count = 0;
    for (size_t w = 0; w < kBitmapWords; ++w) {
        out[w] = static_cast<uint16_t>(count);
        count += static_cast<uint32_t>(std::popcount(wordAt(bitmap, w)));
    }
}

constexpr ContainerKernels kPortable = {
    intersectArraysPortable, filterArrayPortable, andPortable,       orPortable,
    andNotPortable,          countAndPortable,    countBitsPortable, countBeforePortable};

#if WDB_X86

// For each mask of 8 lanes the byte shuffle that moves the chosen 16-bit lanes to the front.
constexpr std::array<std::array<uint8_t, 16>, 256> makeShuffles() {
    std::array<std::array<uint8_t, 16>, 256> table{};
    for (unsigned mask = 0; mask < 256; ++mask) {
        unsigned to = 0;
        for (unsigned lane = 0; lane < 8; ++lane) {
            if ((mask & (1U << lane)) == 0) continue;
            table[mask][to++] = static_cast<uint8_t>(lane * 2);
            table[mask][to++] = static_cast<uint8_t>(lane * 2 + 1);
        }
        while (to < 16) table[mask][to++] = 0x80;
    }
    return table;
}
alignas(16) constexpr auto kShuffles = makeShuffles();

// Blocks of eight against eight with one string comparison (Schlegel, Willhalm, Lehner: "Fast Sorted-Set
// Intersection using SIMD Instructions", 2011).
__attribute__((target("sse4.2,popcnt"))) uint32_t intersectArraysSse(const char* a, uint32_t aCount,
                                                                     const char* b, uint32_t bCount,
                                                                     uint16_t* out) {
    uint32_t i = 0;
    uint32_t j = 0;
    uint32_t written = 0;
    const uint32_t aBlocks = aCount & ~7U;
    const uint32_t bBlocks = bCount & ~7U;
    // The room that block stores may use; once it is short (damaged input only) the plain loop goes on.
    const uint32_t room = aCount < bCount ? aCount : bCount;
    while (i < aBlocks && j < bBlocks && written <= room) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + size_t{i} * 2));
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + size_t{j} * 2));
        const __m128i found =
            _mm_cmpestrm(y, 8, x, 8, _SIDD_UWORD_OPS | _SIDD_CMP_EQUAL_ANY | _SIDD_BIT_MASK);
        const auto mask = static_cast<unsigned>(_mm_extract_epi32(found, 0)) & 255U;
        const __m128i shuffle = _mm_load_si128(reinterpret_cast<const __m128i*>(kShuffles[mask].data()));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + written), _mm_shuffle_epi8(x, shuffle));
        written += static_cast<uint32_t>(_mm_popcnt_u32(mask));
        const uint16_t xLast = at(a, i + 7);
        const uint16_t yLast = at(b, j + 7);
        if (xLast <= yLast) i += 8;
        if (yLast <= xLast) j += 8;
    }
    if (written > room) return room;
    while (i < aCount && j < bCount && written < room) {
        const uint16_t p = at(a, i);
        const uint16_t q = at(b, j);
        if (p == q) out[written++] = p;
        i += p <= q ? 1U : 0U;
        j += q <= p ? 1U : 0U;
    }
    return written;
}

// Eight members at once: the words of the bitmap that have their bits are gathered, and the lanes that are
// wanted moved to the front.
__attribute__((target("avx2,popcnt"))) uint32_t filterArrayAvx2(const char* array, uint32_t count,
                                                                const char* bitmap, bool wanted,
                                                                uint16_t* out) {
    const __m256i low = _mm256_set1_epi32(31);
    const unsigned turned = wanted ? 0 : 255;
    uint32_t written = 0;
    uint32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i members = _mm_loadu_si128(reinterpret_cast<const __m128i*>(array + size_t{i} * 2));
        const __m256i wide = _mm256_cvtepu16_epi32(members);
        const __m256i words =
            _mm256_i32gather_epi32(reinterpret_cast<const int*>(bitmap), _mm256_srli_epi32(wide, 5), 4);
        // The bit becomes the sign of its lane.
        const __m256i signs = _mm256_sllv_epi32(words, _mm256_sub_epi32(low, _mm256_and_si256(wide, low)));
        const unsigned mask =
            (static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(signs))) ^ turned) & 255U;
        const __m128i shuffle = _mm_load_si128(reinterpret_cast<const __m128i*>(kShuffles[mask].data()));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + written), _mm_shuffle_epi8(members, shuffle));
        written += static_cast<uint32_t>(_mm_popcnt_u32(mask));
    }
    return filterFrom(array, i, count, bitmap, wanted, out, written);
}

// Bits per byte by two table look-ups, summed per 64-bit lane (Mula, Kurz, Lemire: "Faster Population Counts
// Using AVX2 Instructions", 2018).
__attribute__((target("avx2"))) inline __m256i countLanes(__m256i v) {
    const __m256i table = _mm256_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4, 0, 1, 1, 2, 1, 2,
                                           2, 3, 1, 2, 2, 3, 2, 3, 3, 4);
    const __m256i low = _mm256_set1_epi8(15);
    const __m256i counts =
        _mm256_add_epi8(_mm256_shuffle_epi8(table, _mm256_and_si256(v, low)),
                        _mm256_shuffle_epi8(table, _mm256_and_si256(_mm256_srli_epi16(v, 4), low)));
    return _mm256_sad_epu8(counts, _mm256_setzero_si256());
}

__attribute__((target("avx2"))) inline uint32_t sumLanes(__m256i v) {
    alignas(32) uint64_t lanes[4];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), v);
    return static_cast<uint32_t>(lanes[0] + lanes[1] + lanes[2] + lanes[3]);
}

__attribute__((target("avx2"))) inline __m256i load(const char* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

__attribute__((target("avx2"))) inline void store(char* p, __m256i v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

__attribute__((target("avx2"))) uint32_t andAvx2(const char* a, const char* b, char* out) {
    __m256i count = _mm256_setzero_si256();
    for (size_t i = 0; i < kBitmapBytes; i += 32) {
        const __m256i v = _mm256_and_si256(load(a + i), load(b + i));
        store(out + i, v);
        count = _mm256_add_epi64(count, countLanes(v));
    }
    return sumLanes(count);
}

__attribute__((target("avx2"))) uint32_t orAvx2(const char* a, const char* b, char* out) {
    __m256i count = _mm256_setzero_si256();
    for (size_t i = 0; i < kBitmapBytes; i += 32) {
        const __m256i v = _mm256_or_si256(load(a + i), load(b + i));
        store(out + i, v);
        count = _mm256_add_epi64(count, countLanes(v));
    }
    return sumLanes(count);
}

__attribute__((target("avx2"))) uint32_t andNotAvx2(const char* a, const char* b, char* out) {
    __m256i count = _mm256_setzero_si256();
    for (size_t i = 0; i < kBitmapBytes; i += 32) {
        const __m256i v = _mm256_andnot_si256(load(b + i), load(a + i));
        store(out + i, v);
        count = _mm256_add_epi64(count, countLanes(v));
    }
    return sumLanes(count);
}

__attribute__((target("avx2"))) uint32_t countAndAvx2(const char* a, const char* b) {
    __m256i count = _mm256_setzero_si256();
    for (size_t i = 0; i < kBitmapBytes; i += 32)
        count = _mm256_add_epi64(count, countLanes(_mm256_and_si256(load(a + i), load(b + i))));
    return sumLanes(count);
}

__attribute__((target("avx2"))) uint32_t countBitsAvx2(const char* bitmap, size_t bytes) {
    __m256i count = _mm256_setzero_si256();
    size_t i = 0;
    for (; i + 32 <= bytes; i += 32) count = _mm256_add_epi64(count, countLanes(load(bitmap + i)));
    return sumLanes(count) + countBitsPortable(bitmap + i, bytes - i);
}

__attribute__((target("popcnt"))) void countBeforePopcnt(const char* bitmap, uint16_t* out) {
    uint64_t count = 0;
    for (size_t w = 0; w < kBitmapWords; ++w) {
        out[w] = static_cast<uint16_t>(count);
        count += static_cast<uint64_t>(_mm_popcnt_u64(wordAt(bitmap, w)));
    }
}

constexpr ContainerKernels kAvx2 = {intersectArraysSse, filterArrayAvx2, andAvx2,       orAvx2,
                                    andNotAvx2,         countAndAvx2,    countBitsAvx2, countBeforePopcnt};

#endif

}  // namespace

const ContainerKernels& portableKernels() {
    return kPortable;
}

const ContainerKernels& containerKernels() {
#if WDB_X86
    static const bool fast = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("sse4.2") &&
                             __builtin_cpu_supports("popcnt");
    if (fast) return kAvx2;
#endif
    return kPortable;
}

uint32_t intersectGalloping(const char* small, uint32_t smallCount, const char* large, uint32_t largeCount,
                            uint16_t* out) {
    uint32_t written = 0;
    uint32_t from = 0;
    for (uint32_t i = 0; i < smallCount && from < largeCount; ++i) {
        const uint16_t wanted = at(small, i);
        uint32_t step = 1;
        uint32_t low = from;  // everything before `low` is smaller
        while (low + step < largeCount && at(large, low + step) < wanted) {
            low += step;
            step *= 2;
        }
        uint32_t high = low + step < largeCount ? low + step : largeCount;
        while (low < high) {
            const uint32_t middle = low + (high - low) / 2;
            if (at(large, middle) < wanted)
                low = middle + 1;
            else
                high = middle;
        }
        from = low;
        if (from < largeCount && at(large, from) == wanted) out[written++] = wanted;
    }
    return written;
}

}  // namespace wdb
