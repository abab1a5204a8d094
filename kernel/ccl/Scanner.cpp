#include "kernel/ccl/Scanner.h"

#include <limits>

namespace wdb::ccl {

size_t Scanner::skipBlanks(size_t position) const {
    while (position < text_.size() && isBlank(text_[position])) ++position;
    return position;
}

void Scanner::lookAhead() const {
    behindPeeked_ = position_;
    peeked_ = scan(behindPeeked_);
    peekedAt_ = position_;
}

ValuePart Scanner::peekPart() const {
    size_t position = position_;
    return scanPart(position);
}

ValuePart Scanner::nextPart() {
    return scanPart(position_);
}

size_t Scanner::behindQuote(size_t position) const {
    for (size_t i = position + 1; i < text_.size(); ++i) {
        if (text_[i] != '"') continue;
        if (at(i + 1) != '"') return i + 1;
        ++i;
    }
    return std::string_view::npos;
}

Token Scanner::scan(size_t& position) const {
    const size_t start = skipBlanks(position);
    position = start;
    if (start >= text_.size()) return {TokenKind::End, {}, start};
    const char c = text_[start];
    TokenKind kind = TokenKind::Bad;
    size_t end = start + 1;
    if (isNameStart(c)) {
        kind = TokenKind::Name;
        while (end < text_.size() && isNameByte(text_[end])) ++end;
    } else if (isDigit(c)) {
        kind = TokenKind::Integer;
        while (end < text_.size() && isDigit(text_[end])) ++end;
    } else if (c == '"') {
        end = behindQuote(start);
        if (end == std::string_view::npos) return {TokenKind::Bad, {}, start};
        position = end;
        return {TokenKind::Quoted, text_.substr(start + 1, end - start - 2), start};
    } else if (byte_class::is(c, byte_class::kSymbol)) {
        kind = TokenKind::Symbol;
        if ((c == '<' && (at(end) == '=' || at(end) == '>')) || (c == '>' && at(end) == '=')) ++end;
    }
    position = end;
    return {kind, text_.substr(start, end - start), start};
}

ValuePart Scanner::scanPart(size_t& position) const {
    const size_t start = skipBlanks(position);
    position = start;
    if (start >= text_.size() || text_[start] == '(' || text_[start] == ')')
        return {ValuePart::Kind::None, {}, start};
    if (text_[start] == '"') {
        const size_t end = behindQuote(start);
        if (end == std::string_view::npos) return {ValuePart::Kind::Open, {}, start};
        position = end;
        return {ValuePart::Kind::Quoted, text_.substr(start + 1, end - start - 2), start};
    }
    size_t end = start;
    while (end < text_.size() && !byte_class::is(text_[end], byte_class::kEndsPart)) ++end;
    position = end;
    return {ValuePart::Kind::Bare, text_.substr(start, end - start), start};
}

std::string unquote(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        result += text[i];
        if (text[i] == '"') ++i;
    }
    return result;
}

int64_t integerOf(std::string_view digits) {
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    int64_t value = 0;
    for (const char c : digits) {
        const int64_t digit = c - '0';
        if (value > (kMax - digit) / 10) return kMax;
        value = value * 10 + digit;
    }
    return value;
}

int32_t smallIntegerOf(std::string_view digits) {
    const int64_t value = integerOf(digits);
    return value > std::numeric_limits<int32_t>::max() ? std::numeric_limits<int32_t>::max()
                                                       : static_cast<int32_t>(value);
}

}  // namespace wdb::ccl
