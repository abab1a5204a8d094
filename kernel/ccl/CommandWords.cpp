#include "kernel/ccl/CommandWords.h"

#include "kernel/common/Ascii.h"

namespace wdb::ccl {

namespace {

struct Spelling {
    std::string_view canonical;
    std::string_view english;
};

constexpr std::array<Spelling, kWordCount> kSpellings = {{
    {"BAS", "BASE"},
    {"FIN", "FIND"},
    {"DEF", "DEFINE"},
    {"MIN", "MIN"},
    {"SEL", "SELECT"},
    {"FRL", "FROM"},
    {"WHR", "WHERE"},
    {"DES", "DESC"},
    {"SFX", "SUBSELECT"},
    {"AND", "AND"},
    {"ORX", "OR"},
    {"NOT", "NOT"},
    {"RXX", "R"},
    {"FTL", "TO"},
}};

constexpr size_t kCanonicalLength = 3;

// The letters of a canonical spelling as one number, the same in either case.
constexpr uint32_t packed(std::string_view name) {
    uint32_t number = 0;
    for (size_t i = 0; i < kCanonicalLength; ++i)
        number = number << 8 | static_cast<unsigned char>(asciiUpper(name[i]));
    return number;
}

constexpr auto kPacked = [] {
    std::array<uint32_t, kWordCount> packedWords{};
    for (size_t i = 0; i < kWordCount; ++i) packedWords[i] = packed(kSpellings[i].canonical);
    return packedWords;
}();

}  // namespace

std::string_view canonicalWord(Word word) {
    return kSpellings[static_cast<size_t>(word)].canonical;
}

std::string_view englishWord(Word word) {
    return kSpellings[static_cast<size_t>(word)].english;
}

std::optional<Word> wordByCanonicalName(std::string_view name) {
    if (name.size() != kCanonicalLength) return std::nullopt;
    const uint32_t wanted = packed(name);
    for (size_t i = 0; i < kWordCount; ++i) {
        if (kPacked[i] == wanted) return static_cast<Word>(i);
    }
    return std::nullopt;
}

void CommandWords::define(Word word, std::string_view spelling) {
    own_[static_cast<size_t>(word)] = spelling;
}

bool CommandWords::is(Word word, std::string_view text) const {
    const size_t index = static_cast<size_t>(word);
    const size_t size = text.size();
    if (size == 0 ||
        (size != kCanonicalLength && size != kSpellings[index].english.size() && size != own_[index].size()))
        return false;
    return equalsIgnoreCase(text, kSpellings[index].canonical) ||
           equalsIgnoreCase(text, kSpellings[index].english) || equalsIgnoreCase(text, own_[index]);
}

bool CommandWords::isAny(std::string_view text) const {
    for (size_t i = 0; i < kWordCount; ++i) {
        if (is(static_cast<Word>(i), text)) return true;
    }
    return false;
}

}  // namespace wdb::ccl
