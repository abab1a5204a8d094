#pragma once

#include <cstdint>
#include <string_view>

namespace wdb {

// Records of a base are numbered from 1 in the order of their storing; a number is never used again. 0 is no
// record.
using RecordNumber = uint32_t;
// Fields are numbered from 1 to WDB_FIELD_NUMBER_MAX in the order of their creation, never reused. 0 is no
// field.
using FieldNumber = uint16_t;
// Parts of a record are numbered from 1; 0 is the head record.
using PartNumber = uint32_t;
// A place in a base's queue of changes: the sequence number of an entry. A state of the base at position q
// contains the entries up to and with q; 0 is the empty base.
using Position = uint64_t;
// Number of a base within its home directory, never reused.
using BaseId = uint32_t;

// Bytes that somebody else owns: a mapped file, a buffer, a string.
using Slice = std::string_view;

}  // namespace wdb
