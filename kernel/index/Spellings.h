#pragma once

#include <cstdint>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/record/Schema.h"

namespace wdb {

// Texts that differ only in blanks, in case or in how a number is written have one key. For each rank of a
// field, as the value file has it at one position: the form in which all records of that rank have it, or
// that they differ.
struct Spellings {
    static constexpr uint64_t kMixed = 0;
    // DISTINCT compares texts up to this many bytes normalised.
    static constexpr size_t kNormalizedLength = 256;

    FieldNumber field = 0;
    Position position = 0;
    std::vector<uint64_t> formOf;  // by rank; 0 is no value
    // Two values with one key are equal to DISTINCT when their forms are. Never kMixed.
    static uint64_t form(FieldType type, Slice canonical);
    // Does a key of this type tell the whole form?
    static bool fixed(FieldType type) {
        return type == FieldType::Integer || type == FieldType::Date || type == FieldType::Time;
    }
    size_t bytes() const { return formOf.capacity() * sizeof(uint64_t); }
};

}  // namespace wdb
