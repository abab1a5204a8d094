#pragma once

#include <cstdint>
#include <memory>

#include "kernel/index/Container.h"

namespace wdb {

// A container with its bytes; cardinality 0 has none.
struct OwnedContainer {
    ContainerView view;
    std::unique_ptr<char[]> data;
};

// Set algebra within one chunk. The result is an array up to kMaxArray members, else a bitmap. Arrays of like size are
// intersected eight by eight with string comparison instructions where the processor has them (the method of Schlegel,
// Willhalm and Lehner, "Fast sorted-set intersection using SIMD instructions", ADMS 2011), unequal ones by galloping.
OwnedContainer intersect(const ContainerView& a, const ContainerView& b);
OwnedContainer unite(const ContainerView& a, const ContainerView& b);
OwnedContainer subtract(const ContainerView& a, const ContainerView& b);
uint32_t intersectionCardinality(const ContainerView& a, const ContainerView& b);
bool intersects(const ContainerView& a, const ContainerView& b);

OwnedContainer copyOf(const ContainerView& container);
// Of ascending members, at most 65,536.
OwnedContainer containerOf(const uint16_t* members, uint32_t count);
// Of 1024 words, copied; an array when there are few members.
OwnedContainer containerOfBits(const char* bits);
// The members first..last.
OwnedContainer containerOfRange(uint16_t first, uint16_t last);

}  // namespace wdb
