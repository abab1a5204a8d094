#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/record/DictionarySample.h"
#include "kernel/record/RecordImage.h"
#include "kernel/storage/Environment.h"
#include "kernel/storage/PackingThread.h"

namespace wdb {

// The bytes of a base file (.BAF) are described in docs/formats/base-file.md.
namespace base_table {
inline constexpr Table kRecords = 0;
inline constexpr Table kQueue = 1;
inline constexpr Table kKeys = 2;
inline constexpr Table kObjects = 3;
inline constexpr Table kMeta = 4;
}  // namespace base_table

inline constexpr uint32_t kBaseFormat = 1;
inline constexpr uint32_t kPackedFormat = 2;  // with a dictionary: some record images are packed
// Bytes of a large object per chunk: sixteen pages less the storage's header.
inline constexpr size_t kObjectChunk = 16 * 4096 - 16;

// Checksum of a chunk of a large object: the low half of its 64-bit XXH3.
uint32_t objectSum(Slice chunk);

// Unused numbers in a row that a range of the queue may run over.
inline constexpr RecordNumber kRangeGap = 1024;

// The numbers that a base file keeps about itself.
struct BaseMeta {
    RecordNumber nextRecord = 1;
    Position nextSequence = 1;
    uint64_t nextObject = 1;
    uint64_t liveCount = 0;   // records that are not deleted
    int64_t modified = 0;     // microseconds since 1970 UTC, strictly increasing from commit to commit
    int64_t serialHigh = 0;   // highest number given to the serial field so far
    uint64_t commit = 0;      // number of the last commit that changed a record
    uint64_t queueCount = 0;  // records named by the queue's entries, a range counting as many as it has
    uint64_t queueBytes =
        0;  // bytes of images that the queue's entries stored and replaced, for the merge's limit

    Position trimmed = 0;     // the queue holds no entries up to this one any more
    int64_t merged = 0;       // modification date of the state that was last merged into the index files
    uint32_t dictionary = 0;  // id of the dictionary that new images are packed against; 0: none yet

    // The position of this state: everything up to it has happened.
    Position position() const { return nextSequence - 1; }
};

enum class ChangeKind : uint8_t {
    Put = 1,     // a record was stored or stored over
    Delete = 2,  // a record was deleted
    Range = 3    // the records from `record` to `last` were loaded; all of them were new
};

// An entry of the queue of changes that the index files may not hold yet.
struct QueueEntry {
    Position position = 0;
    ChangeKind kind = ChangeKind::Put;
    RecordNumber record = 0;
    RecordNumber last = 0;  // of a Range, else equal to record
    uint32_t bytes = 0;     // size of the image that was stored, in a Range of all
    Slice previous;         // image before the change, empty for a new record
};

// Records that a writer has been told to store and has not yet.
class RecordBacklog {
public:
    virtual Status storeAll() = 0;

protected:
    ~RecordBacklog() = default;
};

// Reads one state of a base file through a transaction that outlives it.
class BaseReader {
public:
    explicit BaseReader(const Txn& txn) : txn_(&txn) {}

    // WDB_E_CORRUPT when it is missing or of an unknown format.
    Result<BaseMeta> meta() const;
    // The image of a record: WDB_FAIL when no record ever had the number, WDB_E_DELETED when it is deleted.
    // The image is handed out as it is stored, maybe packed: view() validates it.
    Result<Slice> image(RecordNumber number) const;
    // The images of up to PageTree::kSome records at once, which is quicker than one by one. Those that stay
    // empty may be there all the same: image() tells.
    void images(std::span<const RecordNumber> numbers, std::span<Slice> images) const;
    // A validated view of an image as it is stored: WDB_E_CORRUPT.
    Result<RecordView> view(Slice stored) const;
    // As image() and view(). It points into the file.
    Result<RecordView> record(RecordNumber number) const;
    // What a view of a stored image needs: the dictionary of a packed one, null for another. WDB_E_CORRUPT
    // when the file has not got it, or not as it was.
    Result<const TailDictionary*> dictionaryFor(Slice stored) const;
    // The record that has a key (see uniqueKey): WDB_FAIL when none.
    Result<RecordNumber> findKey(Slice key) const;
    // A chunk of a large object, from 0; WDB_FAIL behind the last one.
    Result<Slice> objectChunk(uint64_t object, uint32_t chunk) const;
    // The checksums of an object's chunks as putObjectSums() got them; WDB_FAIL for objects from before there
    // were any.
    Result<Slice> objectSums(uint64_t object) const;
    // Calls visit for the live records from a number on, ascending; a status other than WDB_OK ends the walk
    // and is handed out. Images are unpacked for the visit, but for damaged ones, of which RecordView answers
    // that they are.
    Status forEachRecord(RecordNumber from, const std::function<Status(RecordNumber, Slice)>& visit) const;
    Status forEachKey(const std::function<Status(Slice key, RecordNumber)>& visit) const;
    // The entries behind `after` up to and with `upTo`.
    Status forEachChange(Position after, Position upTo,
                         const std::function<Status(const QueueEntry&)>& visit) const;
    // Position of the queue's first entry, nextSequence when it is empty.
    Result<Position> queueBegin() const;

    const Txn& txn() const { return *txn_; }

protected:
    // The reader of a writer, and copies of it that do not outlive the writer.
    BaseReader(const Txn& txn, RecordBacklog& backlog) : txn_(&txn), backlog_(&backlog) {}
    Result<const TailDictionary*> dictionary(uint32_t id) const;

private:
    Slice unpacked(Slice stored, std::string& buffer) const;
    Status settle() const { return backlog_ == nullptr ? WDB_OK : backlog_->storeAll(); }

    const Txn* txn_;
    RecordBacklog* backlog_ = nullptr;  // is stored before records are read
};

// Takes the value under a key of a table, or nothing for a key that was removed.
using WriteVisitor = std::function<Status(Table table, Slice key, std::optional<Slice> value)>;

// Changes a base file within one write transaction. Keys and records are written as they are told: rules and
// the record images are the business of kernel/rules. Reads see what was written.
class BaseWriter final : public BaseReader, private RecordBacklog {
public:
    BaseWriter(WriteTxn txn, const BaseMeta& meta);
    BaseWriter(const BaseWriter&) = delete;
    BaseWriter& operator=(const BaseWriter&) = delete;

    const BaseMeta& meta() const { return meta_; }
    // The number that records stored by this transaction carry in their images.
    uint64_t commitNumber() const { return meta_.commit + (changed_ ? 0 : 1); }

    // The next record number, or the wanted one, which makes those between never hold a record unless
    // somebody wants them. WDB_E_STORAGE when the 31 bits are used up.
    Result<RecordNumber> newRecord(RecordNumber wanted = 0);
    // Whether newRecord() has a number to give.
    bool hasRoom(RecordNumber wanted = 0) const;
    // The next serial number is highest + 1; noteSerial raises the highest.
    int64_t serialHigh() const { return meta_.serialHigh; }
    void noteSerial(int64_t value);

    // Stores a record, given unpacked, and its queue entry (with the image it had before) and answers the
    // entry's position.
    Result<Position> put(RecordNumber number, Slice image);
    // Leaves a tombstone. WDB_FAIL, WDB_E_DELETED as image().
    Result<Position> remove(RecordNumber number);
    // Stores a new record of a load. They share one queue entry, whose position is taken by the first one; it
    // is written by commit(), or when a wide gap in the numbers, which ascend, begins another one. The images
    // wait until there are enough of them, or one is read: what stops them from being stored is answered
    // then, or by prepare() and commit(). The record is counted before: a writer that was refused is dropped.
    Status putInRange(RecordNumber number, Slice image);

    // Keys: setKey answers WDB_E_DUPLICATE when another record has it.
    Status setKey(Slice key, RecordNumber number);
    Status dropKey(Slice key);
    Status dropKeysOf(FieldNumber field);

    uint64_t newObject();
    Status putObjectChunk(uint64_t object, uint32_t chunk, Slice bytes);
    // objectSum() of every chunk, u32 little endian each, once all are stored.
    Status putObjectSums(uint64_t object, Slice sums);
    Status dropObject(uint64_t object);

    // Takes entries that both index files on disk contain out of the queue; `merged` as in the meta entry.
    Status trimQueue(Position upTo, int64_t merged);

    bool changed() const { return changed_; }
    // Writes what comes last, the meta entry; `now` in microseconds since 1970 UTC. Nothing but commit()
    // follows.
    Status prepare(int64_t now);
    // Makes everything durable, prepared or not.
    Status commit(int64_t now);
    // For a unit that will hold no other base: spares the memory that forEachWrite() needs.
    void forgetWrites() { remembers_ = false; }
    // After prepare(): what the transaction leaves under every key that it has written, the meta entry first.
    // Not for one that trimmed the queue or dropped the keys of a field.
    Status forEachWrite(const WriteVisitor& visit) const;
    WriteTxn& writeTxn() { return txn_; }

private:
    void change();
    Status enqueue(const QueueEntry& entry, size_t bytes);
    Status writeRange();
    Status store(RecordNumber number, Slice image, PutMode mode);
    Result<const TailDictionary*> packer();
    Status storeAll() override;
    Status storePacked(const ImageBatch& packed);
    Status packOn();
    Status makeDictionary(const DictionarySample& sample);
    Status takeSample(RecordNumber number, Slice image);
    Status packLoaded();
    Status packFromNow();

    Status visitRecords(const WriteVisitor& visit) const;
    Status visitObjects(const WriteVisitor& visit) const;

    struct DroppedObject {
        uint64_t object;
        uint32_t chunks;
    };

    WriteTxn txn_;
    BaseMeta meta_;
    const BaseMeta before_;              // as the transaction found it
    std::vector<std::string> keysSeen_;  // keys set or dropped, for forEachWrite()
    std::vector<DroppedObject> droppedObjects_;
    bool remembers_ = true;
    bool prepared_ = false;
    bool changed_ = false;      // a record was: commit number and date move
    bool metaChanged_ = false;  // the meta entry is to be written
    QueueEntry range_;          // of the load; position 0 when there is none
    uint64_t rangeBytes_ = 0;
    RecordNumber loadedFirst_ = 0;            // of the load; 0 when there is none
    std::optional<DictionarySample> sample_;  // of the load, until a dictionary was tried
    const TailDictionary* packer_ = nullptr;  // once it was needed
    ImageBatch waiting_;                      // images of a load that are not stored yet,
    std::unique_ptr<PackingThread> packing_;  // behind those that are being packed
    ImageBatch packed_;
    Status lost_ = WDB_OK;        // why images of the load are missing: nothing may be committed any more
    std::string madeDictionary_;  // by this transaction, for forEachWrite()
};

// An open base file, shared by all sessions of the process.
class BaseFile {
public:
    // WDB_E_EXISTS when it is there.
    static Result<std::shared_ptr<BaseFile>> create(const std::string& path, int64_t now);
    static Result<std::shared_ptr<BaseFile>> open(const std::string& path, bool readOnly);

    Result<ReadTxn> read() const { return environment_->read(); }
    // The writer's lock of the home directory must be held.
    Result<std::unique_ptr<BaseWriter>> write() const;
    Environment& environment() const { return *environment_; }

private:
    explicit BaseFile(std::shared_ptr<Environment> environment) : environment_(std::move(environment)) {}
    std::shared_ptr<Environment> environment_;
};

// Key of the table of unique keys: the field, the value's order-preserving key (at most 400 bytes) and, when
// that was cut, a hash of the whole value as it compares.
std::string uniqueKey(FieldNumber field, Slice valueKey, bool cut, Slice wholeValue);

}  // namespace wdb
