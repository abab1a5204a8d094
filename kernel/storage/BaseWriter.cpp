#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "kernel/common/ByteOrder.h"
#include "kernel/record/PackedImage.h"
#include "kernel/record/RecordImage.h"
#include "kernel/storage/BaseFile.h"
#include "kernel/storage/BaseLayout.h"

namespace wdb {

using namespace base_table;

namespace {

constexpr uint64_t kSampleEvery = 1024;         // records of a base without a dictionary, between two tries
constexpr RecordNumber kSampleRecords = 16384;  // at most, the latest
// Bytes of a load's images that are packed and stored together: packing goes through half a megabyte of
// tables, which the rest of the work for a record drives out of the cache.
constexpr size_t kWaitingBytes = size_t{256} << 10;
constexpr size_t kMostWaiting = size_t{1} << 20;   // until there is a dictionary
constexpr size_t kMostRepacked = size_t{8} << 20;  // bytes of a load's first images

}  // namespace

BaseWriter::BaseWriter(WriteTxn txn, const BaseMeta& meta)
    : BaseReader(txn_, *this), txn_(std::move(txn)), meta_(meta), before_(meta) {}

bool BaseWriter::hasRoom(RecordNumber wanted) const {
    constexpr RecordNumber kHighest = std::numeric_limits<int32_t>::max();  // callers get them as int32_t
    return (wanted == 0 ? meta_.nextRecord : wanted) <= kHighest;
}

Result<RecordNumber> BaseWriter::newRecord(RecordNumber wanted) {
    if (!hasRoom(wanted)) return Status{WDB_E_STORAGE};
    const RecordNumber number = wanted == 0 ? meta_.nextRecord : wanted;
    metaChanged_ = true;
    meta_.nextRecord = std::max(meta_.nextRecord, number + 1);
    return number;
}

void BaseWriter::noteSerial(int64_t value) {
    if (value <= meta_.serialHigh) return;
    meta_.serialHigh = value;
    metaChanged_ = true;
}

void BaseWriter::change() {
    if (!changed_) ++meta_.commit;
    changed_ = metaChanged_ = true;
}

Status BaseWriter::enqueue(const QueueEntry& entry, size_t bytes) {
    const std::string header = base_layout::encodeQueueHeader(entry.kind, entry.record, entry.last, bytes);
    Slice key(reinterpret_cast<const char*>(&entry.position), sizeof entry.position);
    char* place = nullptr;
    WDB_TRY(txn_.reserve(kQueue, key, header.size() + entry.previous.size(), place));
    std::copy(header.begin(), header.end(), place);
    std::copy(entry.previous.begin(), entry.previous.end(), place + header.size());
    meta_.queueCount += uint64_t{entry.last} - entry.record + 1;
    meta_.queueBytes += bytes + entry.previous.size();
    return WDB_OK;
}

Result<Position> BaseWriter::put(RecordNumber number, Slice image) {
    Slice stored;
    WDB_TRY(storeAll());
    const Status found = txn_.get(kRecords, number, stored);
    if (!ok(found) && found != WDB_FAIL) return found;
    // The stored bytes are gone with the next write, so the queue entry, which quotes them, takes a copy.
    const std::string previous(ok(found) && !isTombstone(stored) ? stored : Slice());
    // Long values that stay are not packed once more.
    const auto dictionary = isPacked(previous) ? packer() : Result<const TailDictionary*>(WDB_FAIL);
    std::string packed;
    if (dictionary) {
        const bool less = packImage(image, **dictionary, packed, previous);
        WDB_TRY(txn_.put(kRecords, number, less ? Slice(packed) : image));
    } else {
        WDB_TRY(store(number, image, PutMode::Replace));
    }
    change();
    if (previous.empty() && ++meta_.liveCount % kSampleEvery == 0) WDB_TRY(packFromNow());
    const Position position = meta_.nextSequence++;
    WDB_TRY(enqueue({position, ChangeKind::Put, number, number, 0, previous}, image.size()));
    return position;
}

Result<Position> BaseWriter::remove(RecordNumber number) {
    const auto stored = image(number);
    if (!stored) return stored.status();
    const std::string previous(*stored);
    change();
    WDB_TRY(txn_.put(kRecords, number, encodeTombstone(meta_.commit)));
    --meta_.liveCount;
    const Position position = meta_.nextSequence++;
    WDB_TRY(enqueue({position, ChangeKind::Delete, number, number, 0, previous}, 0));
    return position;
}

Status BaseWriter::putInRange(RecordNumber number, Slice image) {
    if (range_.position != 0 && number <= range_.last) return WDB_E_ARGUMENT;
    waiting_.add(number, image);
    change();
    ++meta_.liveCount;
    if (range_.position != 0 && number - range_.last > kRangeGap) WDB_TRY(writeRange());
    if (range_.position == 0) range_ = {meta_.nextSequence++, ChangeKind::Range, number, number, 0, {}};
    range_.last = number;
    rangeBytes_ += image.size();
    WDB_TRY(takeSample(number, image));
    return waiting_.bytes() < (sample_ ? kMostWaiting : kWaitingBytes) ? WDB_OK : packOn();
}

// Stores what has been packed and hands on what waits.
Status BaseWriter::packOn() {
    if (meta_.dictionary == 0 || !ok(lost_)) return storeAll();
    if (packing_ == nullptr) {
        const auto found = packer();
        if (!found) return lost_ = found.status();
        packing_ = std::make_unique<PackingThread>(**found);
    }
    if (packing_->busy()) {
        lost_ = packing_->take(packed_);
        if (ok(lost_)) lost_ = storePacked(packed_);
    }
    if (ok(lost_)) packing_->give(waiting_);
    return lost_;
}

Status BaseWriter::storeAll() {
    if (ok(lost_) && packing_ != nullptr && packing_->busy()) {
        lost_ = packing_->take(packed_);
        if (ok(lost_)) lost_ = storePacked(packed_);
    }
    for (size_t place = 0; ok(lost_) && place < waiting_.count(); ++place)
        lost_ = store(waiting_.number(place), waiting_.image(place), PutMode::Append);
    waiting_.clear();
    return lost_;
}

Status BaseWriter::storePacked(const ImageBatch& packed) {
    for (size_t place = 0; place < packed.count(); ++place)
        WDB_TRY(txn_.put(kRecords, packed.number(place), packed.image(place), PutMode::Append));
    return WDB_OK;
}

Result<const TailDictionary*> BaseWriter::packer() {
    if (packer_ == nullptr) {
        const auto found = dictionary(meta_.dictionary);
        if (!found) return found.status();
        packer_ = *found;
    }
    return packer_;
}

Status BaseWriter::store(RecordNumber number, Slice image, PutMode mode) {
    if (meta_.dictionary == 0) return txn_.put(kRecords, number, image, mode);
    const auto dictionary = packer();
    if (!dictionary) return dictionary.status();
    std::string packed;
    return txn_.put(kRecords, number, packImage(image, **dictionary, packed) ? Slice(packed) : image, mode);
}

// Leaves everything as it is when the sample is too small or makes none.
Status BaseWriter::makeDictionary(const DictionarySample& sample) {
    std::string bytes = sample.dictionary();
    if (bytes.empty()) return WDB_OK;
    auto opened = TailDictionary::open(bytes);
    if (!opened) return opened.status();
    WDB_TRY(txn_.put(kMeta, base_layout::dictionaryKey((*opened)->id()), bytes));
    packer_ = txn_.environment()->dictionaries().add(std::move(*opened));
    meta_.dictionary = packer_->id();
    metaChanged_ = true;
    if (remembers_) madeDictionary_ = std::move(bytes);
    return WDB_OK;
}

Status BaseWriter::packFromNow() {
    if (meta_.dictionary != 0) return WDB_OK;
    DictionarySample sample;
    const RecordNumber first = meta_.nextRecord > kSampleRecords ? meta_.nextRecord - kSampleRecords : 1;
    const Status walked = forEachRecord(first, [&](RecordNumber, Slice image) -> Status {
        sample.add(image);
        return sample.enough() ? WDB_FAIL : WDB_OK;  // which ends the walk
    });
    if (!ok(walked) && walked != WDB_FAIL) return walked;
    return makeDictionary(sample);
}

Status BaseWriter::takeSample(RecordNumber number, Slice image) {
    if (meta_.dictionary != 0) return WDB_OK;
    if (loadedFirst_ == 0) {
        loadedFirst_ = number;
        sample_.emplace();
    }
    if (!sample_) return WDB_OK;
    sample_->add(image);
    return sample_->enough() ? packLoaded() : WDB_OK;
}

// Makes the dictionary of the load's sample and stores what was loaded so far once more, packed and in full
// pages.
Status BaseWriter::packLoaded() {
    const DictionarySample sample = *std::exchange(sample_, std::nullopt);
    if (meta_.dictionary == 0) WDB_TRY(makeDictionary(sample));
    // What waits is packed anyway.
    if (packer_ == nullptr || (!waiting_.empty() && waiting_.number(0) == loadedFirst_)) return WDB_OK;
    WDB_TRY(storeAll());
    std::vector<std::pair<RecordNumber, std::string>> images;
    size_t bytes = 0;
    {
        Cursor cursor = txn_.cursor(kRecords);
        Status status = cursor.seek(loadedFirst_);
        for (; ok(status); status = cursor.next()) {
            bytes += cursor.value().size();
            if (bytes > kMostRepacked) return WDB_OK;
            images.emplace_back(cursor.key32(), cursor.value());
        }
        if (status != WDB_FAIL) return status;
    }
    for (auto image = images.rbegin(); image != images.rend(); ++image)
        WDB_TRY(txn_.remove(kRecords, image->first));
    for (const auto& [number, image] : images) WDB_TRY(store(number, image, PutMode::Append));
    return WDB_OK;
}

Status BaseWriter::writeRange() {
    if (range_.position == 0) return WDB_OK;
    return enqueue(std::exchange(range_, QueueEntry{}), std::exchange(rangeBytes_, 0));
}

Status BaseWriter::setKey(Slice key, RecordNumber number) {
    const auto present = findKey(key);
    if (present) return *present == number ? WDB_OK : WDB_E_DUPLICATE;
    if (present.status() != WDB_FAIL) return present.status();
    char bytes[sizeof number];
    storeLittle(bytes, number);
    metaChanged_ = true;
    if (remembers_) keysSeen_.emplace_back(key);
    return txn_.put(kKeys, key, Slice(bytes, sizeof bytes));
}

Status BaseWriter::dropKey(Slice key) {
    metaChanged_ = true;
    if (remembers_) keysSeen_.emplace_back(key);
    const Status status = txn_.remove(kKeys, key);
    return status == WDB_FAIL ? WDB_OK : status;
}

Status BaseWriter::dropKeysOf(FieldNumber field) {
    std::string prefix;
    appendBig(prefix, field);
    metaChanged_ = true;
    Cursor cursor = txn_.cursor(kKeys);
    Status status = cursor.seek(prefix);
    while (ok(status) && cursor.key().substr(0, prefix.size()) == prefix) {
        WDB_TRY(cursor.remove());
        status = cursor.next();
    }
    return status == WDB_FAIL ? WDB_OK : status;
}

uint64_t BaseWriter::newObject() {
    metaChanged_ = true;
    return meta_.nextObject++;
}

Status BaseWriter::putObjectChunk(uint64_t object, uint32_t chunk, Slice bytes) {
    metaChanged_ = true;
    return txn_.put(kObjects, base_layout::objectKey(object, chunk), bytes);
}

Status BaseWriter::putObjectSums(uint64_t object, Slice sums) {
    metaChanged_ = true;
    return txn_.put(kObjects, base_layout::objectKey(object, base_layout::kObjectSums), sums);
}

Status BaseWriter::dropObject(uint64_t object) {
    metaChanged_ = true;
    const Status sums = txn_.remove(kObjects, base_layout::objectKey(object, base_layout::kObjectSums));
    if (!ok(sums) && sums != WDB_FAIL) return sums;
    for (uint32_t chunk = 0;; ++chunk) {
        const Status status = txn_.remove(kObjects, base_layout::objectKey(object, chunk));
        if (ok(status)) continue;
        if (remembers_) droppedObjects_.push_back({object, chunk});
        return status == WDB_FAIL ? WDB_OK : status;
    }
}

Status BaseWriter::trimQueue(Position upTo, int64_t merged) {
    meta_.trimmed = std::max(meta_.trimmed, std::min(upTo, meta_.position()));
    meta_.merged = std::max(meta_.merged, merged);
    metaChanged_ = true;
    Cursor cursor = txn_.cursor(kQueue);
    Status status = cursor.first();
    while (ok(status) && cursor.key64() <= upTo) {
        const auto entry = base_layout::decodeQueueEntry(cursor.key64(), cursor.value());
        if (!entry) return entry.status();
        const uint64_t records = uint64_t{entry->last} - entry->record + 1;
        const uint64_t bytes = entry->bytes + entry->previous.size();
        meta_.queueCount -= std::min(meta_.queueCount, records);
        meta_.queueBytes -= std::min(meta_.queueBytes, bytes);
        WDB_TRY(cursor.remove());
        status = cursor.next();
    }
    if (status == WDB_FAIL) meta_.queueCount = meta_.queueBytes = 0;
    return ok(status) || status == WDB_FAIL ? WDB_OK : status;
}

Status BaseWriter::prepare(int64_t now) {
    if (prepared_ || (!changed_ && !metaChanged_)) return WDB_OK;
    if (sample_) WDB_TRY(packLoaded());
    WDB_TRY(storeAll());
    WDB_TRY(writeRange());
    if (changed_) meta_.modified = std::max(now, meta_.modified + 1);
    WDB_TRY(txn_.put(kMeta, base_layout::kMetaKey, base_layout::encodeMeta(meta_)));
    prepared_ = true;
    return WDB_OK;
}

Status BaseWriter::commit(int64_t now) {
    WDB_TRY(prepare(now));
    if (prepared_) return txn_.commit();
    txn_.abort();
    return WDB_OK;
}

Status BaseWriter::forEachWrite(const WriteVisitor& visit) const {
    WDB_TRY(visit(kMeta, base_layout::kMetaKey, base_layout::encodeMeta(meta_)));
    if (!madeDictionary_.empty())
        WDB_TRY(visit(kMeta, base_layout::dictionaryKey(meta_.dictionary), madeDictionary_));
    WDB_TRY(visitRecords(visit));
    for (const std::string& key : keysSeen_) {
        Slice value;
        const Status found = txn_.get(kKeys, key, value);
        if (!ok(found) && found != WDB_FAIL) return found;
        WDB_TRY(visit(kKeys, key, ok(found) ? std::optional(value) : std::nullopt));
    }
    return visitObjects(visit);
}

// The queue names the records.
Status BaseWriter::visitRecords(const WriteVisitor& visit) const {
    std::set<RecordNumber> seen;
    Cursor cursor = txn_.cursor(kQueue);
    Status status = cursor.seek(before_.nextSequence);
    for (; ok(status); status = cursor.next()) {
        const auto entry = base_layout::decodeQueueEntry(cursor.key64(), cursor.value());
        if (!entry) return entry.status();
        WDB_TRY(visit(kQueue, cursor.key(), cursor.value()));
        for (RecordNumber record = entry->record; record <= entry->last; ++record) {
            if (!seen.insert(record).second) continue;
            Slice image;
            const Status found = txn_.get(kRecords, record, image);
            if (found == WDB_FAIL) continue;  // a gap of a range
            WDB_TRY(found);
            WDB_TRY(visit(kRecords, Slice(reinterpret_cast<const char*>(&record), sizeof record), image));
        }
    }
    return status == WDB_FAIL ? WDB_OK : status;
}

Status BaseWriter::visitObjects(const WriteVisitor& visit) const {
    for (const DroppedObject& dropped : droppedObjects_) {
        for (uint32_t chunk = 0; chunk < dropped.chunks; ++chunk) {
            WDB_TRY(visit(kObjects, base_layout::objectKey(dropped.object, chunk), std::nullopt));
        }
        WDB_TRY(
            visit(kObjects, base_layout::objectKey(dropped.object, base_layout::kObjectSums), std::nullopt));
    }
    for (uint64_t object = before_.nextObject; object < meta_.nextObject; ++object) {
        for (uint32_t chunk = 0;; ++chunk) {
            const auto bytes = objectChunk(object, chunk);
            if (bytes.status() == WDB_FAIL) break;
            if (!bytes) return bytes.status();
            WDB_TRY(visit(kObjects, base_layout::objectKey(object, chunk), *bytes));
        }
        const auto sums = objectSums(object);
        if (sums) WDB_TRY(visit(kObjects, base_layout::objectKey(object, base_layout::kObjectSums), *sums));
        if (!sums && sums.status() != WDB_FAIL) return sums.status();
    }
    return WDB_OK;
}

}  // namespace wdb
