#include "kernel/text/Pattern.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using wdb::Pattern;

namespace {

// "$" any run, "!" any character, all else literal.
Pattern pattern(std::string_view text) {
    Pattern out;
    for (const char c : text) {
        if (c == '$')
            out.addAnyRun();
        else if (c == '!')
            out.addAnyCharacter();
        else
            out.addLiteral({&c, 1});
    }
    return out;
}

struct Row {
    const char* reason;
    const char* pattern;
    const char* text;
    bool matches;
};

TEST(Pattern, Matches) {
    const std::vector<Row> rows = {
        {"the same", "abc", "abc", true},
        {"longer text", "abc", "abcd", false},
        {"nothing matches nothing", "", "", true},
        {"nothing does not match something", "", "a", false},
        {"any run matches nothing", "$", "", true},
        {"one character is needed", "!", "", false},
        {"beginning", "ab$", "abc", true},
        {"beginning alone", "ab$", "ab", true},
        {"beginning differs", "ab$", "acb", false},
        {"end", "$bc", "abc", true},
        {"end must be the end", "$bc", "abcd", false},
        {"inside", "$b$", "abc", true},
        {"the last occurrence counts for the end", "$ab", "abcab", true},
        {"return to a later place", "$ab!", "ababc", true},
        {"overlap of prefix and end", "ab$ba", "aba", false},
        {"a character of two bytes is one", "a!c", "a\u00E4c", true},
        {"a character of four bytes is one", "!", "\U0001F600", true},
        {"two of them are two", "!", "\u00E4\u00E4", false},
        {"run then character", "$!", "\u00E4", true},
        {"run then character, nothing there", "$!", "", false},
        {"two runs", "a$b$c", "a1b2b3c", true},
        {"stray byte is one character", "a!b",
         "a\xFF"
         "b",
         true},
    };
    for (const Row& row : rows) EXPECT_EQ(pattern(row.pattern).match(row.text), row.matches) << row.reason;
}

// The definition of matching, by recursion.
bool slow(std::string_view p, std::string_view t) {
    if (p.empty()) return t.empty();
    if (p[0] == '$') return slow(p.substr(1), t) || (!t.empty() && slow(p, t.substr(1)));
    return !t.empty() && (p[0] == '!' || p[0] == t[0]) && slow(p.substr(1), t.substr(1));
}

TEST(Pattern, AgreesWithTheDefinition) {
    std::mt19937 random(3);
    for (int i = 0; i < 30000; ++i) {
        std::string p, t;
        for (size_t n = random() % 7; n > 0; --n) p += "ab$!"[random() % 4];
        for (size_t n = random() % 9; n > 0; --n) t += "ab"[random() % 2];
        ASSERT_EQ(pattern(p).match(t), slow(p, t)) << p << " against " << t;
    }
}

TEST(Pattern, PhraseKeepsBlanksBesideWildcards) {
    EXPECT_EQ(wdb::phrasePattern(pattern("  ab  c ")), pattern("AB C"))
        << "whole values lose blanks at their ends";
    EXPECT_EQ(wdb::phrasePattern(pattern(" a $ b ")), pattern("A $ B"));
    EXPECT_EQ(wdb::phrasePattern(pattern("$ ")), pattern("$")) << "the value ends with the blank";
    EXPECT_EQ(wdb::phrasePattern(pattern("a  !b")), pattern("A !B"));
}

TEST(Pattern, Shape) {
    EXPECT_TRUE(pattern("ab").isLiteral());
    EXPECT_FALSE(pattern("a$").isLiteral());
    EXPECT_TRUE(pattern("a$").isPrefixOnly());
    EXPECT_FALSE(pattern("a!").isPrefixOnly());
    EXPECT_TRUE(pattern("$$").matchesAll());
    EXPECT_FALSE(pattern("$!").matchesAll());
    EXPECT_EQ(pattern("ab!c").prefix(), "ab");
    EXPECT_EQ(pattern("!c").prefix(), "");
}

}  // namespace
