#include "kernel/text/Normalize.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using wdb::normalize;

namespace {

struct Row {
    const char* reason;
    std::string text;
    int mode;
    std::string expected;
};

TEST(Normalize, Table) {
    const std::vector<Row> rows = {
        {"nothing asked of case", "Ab c", wdb::kFoldBlanks, "Ab c"},
        {"case alone keeps blanks", " a\tb ", wdb::kFoldCase, " A\tB "},
        {"blanks at both ends, runs, tabs and line ends", "  a \t\n b\r\n", 2, "a b"},
        {"only blanks", " \t ", 7, ""},
        {"empty", "", 7, ""},
        {"other control characters are no blanks", "a\vb\fc", 7, "A\vB\fC"},
        {"one for one: sharp s has no single capital", "stra\u00DFe", 1, "STRA\u00DFE"},
        {"two-byte case pair", "\u00E4\u00D6\u00FF", 1, "\u00C4\u00D6\u0178"},
        {"a capital that needs more bytes: dotless a is kept", "\u0250", 1, "\u0250"},
        {"a capital that needs fewer bytes", "\u0131x", 1, "IX"},
        {"composition", "e\u0301", 4, "\u00E9"},
        {"composition before case", "e\u0301", 7, "\u00C9"},
        {"composition that would grow is left", "\u0958", 7, "\u0958"},
        {"capital that composes only after the case changed", "\u0131\u0308", 7, "\u00CF"},
        {"Hangul syllable from its letters", "\u1112\u1161\u11AB", 4, "\uD55C"},
        {"stray bytes are kept and case around them folds", "a\xFFz \x80", 7, std::string("A\xFFZ \x80")},
        {"cut sequence at the end", "a\xE4\xBD", 7, std::string("A\xE4\xBD")},
        {"blanks among high characters", " \u00E4  \u00F6 ", 7, "\u00C4 \u00D6"},
    };
    for (const Row& row : rows) EXPECT_EQ(normalize(row.text, row.mode), row.expected) << row.reason;
}

// Texts of characters that interact: bases, marks, odd case pairs, blanks, stray bytes.
std::string randomText(std::mt19937& random) {
    static const std::vector<std::string> pieces = {
        "a",      "B",      "i",      "j",      " ",      "\t",     "\n",     "\u0301",     "\u0308",
        "\u0345", "\u0131", "\u00DF", "\u01C5", "\u03B1", "\u0391", "\u1FB3", "\u0958",     "\u1112",
        "\u1161", "\u11AB", "\xFF",   "\xE4",   "\u0338", "<",      "\u2126", "\U0001D15E", "\u0F71\u0F72"};
    std::string text;
    for (size_t i = random() % 12; i > 0; --i) text += pieces[random() % pieces.size()];
    return text;
}

TEST(Normalize, NeverGrowsAndSettlesAtOnce) {
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const std::string text = randomText(random);
        for (int mode = 1; mode <= 7; ++mode) {
            const std::string once = normalize(text, mode);
            ASSERT_LE(once.size(), text.size()) << text;
            ASSERT_EQ(normalize(once, mode), once) << text << " mode " << mode;
        }
    }
}

TEST(Normalize, AsciiPathAgreesWithTheGeneralOne) {
    std::mt19937 random(11);
    const std::string alphabet = "abcXYZ09 \t\n\r._-";
    for (int i = 0; i < 5000; ++i) {
        std::string text;
        for (size_t n = random() % 40; n > 0; --n) text += alphabet[random() % alphabet.size()];
        // A high character that nothing changes sends the same text down the general path.
        for (int mode = 1; mode <= 7; ++mode) {
            std::string general = normalize("\u4E00" + text + "\u4E00", mode);
            std::string ascii = normalize("|" + text + "|", mode);
            ASSERT_EQ(general.substr(3, general.size() - 6), ascii.substr(1, ascii.size() - 2)) << text;
        }
    }
}

}  // namespace
