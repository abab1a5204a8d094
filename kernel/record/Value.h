#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/record/DateForm.h"
#include "kernel/record/Schema.h"

namespace wdb {

// Values in stored ("canonical") form, as bytes:
//   INTEGER  8 bytes big endian, sign bit flipped: bytes order as numbers do
//   NUMBER   canonical decimal text (Decimal.h)
//   DATE     4 bytes big endian, the day number (DateForm.h)
//   TIME     4 bytes big endian, seconds of the day
//   PHRASE   UTF-8 without line ends and NULs, at most kMaxPhrase bytes
//   TEXT     UTF-8 without NULs, LF between lines
//   STRING   an ObjectReference
// An empty string is no value (SQL NULL).

inline constexpr size_t kMaxPhrase = 32000;

std::string encodeInteger(int64_t value);
int64_t decodeInteger(Slice canonical);  // exactly 8 bytes
std::string encodeDay(DayNumber day);    // also seconds of a TIME
int32_t decodeDay(Slice canonical);      // exactly 4 bytes

// Whether the bytes are a canonical value of the type (what a decoder or verifier asks); empty bytes are not.
bool isCanonical(FieldType type, Slice value);

// How strictly dates are read: storing wants days that exist, comparing takes any three numbers.
enum class DateUse : uint8_t { Store, Compare };

// Reads a text (UTF-8) as a value of an item type (not TEXT, not STRING). WDB_E_VALUE when the type cannot
// read it; WDB_E_TYPE for TEXT and STRING. An empty text (blanks only for the types other than PHRASE) gives
// an empty value. `today` places two-digit years.
Result<std::string> parseValue(FieldType type, std::string_view text, const DateForm& form, DayNumber today,
                               DateUse use = DateUse::Store);

// Appends the text of a canonical value as it is delivered; PHRASE and TEXT as they are.
void renderValue(FieldType type, Slice canonical, const DateForm& form, std::string& out);

// A large object of a base: its number in the base file's table of objects, and its size.
struct ObjectReference {
    uint64_t id = 0;
    uint32_t size = 0;       // bytes, at least 1
    uint32_t chunkSize = 0;  // bytes of every chunk but the last

    std::string encode() const;
    static Result<ObjectReference> decode(Slice bytes);  // WDB_E_CORRUPT
    uint32_t chunks() const {
        return chunkSize == 0 ? 0 : static_cast<uint32_t>((uint64_t{size} + chunkSize - 1) / chunkSize);
    }
    bool operator==(const ObjectReference&) const = default;
};

}  // namespace wdb
