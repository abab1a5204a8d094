#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace wdb::ccl {

enum class TokenKind : uint8_t {
    End,
    Name,        // text: as it stands
    Quoted,      // text: between the quotes, doubled ones still doubled
    Integer,     // text: digits
    Symbol,      // text: one of ( ) , . = < > <= >= <> + - * /
    Bad          // a byte that begins no token, or an open quote
};

struct Token {
    TokenKind kind = TokenKind::End;
    std::string_view text;
    size_t position = 0;

    bool is(std::string_view symbol) const { return kind == TokenKind::Symbol && text == symbol; }
};

// One part of a value: quoted, or bare bytes up to a blank, a parenthesis or a quote.
struct ValuePart {
    enum class Kind : uint8_t { None, Bare, Quoted, Open };
    Kind kind = Kind::None;  // None: a parenthesis or the end stands there; Open: a quote that is not closed
    std::string_view text;
    size_t position = 0;
};

// Cuts a command line into tokens, or, behind a comparison, into the parts of a value: the caller says which. Looks at
// nothing before it is asked, so that the two ways of reading never mix. Observes the text.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text_(text) {}

    // The next token, which stays the next one.
    Token peek() const;
    Token next();
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
    size_t skipBlanks(size_t position) const;
    Token scan(size_t& position) const;
    ValuePart scanPart(size_t& position) const;
    // Behind the closing quote of the quote at position, or npos.
    size_t behindQuote(size_t position) const;

    std::string_view text_;
    size_t position_ = 0;
};

constexpr bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isNameStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || static_cast<unsigned char>(c) >= 128;
}
constexpr bool isNameByte(char c) { return isNameStart(c) || isDigit(c); }

// The text of a quoted token: doubled quotes become single ones.
std::string unquote(std::string_view text);
// Digits as a number, the largest one when they stand for more.
int64_t integerOf(std::string_view digits);
int32_t smallIntegerOf(std::string_view digits);

}  // namespace wdb::ccl
