#include "host/format/DisplayText.h"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(DisplayText, CountsTerminalColumns) {
    struct Row {
        const char* why;
        std::string text;
        int width;
    };
    const Row rows[] = {
        {"ASCII", "abc", 3},
        {"accented letters", "é ü", 3},
        {"a combining accent takes none", "e\u0301x", 2},
        {"East Asian wide", "日本", 4},
        {"full width forms", "Ａ", 2},
        {"half width katakana", "ｱ", 1},
        {"joiners take none", "a\u200Db", 2},
        {"broken bytes count one each", "\xFF\xFE", 2},
    };
    for (const Row& row : rows) EXPECT_EQ(displayWidth(row.text), row.width) << row.why;
}

TEST(DisplayText, KeepsControlCharactersFromTheTerminal) {
    EXPECT_EQ(printable("a\x1B[31m"), "a\u241B[31m");
    EXPECT_EQ(printable("a\tb\r\nc\rd"), "a    b\nc\nd");
    EXPECT_EQ(printable("\x7F\u009B\xC3"), "\u2421\uFFFD\uFFFD");
    EXPECT_EQ(printable(std::string("\0", 1)), "\u2400");
    EXPECT_EQ(printable("日本\n"), "日本\n");
}

TEST(DisplayText, Wraps) {
    using Lines = std::vector<std::string>;
    struct Row {
        const char* why;
        std::string text;
        int width;
        Lines lines;
    };
    const Row rows[] = {
        {"what fits stays", "ab cd", 5, {"ab cd"}},
        {"at a blank", "ab cd ef", 5, {"ab cd", "ef"}},
        {"a blank right behind what fits", "abcde f", 5, {"abcde", "f"}},
        {"within a long word", "abcdefgh", 3, {"abc", "def", "gh"}},
        {"wide characters do not straddle the edge", "日本語", 5, {"日本", "語"}},
        {"one character at least", "日", 1, {"日"}},
        {"a combining mark stays with its letter", "e\u0301e\u0301", 1, {"e\u0301", "e\u0301"}},
        {"its own line ends are kept", "a\n\nb", 9, {"a", "", "b"}},
        {"indentation is no place to break", "    abcdef", 6, {"    ab", "cdef"}},
        {"nothing", "", 4, {""}},
    };
    for (const Row& row : rows) EXPECT_EQ(wrap(row.text, row.width), row.lines) << row.why;
}

}  // namespace
}  // namespace host
