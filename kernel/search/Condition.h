#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kernel/index/IndexView.h"
#include "kernel/index/RecordSet.h"
#include "kernel/record/Schema.h"
#include "kernel/text/Pattern.h"

namespace wdb {

// A criterion bound to a base: a test of the items of one field, or of the record itself.
//
// It holds for a record when some item of the field (with a subfield: one of these items) passes the test;
// negated, when the field (the subfields) has a value and no item passes. The tests are these:
struct Condition {
    enum class Test : uint8_t {
        Nothing,     // no item
        Present,     // any item that is not empty
        Absent,      // the field, or the subfields, are empty (never negated)
        Equal,       // one of `values`
        Matching,    // PHRASE: `pattern`, made by phrasePattern
        Words,       // TEXT: one of the phrases stands in it
        Within,      // item types: between the bounds
        WordWithin,  // TEXT: some word between the bounds
        Delivered,   // the delivered text matches `pattern`: wildcards in a number, date or time
        Records,     // the record is one of `records` (negated: is not)
        Numbered  // its number lies in firstRecord..lastRecord (negated: does not); none when last is below
                  // first
    };
    Test test = Test::Nothing;
    bool negated = false;
    const FieldDefinition* field =
        nullptr;         // null for Records and Numbered; lives as long as the base's definition
    uint32_t first = 0;  // subfields, 0: all
    uint32_t last = 0;
    std::vector<std::string> values;  // canonical
    std::vector<std::vector<Pattern>> phrases;
    Pattern pattern;
    std::optional<Bound> low;
    std::optional<Bound> high;
    RecordSet records;
    RecordNumber firstRecord = 1;
    RecordNumber lastRecord = 0;
};

}  // namespace wdb
