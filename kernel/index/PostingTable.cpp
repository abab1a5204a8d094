#include "kernel/index/PostingTable.h"

#include "kernel/index/Varint.h"

namespace wdb {

PostingTable::Stream& PostingTable::open(Slice key, RecordNumber record) {
    const uint32_t number = keys_.intern(key);
    if (number == streams_.size()) streams_.emplace_back();
    Stream& stream = streams_[number];
    if (stream.last == record) return stream;
    const size_t before = stream.bytes.size();
    if (stream.last != 0) stream.bytes.push_back('\0');
    appendVarint(stream.bytes, record - stream.last);
    stream.last = record;
    stream.lastPosition = 0;
    streamBytes_ += stream.bytes.size() - before;
    return stream;
}

void PostingTable::add(Slice key, RecordNumber record) {
    open(key, record);
}

void PostingTable::add(Slice key, RecordNumber record, uint32_t position) {
    Stream& stream = open(key, record);
    const size_t before = stream.bytes.size();
    appendVarint(stream.bytes, uint64_t{position} - stream.lastPosition + 1);
    stream.lastPosition = position;
    streamBytes_ += stream.bytes.size() - before;
}

std::vector<uint32_t> PostingTable::finish() {
    for (Stream& stream : streams_) stream.bytes.push_back('\0');
    return keys_.sorted();
}

void PostingTable::clear() {
    keys_.clear();
    streams_.clear();
    streamBytes_ = 0;
}

bool PostingStream::next() {
    uint32_t distance = 0;
    if (at_ == end_ || !readVarint(at_, end_, distance)) return false;
    record_ += distance;
    positions_.clear();
    // Distances of one byte, the common ones, are copied as they come, less the 1.
    while (at_ < end_ && static_cast<unsigned char>(*at_ - 1) < 0x7F)
        positions_.push(static_cast<char>(*at_++ - 1));
    uint64_t value = 0;
    while (readVarint(at_, end_, value) && value != 0) positions_.varint(value - 1);
    return true;
}

}  // namespace wdb
