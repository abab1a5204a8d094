#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/ByteBuffer.h"
#include "kernel/index/TermTable.h"

namespace wdb {

// Postings by key while records are inverted: one growing byte stream per key. A posting in a stream is the
// distance to the record before it and then, each one higher than it is, the distances of its positions,
// ended by 0 (all varints). Postings of a key without positions are their distance and the 0.
class PostingTable {
public:
    // Records of a key must not descend, its positions within a record must ascend.
    void add(Slice key, RecordNumber record);  // once per record; repeats are ignored
    void add(Slice key, RecordNumber record, uint32_t position);
    size_t bytes() const { return keys_.bytes() + streamBytes_ + streams_.size() * sizeof(Stream); }
    bool empty() const { return streams_.empty(); }
    uint32_t size() const { return keys_.size(); }
    // Ends every stream; keys by byte order. Nothing may be added before clear().
    std::vector<uint32_t> finish();
    Slice key(uint32_t number) const { return keys_.term(number); }
    Slice stream(uint32_t number) const { return streams_[number].bytes; }
    void clear();

private:
    struct Stream {
        std::string bytes;
        RecordNumber last = 0;
        uint32_t lastPosition = 0;
    };
    Stream& open(Slice key, RecordNumber record);

    TermTable keys_;
    std::deque<Stream> streams_;  // by key number
    size_t streamBytes_ = 0;
};

// Reads the postings of one stream.
class PostingStream {
public:
    PostingStream() = default;
    explicit PostingStream(Slice bytes) : at_(bytes.data()), end_(bytes.data() + bytes.size()) {}

    // To the next posting: false at the end.
    bool next();
    RecordNumber record() const { return record_; }
    // The positions as blocks store them: a varint for each, as the distance to the one before.
    Slice positions() const { return positions_.view(); }

private:
    const char* at_ = nullptr;
    const char* end_ = nullptr;
    RecordNumber record_ = 0;
    ByteBuffer positions_;
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
