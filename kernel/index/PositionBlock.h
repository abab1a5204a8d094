#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/ByteBuffer.h"

namespace wdb {

// Blocks of postings with positions (docs/formats/word-index.md, table `positions`).

inline constexpr size_t kPositionBlockHeader = 12;
inline constexpr size_t kPositionBlockTarget = 2000;  // bytes after which a new block begins
// Positions of so many bytes stand alone in their block: a length takes one byte.
inline constexpr size_t kLongPositions = 255;

// The positions of one record as stored: a varint for each, as the distance to the one before.
void appendPositions(const std::vector<uint32_t>& ascending, std::string& out);
// Replaces `out`; WDB_E_CORRUPT.
Status readPositions(Slice stored, std::vector<uint32_t>& out);

// A block's parts, sizes checked.
struct PositionBlockView {
    // A block by the record number of its key. WDB_E_CORRUPT when it is too short for what it says.
    static Result<PositionBlockView> open(RecordNumber first, Slice block);

    // Bytes of the positions of posting `place` (from 0); for a posting alone in its block all there are.
    size_t length(uint32_t place) const {
        return count == 1 ? positions.size() : static_cast<unsigned char>(lengths[place]);
    }

    RecordNumber first = 0;
    RecordNumber last = 0;
    uint32_t count = 0;
    const char* lengths = nullptr;  // `count` bytes
    Slice distances;                // between the record numbers
    Slice positions;                // of all postings
};

// Steps through the postings of a block.
class PositionBlockReader {
public:
    static Result<PositionBlockReader> open(RecordNumber first, Slice block);

    RecordNumber lastRecord() const { return view_.last; }
    // To the next posting: WDB_OK, WDB_FAIL behind the last one, WDB_E_CORRUPT.
    Status next();
    RecordNumber record() const { return record_; }
    Slice positions() const { return positions_; }

private:
    PositionBlockView view_;
    uint32_t place_ = 0;  // of the next posting
    size_t at_ = 0;       // its positions
    const char* distance_ = nullptr;
    RecordNumber record_ = 0;
    Slice positions_;
};

// Makes a block.
class PositionBlockWriter {
public:
    bool empty() const { return lengths_.empty(); }
    // Whether a posting with so many bytes of positions belongs into this block; a new one takes any.
    bool takes(size_t bytes) const;
    RecordNumber firstRecord() const { return first_; }
    // Records must ascend.
    void add(RecordNumber record, Slice positions);
    // The block; the writer is empty again after clear().
    Slice finish();
    void clear();

private:
    std::string block_;
    ByteBuffer lengths_;
    ByteBuffer distances_;
    ByteBuffer positions_;
    RecordNumber first_ = 0;
    RecordNumber last_ = 0;
};

// Checksum, order and lengths of a whole block.
Status validatePositionBlock(RecordNumber first, Slice block);

}  // namespace wdb
