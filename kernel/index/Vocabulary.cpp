#include "kernel/index/Vocabulary.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace wdb {

bool Vocabulary::add(std::string_view key, bool cut) {
    if (block_.size() + key.size() >= kMaxBytes || cut_.size() >= kMaxBytes / 512) {
        *this = Vocabulary(table_, field_, position_);
        tooLarge_ = true;
        return false;
    }
    if (cut) {
        cut_.emplace_back(key);
        return true;
    }
    starts_.push_back(static_cast<uint32_t>(block_.size()));
    block_.append(key);
    block_.push_back('\0');
    return true;
}

// The key that a byte of the block belongs to.
size_t Vocabulary::numberAt(size_t offset) const {
    const auto above = std::upper_bound(starts_.begin(), starts_.end(), offset);
    return static_cast<size_t>(above - starts_.begin()) - 1;
}

// Sixteen places at a time: those where first and last byte fit are compared whole (Mula, "SIMD-friendly
// algorithms for substring searching", 2016).
size_t Vocabulary::find(std::string_view literal, size_t from) const {
    const char* const data = block_.data();
#if defined(__SSE2__)
    const __m128i first = _mm_set1_epi8(literal.front());
    const __m128i last = _mm_set1_epi8(literal.back());
    const size_t behind = literal.size() - 1;
    for (; from + behind + 16 <= block_.size(); from += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + from));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + from + behind));
        auto fits = static_cast<uint32_t>(
            _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(a, first), _mm_cmpeq_epi8(b, last))));
        for (; fits != 0; fits &= fits - 1) {
            const size_t place = from + static_cast<size_t>(std::countr_zero(fits));
            if (std::memcmp(data + place, literal.data(), literal.size()) == 0) return place;
        }
    }
#endif
    return std::string_view(data, block_.size()).find(literal, from);
}

}  // namespace wdb
