#include "src/support/CStringBuffer.h"

#include <gtest/gtest.h>

#include <string>

#include "src/support/platform.h"

namespace wsql {
namespace {

TEST(CStringBuffer, GrowsInWholeBlocks) {
    CStringBuffer buffer(256);
    EXPECT_EQ(buffer.capacity(), 0);
    buffer.set(std::string(255, 'x'));
    EXPECT_EQ(buffer.capacity(), 256);
    buffer.append('y');
    EXPECT_EQ(buffer.capacity(), 512);
    EXPECT_EQ(buffer.length(), 256);
    buffer.set(std::string(512, 'z'));
    EXPECT_EQ(buffer.capacity(), 768);
    buffer.set("short");
    EXPECT_EQ(buffer.capacity(), 768) << "storage that is large enough is kept";

    EXPECT_EQ(CStringBuffer().capacity(), 4092);
    EXPECT_EQ(CStringBuffer(0).block(), 1);
    CStringBuffer exact(4);
    exact.set("abc");
    exact.append("d");
    EXPECT_EQ(exact.capacity(), 8);
    EXPECT_EQ(exact.text()[4], '\0');
}

TEST(CStringBuffer, SurvivesItsOwnTextAsArgument) {
    CStringBuffer buffer(4);
    buffer.set("abcdef");
    buffer.append(buffer);
    EXPECT_EQ(buffer.view(), "abcdefabcdef");
    buffer.insert(buffer, 3);
    EXPECT_EQ(buffer.view(), "abcabcdefabcdefdefabcdef");
    buffer.set(buffer.text() + 3, 6);
    EXPECT_EQ(buffer.view(), "abcdef");
    buffer.append(buffer.text() + 4);
    EXPECT_EQ(buffer.view(), "abcdefef");
    buffer.substring(buffer, 2, -1);
    EXPECT_EQ(buffer.view(), "cdefef");
}

TEST(CStringBuffer, InsertsBeforeAPosition) {
    const struct {
        const char* text;
        std::int32_t position;
        const char* result;
    } rows[] = {
        {"doc", 0, "<>doc"},  {"doc", 2, "do<>c"},  {"doc", 3, "doc<>"},
        {"doc", 99, "doc<>"}, {"doc", -1, "doc<>"}, {"", 0, "<>"},
    };
    for (const auto& row : rows) {
        CStringBuffer buffer(2);
        buffer.set(row.text);
        buffer.insert(CStringBuffer("<>"), row.position);
        EXPECT_EQ(buffer.view(), row.result) << row.text << " at " << row.position;
    }
}

TEST(CStringBuffer, ReplacesFromTheRight) {
    const struct {
        const char *text, *from, *to, *result, *reason;
    } rows[] = {
        {"100%", "%", "%%", "100%%", "what is inserted is not scanned again"},
        {"%%", "%", "%%", "%%%%", "every occurrence"},
        {"aaa", "aa", "b", "ab", "matches are found from the right and never overlap"},
        {"aaaa", "aa", "", "", "a shorter text"},
        {"abc", "", "x", "abc", "an empty text matches nothing"},
        {"abc", "abcd", "x", "abc", "longer than the text"},
    };
    for (const auto& row : rows) {
        CStringBuffer buffer(row.text);
        buffer.replace(row.from, row.to);
        EXPECT_EQ(buffer.view(), row.result) << row.reason;
    }
}

TEST(CStringBuffer, ConvertsNationalLetters) {
    CStringBuffer buffer("a\xF6\xE4\xE5\xFC\xFFz1");
    buffer.toUpper();
    EXPECT_EQ(buffer.view(), "A\xD6\xC4\xC5\xDC\xFFZ1");
    buffer.toLower();
    EXPECT_EQ(buffer.view(), "a\xF6\xE4\xE5\xFC\xFFz1");
    buffer.set("\xE4\xB8\xAD");
    buffer.toUpper(CaseTable::forCodePage(65001));
    EXPECT_EQ(buffer.view(), "\xE4\xB8\xAD") << "a multi-byte character is not torn";
    buffer.set("\xB1\xF1");
    buffer.toUpper(CaseTable::forCodePage(28592));
    EXPECT_EQ(buffer.view(), "\xA1\xD1");
    buffer.set("\xB1\xF1\xB9");
    buffer.toUpper(CaseTable::forCodePage(28593));
    EXPECT_EQ(buffer.view(), "\xA1\xD1I");
}

TEST(CStringBuffer, FindsWithAndWithoutCase) {
    const CStringBuffer buffer("Alpha beta Alpha");
    EXPECT_EQ(buffer.find('b'), 6);
    EXPECT_EQ(buffer.find('B'), -1);
    EXPECT_EQ(buffer.find('B', true), 6);
    EXPECT_EQ(buffer.find("alpha", 0, true), 0);
    EXPECT_EQ(buffer.find("Alpha", 1, false), 11);
    EXPECT_EQ(buffer.find("Alpha", -1, false), -1);
    EXPECT_EQ(buffer.find('a', 16, false), -1);
    EXPECT_EQ(CStringBuffer("").find("", 0, false), -1);
    EXPECT_TRUE(buffer.endsWith("ALPHA", -1, true));
    EXPECT_FALSE(buffer.endsWith("ALPHA"));
    EXPECT_FALSE(CStringBuffer("a").endsWith("ba"));
}

TEST(CStringBuffer, LendsAndTakesBackAnEditBuffer) {
    CStringBuffer buffer(8);
    buffer.set("hello");
    char* edit = buffer.editBuffer(4);
    EXPECT_STREQ(edit, "hel");
    edit[0] = 'H';
    buffer.releaseEditBuffer(false);
    EXPECT_EQ(buffer.view(), "hello");
    edit = buffer.editBuffer(0);
    EXPECT_STREQ(edit, "hello") << "a size below 1 is one block";
    edit[7] = '!';  // no NUL inside the array
    edit[5] = edit[6] = '.';
    buffer.releaseEditBuffer(true);
    EXPECT_EQ(buffer.view(), "hello..!");
    buffer.editBuffer(16);
    buffer.releaseEditBuffer(true, 3);
    EXPECT_EQ(buffer.view(), "hel");
    buffer.releaseEditBuffer(true);
    EXPECT_EQ(buffer.view(), "hel") << "nothing lent, nothing taken";
}

TEST(CStringBuffer, PassesStorageOnAndTakesItOver) {
    CStringBuffer buffer(16);
    buffer.set("answer");
    char* storage = buffer.detach();
    EXPECT_STREQ(storage, "answer");
    EXPECT_EQ(buffer.capacity(), 0);
    EXPECT_STREQ(buffer.text(), "");
    EXPECT_EQ(buffer.detach(), nullptr);
    buffer.append("again");
    EXPECT_EQ(buffer.view(), "again");
    buffer.attach(storage, 0, 0);
    EXPECT_EQ(buffer.view(), "answer");
    buffer.append("s");
    EXPECT_EQ(buffer.view(), "answers");
    buffer.attach(nullptr, 5, 5);
    EXPECT_EQ(buffer.length(), 0);
}

TEST(CStringBuffer, CutsFormattedTextAtItsScratchSize) {
    CStringBuffer buffer(64);
    buffer.format("%s|%d", "100%d", 7);
    EXPECT_EQ(buffer.view(), "100%d|7");
    const std::string longText(20000, 'x');
    buffer.format("%s", longText.c_str());
    EXPECT_EQ(buffer.length(), 16383);
    buffer.format("a");
    buffer.appendFormat("%s", longText.c_str());
    EXPECT_EQ(buffer.length(), 16384);
    buffer.format("%.02f", 1.5);
    EXPECT_EQ(buffer.view(), "1.50");
}

TEST(CStringBuffer, CompletesLineEnds) {
    CStringBuffer buffer("a\rb\r\nc\r");
    buffer.normaliseLineEnds();
    EXPECT_EQ(buffer.view(), "a\r\nb\r\nc\r\n");
}

TEST(CStringBuffer, CopiesIntoArrays) {
    const CStringBuffer buffer("abcdef");
    char target[4] = "zzz";
    EXPECT_EQ(buffer.copyTo(target, 4), 3);
    EXPECT_STREQ(target, "abc");
    EXPECT_EQ(buffer.copyTo(target, 0), 0);
    EXPECT_STREQ(target, "abc");
    CStringBuffer part(8);
    part.set("old");
    part.substring(buffer, 6, 1);
    EXPECT_EQ(part.view(), "old") << "a start at the end does nothing";
    part.substring(buffer, 4, 9, true);
    EXPECT_EQ(part.view(), "oldef");
    EXPECT_EQ(buffer.compare("abcdef"), 0);
    EXPECT_LT(buffer.compare("b"), 0);
}

TEST(CStringBuffer, KeepsLongTextsCheap) {
    CStringBuffer buffer;
    for (int i = 0; i < 200000; ++i) buffer.append("0123456789012345678901234567890123456789");
    EXPECT_EQ(buffer.length(), 8000000);
    EXPECT_EQ(buffer.capacity(), 4092 * ((8000000 + 1) / 4092 + 1));
}

}  // namespace
}  // namespace wsql
