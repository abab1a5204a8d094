#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"

namespace wdb {

// The members of a record set within one chunk of 65,536 record numbers. The same bytes in memory and, behind
// a header of 8 bytes, on disk (docs/formats/record-set.md).
enum class ContainerKind : uint8_t {
    Array = 0,  // ascending u16, little endian, at most kMaxArray of them
    Bitmap = 1  // 65,536 bits, bit n of the chunk in byte n / 8 at 1 << (n % 8)
};

inline constexpr uint32_t kMaxArray = 4096;
inline constexpr size_t kBitmapBytes = 8192;
inline constexpr size_t kBitmapWords = 1024;
inline constexpr size_t kContainerHeader = 8;

static_assert(std::endian::native == std::endian::little, "containers are used as they lie in the file");

// A container that somebody else owns. Data may lie at any address.
struct ContainerView {
    ContainerKind kind = ContainerKind::Array;
    uint32_t cardinality = 0;
    const char* data = nullptr;

    size_t bytes() const { return kind == ContainerKind::Bitmap ? kBitmapBytes : size_t{cardinality} * 2; }
    uint16_t at(uint32_t place) const {  // Array only
        uint16_t value;
        std::memcpy(&value, data + size_t{place} * 2, 2);
        return value;
    }
    uint64_t word(size_t place) const {  // Bitmap only
        uint64_t value;
        std::memcpy(&value, data + place * 8, 8);
        return value;
    }
    bool contains(uint16_t low) const;
    uint32_t rank(uint16_t low) const;      // members below `low`
    uint16_t select(uint32_t place) const;  // place < cardinality

    // Calls visit(uint16_t) for each member, ascending.
    template <typename Visit>
    void forEach(Visit&& visit) const {
        if (kind == ContainerKind::Array) {
            for (uint32_t i = 0; i < cardinality; ++i) visit(at(i));
            return;
        }
        for (size_t w = 0; w < kBitmapWords; ++w) {
            for (uint64_t bits = word(w); bits != 0; bits &= bits - 1)
                visit(static_cast<uint16_t>(w * 64 + static_cast<unsigned>(std::countr_zero(bits))));
        }
    }
};

// The container of stored bytes, sizes checked: WDB_E_CORRUPT. What lies in it is not looked at; reading a
// damaged one gives wrong members but never leaves its bytes.
Result<ContainerView> readContainer(Slice stored);
// Also checks the checksum, the order of arrays, the cardinality of bitmaps, and that the smaller kind was
// chosen.
Status validateContainer(Slice stored);
// Appends header and data.
void appendContainer(const ContainerView& container, std::string& out);
// Appends header and array of ascending members (a bitmap when there are more than kMaxArray).
void appendContainer(const uint16_t* members, uint32_t count, std::string& out);

}  // namespace wdb
