#include "src/welkhelp/CclText.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <iterator>

#include "src/support/text.h"

namespace wsql {
namespace {

/// Words that mean something where a name may stand, in every command language.
constexpr std::string_view kCommandWords[] = {
    "BAS",   "BASE",  "FIN",      "FIND", "DEF",   "DEFINE", "MIN",       "SEL",  "SELECT", "FRL",
    "FROM",  "WHR",   "WHERE",    "DES",  "DESC",  "SFX",    "SUBSELECT", "AND",  "ORX",    "OR",
    "NOT",   "RXX",   "R",        "FTL",  "TO",    "FIELD",  "INNER",     "LEFT", "RIGHT",  "SORT",
    "GROUP", "UNION", "DISTINCT", "ALL",  "COUNT", "AVG",    "MAX",       "SUM",  "NULL",   "S"};

/// Words that would end a bare value.
constexpr std::string_view kValueWords[] = {"AND", "OR", "ORX", "NOT", "TO", "FTL", "FROM", "FRL"};

constexpr bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 128;
}

/// By first byte the words that begin with it, a bit each by their places: most texts are told from all words
/// by that.
struct WordsByInitial {
    std::array<std::uint64_t, 256> of{};

    template <std::size_t N>
    constexpr explicit WordsByInitial(const std::string_view (&words)[N]) {
        static_assert(N <= 64);
        for (std::size_t place = 0; place < N; ++place) {
            for (const char first : {asciiUpper(words[place].front()), asciiLower(words[place].front())})
                of[static_cast<unsigned char>(first)] |= std::uint64_t{1} << place;
        }
    }
};
constexpr WordsByInitial kCommandWordsByInitial(kCommandWords);
constexpr WordsByInitial kValueWordsByInitial(kValueWords);

template <std::size_t N>
bool isOneOf(std::string_view text, const std::string_view (&words)[N], const WordsByInitial& byInitial) {
    std::uint64_t left = byInitial.of[static_cast<unsigned char>(text.front())];
    for (; left != 0; left &= left - 1) {
        if (equalNames(text, words[static_cast<std::size_t>(std::countr_zero(left))])) return true;
    }
    return false;
}

/// What the bytes of a bare name are made of.
struct NameBytes {
    std::array<bool, 256> in{};
    constexpr NameBytes() {
        for (std::size_t byte = 0; byte < in.size(); ++byte) {
            const char c = static_cast<char>(byte);
            in[byte] = isLetter(c) || isDigit(c) || c == '_';
        }
    }
};
constexpr NameBytes kNameBytes;

bool isBareName(std::string_view name) {
    if (name.empty() || isDigit(name.front())) return false;
    for (char c : name) {
        if (!kNameBytes.in[static_cast<unsigned char>(c)]) return false;
    }
    return !isOneOf(name, kCommandWords, kCommandWordsByInitial);
}

bool isBareValue(std::string_view text) {
    if (text.empty()) return false;
    const char first = text.front();
    if (!isLetter(first) && first != '$' && first != '!') return false;
    for (char c : text) {
        if (!isLetter(c) && !isDigit(c) && std::string_view("$!_-'\\").find(c) == std::string_view::npos)
            return false;
    }
    return !isOneOf(text, kValueWords, kValueWordsByInitial);
}

/// The text of a comparison with its own wildcards disarmed and "%" turned into one.
void appendComparisonText(CStringBuffer& out, std::string_view text) {
    char previous = 0;
    for (char c : text) {
        if (c == '$' || c == '!' || (c == '_' && previous == '\\')) out.append('\\');
        out.append(c == '%' ? '$' : c);
        previous = c;
    }
}

}  // namespace

void appendCclQuoted(CStringBuffer& out, std::string_view text) {
    out.append('"');
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t quote = text.find('"', start);
        if (quote == std::string_view::npos) {
            out.append(text.substr(start));
            break;
        }
        out.append(text.substr(start, quote + 1 - start));
        out.append('"');
        start = quote + 1;
    }
    out.append('"');
}

void appendCclName(CStringBuffer& out, std::string_view name) {
    if (isBareName(name)) {
        out.append(name);
    } else {
        appendCclQuoted(out, name);
    }
}

void appendCclValue(CStringBuffer& out, std::string_view text, CclValueKind kind) {
    if (kind == CclValueKind::kBare && !text.empty()) {
        out.append(text);
        return;
    }
    if (kind == CclValueKind::kText && text.find_first_of("%$!_") != std::string_view::npos) {
        CStringBuffer rewritten(256);
        appendComparisonText(rewritten, text);
        appendCclValue(out, rewritten.view(), CclValueKind::kPattern);
        return;
    }
    if (isBareValue(text)) {
        out.append(text);
    } else {
        appendCclQuoted(out, text);
    }
}

void appendLikePattern(CStringBuffer& out, std::string_view pattern) {
    char previous = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        if (i > 0 && previous == '\\') {
            if (c != '%' && c != '!') out.append('\\');
            out.append(c);
        } else if (c == '%') {
            out.append('$');
        } else if (c == '_') {
            out.append('!');
        } else if (c != '\\') {
            out.append(c);
        }
        previous = c;
    }
}

void appendNumber(CStringBuffer& out, std::int64_t number) {
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    out.append(std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

}  // namespace wsql
