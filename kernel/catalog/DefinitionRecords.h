#pragma once

#include <cstring>
#include <string>

#include "include/wdb.h"
#include "kernel/catalog/BaseDefinition.h"
#include "kernel/common/Ids.h"
#include "kernel/record/Schema.h"

namespace wdb {

// A text of a fixed array: up to its first NUL, trailing blanks dropped.
template <size_t Size>
Slice textOf(const char (&field)[Size]) {
    return trimName(Slice(field, strnlen(field, Size)));
}

// Into a fixed array, cut to fit and ended by a NUL; the rest of the array is zero.
template <size_t Size>
void setText(char (&field)[Size], Slice text) {
    std::memset(field, 0, Size);
    std::memcpy(field, text.data(), text.size() < Size ? text.size() : Size - 1);
}

void fillRecord(const BaseDefinition& definition, bool isNew, WdbBaseDef& record);
void fillRecord(const FieldDefinition& field, Slice defaultText, WdbFieldSpec& record);

// What a field record says, its number and default aside. WDB_E_TYPE for an unknown type name.
Status readRecord(const WdbFieldSpec& record, FieldDefinition& field);

// "LOCATION:NAME.END" taken apart. WDB_E_DEFINITION when it has another form or the name is no base name.
struct FileName {
    std::string location;
    std::string name;
};
Result<FileName> parseFileName(Slice text, Slice ending);

}  // namespace wdb
