#include "kernel/record/TextLines.h"

#include <gtest/gtest.h>

namespace wdb {
namespace {

TEST(TextLines, DataAreCutIntoLines) {
    struct Row {
        const char* data;
        const char* lines;
        uint32_t paragraphs;
    };
    const Row rows[] = {{"", "", 0},
                        {"a", "a", 1},
                        {"a\n", "a", 1},
                        {"a\r\nb\r\n", "a\nb", 1},
                        {"a\n\nb", "a\n\nb", 2},
                        {"a\n\n", "a\n", 2},
                        {"a\n\n\nb", "a\n\n\nb", 3},
                        {"\na", "\na", 2},
                        {"a\rb", "a\rb", 1},
                        {"a\n\r\n\r\nb", "a\n\n\nb", 3}};
    for (const Row& row : rows) {
        EXPECT_EQ(linesFromData(row.data), row.lines);
        EXPECT_EQ(paragraphCount(row.lines), row.paragraphs) << row.lines;
    }
}

TEST(TextLines, ParagraphsAreReadAndReplaced) {
    struct Row {
        const char* text;
        uint32_t paragraph;
        const char* lines;     // of that paragraph now
        const char* replaced;  // the text after it became "X"
        const char* emptied;   // the text after it lost its lines
        const char* appended;  // the text after "Y" went behind it
    };
    const Row rows[] = {
        {"a", 1, "a", "X", "", "a\nY"},
        {"a\nb", 1, "a\nb", "X", "", "a\nb\nY"},
        {"a\n\nb", 1, "a", "X\n\nb", "\nb", "a\nY\n\nb"},
        {"a\n\nb", 2, "b", "a\n\nX", "a\n", "a\n\nb\nY"},
        {"a\n\nb\nc\n\nd", 2, "b\nc", "a\n\nX\n\nd", "a\n\n\nd", "a\n\nb\nc\nY\n\nd"},
        {"a\n\n\nb", 2, "", "a\n\nX\n\nb", "a\n\n\nb", "a\n\nY\n\nb"},
        {"a\n\n\nb", 3, "b", "a\n\n\nX", "a\n\n", "a\n\n\nb\nY"},
        {"\na", 1, "", "X\n\na", "\na", "Y\n\na"},
        {"a\n", 2, "", "a\n\nX", "a\n", "a\n\nY"},
        {"a", 3, "", "a\n\n\nX", "a", "a\n\n\nY"},
        {"", 1, "", "X", "", "Y"},
        {"", 2, "", "\nX", "", "\nY"},
    };
    for (const Row& row : rows) {
        const std::string name = std::string("[") + row.text + "] " + std::to_string(row.paragraph);
        const LineRange range = paragraphLines(row.text, row.paragraph);
        EXPECT_EQ(range.none, *row.lines == '\0') << name;
        EXPECT_EQ(std::string(row.text).substr(range.begin, range.end - range.begin), row.lines) << name;
        std::string text = row.text;
        replaceParagraph(text, row.paragraph, "X");
        EXPECT_EQ(text, row.replaced) << name;
        text = row.text;
        replaceParagraph(text, row.paragraph, "");
        EXPECT_EQ(text, row.emptied) << name;
        text = row.text;
        appendLines(text, row.paragraph, "Y");
        EXPECT_EQ(text, row.appended) << name;
    }
    EXPECT_FALSE(paragraphLines("a", 0).none) << "0 is the whole text";
}

}  // namespace
}  // namespace wdb
