#pragma once

#include <cstring>
#include <string>

#include "include/wdb.h"
#include "kernel/record/Schema.h"

namespace wdb {

// The fixed texts of the records shared with callers: read up to the first NUL or the end, written cut and terminated.
template <size_t N>
std::string textOf(const char (&text)[N]) {
    return std::string(text, strnlen(text, N));
}

template <size_t N>
void setText(char (&to)[N], const std::string& text) {
    const size_t size = text.size() < N ? text.size() : N - 1;
    std::memcpy(to, text.data(), size);
    std::memset(to + size, 0, N - size);
}

// A field as a caller described it, without number and default value.
FieldDefinition fieldOf(const WdbFieldSpec& record, FieldType type);
// SERIAL is for INTEGER, whole values for types with items, keys too.
bool flagsFit(const FieldDefinition& field);
// The record of a field; `defaultText` is its default value as it is delivered.
void fillFieldSpec(const FieldDefinition& field, const std::string& defaultText, WdbFieldSpec& record);

}  // namespace wdb
