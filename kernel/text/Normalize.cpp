#include "kernel/text/Normalize.h"

#include <cstdint>
#include <cstring>

#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

namespace wdb {

namespace {

constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
constexpr char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

// Folds the blanks of everything behind `begin` in place.
void foldBlanks(std::string& text, size_t begin) {
    size_t to = begin;
    bool pending = false;  // blanks were seen behind a character
    for (size_t from = begin; from < text.size(); ++from) {
        if (isBlank(text[from])) {
            pending = to > begin;
            continue;
        }
        if (pending) text[to++] = ' ';
        pending = false;
        text[to++] = text[from];
    }
    text.resize(to);
}

void normalizeAscii(std::string_view text, int mode, std::string& out) {
    const size_t begin = out.size();
    out.append(text);
    char* const end = out.data() + out.size();
    bool blanks = false;
    for (char* at = out.data() + begin; at != end; ++at) {
        blanks |= *at <= ' ';
        if ((mode & kFoldCase) != 0) *at = upper(*at);
    }
    if (blanks && (mode & kFoldBlanks) != 0) foldBlanks(out, begin);
}

// Upper case of each character where that needs no more bytes.
std::string foldCase(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto size = static_cast<int64_t>(text.size());
    for (int64_t at = 0; at < size;) {
        const int64_t start = at;
        UChar32 c;
        U8_NEXT(bytes, at, size, c);
        const UChar32 folded = c < 0 ? c : u_toupper(c);
        if (c < 0 || folded == c || U8_LENGTH(folded) > at - start) {
            out.append(text.substr(static_cast<size_t>(start), static_cast<size_t>(at - start)));
            continue;
        }
        char encoded[U8_MAX_LENGTH];
        int32_t length = 0;
        U8_APPEND_UNSAFE(encoded, length, folded);
        out.append(encoded, static_cast<size_t>(length));
    }
    return out;
}

void composeSegment(const icu::Normalizer2& nfc, std::string_view segment, std::string& out) {
    if (isAscii(segment)) {
        out.append(segment);
        return;
    }
    UErrorCode error = U_ZERO_ERROR;
    const icu::UnicodeString source =
        icu::UnicodeString::fromUTF8(icu::StringPiece(segment.data(), static_cast<int32_t>(segment.size())));
    std::string composed;
    nfc.normalize(source, error).toUTF8String(composed);
    const bool fits = U_SUCCESS(error) && composed.size() <= segment.size();
    out.append(fits ? std::string_view(composed) : segment);
}

// NFC, one combining sequence after the other, each only where it needs no more bytes.
std::string compose(std::string text) {
    UErrorCode error = U_ZERO_ERROR;
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(error);
    if (U_FAILURE(error) || text.size() > INT32_MAX) return text;
    if (nfc->isNormalizedUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())), error) &&
        U_SUCCESS(error))
        return text;
    std::string out;
    out.reserve(text.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto size = static_cast<int32_t>(text.size());
    const std::string_view whole = text;
    int32_t segment = 0;
    bool valid = true;  // the segment holds characters, not stray bytes
    const auto flush = [&](int32_t end) {
        const std::string_view piece =
            whole.substr(static_cast<size_t>(segment), static_cast<size_t>(end - segment));
        if (valid)
            composeSegment(*nfc, piece, out);
        else
            out.append(piece);
        segment = end;
    };
    for (int32_t at = 0; at < size;) {
        const int32_t start = at;
        UChar32 c;
        U8_NEXT(bytes, at, size, c);
        if (c >= 0 && valid && !nfc->hasBoundaryBefore(c)) continue;
        if (start > segment) flush(start);
        valid = c >= 0;
    }
    flush(size);
    return out;
}

}  // namespace

bool isAscii(std::string_view text) {
    const char* at = text.data();
    size_t left = text.size();
    uint64_t high = 0;
    for (; left >= 32; at += 32, left -= 32) {
        uint64_t words[4];
        std::memcpy(words, at, 32);
        high |= words[0] | words[1] | words[2] | words[3];
        if ((high & 0x8080808080808080U) != 0) return false;
    }
    for (; left > 0; ++at, --left) high |= static_cast<unsigned char>(*at);
    return (high & 0x8080808080808080U) == 0;
}

void normalizeTo(std::string_view utf8, int mode, std::string& out) {
    if (isAscii(utf8)) return normalizeAscii(utf8, mode, out);
    std::string text(utf8);
    if ((mode & kCompose) != 0) text = compose(std::move(text));
    if ((mode & kFoldCase) != 0) {
        text = foldCase(text);
        // Upper case can make a sequence that composes, as dotless i with a diaeresis does.
        if ((mode & kCompose) != 0) text = compose(std::move(text));
    }
    if ((mode & kFoldBlanks) != 0) foldBlanks(text, 0);
    out.append(text);
}

std::string normalize(std::string_view utf8, int mode) {
    std::string out;
    normalizeTo(utf8, mode, out);
    return out;
}

}  // namespace wdb
