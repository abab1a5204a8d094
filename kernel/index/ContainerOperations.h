#pragma once

#include <memory>

#include "kernel/index/Container.h"

namespace wdb {

// A container with its memory; without members when cardinality is 0.
struct OwnedContainer {
    ContainerView view;
    std::unique_ptr<char[]> data;
};

OwnedContainer copyContainer(const ContainerView& a);
OwnedContainer intersectContainers(const ContainerView& a, const ContainerView& b);
OwnedContainer uniteContainers(const ContainerView& a, const ContainerView& b);
OwnedContainer subtractContainers(const ContainerView& a, const ContainerView& b);
uint32_t countIntersection(const ContainerView& a, const ContainerView& b);
// A bitmap of kBitmapBytes with `count` members as the kind that its size asks for.
OwnedContainer fromBits(std::unique_ptr<char[]> bits, uint32_t count);
OwnedContainer fromMembers(const uint16_t* ascending, uint32_t count);

inline std::unique_ptr<char[]> allocateContainer(size_t bytes) {
    return std::unique_ptr<char[]>(new char[bytes]);
}
inline void setBit(char* bits, uint16_t low) {
    bits[low >> 3] = static_cast<char>(static_cast<unsigned char>(bits[low >> 3]) | 1U << (low & 7));
}

}  // namespace wdb
