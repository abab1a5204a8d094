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

}  // namespace

std::string_view canonicalWord(Word word) {
    return kSpellings[static_cast<size_t>(word)].canonical;
}

std::string_view englishWord(Word word) {
    return kSpellings[static_cast<size_t>(word)].english;
}

std::optional<Word> wordByCanonicalName(std::string_view name) {
    for (size_t i = 0; i < kWordCount; ++i) {
        if (equalsIgnoreCase(kSpellings[i].canonical, name)) return static_cast<Word>(i);
    }
    return std::nullopt;
}

void CommandWords::define(Word word, std::string_view spelling) {
    own_[static_cast<size_t>(word)] = spelling;
}

bool CommandWords::is(Word word, std::string_view text) const {
    if (text.empty()) return false;
    const size_t index = static_cast<size_t>(word);
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
