#include "kernel/catalog/Names.h"

#include <algorithm>

#include "include/wdb.h"

namespace wdb {
namespace {

bool isLetter(unsigned char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c >= 128; }
bool isDigit(unsigned char c) { return c >= '0' && c <= '9'; }

}  // namespace

bool validBaseName(Slice name) {
    if (name.empty() || name.size() > WDB_BASE_NAME_MAX || !isLetter(static_cast<unsigned char>(name.front()))) return false;
    return std::all_of(name.begin(), name.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return isLetter(byte) || isDigit(byte) || byte == '_';
    });
}

bool validFieldName(Slice name) {
    if (name.empty() || name.size() > WDB_FIELD_NAME_MAX || name.front() == ' ' || name.back() == ' ') return false;
    return std::all_of(name.begin(), name.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 32 && byte != 127 && Slice("\".,()").find(c) == Slice::npos;
    });
}

}  // namespace wdb
