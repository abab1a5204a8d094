#pragma once

#include <cstdint>

namespace wdb {

// Comparison of stored entries at any address, 64 for each of `count` words: bit i of word w is set when
// entry 64 * w + i minus `low` is at most `span`, both taken as unsigned numbers of the width.
struct ColumnKernels {
    void (*compare8)(const char* entries, uint8_t low, uint8_t span, uint64_t* words, uint32_t count);
    void (*compare16)(const char* entries, uint16_t low, uint16_t span, uint64_t* words, uint32_t count);
    void (*compare32)(const char* entries, uint32_t low, uint32_t span, uint64_t* words, uint32_t count);
    void (*compare64)(const char* entries, uint64_t low, uint64_t span, uint64_t* words, uint32_t count);
};

// The fastest ones that this processor runs; portable ones for comparison.
const ColumnKernels& columnKernels();
const ColumnKernels& portableColumnKernels();

}  // namespace wdb
