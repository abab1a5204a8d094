#include <xxhash.h>

#include "kernel/common/ByteOrder.h"
#include "kernel/record/PackedImage.h"
#include "kernel/record/RecordImage.h"
#include "kernel/storage/BaseFile.h"
#include "kernel/storage/BaseLayout.h"

namespace wdb {

using namespace base_table;

Result<BaseMeta> BaseReader::meta() const {
    Slice bytes;
    const Status status = txn_->get(kMeta, base_layout::kMetaKey, bytes);
    if (status == WDB_FAIL) return Status{WDB_E_CORRUPT};
    WDB_TRY(status);
    return base_layout::decodeMeta(bytes);
}

Result<Slice> BaseReader::image(RecordNumber number) const {
    Slice image;
    WDB_TRY(settle());
    WDB_TRY(txn_->get(kRecords, number, image));
    if (isTombstone(image)) return Status{WDB_E_DELETED};
    return image;
}

void BaseReader::images(std::span<const RecordNumber> numbers, std::span<Slice> images) const {
    if (backlog_ != nullptr) return;
    txn_->getSome(kRecords, numbers, images);
    for (Slice& image : images) {
        if (isTombstone(image)) image = {};
    }
}

Result<const TailDictionary*> BaseReader::dictionaryFor(Slice stored) const {
    if (!isPacked(stored)) return static_cast<const TailDictionary*>(nullptr);
    return dictionary(dictionaryOf(stored));
}

Result<const TailDictionary*> BaseReader::dictionary(uint32_t id) const {
    TailDictionaries& known = txn_->environment()->dictionaries();
    if (const TailDictionary* present = known.find(id)) return present;
    Slice bytes;
    const Status status = txn_->get(kMeta, base_layout::dictionaryKey(id), bytes);
    if (!ok(status)) return status == WDB_FAIL ? WDB_E_CORRUPT : status;
    if (TailDictionary::idOf(bytes) != id) return Status{WDB_E_CORRUPT};
    auto opened = TailDictionary::open(bytes);
    if (!opened) return opened.status();
    return known.add(std::move(*opened));
}

Result<RecordView> BaseReader::view(Slice stored) const {
    const auto needed = dictionaryFor(stored);
    if (!needed) return needed.status();
    return RecordView::validate(stored, *needed);
}

Result<RecordView> BaseReader::record(RecordNumber number) const {
    const auto stored = image(number);
    if (!stored) return stored.status();
    return view(*stored);
}

// What is damaged stays as it is.
Slice BaseReader::unpacked(Slice stored, std::string& buffer) const {
    if (!isPacked(stored)) return stored;
    const auto needed = dictionaryFor(stored);
    if (!needed || !RecordView::validate(stored, *needed)) return stored;
    return ok(unpackImage(stored, **needed, buffer)) ? Slice(buffer) : stored;
}

Result<RecordNumber> BaseReader::findKey(Slice key) const {
    Slice bytes;
    WDB_TRY(txn_->get(kKeys, key, bytes));
    if (bytes.size() != sizeof(RecordNumber)) return Status{WDB_E_CORRUPT};
    return loadLittle<RecordNumber>(bytes.data());
}

Result<Slice> BaseReader::objectChunk(uint64_t object, uint32_t chunk) const {
    Slice bytes;
    WDB_TRY(txn_->get(kObjects, base_layout::objectKey(object, chunk), bytes));
    return bytes;
}

Result<Slice> BaseReader::objectSums(uint64_t object) const {
    Slice sums;
    WDB_TRY(txn_->get(kObjects, base_layout::objectKey(object, base_layout::kObjectSums), sums));
    return sums;
}

uint32_t objectSum(Slice chunk) {
    return static_cast<uint32_t>(XXH3_64bits(chunk.data(), chunk.size()));
}

Status BaseReader::forEachRecord(RecordNumber from,
                                 const std::function<Status(RecordNumber, Slice)>& visit) const {
    std::string buffer;
    WDB_TRY(settle());
    Cursor cursor = txn_->cursor(kRecords);
    Status status = cursor.seek(from);
    for (; ok(status); status = cursor.next()) {
        if (isTombstone(cursor.value())) continue;
        WDB_TRY(visit(cursor.key32(), unpacked(cursor.value(), buffer)));
    }
    return status == WDB_FAIL ? WDB_OK : status;
}

Status BaseReader::forEachKey(const std::function<Status(Slice key, RecordNumber)>& visit) const {
    Cursor cursor = txn_->cursor(kKeys);
    Status status = cursor.first();
    for (; ok(status); status = cursor.next()) {
        if (cursor.value().size() != sizeof(RecordNumber)) return WDB_E_CORRUPT;
        WDB_TRY(visit(cursor.key(), loadLittle<RecordNumber>(cursor.value().data())));
    }
    return status == WDB_FAIL ? WDB_OK : status;
}

Status BaseReader::forEachChange(Position after, Position upTo,
                                 const std::function<Status(const QueueEntry&)>& visit) const {
    Cursor cursor = txn_->cursor(kQueue);
    Status status = cursor.seek(after + 1);
    for (; ok(status) && cursor.key64() <= upTo; status = cursor.next()) {
        const auto entry = base_layout::decodeQueueEntry(cursor.key64(), cursor.value());
        if (!entry) return entry.status();
        WDB_TRY(visit(*entry));
    }
    return ok(status) || status == WDB_FAIL ? WDB_OK : status;
}

Result<Position> BaseReader::queueBegin() const {
    Cursor cursor = txn_->cursor(kQueue);
    const Status status = cursor.first();
    if (ok(status)) return cursor.key64();
    if (status != WDB_FAIL) return status;
    const auto numbers = meta();
    if (!numbers) return numbers.status();
    return numbers->nextSequence;
}

std::string uniqueKey(FieldNumber field, Slice valueKey, bool cut, Slice wholeValue) {
    std::string key;
    key.reserve(sizeof field + valueKey.size() + sizeof(uint64_t));
    appendBig(key, field);
    key.append(valueKey);
    if (cut) appendBig(key, static_cast<uint64_t>(XXH3_64bits(wholeValue.data(), wholeValue.size())));
    return key;
}

}  // namespace wdb
