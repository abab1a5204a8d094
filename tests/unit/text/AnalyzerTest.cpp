#include "kernel/text/Analyzer.h"

#include <gtest/gtest.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <random>
#include <string>
#include <vector>

using wdb::Analyzer;
using wdb::Pattern;
using wdb::Word;

namespace {

// "word@position" of each word, joined by blanks.
std::string words(std::string_view text, bool positions = false) {
    Analyzer analyzer;
    std::string out;
    analyzer.words(text, [&](const Word& word) {
        if (!out.empty()) out += ' ';
        out += word.term;
        if (positions) out += '@' + std::to_string(word.position) + '/' + std::to_string(word.paragraph);
    });
    return out;
}

struct Row {
    const char* reason;
    std::string text;
    std::string expected;
};

TEST(Analyzer, Words) {
    const std::vector<Row> rows = {
        {"nothing", "", ""},
        {"separators only", " .,-_ \n", ""},
        {"case and digits", "GNU C99 compiler", "gnu c99 compiler"},
        {"everything else separates", "foo_bar-baz/3.14", "foo bar baz 3 14"},
        {"high letters", "\u00C4pfel na\u00EFve", "\u00E4pfel na\u00EFve"},
        {"case folding beyond one for one", "Stra\u00DFe", "strasse"},
        {"a mark joins its letter", "e\u0301te\u0301", "\u00E9t\u00E9"},
        {"a mark without a letter is none", "a \u0301 b", "a b"},
        {"compatibility forms: ligature, width, superscript", "\uFB01le \uFF21\uFF22 m\u00B2", "file ab m2"},
        {"a fraction falls apart", "1\u00BD", "11 2"},
        {"soft hyphens vanish", "co\u00ADoperate", "cooperate"},
        {"dashes and quotes of all kinds separate", "a\u2014b \u201Cc\u201D", "a b c"},
        {"stray bytes separate",
         "ab\xFF"
         "cd",
         "ab cd"},
        {"script without blanks", "\u65E5\u672C\u8A9E", "\u65E5\u672C\u8A9E"},
        {"such scripts beside letters", "GNU\u306E\u65E5\u672C", "gnu \u306E \u65E5\u672C"},
        {"Thai", "\u0E2A\u0E27\u0E31\u0E2A\u0E14\u0E35\u0E0A\u0E32\u0E27\u0E42\u0E25\u0E01",
         "\u0E2A\u0E27\u0E31\u0E2A\u0E14\u0E35 \u0E0A\u0E32\u0E27 \u0E42\u0E25\u0E01"},
    };
    for (const Row& row : rows) EXPECT_EQ(words(row.text), row.expected) << row.reason;
    const std::string longWord(1000, 'X');
    EXPECT_EQ(words("a " + longWord + " b"), "a " + std::string(1000, 'x') + " b");
}

TEST(Analyzer, PositionsAndParagraphs) {
    const std::vector<Row> rows = {
        {"positions run from 0", "a b c", "a@0/1 b@1/1 c@2/1"},
        {"a line end is no break", "a\nb", "a@0/1 b@1/1"},
        {"an empty line is one", "a\n\nb", "a@0/1 b@1001/2"},
        {"each empty line", "a\n\n\nb", "a@0/1 b@2001/3"},
        {"at the beginning too", "\na", "a@1000/2"},
        {"CR LF", "a\r\n\r\nb", "a@0/1 b@1001/2"},
        {"a line of blanks is not empty", "a\n \nb", "a@0/1 b@1/1"},
        {"paragraphs among high characters", "\u00E4\n\n\u00F6", "\u00E4@0/1 \u00F6@1001/2"},
    };
    for (const Row& row : rows) EXPECT_EQ(words(row.text, true), row.expected) << row.reason;
}

// The definition, over the whole text at once and without the ASCII path (no script that needs the word
// breaker).
std::string reference(std::string_view text) {
    UErrorCode error = U_ZERO_ERROR;
    const auto* folder = icu::Normalizer2::getNFKCCasefoldInstance(error);
    const icu::UnicodeString folded = folder->normalize(
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size()))),
        error);
    std::string out;
    bool inside = false;
    for (int32_t at = 0; at < folded.length(); at = folded.moveIndex32(at, 1)) {
        const UChar32 c = folded.char32At(at);
        const uint32_t category = U_GET_GC_MASK(c);
        const bool letter = (category & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
        if (!letter && !(inside && (category & U_GC_M_MASK) != 0)) {
            inside = false;
            continue;
        }
        if (!inside && !out.empty()) out += ' ';
        inside = true;
        icu::UnicodeString(c).toUTF8String(out);
    }
    return out;
}

TEST(Analyzer, AsciiPathAgreesWithIcu) {
    const std::vector<std::string> pieces = {
        "a",      "Z",      "fi",     "9",      " ",      "\n",         "-",      "_",
        "<",      "=",      "'",      ".",      "\u0301", "\u0338",     "\u00DF", "\u0130",
        "\u212A", "\u017F", "\u00BD", "\u00A8", "\u00B4", "\u2126",     "\uFB01", "\uFF21",
        "\u00AD", "\u200B", "\u200D", "\u2160", "\u20AC", "\u2019",     "\u0645", "\u0651",
        "\uFDFA", "\xFF",   "\xC3",   "\u03A3", "\u1FB3", "\U0001D400", "\u1112", "\u1161"};
    std::mt19937 random(5);
    for (int i = 0; i < 30000; ++i) {
        std::string text;
        for (size_t n = random() % 14; n > 0; --n) text += pieces[random() % pieces.size()];
        ASSERT_EQ(words(text), reference(text)) << text;
    }
}

// Each pattern in angle brackets.
std::string patterns(std::string_view text) {
    Pattern value;
    for (const char c : text) {
        if (c == '$')
            value.addAnyRun();
        else if (c == '!')
            value.addAnyCharacter();
        else
            value.addLiteral({&c, 1});
    }
    Analyzer analyzer;
    std::string out;
    for (const Pattern& word : analyzer.wordPatterns(value)) {
        out += '<';
        for (const auto& piece : word.pieces())
            out += piece.kind == Pattern::Kind::Literal  ? piece.text
                   : piece.kind == Pattern::Kind::AnyRun ? "$"
                                                         : "!";
        out += '>';
    }
    return out;
}

TEST(Analyzer, WordPatterns) {
    const std::vector<Row> rows = {
        {"words are cut as texts are", "Foo-bar", "<foo><bar>"},
        {"no words", " . ", ""},
        {"wildcards belong to the word they touch", "ab$ $cd e!f", "<ab$><$cd><e!f>"},
        {"a wildcard alone is any word", "a $ b", "<a><$><b>"},
        {"both sides", "$foo bar$", "<$foo><bar$>"},
        {"a separator beside the wildcard ends the word", "a.$", "<a><$>"},
        {"folding around wildcards", "STRA\u00DF$", "<strass$>"},
        {"a mark behind a wildcard stays in the word", "a!\u0301b", "<a!\u0301b>"},
        {"run beside character", "a$!", "<a$!>"},
        {"scripts without blanks: only the last word takes the wildcard", "GNU\u65E5\u672C$",
         "<gnu><\u65E5\u672C$>"},
    };
    for (const Row& row : rows) EXPECT_EQ(patterns(row.text), row.expected) << row.reason;
}

}  // namespace
