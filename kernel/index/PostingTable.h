#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/StreamMemory.h"

namespace wdb {

// What the postings of a table are: record numbers alone, or with the positions in each record.
enum class Postings : uint8_t { Records, Positions };

// Postings by key while records are inverted: one growing byte stream per key. A posting in a stream is the
// distance to the record before it and, where there are positions, these as blocks store them: the first one,
// for each further one the distance to the one before, and a 0 unless the stream ends. All are varints.
//
// A load adds millions of words to some hundred thousand keys, and the memory of most of them is far away. A
// key, its stream's state and a short stream share one line of the cache, and a few keys wait for each other,
// so that their lines are fetched at the same time.
class PostingTable {
public:
    explicit PostingTable(Postings kind) : kind_(kind) {}
    PostingTable(const PostingTable&) = delete;
    PostingTable& operator=(const PostingTable&) = delete;

    // Records of a key must not descend, its positions within a record must ascend. The first is for record
    // numbers alone, once per record (repeats are ignored), the second for positions.
    void add(Slice key, RecordNumber record) { add(key, record, 0); }
    void add(Slice key, RecordNumber record, uint32_t position);
    size_t bytes() const {
        return memory_.bytes() + slots_.size() * sizeof(uint64_t) + entries_.size() * sizeof(Entry);
    }
    Postings kind() const { return kind_; }
    // The numbers of the keys by byte order. Nothing may be added between it and clear().
    std::vector<uint32_t> finish();
    Slice key(uint32_t number) const { return entries_[number].key(); }
    Slice stream(uint32_t number) const { return {entries_[number].bytes(), entries_[number].size}; }
    // Has the memory of a key and its stream come near.
    void fetchKey(uint32_t number) const { __builtin_prefetch(&entries_[number]); }
    void fetchStream(uint32_t number) const { __builtin_prefetch(entries_[number].bytes()); }
    void clear();

private:
    static constexpr size_t kShortKey = 24;
    static constexpr size_t kShortStream = 24;
    static constexpr uint8_t kInside = 0xFF;  // a stream that stands in the entry
    static constexpr size_t kWaiting = 16;

    struct alignas(64) Entry {
        RecordNumber last = 0;
        uint32_t lastPosition = 0;
        uint32_t size = 0;  // of the stream
        uint16_t keySize = 0;
        uint8_t memory = kInside;                 // size class of the stream's block
        std::array<char, kShortKey> text{};       // the key, zeros behind it, or where it is
        std::array<char, kShortStream> stream{};  // or where it is

        const char* bytes() const { return memory == kInside ? stream.data() : loadPointer(stream.data()); }
        Slice key() const { return {keySize <= kShortKey ? text.data() : loadPointer(text.data()), keySize}; }
    };
    static_assert(sizeof(Entry) == 64);
    // A posting whose key is being looked for.
    struct Waiting {
        uint64_t hash;
        RecordNumber record;
        uint32_t position;
        uint32_t number;
        uint16_t keySize;
        std::array<char, kShortKey> text;
    };

    static char* loadPointer(const char* at);
    void settle();
    uint32_t likely(uint64_t hash) const;
    template <typename Same>
    uint32_t intern(uint64_t hash, Slice key, Same same);
    void grow();
    void append(Entry& entry, RecordNumber record, uint32_t position);
    char* roomFor(Entry& entry, size_t more);

    const Postings kind_;
    std::vector<uint64_t> slots_;  // high half: of the hash; low half: number + 1; 0 free
    std::vector<Entry> entries_;
    StreamMemory memory_;
    std::array<Waiting, kWaiting> waiting_;
    size_t waitingCount_ = 0;
};

// Reads the postings of one stream.
class PostingStream {
public:
    PostingStream() = default;
    PostingStream(Slice bytes, Postings kind)
        : at_(bytes.data()), end_(bytes.data() + bytes.size()), kind_(kind) {}

    // To the next posting: false at the end.
    bool next();
    RecordNumber record() const { return record_; }
    // The positions as blocks store them: a varint for each, as the distance to the one before.
    Slice positions() const { return positions_; }

private:
    const char* at_ = nullptr;
    const char* end_ = nullptr;
    Postings kind_ = Postings::Records;
    RecordNumber record_ = 0;
    Slice positions_;
};

// Keys and streams in key order, from memory or from a spilled file.
class PostingRun {
public:
    virtual ~PostingRun() = default;
    // To the next key: false at the end.
    virtual bool next() = 0;
    virtual Slice key() const = 0;
    virtual Slice stream() const = 0;
};

}  // namespace wdb
