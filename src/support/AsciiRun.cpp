#include "src/support/AsciiRun.h"

#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace wsql {

namespace {

#if defined(__SSE2__)
__m128i load(const char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// One bit per byte that is markup.
unsigned markupMask(const char* bytes, __m128i fourth) {
    const __m128i block = load(bytes);
    const __m128i amp = _mm_cmpeq_epi8(block, _mm_set1_epi8('&'));
    // < is 0x3C and > is 0x3E: they differ in the bit of value 2.
    const __m128i angle = _mm_cmpeq_epi8(_mm_or_si128(block, _mm_set1_epi8(2)), _mm_set1_epi8('>'));
    const __m128i last = _mm_cmpeq_epi8(block, fourth);
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(amp, angle), last)));
}
#else
bool isMarkup(char c, bool quotes) {
    return c == '&' || c == '<' || c == '>' || (quotes && c == '"');
}
#endif

}  // namespace

std::size_t runOfAscii(std::string_view text) {
    std::size_t at = 0;
#if defined(__SSE2__)
    for (; at + 16 <= text.size(); at += 16) {
        const auto high = static_cast<unsigned>(_mm_movemask_epi8(load(text.data() + at)));
        if (high != 0) return at + static_cast<std::size_t>(std::countr_zero(high));
    }
#endif
    while (at < text.size() && static_cast<unsigned char>(text[at]) < 128) ++at;
    return at;
}

std::size_t runWithoutMarkup(std::string_view text, bool quotes) {
    std::size_t at = 0;
#if defined(__SSE2__)
    const __m128i fourth = _mm_set1_epi8(quotes ? '"' : '&');
    for (; at + 16 <= text.size(); at += 16) {
        const unsigned mask = markupMask(text.data() + at, fourth);
        if (mask != 0) return at + static_cast<std::size_t>(std::countr_zero(mask));
    }
    if (at == text.size()) return at;
    char tail[16] = {};
    std::memcpy(tail, text.data() + at, text.size() - at);
    const unsigned mask = markupMask(tail, fourth);
    return mask != 0 ? at + static_cast<std::size_t>(std::countr_zero(mask)) : text.size();
#else
    while (at < text.size() && !isMarkup(text[at], quotes)) ++at;
    return at;
#endif
}

}  // namespace wsql
