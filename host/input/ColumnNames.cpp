#include "host/input/ColumnNames.h"

#include <wdb.h>

#include <algorithm>

#include "host/format/DisplayText.h"

namespace host {

namespace {

// In a statement this is the record's number, quoted or not.
constexpr std::string_view kRecordNumber = "R";

bool keeps(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

// Cuts at a character, not within one.
std::string cut(std::string name, std::size_t length) {
    if (name.size() <= length) return name;
    while (length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) --length;
    name.resize(length);
    return name;
}

bool canBeColumn(std::string_view name) {
    return !name.empty() && name.size() <= WDB_FIELD_NAME_MAX && name.front() != ' ' && name.back() != ' ' &&
           printable(name) == name && name.find_first_of("\".,()") == std::string_view::npos;
}

}  // namespace

char upperAscii(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool equalNames(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                              [](char x, char y) { return upperAscii(x) == upperAscii(y); });
}

bool ColumnNames::taken(std::string_view name) const {
    return std::any_of(names_.begin(), names_.end(),
                       [&](const std::string& other) { return equalNames(name, other); });
}

std::size_t ColumnNames::addExact(std::string_view name) {
    if (!canBeColumn(name) || taken(name)) return add(name);
    names_.emplace_back(name);
    return names_.size() - 1;
}

std::size_t ColumnNames::add(std::string_view name) {
    std::string clean = printable(name);  // bytes that are no UTF-8 do not get into names
    for (char& c : clean) {
        if (!keeps(c)) c = '_';
    }
    const auto first = clean.find_first_not_of('_');
    clean = first == std::string::npos ? "COLUMN" + std::to_string(names_.size() + 1) : clean.substr(first);
    std::string unique = cut(clean, WDB_FIELD_NAME_MAX);
    for (int n = 2; taken(unique) || equalNames(unique, kRecordNumber); ++n) {
        const std::string number = std::to_string(n);
        unique = cut(clean, WDB_FIELD_NAME_MAX - number.size()) + number;
    }
    names_.push_back(std::move(unique));
    return names_.size() - 1;
}

}  // namespace host
