#include "kernel/index/ColumnKernels.h"

#include <cstddef>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#define WDB_X86 1
#endif

namespace wdb {

namespace {

template <typename T>
uint64_t comparePortable(const char* entries, T low, T span) {
    uint64_t bits = 0;
    for (unsigned i = 0; i < 64; ++i) {
        T entry;
        std::memcpy(&entry, entries + i * sizeof(T), sizeof(T));
        bits |= uint64_t{static_cast<T>(entry - low) <= span ? 1U : 0U} << i;
    }
    return bits;
}

constexpr ColumnKernels kPortable = {comparePortable<uint8_t>, comparePortable<uint16_t>, comparePortable<uint32_t>,
                                     comparePortable<uint64_t>};

#if WDB_X86

__attribute__((target("avx2"))) inline __m256i load(const char* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

__attribute__((target("avx2"))) uint64_t compare8(const char* entries, uint8_t low, uint8_t span) {
    const __m256i from = _mm256_set1_epi8(static_cast<char>(low));
    const __m256i limit = _mm256_set1_epi8(static_cast<char>(span));
    uint64_t bits = 0;
    for (unsigned i = 0; i < 2; ++i) {
        const __m256i v = _mm256_sub_epi8(load(entries + i * 32), from);
        const __m256i inside = _mm256_cmpeq_epi8(_mm256_min_epu8(v, limit), v);
        bits |= uint64_t{static_cast<uint32_t>(_mm256_movemask_epi8(inside))} << (i * 32);
    }
    return bits;
}

__attribute__((target("avx2"))) uint64_t compare16(const char* entries, uint16_t low, uint16_t span) {
    const __m256i from = _mm256_set1_epi16(static_cast<short>(low));
    const __m256i limit = _mm256_set1_epi16(static_cast<short>(span));
    uint64_t bits = 0;
    for (unsigned i = 0; i < 2; ++i) {
        const __m256i a = _mm256_sub_epi16(load(entries + i * 64), from);
        const __m256i b = _mm256_sub_epi16(load(entries + i * 64 + 32), from);
        const __m256i packed = _mm256_packs_epi16(_mm256_cmpeq_epi16(_mm256_min_epu16(a, limit), a),
                                                  _mm256_cmpeq_epi16(_mm256_min_epu16(b, limit), b));
        const __m256i inside = _mm256_permute4x64_epi64(packed, 0xD8);  // packs works on halves
        bits |= uint64_t{static_cast<uint32_t>(_mm256_movemask_epi8(inside))} << (i * 32);
    }
    return bits;
}

__attribute__((target("avx2"))) uint64_t compare32(const char* entries, uint32_t low, uint32_t span) {
    const __m256i from = _mm256_set1_epi32(static_cast<int>(low));
    const __m256i limit = _mm256_set1_epi32(static_cast<int>(span));
    uint64_t bits = 0;
    for (unsigned i = 0; i < 8; ++i) {
        const __m256i v = _mm256_sub_epi32(load(entries + i * 32), from);
        const __m256i inside = _mm256_cmpeq_epi32(_mm256_min_epu32(v, limit), v);
        bits |= uint64_t{static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(inside)))} << (i * 8);
    }
    return bits;
}

constexpr ColumnKernels kAvx2 = {compare8, compare16, compare32, comparePortable<uint64_t>};

#endif

}  // namespace

const ColumnKernels& portableColumnKernels() { return kPortable; }

const ColumnKernels& columnKernels() {
#if WDB_X86
    static const bool fast = __builtin_cpu_supports("avx2");
    if (fast) return kAvx2;
#endif
    return kPortable;
}

}  // namespace wdb
