#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace wdb::ccl {

enum class TokenKind : uint8_t {
    End,
    Name,     // text: as it stands
    Quoted,   // text: between the quotes, doubled ones still doubled
    Integer,  // text: digits
    Symbol,   // text: one of ( ) , . = < > <= >= <> + - * /
    Bad       // a byte that begins no token, or an open quote
};

struct Token {
    TokenKind kind = TokenKind::End;
    std::string_view text;
    size_t position = 0;

    bool is(char symbol) const {
        return kind == TokenKind::Symbol && text.size() == 1 && text.front() == symbol;
    }
};

// One part of a value: quoted, or bare bytes up to a blank, a parenthesis or a quote.
struct ValuePart {
    enum class Kind : uint8_t { None, Bare, Quoted, Open };
    Kind kind = Kind::None;  // None: a parenthesis or the end stands there; Open: a quote that is not closed
    std::string_view text;
    size_t position = 0;
};

// Cuts a command line into tokens, or, behind a comparison, into the parts of a value: the caller says which.
// Looks at nothing before it is asked, so that the two ways of reading never mix. Observes the text.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text_(text) {}

    // The next token, which stays the next one: asked for many times, it is scanned once.
    const Token& peek() const {
        if (peekedAt_ != position_) lookAhead();
        return peeked_;
    }
    // Stays until the next look.
    const Token& next() {
        peek();
        position_ = behindPeeked_;
        return peeked_;
    }
    // The next part of a value, blanks before it skipped.
    ValuePart peekPart() const;
    ValuePart nextPart();

    size_t position() const { return position_; }
    // Goes back (or on) to a place that position() gave, or behind a token.
    void moveTo(size_t position) { position_ = position; }
    // The byte at the place, NUL behind the end.
    char at(size_t position) const { return position < text_.size() ? text_[position] : '\0'; }
    bool atEnd(size_t position) const { return position >= text_.size(); }

private:
    void lookAhead() const;
    size_t skipBlanks(size_t position) const;
    Token scan(size_t& position) const;
    ValuePart scanPart(size_t& position) const;
    // Behind the closing quote of the quote at position, or npos.
    size_t behindQuote(size_t position) const;

    std::string_view text_;
    size_t position_ = 0;
    mutable Token peeked_;  // the token at peekedAt_, where behindPeeked_ follows
    mutable size_t peekedAt_ = std::string_view::npos;
    mutable size_t behindPeeked_ = 0;
};

namespace byte_class {
inline constexpr uint8_t kBlank = 1, kDigit = 2, kNameStart = 4, kSymbol = 8, kEndsPart = 16,
                         kActive = 32;  // in the text of a value

constexpr std::array<uint8_t, 256> table() {
    std::array<uint8_t, 256> classes{};
    for (size_t i = 128; i < 256; ++i) classes[i] = kNameStart;
    for (size_t i = 0; i < 26; ++i) classes['A' + i] = classes['a' + i] = kNameStart;
    classes['_'] = kNameStart;
    for (size_t i = '0'; i <= '9'; ++i) classes[i] = kDigit;
    for (const char c : std::string_view(" \t\n\r"))
        classes[static_cast<unsigned char>(c)] = kBlank | kEndsPart;
    for (const char c : std::string_view("(),.=<>+-*/")) classes[static_cast<unsigned char>(c)] = kSymbol;
    for (const char c : std::string_view("()\"")) classes[static_cast<unsigned char>(c)] |= kEndsPart;
    for (const char c : std::string_view("$!\\\"")) classes[static_cast<unsigned char>(c)] |= kActive;
    return classes;
}
inline constexpr std::array<uint8_t, 256> kTable = table();
constexpr bool is(char c, uint8_t classes) {
    return (kTable[static_cast<unsigned char>(c)] & classes) != 0;
}
}  // namespace byte_class

constexpr bool isBlank(char c) {
    return byte_class::is(c, byte_class::kBlank);
}
constexpr bool isDigit(char c) {
    return byte_class::is(c, byte_class::kDigit);
}
// Letters: ASCII ones, the underscore, and all bytes from 128 up.
constexpr bool isNameStart(char c) {
    return byte_class::is(c, byte_class::kNameStart);
}
constexpr bool isNameByte(char c) {
    return byte_class::is(c, byte_class::kNameStart | byte_class::kDigit);
}

// The text of a quoted token: doubled quotes become single ones.
std::string unquote(std::string_view text);
// Digits as a number, the largest one when they stand for more.
int64_t integerOf(std::string_view digits);
int32_t smallIntegerOf(std::string_view digits);

}  // namespace wdb::ccl
