#include "src/support/base64.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace wsql {
namespace {

std::string encoded(std::string_view data) {
    platform::HeapText text;
    const std::int32_t length = base64Encode(data, text);
    EXPECT_EQ(text.get()[length], '\0');
    return {text.get(), static_cast<std::size_t>(length)};
}

std::string decoded(std::string_view text) {
    platform::HeapText bytes;
    const std::int32_t length = base64Decode(text, bytes);
    return {bytes.get(), static_cast<std::size_t>(length)};
}

TEST(Base64, EncodesWithPadding) {
    EXPECT_EQ(encoded("Man"), "TWFu");
    EXPECT_EQ(encoded("M"), "TQ==");
    EXPECT_EQ(encoded("Ma"), "TWE=");
    EXPECT_EQ(encoded(""), "");
    EXPECT_EQ(encoded("\xFB\xEF\xFF"), "++//");
}

TEST(Base64, DecodesWhatPeopleWrite) {
    const struct {
        std::string_view text, bytes;
        const char* reason;
    } rows[] = {
        {"TWFu", "Man", "one group"},
        {"TW Fu", "Man", "blanks are skipped"},
        {"TW\r\nFu", "Man", "line breaks are skipped"},
        {"TQ==", "M", "two values give one byte"},
        {"TWE=", "Ma", "three values give two"},
        {"TWE", "Ma", "padding may be missing"},
        {"TWFuT", "Man", "a single value gives nothing"},
        {"TQ==TWFu", "M", "the first = ends the text"},
        {std::string_view("TQ\0TWFu", 7), "M", "a NUL ends the text"},
        {"*-_", "", "nothing of the alphabet"},
    };
    for (const auto& row : rows) EXPECT_EQ(decoded(row.text), row.bytes) << row.reason;
}

TEST(Base64, GivesBackAnyBytes) {
    std::mt19937 random(1);
    for (std::size_t size : {1U, 2U, 3U, 255U, 3071U, 3072U, 3073U, 10000U}) {
        std::string data(size, '\0');
        for (char& c : data) c = static_cast<char>(random());
        EXPECT_EQ(decoded(encoded(data)), data);
        CStringBuffer buffer(16);
        buffer.set("<");
        base64Append(data, buffer);
        EXPECT_EQ(buffer.view(), "<" + encoded(data));
    }
}

}  // namespace
}  // namespace wsql
