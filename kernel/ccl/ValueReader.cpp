#include "kernel/ccl/ValueReader.h"

#include <algorithm>
#include <limits>

namespace wdb::ccl {

namespace {

void appendLiteral(Value& value, std::string_view text) {
    if (value.pieces.empty() || value.pieces.back().kind != ValuePiece::Kind::Literal)
        value.pieces.emplace_back();
    value.pieces.back().text += text;
}

void appendLiteral(Value& value, char c) {
    appendLiteral(value, std::string_view(&c, 1));
}

void appendWildcard(Value& value, ValuePiece::Kind kind) {
    const bool repeated =
        kind == ValuePiece::Kind::AnyRun && !value.pieces.empty() && value.pieces.back().kind == kind;
    if (!repeated) value.pieces.push_back({kind, {}});
}

}  // namespace

void appendPart(Value& value, std::string_view text, bool quoted) {
    for (size_t i = 0; i < text.size(); ++i) {
        size_t run = i;
        while (run < text.size() && !byte_class::is(text[run], byte_class::kActive)) ++run;
        if (run > i) {
            appendLiteral(value, text.substr(i, run - i));
            if (run == text.size()) return;
            i = run;
        }
        const char c = text[i];
        const char following = i + 1 < text.size() ? text[i + 1] : '\0';
        if (c == '$') {
            appendWildcard(value, ValuePiece::Kind::AnyRun);
        } else if (c == '!') {
            appendWildcard(value, ValuePiece::Kind::AnyCharacter);
        } else if (c == '\\' && (following == '$' || following == '!' || following == '_')) {
            appendLiteral(value, following);
            ++i;
        } else {
            appendLiteral(value, c);
            if (quoted && c == '"') ++i;
        }
    }
}

// Does a value that is alone end at the place?
bool ValueReader::endsAt(size_t position) const {
    const Scanner& scanner = state_.scanner;
    return scanner.atEnd(position) || isBlank(scanner.at(position)) || scanner.at(position) == ')';
}

bool ValueReader::acceptPartWord(Word word) {
    const ValuePart part = state_.scanner.peekPart();
    if (part.kind != ValuePart::Kind::Bare || !state_.words.is(word, part.text)) return false;
    state_.scanner.nextPart();
    return true;
}

// Nothing, "" or $ alone; true when one of them stood there.
bool ValueReader::readEmptyOrAny(Criterion& criterion) {
    const ValuePart part = state_.scanner.peekPart();
    if (part.kind == ValuePart::Kind::None) {
        if (state_.scanner.at(part.position) == '(') return false;
        criterion.form = Criterion::Form::Empty;
        return true;
    }
    if (!part.text.empty() && !(part.kind == ValuePart::Kind::Bare && part.text == "$")) return false;
    Scanner ahead = state_.scanner;
    ahead.nextPart();
    if (part.kind == ValuePart::Kind::Open || !endsAt(ahead.position())) return false;
    criterion.form = part.text.empty() ? Criterion::Form::Empty : Criterion::Form::Any;
    state_.scanner = ahead;
    return true;
}

// Does a value of several parts end in front of the part?
bool ValueReader::endsBefore(const ValuePart& part) const {
    if (part.kind == ValuePart::Kind::None) return true;
    if (part.kind != ValuePart::Kind::Bare) return false;
    for (const Word word : {Word::And, Word::Orx, Word::Not, Word::Ftl}) {
        if (state_.words.is(word, part.text)) return true;
    }
    return false;
}

// Is what comes no number but nothing, "" or $ alone, quoted or not?
bool ValueReader::atEmptyOrWildcard() const {
    Scanner ahead = state_.scanner;
    const ValuePart part = ahead.nextPart();
    if (part.kind == ValuePart::Kind::None) return state_.scanner.at(part.position) != '(';
    if (part.kind == ValuePart::Kind::Open || !(part.text.empty() || part.text == "$")) return false;
    return endsBefore(ahead.peekPart());
}

// A name, or two with a point between, in one piece: other columns (T.0, T.A.2) and blanks make a value.
bool ValueReader::readSetColumn(SetValue& value) {
    if (state_.atAggregate()) return state_.readAggregate(value.column.emplace<Aggregate>());
    Scanner piece = state_.scanner;
    piece.next();
    const size_t point = piece.position();
    Column& column = value.column.emplace<Column>();
    if (!state_.readColumn(column) || column.first != 0) return false;
    if (state_.scanner.position() == point) return true;
    piece.next();
    const Token second = piece.next();
    return second.position == point + 1 && second.kind != TokenKind::Integer;
}

// Digits, a point and a name or an aggregate, all in one piece; anything else is left for the next attempt.
bool ValueReader::trySetValue(Criterion& criterion) {
    if (state_.scanner.peek().kind != TokenKind::Integer) return false;
    const ReaderState before = state_;
    const Token number = state_.scanner.next();
    const size_t point = state_.scanner.position();
    SetValue value;
    if (number.kind == TokenKind::Integer && state_.scanner.at(point) == '.') {
        value.set = smallIntegerOf(number.text);
        state_.scanner.moveTo(point + 1);
        const bool name = isNameStart(state_.scanner.at(point + 1)) || state_.scanner.at(point + 1) == '"';
        if (name && readSetColumn(value) && endsAt(state_.scanner.position())) {
            criterion.form = Criterion::Form::Set;
            criterion.setValue.push_back(std::move(value));
            return true;
        }
    }
    state_.scanner = before.scanner;
    state_.errorPosition = before.errorPosition;
    return false;
}

bool ValueReader::readText(Value& value) {
    value.position = static_cast<uint32_t>(state_.scanner.peekPart().position);
    for (bool first = true;; first = false) {
        const ValuePart part = state_.scanner.peekPart();
        if (part.kind == ValuePart::Kind::Open) return state_.fail(part.position);
        if (!first && endsBefore(part)) return true;
        if (part.kind == ValuePart::Kind::None) return state_.fail(part.position);
        if (!first) appendLiteral(value, ' ');
        appendPart(value, part.text, part.kind == ValuePart::Kind::Quoted);
        state_.scanner.nextPart();
    }
}

// A range may begin or end with the empty value or with a wildcard: constants that the text of a range was
// made of.
bool ValueReader::readFieldValue(Criterion& criterion) {
    criterion.low.position = static_cast<uint32_t>(state_.scanner.peekPart().position);
    const bool alone = readEmptyOrAny(criterion);
    if (!alone) {
        if (trySetValue(criterion)) return true;
        criterion.form = Criterion::Form::Text;
        if (!readText(criterion.low)) return false;
    }
    if (!acceptPartWord(Word::Ftl)) return true;
    if (criterion.form == Criterion::Form::Any) appendWildcard(criterion.low, ValuePiece::Kind::AnyRun);
    criterion.form = Criterion::Form::TextRange;
    const ValuePart high = state_.scanner.peekPart();
    const bool absent = high.kind == ValuePart::Kind::None && state_.scanner.at(high.position) != '(';
    return absent || readText(criterion.high);
}

bool ValueReader::readNumber(int64_t& number) {
    const ValuePart part = state_.scanner.nextPart();
    std::string_view digits = part.text;
    if (part.kind != ValuePart::Kind::Bare) return state_.fail(part.position);
    const bool negative = digits[0] == '-';
    if (negative || digits[0] == '+') digits.remove_prefix(1);
    if (digits.empty()) return state_.fail(part.position);
    for (const char c : digits) {
        if (!isDigit(c)) return state_.fail(part.position);
    }
    // The largest numbers of all mean that a range is open.
    const int64_t size = std::min(integerOf(digits), std::numeric_limits<int64_t>::max() - 1);
    number = negative ? -size : size;
    return true;
}

// A range that begins or ends with the empty value or with a wildcard is no range of numbers: it is kept as a
// field's.
bool ValueReader::readRecordValue(Criterion& criterion) {
    const Scanner start = state_.scanner;
    const auto asTexts = [&] {
        state_.scanner = start;
        return readFieldValue(criterion);
    };
    if (atEmptyOrWildcard()) return asTexts();
    if (trySetValue(criterion)) return true;
    criterion.form = Criterion::Form::NumberRange;
    if (acceptPartWord(Word::Frl)) {
        criterion.numberHigh = std::numeric_limits<int64_t>::max();
        return readNumber(criterion.number);
    }
    if (acceptPartWord(Word::Ftl)) {
        criterion.number = std::numeric_limits<int64_t>::min();
        return readNumber(criterion.numberHigh);
    }
    if (!readNumber(criterion.number)) return false;
    if (acceptPartWord(Word::Ftl)) {
        return atEmptyOrWildcard() ? asTexts() : readNumber(criterion.numberHigh);
    }
    criterion.form = Criterion::Form::Number;
    return true;
}

}  // namespace wdb::ccl
