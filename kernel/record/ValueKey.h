#pragma once

#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/record/Schema.h"

namespace wdb {

// Keys longer than this are cut.
inline constexpr size_t kMaxValueKey = 400;

// The bytes by which values of one type are found and ordered: memcmp order of keys is the order of the
// values, equal keys mean equal values unless they are cut, and no key is the beginning of another one.
//   INTEGER, DATE, TIME  the canonical bytes
//   NUMBER               appendNumberKey
//   PHRASE               normalised with mode 7, ended by a 0 byte
struct ValueKey {
    std::string bytes;
    bool cut = false;  // only the beginning: records with this key are to be compared by their values
};

// Key of a canonical value. TEXT and STRING have none (empty).
ValueKey valueKey(FieldType type, Slice canonical);
// The same, appended to a buffer that the caller keeps; true when it was cut.
bool appendValueKey(FieldType type, Slice canonical, std::string& out);
// The whole key, never cut: what comparisons of cut keys fall back to.
std::string wholeValueKey(FieldType type, Slice canonical);

// A canonical value with this key; of a cut key, what it tells of the value. WDB_E_CORRUPT for bytes that are
// no key of the type.
Result<std::string> valueOfKey(FieldType type, Slice key);

// Order of two canonical values: less than, equal to, greater than 0. PHRASE by its normalised text.
int compareValues(FieldType type, Slice a, Slice b);

}  // namespace wdb
