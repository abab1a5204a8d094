#pragma once

#include <cstdint>

namespace wdb {

// Comparison of 64 stored entries at any address: bit i is set when entry i minus `low` is at most `span` as an unsigned
// number of the width.
struct ColumnKernels {
    uint64_t (*compare8)(const char* entries, uint8_t low, uint8_t span);
    uint64_t (*compare16)(const char* entries, uint16_t low, uint16_t span);
    uint64_t (*compare32)(const char* entries, uint32_t low, uint32_t span);
    uint64_t (*compare64)(const char* entries, uint64_t low, uint64_t span);
};

// The fastest ones that this processor runs; portable ones for comparison.
const ColumnKernels& columnKernels();
const ColumnKernels& portableColumnKernels();

}  // namespace wdb
