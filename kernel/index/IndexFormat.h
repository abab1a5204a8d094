#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "kernel/common/ByteOrder.h"
#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/storage/Environment.h"

namespace wdb {

// What reader and writer of the two index files share; the bytes are described in docs/formats/word-index.md
// and docs/formats/value-index.md.

inline constexpr uint32_t kWordFormat = 2;
inline constexpr uint32_t kValueFormat = 1;

namespace word_table {
inline constexpr Table kPostings = 0;   // field, term, 0, chunk -> container
inline constexpr Table kPositions = 1;  // field, term, 0, first record -> block of postings with positions
inline constexpr Table kMeta = 2;
}  // namespace word_table

namespace value_table {
inline constexpr Table kValues = 0;   // field, value key, chunk -> container
inline constexpr Table kSets = 1;     // field, kind, chunk -> container
inline constexpr Table kColumns = 2;  // field, block -> values of kColumnRecords records
inline constexpr Table kMeta = 3;
}  // namespace value_table

// The tables of the files, to open them with.
std::span<const TableSpec> wordFileTables();
std::span<const TableSpec> valueFileTables();

// Terms longer than this are cut; hits on cut terms are verified against the record.
inline constexpr size_t kMaxTerm = 400;

enum class SetKind : uint8_t {
    Live = 0,     // field 0: records that are not deleted
    Present = 1,  // the field has a value
    Multi = 2     // the field has more than one item, in head and parts together
};

// What an index file says about itself: it contains the base's changes up to `position`.
struct IndexMeta {
    uint32_t format = 0;
    Position position = 0;
};

// WDB_E_CORRUPT when it is missing or of another format (the file is to be rebuilt then).
Result<IndexMeta> readWordMeta(const Txn& txn);
Result<IndexMeta> readValueMeta(const Txn& txn);
Status writeWordMeta(WriteTxn& txn, Position position);
Status writeValueMeta(WriteTxn& txn, Position position);

}  // namespace wdb
