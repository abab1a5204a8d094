#pragma once

#include <cstddef>
#include <cstdint>

namespace wdb {

// The inner loops of the set operations. Arrays are ascending u16 at any address, bitmaps kBitmapBytes at any
// address; results go to memory that overlaps no argument, except that a bitmap may be written over the first
// one. With damaged (unordered) arrays results are wrong, but nothing beyond the stated sizes is read or
// written.
struct ContainerKernels {
    // Members of both; out has room for min(aCount, bCount) + 8. Answers the number written.
    uint32_t (*intersectArrays)(const char* a, uint32_t aCount, const char* b, uint32_t bCount,
                                uint16_t* out);
    // Members of an array that are in a bitmap, or with `wanted` false those that are not; out has room for
    // count + 8. Answers the number written.
    uint32_t (*filterArray)(const char* array, uint32_t count, const char* bitmap, bool wanted,
                            uint16_t* out);
    // Bit operations on whole bitmaps; the cardinality of the result.
    uint32_t (*andBitmaps)(const char* a, const char* b, char* out);
    uint32_t (*orBitmaps)(const char* a, const char* b, char* out);
    uint32_t (*andNotBitmaps)(const char* a, const char* b, char* out);
    // Cardinality of the intersection without making it.
    uint32_t (*countAnd)(const char* a, const char* b);
    uint32_t (*countBits)(const char* bitmap, size_t bytes);  // bytes: a multiple of 8
    // For each of the kBitmapWords words of a bitmap the number of bits before it.
    void (*countBefore)(const char* bitmap, uint16_t* out);
};

// The fastest ones that this processor runs; portable ones for comparison.
const ContainerKernels& containerKernels();
const ContainerKernels& portableKernels();

// Members of both arrays, one much smaller than the other (galloping). Room for min(aCount, bCount).
uint32_t intersectGalloping(const char* small, uint32_t smallCount, const char* large, uint32_t largeCount,
                            uint16_t* out);

}  // namespace wdb
