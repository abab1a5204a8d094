#pragma once

#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/storage/BaseFile.h"

namespace wdb::base_layout {

// The bytes of docs/formats/base-file.md, for reader and writer.

inline constexpr Slice kMetaKey = "base";
inline constexpr size_t kMetaSize = 88;  // without a dictionary
inline constexpr size_t kPackedMetaSize = 92;
inline constexpr size_t kQueueHeader = 16;  // kind, record, last, bytes of the image; then the image before

std::string encodeMeta(const BaseMeta& meta);
Result<BaseMeta> decodeMeta(Slice bytes);

std::string encodeQueueHeader(ChangeKind kind, RecordNumber record, RecordNumber last, size_t bytes);
// WDB_E_CORRUPT for an unknown kind, a record 0 or a range that ends before it begins.
Result<QueueEntry> decodeQueueEntry(Position position, Slice bytes);

std::string dictionaryKey(uint32_t id);
std::string objectKey(uint64_t object, uint32_t chunk);
// In place of a chunk: the checksums of all of them.
inline constexpr uint32_t kObjectSums = 0xFFFFFFFF;

}  // namespace wdb::base_layout
