#include "kernel/ccl/Spelling.h"

#include <algorithm>

#include "kernel/ccl/CommandWords.h"
#include "kernel/ccl/Scanner.h"
#include "kernel/common/Ascii.h"

namespace wdb::ccl {

namespace {

// Words that mean something in some places where a name may stand.
constexpr std::string_view kReserved[] = {"S",     "NULL", "DISTINCT", "ALL",  "UNION", "FIELD",
                                          "INNER", "LEFT", "RIGHT",    "SORT", "GROUP", "COUNT",
                                          "AVG",   "MIN",  "MAX",      "SUM"};

bool isReserved(std::string_view text) {
    return CommandWords().isAny(text) ||
           std::any_of(std::begin(kReserved), std::end(kReserved),
                       [&](std::string_view word) { return equalsIgnoreCase(word, text); });
}

// Digits, a point and a name: the values of a set's column when they stand bare.
bool looksLikeSetValue(std::string_view text) {
    const size_t point = text.find_first_not_of("0123456789");
    return point != 0 && point != std::string_view::npos && text[point] == '.' && point + 1 < text.size() &&
           isNameStart(text[point + 1]);
}

bool isPlainByte(char c) {
    return isNameByte(c) || std::string_view("$!-+'.:\\").find(c) != std::string_view::npos;
}

std::string escape(const Value& value) {
    std::string result;
    for (const ValuePiece& piece : value.pieces) {
        if (piece.kind == ValuePiece::Kind::AnyRun) result += '$';
        if (piece.kind == ValuePiece::Kind::AnyCharacter) result += '!';
        for (const char c : piece.text) {
            const bool afterBackslash = !result.empty() && result.back() == '\\';
            if (c == '$' || c == '!' || (c == '_' && afterBackslash)) result += '\\';
            result += c;
        }
    }
    return result;
}

}  // namespace

std::string spellQuoted(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"') result += '"';
        result += c;
    }
    return result + '"';
}

std::string spellName(std::string_view name) {
    const bool bare =
        !name.empty() && isNameStart(name[0]) && std::all_of(name.begin(), name.end(), isNameByte);
    return bare && !isReserved(name) ? std::string(name) : spellQuoted(name);
}

std::string spellValue(const Value& value) {
    const std::string text = escape(value);
    const bool bare = !text.empty() && text != "$" && std::all_of(text.begin(), text.end(), isPlainByte) &&
                      !looksLikeSetValue(text) && !CommandWords().isAny(text);
    return bare ? text : spellQuoted(text);
}

}  // namespace wdb::ccl
