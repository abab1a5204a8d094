#include "kernel/storage/BaseLayout.h"

#include <algorithm>
#include <limits>

#include "kernel/common/ByteOrder.h"

namespace wdb::base_layout {

std::string encodeMeta(const BaseMeta& meta) {
    std::string bytes;
    bytes.reserve(kPackedMetaSize);
    appendLittle(bytes, meta.dictionary == 0 ? kBaseFormat : kPackedFormat);
    appendLittle(bytes, meta.nextRecord);
    appendLittle(bytes, meta.nextSequence);
    appendLittle(bytes, meta.nextObject);
    appendLittle(bytes, meta.liveCount);
    appendLittle(bytes, static_cast<uint64_t>(meta.modified));
    appendLittle(bytes, static_cast<uint64_t>(meta.serialHigh));
    appendLittle(bytes, meta.commit);
    appendLittle(bytes, meta.queueCount);
    appendLittle(bytes, meta.queueBytes);
    appendLittle(bytes, meta.trimmed);
    appendLittle(bytes, static_cast<uint64_t>(meta.merged));
    if (meta.dictionary != 0) appendLittle(bytes, meta.dictionary);
    return bytes;
}

Result<BaseMeta> decodeMeta(Slice bytes) {
    if (bytes.size() < kMetaSize) return Status{WDB_E_CORRUPT};
    const char* at = bytes.data();
    const auto format = loadLittle<uint32_t>(at);
    const bool packed = format == kPackedFormat;
    if ((!packed && format != kBaseFormat) || bytes.size() != (packed ? kPackedMetaSize : kMetaSize))
        return Status{WDB_E_CORRUPT};
    BaseMeta meta;
    meta.nextRecord = loadLittle<uint32_t>(at + 4);
    meta.nextSequence = loadLittle<uint64_t>(at + 8);
    meta.nextObject = loadLittle<uint64_t>(at + 16);
    meta.liveCount = loadLittle<uint64_t>(at + 24);
    meta.modified = static_cast<int64_t>(loadLittle<uint64_t>(at + 32));
    meta.serialHigh = static_cast<int64_t>(loadLittle<uint64_t>(at + 40));
    meta.commit = loadLittle<uint64_t>(at + 48);
    meta.queueCount = loadLittle<uint64_t>(at + 56);
    meta.queueBytes = loadLittle<uint64_t>(at + 64);
    meta.trimmed = loadLittle<uint64_t>(at + 72);
    meta.merged = static_cast<int64_t>(loadLittle<uint64_t>(at + 80));
    if (packed) meta.dictionary = loadLittle<uint32_t>(at + 88);
    if (meta.nextSequence == 0 || packed != (meta.dictionary != 0)) return Status{WDB_E_CORRUPT};
    return meta;
}

std::string encodeQueueHeader(ChangeKind kind, RecordNumber record, RecordNumber last, size_t size) {
    std::string bytes;
    appendLittle(bytes, static_cast<uint32_t>(kind));
    appendLittle(bytes, record);
    appendLittle(bytes, last);
    appendLittle(bytes, static_cast<uint32_t>(std::min<size_t>(size, std::numeric_limits<uint32_t>::max())));
    return bytes;
}

Result<QueueEntry> decodeQueueEntry(Position position, Slice bytes) {
    if (position == 0 || bytes.size() < kQueueHeader) return Status{WDB_E_CORRUPT};
    const auto kind = loadLittle<uint32_t>(bytes.data());
    QueueEntry entry;
    entry.position = position;
    entry.kind = static_cast<ChangeKind>(kind);
    entry.record = loadLittle<uint32_t>(bytes.data() + 4);
    entry.last = loadLittle<uint32_t>(bytes.data() + 8);
    entry.bytes = loadLittle<uint32_t>(bytes.data() + 12);
    entry.previous = bytes.substr(kQueueHeader);
    const bool known =
        kind >= static_cast<uint32_t>(ChangeKind::Put) && kind <= static_cast<uint32_t>(ChangeKind::Range);
    const bool single = entry.kind != ChangeKind::Range && entry.record == entry.last;
    const bool range =
        entry.kind == ChangeKind::Range && entry.record <= entry.last && entry.previous.empty();
    if (!known || entry.record == 0 || (!single && !range)) return Status{WDB_E_CORRUPT};
    return entry;
}

std::string dictionaryKey(uint32_t id) {
    std::string key = "dictionary";
    appendBig(key, id);
    return key;
}

std::string objectKey(uint64_t object, uint32_t chunk) {
    std::string key;
    appendBig(key, object);
    appendBig(key, chunk);
    return key;
}

}  // namespace wdb::base_layout
