#include "kernel/index/ColumnKernels.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#define WDB_X86 1
#endif

namespace wdb {

namespace {

template <typename T>
void comparePortable(const char* entries, T low, T span, uint64_t* words, uint32_t count) {
    for (uint32_t w = 0; w < count; ++w) {
        uint64_t bits = 0;
        for (unsigned i = 0; i < 64; ++i, entries += sizeof(T)) {
            T entry;
            std::memcpy(&entry, entries, sizeof(T));
            bits |= uint64_t{static_cast<T>(entry - low) <= span ? 1U : 0U} << i;
        }
        words[w] = bits;
    }
}

constexpr ColumnKernels kPortable = {comparePortable<uint8_t>, comparePortable<uint16_t>,
                                     comparePortable<uint32_t>, comparePortable<uint64_t>};

#if WDB_X86

__attribute__((target("avx2"))) inline __m256i load(const char* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

__attribute__((target("avx2"))) inline uint64_t bytesOf(__m256i lanes) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(lanes));
}

__attribute__((target("avx2"))) void compare8(const char* entries, uint8_t low, uint8_t span, uint64_t* words,
                                              uint32_t count) {
    const __m256i from = _mm256_set1_epi8(static_cast<char>(low));
    const __m256i limit = _mm256_set1_epi8(static_cast<char>(span));
    for (uint32_t w = 0; w < count; ++w, entries += 64) {
        const __m256i a = _mm256_sub_epi8(load(entries), from);
        const __m256i b = _mm256_sub_epi8(load(entries + 32), from);
        words[w] = bytesOf(_mm256_cmpeq_epi8(_mm256_min_epu8(a, limit), a)) |
                   bytesOf(_mm256_cmpeq_epi8(_mm256_min_epu8(b, limit), b)) << 32;
    }
}

__attribute__((target("avx2"))) void compare16(const char* entries, uint16_t low, uint16_t span,
                                               uint64_t* words, uint32_t count) {
    const __m256i from = _mm256_set1_epi16(static_cast<short>(low));
    const __m256i limit = _mm256_set1_epi16(static_cast<short>(span));
    for (uint32_t w = 0; w < count; ++w) {
        uint64_t bits = 0;
        for (unsigned i = 0; i < 64; i += 32, entries += 64) {
            const __m256i a = _mm256_sub_epi16(load(entries), from);
            const __m256i b = _mm256_sub_epi16(load(entries + 32), from);
            const __m256i packed = _mm256_packs_epi16(_mm256_cmpeq_epi16(_mm256_min_epu16(a, limit), a),
                                                      _mm256_cmpeq_epi16(_mm256_min_epu16(b, limit), b));
            bits |= bytesOf(_mm256_permute4x64_epi64(packed, 0xD8)) << i;  // packs works on halves
        }
        words[w] = bits;
    }
}

__attribute__((target("avx2"))) void compare32(const char* entries, uint32_t low, uint32_t span,
                                               uint64_t* words, uint32_t count) {
    const __m256i from = _mm256_set1_epi32(static_cast<int>(low));
    const __m256i limit = _mm256_set1_epi32(static_cast<int>(span));
    // Packing works on halves: it leaves the entries 0-3 of four vectors in one, 4-7 in the other.
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const auto inside = [&](const char* at) __attribute__((target("avx2"), always_inline)) {
        const __m256i v = _mm256_sub_epi32(load(at), from);
        return _mm256_cmpeq_epi32(_mm256_min_epu32(v, limit), v);
    };
    const auto half = [&](const char* at) __attribute__((target("avx2"), always_inline)) {
        const __m256i front = _mm256_packs_epi32(inside(at), inside(at + 32));
        const __m256i back = _mm256_packs_epi32(inside(at + 64), inside(at + 96));
        return bytesOf(_mm256_permutevar8x32_epi32(_mm256_packs_epi16(front, back), order));
    };
    for (uint32_t w = 0; w < count; ++w, entries += 256) words[w] = half(entries) | half(entries + 128) << 32;
}

constexpr ColumnKernels kAvx2 = {compare8, compare16, compare32, comparePortable<uint64_t>};

#endif

}  // namespace

const ColumnKernels& portableColumnKernels() {
    return kPortable;
}

const ColumnKernels& columnKernels() {
#if WDB_X86
    static const bool fast = __builtin_cpu_supports("avx2");
    if (fast) return kAvx2;
#endif
    return kPortable;
}

}  // namespace wdb
