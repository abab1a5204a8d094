#include "kernel/text/Analyzer.h"

#include <array>
#include <optional>
#include <utility>

#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>

#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

enum : uint8_t { kSeparator = 0, kLineFeed = 1, kHigh = 2 };

// What a byte is: a separator, a line feed, a byte of a longer character, or else the lower-case form of a
// letter or digit.
constexpr std::array<uint8_t, 256> makeByteClasses() {
    std::array<uint8_t, 256> classes{};
    for (unsigned c = 128; c < 256; ++c) classes[c] = kHigh;
    for (unsigned c = '0'; c <= '9'; ++c) classes[c] = static_cast<uint8_t>(c);
    for (unsigned c = 'a'; c <= 'z'; ++c) classes[c] = classes[c - 32] = static_cast<uint8_t>(c);
    classes['\n'] = kLineFeed;
    return classes;
}
constexpr std::array<uint8_t, 256> kByteClass = makeByteClasses();

constexpr uint8_t byteClass(char c) {
    return kByteClass[static_cast<unsigned char>(c)];
}

// Calls visit(start, end, term) for each word of an ASCII text.
template <typename Visit>
void asciiRuns(std::string_view text, Visit&& visit) {
    std::string term;
    for (size_t at = 0; at < text.size(); ++at) {
        const size_t start = at;
        for (; at < text.size() && byteClass(text[at]) > kHigh; ++at)
            term.push_back(static_cast<char>(byteClass(text[at])));
        if (term.empty()) continue;
        visit(static_cast<int32_t>(start), static_cast<int32_t>(at), std::string_view(term));
        term.clear();
    }
}

bool startsWord(UChar32 c) {
    return (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
}
bool continuesWord(UChar32 c) {
    return (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_N_MASK | U_GC_M_MASK)) != 0;
}

// Scripts that put no blanks between words.
bool needsBreaker(UChar32 c) {
    if (c < 0x0E00) return false;
    UErrorCode error = U_ZERO_ERROR;
    switch (uscript_getScript(c, &error)) {
        case USCRIPT_HAN:
        case USCRIPT_HIRAGANA:
        case USCRIPT_KATAKANA:
        case USCRIPT_THAI:
        case USCRIPT_LAO:
        case USCRIPT_KHMER:
        case USCRIPT_MYANMAR:
            return true;
        default:
            return false;
    }
}

// From this position on a paragraph break only keeps words apart, so that positions fit 32 bits for any text.
constexpr uint32_t kGapLimit = 0x80000000U;

}  // namespace

// The ICU side: folding, runs of letters, word breaks.
struct Analyzer::Unicode {
    const icu::Normalizer2* folder = nullptr;
    std::unique_ptr<icu::BreakIterator> breaker;
    std::string utf8;

    Unicode() {
        UErrorCode error = U_ZERO_ERROR;
        folder = icu::Normalizer2::getNFKCCasefoldInstance(error);
        if (U_FAILURE(error)) folder = nullptr;
    }

    icu::UnicodeString fold(std::string_view text) const {
        UErrorCode error = U_ZERO_ERROR;
        icu::UnicodeString source =
            icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
        if (folder == nullptr) return source;
        icu::UnicodeString folded = folder->normalize(source, error);
        return U_SUCCESS(error) ? folded : source;
    }

    // Calls visit(start, end, term) for each word of a folded text; offsets are UTF-16. With `joined` the
    // text continues a word, so a mark may begin it.
    template <typename Visit>
    void runs(const icu::UnicodeString& text, bool joined, Visit&& visit) {
        for (int32_t at = 0; at < text.length();) {
            const UChar32 c = text.char32At(at);
            if (!startsWord(c) && !(joined && at == 0 && continuesWord(c))) {
                at += U16_LENGTH(c);
                continue;
            }
            const int32_t start = at;
            bool breaks = false;
            while (at < text.length()) {
                const UChar32 next = text.char32At(at);
                if (!continuesWord(next)) break;
                breaks = breaks || needsBreaker(next);
                at += U16_LENGTH(next);
            }
            if (breaks)
                segments(text, start, at, visit);
            else
                emit(text, start, at, visit);
        }
    }

    template <typename Visit>
    void segments(const icu::UnicodeString& text, int32_t start, int32_t end, Visit& visit) {
        UErrorCode error = U_ZERO_ERROR;
        if (!breaker) breaker.reset(icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), error));
        if (U_FAILURE(error) || !breaker) return emit(text, start, end, visit);
        const icu::UnicodeString run = text.tempSubStringBetween(start, end);
        breaker->setText(run);
        int32_t from = breaker->first();
        for (int32_t to = breaker->next(); to != icu::BreakIterator::DONE; from = to, to = breaker->next())
            emit(text, start + from, start + to, visit);
    }

    template <typename Visit>
    void emit(const icu::UnicodeString& text, int32_t start, int32_t end, Visit& visit) {
        utf8.clear();
        text.tempSubStringBetween(start, end).toUTF8String(utf8);
        visit(start, end, std::string_view(utf8));
    }
};

// One pass over a text: the place in it and what was counted.
struct Analyzer::Run {
    Emit emit;
    void* target;
    uint32_t position = 0;
    uint32_t paragraph = 1;

    void word(std::string_view term) { emit(target, Word{term, position++, paragraph}); }
    void paragraphBreak() {
        ++paragraph;
        position += position < kGapLimit ? kParagraphGap : 1;
    }
};

Analyzer::Analyzer() = default;
Analyzer::~Analyzer() = default;

Analyzer::Unicode& Analyzer::unicode() {
    if (!unicode_) unicode_ = std::make_unique<Unicode>();
    return *unicode_;
}

void Analyzer::analyze(std::string_view text, Emit emit, void* target) {
    Run run{emit, target};
    const char* at = text.data();
    const char* const end = at + text.size();
    const char* line = at;  // where the present line began
    if (buffer_.size() < 256) buffer_.resize(256);
    while (at < end) {
        const uint8_t kind = byteClass(*at);
        if (kind == kSeparator) {
            ++at;
            continue;
        }
        if (kind == kLineFeed) {
            if (at == line || (at == line + 1 && *line == '\r')) run.paragraphBreak();
            line = ++at;
            continue;
        }
        const char* const start = at;
        char* out = buffer_.data();
        const char* const limit =
            end - at > static_cast<ptrdiff_t>(buffer_.size()) ? at + buffer_.size() : end;
        uint8_t c = kind;
        while (c > kHigh) {
            *out++ = static_cast<char>(c);
            if (++at == limit) break;
            c = byteClass(*at);
        }
        if (at == end || (at < limit && c < kHigh)) {
            run.word({buffer_.data(), static_cast<size_t>(at - start)});
            continue;
        }
        // A long word or one with high bytes: the whole stretch at once.
        while (at < end && byteClass(*at) >= kHigh) ++at;
        const std::string_view stretch(start, static_cast<size_t>(at - start));
        if (isAscii(stretch)) {
            buffer_.resize(stretch.size());
            for (size_t i = 0; i < stretch.size(); ++i) buffer_[i] = static_cast<char>(byteClass(stretch[i]));
            run.word(buffer_);
            continue;
        }
        Unicode& icu = unicode();
        icu.runs(icu.fold(stretch), false,
                 [&run](int32_t, int32_t, std::string_view term) { run.word(term); });
    }
}

std::string Analyzer::fold(std::string_view text) {
    std::string out;
    if (!isAscii(text)) {
        unicode().fold(text).toUTF8String(out);
        return out;
    }
    out = text;
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    }
    return out;
}

std::vector<Pattern> Analyzer::wordPatterns(const Pattern& value) {
    std::vector<Pattern> out;
    std::optional<Pattern> open;  // the word that the next piece may continue
    const auto close = [&] {
        if (open) out.push_back(*std::exchange(open, std::nullopt));
    };
    for (const Pattern::Piece& piece : value.pieces()) {
        if (piece.kind != Pattern::Kind::Literal) {
            if (!open) open.emplace();
            if (piece.kind == Pattern::Kind::AnyRun)
                open->addAnyRun();
            else
                open->addAnyCharacter();
            continue;
        }
        int32_t reached = 0, length = 0;
        const auto take = [&](int32_t start, int32_t end, std::string_view term) {
            if (start != 0) close();
            if (!open) open.emplace();
            open->addLiteral(term);
            reached = end;
        };
        if (isAscii(piece.text)) {
            asciiRuns(piece.text, take);
            length = static_cast<int32_t>(piece.text.size());
        } else {
            Unicode& icu = unicode();
            const icu::UnicodeString folded = icu.fold(piece.text);
            icu.runs(folded, open.has_value(), take);
            length = folded.length();
        }
        if (reached != length) close();
    }
    close();
    return out;
}

}  // namespace wdb
