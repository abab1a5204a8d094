#include "src/RowElements.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>

#include "src/SelectOutput.h"
#include "src/WSQLRowBuffers.h"
#include "src/support/AsciiRun.h"

namespace wsql {
namespace {

constexpr std::size_t kLongestNumber = 11;
constexpr std::size_t kLongestEntity = 5;  // &amp;
// What a row and a column take beside their texts, at most: their markup and numbers are shorter.
constexpr std::size_t kRowFrame = 128;
constexpr std::size_t kColumnFrame = 96;

char* put(char* out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

char* put(char* out, std::int32_t number) {
    if (number >= 0 && number < 10) {
        *out = static_cast<char>('0' + number);
        return out + 1;
    }
    return std::to_chars(out, out + kLongestNumber, number).ptr;
}

std::string_view entity(char c) {
    return c == '&' ? "&amp;" : c == '<' ? "&lt;" : "&gt;";
}

std::size_t escapedSize(std::string_view text) {
    std::size_t size = 0;
    for (;;) {
        const std::size_t plain = runWithoutMarkup(text, false);
        size += plain;
        if (plain == text.size()) return size;
        size += entity(text[plain]).size();
        text.remove_prefix(plain + 1);
    }
}

char* putEscaped(char* out, std::string_view text) {
    for (;;) {
        const std::size_t plain = runWithoutMarkup(text, false);
        out = put(out, text.substr(0, plain));
        if (plain == text.size()) return out;
        out = put(out, entity(text[plain]));
        text.remove_prefix(plain + 1);
    }
}

/// Whether the column's element is always that of its one item.
bool isOneItem(const OutputColumn& column) {
    return !column.isConstant() && (column.subscript > 0 || column.range.contains(1));
}

}  // namespace

RowElements::RowElements(CStringBuffer& document, const SelectOutput& output, const CharacterSet& set)
    : document_(document), asciiOnly_(set.converter != nullptr) {
    if (!std::ranges::all_of(output.columns(), isOneItem)) return;
    openings_.resize(output.columns().size());
    std::int32_t id = 0;
    for (Opening& opening : openings_) {
        char* const begin = opening.text.data();
        char* out = put(put(put(begin, "<Column ID=\""), ++id), "\"");
        opening.element = static_cast<std::uint32_t>(out - begin);
        out = put(out, " datasize=\"");
        opening.size = static_cast<std::uint32_t>(out - begin);
    }
}

bool RowElements::isPlain(const WSQLRowBuffers& row) const {
    if (row.count() != openings_.size()) return false;
    for (std::uint32_t k = 0; k < row.count(); ++k) {
        constexpr std::uint32_t kAsked = RowItem::kColumn | RowItem::kReference;
        if ((row.flagsOf(k) & kAsked) != RowItem::kColumn) return false;
    }
    return !asciiOnly_ || runOfAscii(row.texts()) == row.texts().size();
}

char* RowElements::writeColumn(char* out, const Opening& opening, std::string_view text, bool escaped) const {
    std::memcpy(out, opening.text.data(), opening.text.size());
    out += opening.size;
    const std::size_t size = escaped ? escapedSize(text) : text.size();
    out = put(put(out, static_cast<std::int32_t>(size)), "\">");
    out = escaped ? putEscaped(out, text) : put(out, text);
    return put(out, "</Column>\r\n");
}

bool RowElements::append(WSQLRowBuffers& row, std::int32_t rowNumber) {
    if (openings_.empty() || !isPlain(row)) return false;
    const std::string_view texts = row.texts();
    const bool escaped = runWithoutMarkup(texts, false) < texts.size();
    const std::size_t longest = texts.size() * (escaped ? kLongestEntity : 1);
    char* const begin = document_.room(kRowFrame + kColumnFrame * openings_.size() + longest);
    char* out = put(put(begin, "<Row rowNumber=\""), rowNumber);
    out = put(put(out, "\" recordNumber=\""), row.recordNumber());
    out = put(put(put(out, "\" partNumber=\""), row.partNumber()), "\">\r\n");
    for (const Opening& opening : openings_) {
        const RowItem item = row.next();
        if (item.has(RowItem::kNull)) {
            out = put(put(out, {opening.text.data(), opening.element}), " null=\"true\" />\r\n");
        } else {
            out = writeColumn(out, opening, item.text, escaped);
        }
    }
    document_.wrote(put(out, "</Row>\r\n"));
    return true;
}

}  // namespace wsql
