#include "src/support/Encoding.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/frame/FakeKernel.h"

namespace wsql {
namespace {

class Encoding : public testing::Test {
protected:
    void SetUp() override { fakeKernel() = FakeKernel(); }
};

std::string xml(const CharacterSet& set, std::string_view text) {
    CStringBuffer buffer(16);
    appendXmlText(set, buffer, text);
    return std::string(buffer.view());
}

TEST_F(Encoding, ReadsTheSettingDifferentlyForStartAndConversion) {
    const struct {
        std::int32_t session;
        const char* setting;
        const char* locale;
        std::int32_t codePage;
        const char* converter;
    } rows[] = {
        {1, nullptr, ".28591", 28591, "Cp1252"},  {2, nullptr, ".28592", 28592, "LATIN-2"},
        {3, nullptr, ".28593", 28593, "LATIN-3"}, {16, "LA2", "", 65001, nullptr},
        {17, nullptr, ".936", 936, "GB-2312"},    {18, nullptr, ".936", 936, "GBK"},
        {20, nullptr, ".932", 932, "Cp1252"},     {99, nullptr, "", 0, "Cp1252"},
        {0, nullptr, ".28591", 28591, "Cp1252"},  {0, "MUL", ".28591", 28591, "Cp1252"},
        {0, "LA2", ".28592", 28592, "LATIN-2"},   {0, "LA2X", ".28592", 28592, "Cp1252"},
        {0, "SJIS", ".932", 932, "Cp1252"},       {0, "UTF", ".28591", 28591, nullptr},
        {0, "CHI", ".936", 936, "GB-2312"},       {0, "nonsense", ".28591", 28591, "Cp1252"},
    };
    for (const auto& row : rows) {
        const std::string name = std::to_string(row.session) + (row.setting != nullptr ? row.setting : "");
        fakeKernel().charset = row.session;
        fakeKernel().settings.clear();
        if (row.setting != nullptr) fakeKernel().settings["WDBS_CHARS"] = row.setting;
        const CharacterSet start = selectCharacterSet();
        EXPECT_STREQ(start.locale, row.locale) << name;
        EXPECT_EQ(start.codePage, row.codePage) << name;
        EXPECT_STREQ(conversionCharacterSet().converter, row.converter) << name;
    }
}

TEST_F(Encoding, EscapesThreeCharactersOnly) {
    const CharacterSet utf8 = conversionCharacterSet();
    EXPECT_EQ(xml(utf8, "a<b&c>d\"'"), "a&lt;b&amp;c&gt;d\"'");
    EXPECT_EQ(xml(utf8, "\x01\xC3\xA4\xFF"), "\x01\xC3\xA4\xFF")
        << "bytes of a UTF-8 session stand as they are";
    CStringBuffer buffer(16);
    appendXmlAttribute(utf8, buffer, "a\"b<");
    EXPECT_EQ(buffer.view(), "a&quot;b&lt;");
    for (std::size_t at = 0; at < 40; ++at) {  // every place in and behind a block of sixteen
        std::string text(40, 'x');
        text[at] = '&';
        EXPECT_EQ(xml(utf8, text), text.substr(0, at) + "&amp;" + text.substr(at + 1));
        text[at] = '=';  // lies between < and >
        EXPECT_EQ(xml(utf8, text), text);
    }
}

TEST_F(Encoding, ConvertsSessionTexts) {
    const struct {
        std::int32_t set;
        const char *text, *utf8;
    } rows[] = {
        {1, "\xE4\x80<", "\xC3\xA4\xE2\x82\xAC&lt;"},
        {2, "\xB1", "\xC4\x85"},
        {3, "\xA1", "\xC4\xA6"},
        {17, "\xD6\xD0", "\xE4\xB8\xAD"},
        {18, "\xD6\xD0", "\xE4\xB8\xAD"},
    };
    for (const auto& row : rows) {
        fakeKernel().charset = row.set;
        EXPECT_EQ(xml(conversionCharacterSet(), row.text), row.utf8) << row.set;
    }
}

// The short way past the converter holds only as long as every converter agrees with it.
TEST_F(Encoding, AsciiIsTheSameInEverySet) {
    std::string ascii;
    for (char c = 1; c < 127; ++c) ascii.push_back(c);
    ascii.push_back(127);
    for (const std::int32_t id : {1, 2, 3, 17, 18, 20}) {
        fakeKernel().charset = id;
        CStringBuffer buffer(16);
        ASSERT_TRUE(convertToUtf8(conversionCharacterSet(), buffer, ascii, false));
        EXPECT_EQ(buffer.view(), ascii) << id;
    }
}

TEST_F(Encoding, LeavesTheBufferAloneWhenNothingIsConverted) {
    CStringBuffer buffer("kept");
    EXPECT_FALSE(convertToUtf8(conversionCharacterSet(), buffer, "x", false));
    fakeKernel().charset = 18;
    EXPECT_TRUE(convertToUtf8(conversionCharacterSet(), buffer, "\xD6\xD0", true));
    EXPECT_EQ(buffer.view(), "kept\xE4\xB8\xAD");
    EXPECT_FALSE(convertToUtf8({1, "", 0, "no such converter"}, buffer, "x", false));
    EXPECT_EQ(xml({1, "", 0, "no such converter"}, "\xE4<"), "\xE4&lt;")
        << "unconverted bytes stand for themselves";
}

}  // namespace
}  // namespace wsql
