#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wdb::ccl {

// The command words that a session's language may spell its own way.
enum class Word : uint8_t { Bas, Fin, Def, Min, Sel, Frl, Whr, Des, Sfx, And, Orx, Not, Rxx, Ftl };
inline constexpr size_t kWordCount = 14;

// The one spelling in which commands are printed: three letters.
std::string_view canonicalWord(Word word);
// The spelling of language 1.
std::string_view englishWord(Word word);
// The word with this canonical spelling, in any letter case.
std::optional<Word> wordByCanonicalName(std::string_view name);

// The spellings that one session accepts: canonical and English ones always, and those that it defined
// itself. A value.
class CommandWords {
public:
    // Adds an own spelling in place of an earlier own one; an empty text takes it away.
    void define(Word word, std::string_view spelling);
    std::string_view defined(Word word) const { return own_[static_cast<size_t>(word)]; }

    // Is the text some spelling of the word, in any letter case?
    bool is(Word word, std::string_view text) const;
    // Is the text a spelling of any word?
    bool isAny(std::string_view text) const;

private:
    std::array<std::string, kWordCount> own_;
};

}  // namespace wdb::ccl
