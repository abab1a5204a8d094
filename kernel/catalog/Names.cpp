#include "kernel/catalog/Names.h"

#include <algorithm>

#include "include/wdb.h"
#include "kernel/common/Ascii.h"
#include "kernel/record/Schema.h"

namespace wdb {

namespace {

bool isLetter(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c >= 128;
}
bool isDigit(unsigned char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

bool validBaseName(Slice name) {
    if (name.empty() || name.size() > WDB_BASE_NAME_MAX ||
        !isLetter(static_cast<unsigned char>(name.front())))
        return false;
    return std::all_of(name.begin(), name.end(),
                       [](unsigned char c) { return isLetter(c) || isDigit(c) || c == '_'; });
}

bool validFieldName(Slice name) {
    if (name.empty() || name.size() > WDB_FIELD_NAME_MAX || name.front() == ' ' || name.back() == ' ')
        return false;
    return std::none_of(name.begin(), name.end(), [](unsigned char c) {
        return c < ' ' || c == 127 || c == '"' || c == '.' || c == ',' || c == '(' || c == ')';
    });
}

bool validGrantee(Slice name) {
    return !name.empty() && name.size() <= WDB_BASE_NAME_MAX && name.front() != ' ' &&
           std::none_of(name.begin(), name.end(), [](unsigned char c) { return c < ' ' || c == 127; });
}

bool validUserName(Slice name) {
    return validGrantee(name) && !equalsIgnoreCase(trimName(name), kPublic);
}

}  // namespace wdb
