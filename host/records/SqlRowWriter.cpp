#include <algorithm>
#include <charconv>
#include <limits>

#include "host/format/JsonFormatter.h"
#include "host/records/RowWriter.h"
#include "host/text/Completion.h"

namespace host {

namespace {

// A literal of digits is read as 32 bits; the smallest number has no positive counterpart.
bool fitsIntegerLiteral(std::string_view text) {
    std::int32_t number = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    return end.ec == std::errc() && end.ptr == text.data() + text.size() &&
           number != std::numeric_limits<std::int32_t>::min();
}

// A literal with a point is read as a double and written with two places.
bool fitsNumericLiteral(std::string_view text) {
    constexpr std::size_t kPlaces = 2, kExactDigits = 15;
    const auto point = text.find('.');
    return point != std::string_view::npos && point > 0 && text.size() - point - 1 == kPlaces &&
           text.size() <= kExactDigits + 1 && isJsonNumber(text);
}

// What INSERT keeps of a value, in bytes; it cuts the rest off.
constexpr std::size_t kLongestText = 32000, kLongestItem = 256;

// What VALUES takes for the value; empty when nothing says the same.
std::string literal(const std::string& text, std::int32_t type) {
    if (text.size() > (type == WDB_T_TEXT ? kLongestText : kLongestItem)) return {};
    switch (type) {
        case WDB_T_INTEGER:
        case WDB_T_NUMBER:
            return numberLiteral(text, type);
        case WDB_T_DATE:
            return "DATE('" + text + "')";
        case WDB_T_TIME:
            return text;
        case WDB_T_PHRASE:
        case WDB_T_TEXT:
            return quotedLiteral(text);
        default:
            return {};
    }
}

// A name that may stand without quotes, which a name with a position must.
bool isPlain(std::string_view name) {
    const auto letter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    const auto inner = [&](char c) { return letter(c) || (c >= '0' && c <= '9') || c == '_'; };
    return !name.empty() && letter(name.front()) && std::all_of(name.begin(), name.end(), inner) &&
           !isKeyword(name);
}

}  // namespace

// Literals have no sign; an expression has one, and stands in a query of its own.
std::string numberLiteral(std::string_view text, std::int32_t type) {
    if (!(type == WDB_T_INTEGER ? fitsIntegerLiteral(text) : fitsNumericLiteral(text))) return {};
    return text.starts_with('-') ? "(SELECT " + std::string(text) + ")" : std::string(text);
}

std::string quotedName(std::string_view name) {
    return '"' + std::string(name) + '"';
}

std::string quotedLiteral(std::string_view text) {
    for (const char quote : {'\'', '"', '`'}) {
        if (text.find(quote) == std::string_view::npos && !text.ends_with('\\'))
            return quote + std::string(text) + quote;
    }
    return {};
}

SqlRowWriter::SqlRowWriter(std::string_view table, const std::vector<TableColumn>& columns)
    : columns_(columns), table_(quotedName(table)) {}

bool SqlRowWriter::row(const StoredRecord& record, std::string& out, std::string& reason) {
    if (!record.parts.empty()) {
        reason = "INSERT cannot write part records";
        return false;
    }
    std::string names, values;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const StoredValue& value = record.head[i];
        for (std::size_t item = 0; item < value.size(); ++item) {
            if (!value[item]) continue;
            const bool placed = value.size() > 1;
            const std::string text = literal(*value[item], columns_[i].type);
            if (text.empty() || (placed && !isPlain(columns_[i].name))) {
                reason = "INSERT cannot write the value of " + columns_[i].name;
                return false;
            }
            if (!names.empty()) names += ", ";
            names += placed ? columns_[i].name + '[' + std::to_string(item + 1) + ']'
                            : quotedName(columns_[i].name);
            values += (values.empty() ? "" : ", ") + text;
        }
    }
    if (names.empty()) {
        reason = "INSERT cannot write a record without values";
        return false;
    }
    out += "INSERT INTO " + table_ + " (" + names + ") VALUES (" + values + ");\n";
    return true;
}

}  // namespace host
