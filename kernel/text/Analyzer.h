#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/text/Pattern.h"

namespace wdb {

// How far a paragraph break moves the position: no phrase reaches over it.
inline constexpr uint32_t kParagraphGap = 1000;

// One word of a text.
struct Word {
    std::string_view term;  // folded (NFKC_Casefold), valid during the call only, never empty, no NUL inside
    uint32_t position;   // from 0; neighbours differ by 1, across a paragraph break by at least kParagraphGap
    uint32_t paragraph;  // from 1
};

// Cuts texts into words: one analysis for indexing and for searching.
//
// Words are the runs of letters and digits of the NFKC_Casefold form of the text (Unicode categories L* and
// N*, and marks M* behind one of these). Runs that hold letters of scripts written without spaces (Han,
// Hiragana, Katakana, Thai, Lao, Khmer, Myanmar) are cut by ICU's word breaker. An empty line separates
// paragraphs. Bytes that are no UTF-8 separate words. Words of ASCII take a table-driven path with the same
// result.
//
// An analyzer keeps buffers and ICU objects: use one per thread. Making one costs nothing until a high byte
// comes.
class Analyzer {
public:
    Analyzer();
    ~Analyzer();
    Analyzer(const Analyzer&) = delete;
    Analyzer& operator=(const Analyzer&) = delete;

    // Calls sink(const Word&) for each word of the text, in order. The text's lines end with LF (or CR LF).
    template <typename Sink>
    void words(std::string_view text, Sink&& sink) {
        struct Call {
            static void word(void* target, const Word& word) {
                (*static_cast<std::remove_reference_t<Sink>*>(target))(word);
            }
        };
        analyze(text, &Call::word, &sink);
    }

    // The folded form of a text as one word, for order comparisons of words: nothing is cut.
    std::string fold(std::string_view text);

    // The words of a search value; wildcards count as letters of the word they touch, so that "ab$ c" gives
    // two patterns. A value without words gives none. Neighbouring patterns stand next to each other in one
    // paragraph.
    std::vector<Pattern> wordPatterns(const Pattern& value);

private:
    struct Unicode;
    using Emit = void (*)(void* target, const Word& word);
    struct Run;

    void analyze(std::string_view text, Emit emit, void* target);
    Unicode& unicode();

    std::unique_ptr<Unicode> unicode_;  // made when the first high byte comes
    std::string buffer_;                // lower-case form of the present ASCII word
};

}  // namespace wdb
