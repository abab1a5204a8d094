#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Schema.h"
#include "kernel/storage/BaseFile.h"

namespace wdb {

// The records that a term of a field must lead to.
struct ExpectedTerm {
    std::vector<RecordNumber> records;  // ascending
    std::string sample;                 // item types: a canonical value with this key
    bool seen = false;                  // in the index
};

// What the index of one field must hold, made by reading every record: nothing is shared with the code that
// writes indexes but the cutting of texts into words and the keys of values.
struct ExpectedIndex {
    std::unordered_map<std::string, ExpectedTerm> terms;
    std::vector<RecordNumber> present;  // records with a value
    std::vector<RecordNumber> multi;    // records with more than one item

    static Result<ExpectedIndex> of(const BaseReader& reader, const FieldDefinition& field);
};

}  // namespace wdb
