#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"

namespace wdb {

// Blocks of postings with positions (docs/formats/word-index.md, table `positions`).

inline constexpr size_t kPositionBlockHeader = 10;
inline constexpr size_t kPositionBlockTarget = 2000;  // bytes after which a new block begins

// The positions of one record as stored: a varint for each, as the distance to the one before.
void appendPositions(const std::vector<uint32_t>& ascending, std::string& out);
// Replaces `out`; WDB_E_CORRUPT.
Status readPositions(Slice stored, std::vector<uint32_t>& out);

// Steps through the postings of a block.
class PositionBlockReader {
public:
    // A block by the record number of its key. WDB_E_CORRUPT when it is too short.
    static Result<PositionBlockReader> open(RecordNumber first, Slice block);

    RecordNumber lastRecord() const { return last_; }
    // To the next posting: WDB_OK, WDB_FAIL behind the last one, WDB_E_CORRUPT.
    Status next();
    RecordNumber record() const { return record_; }
    Slice positions() const { return positions_; }

private:
    const char* at_ = nullptr;
    const char* end_ = nullptr;
    RecordNumber record_ = 0;
    RecordNumber last_ = 0;
    uint32_t left_ = 0;
    Slice positions_;
};

// Makes a block.
class PositionBlockWriter {
public:
    bool empty() const { return count_ == 0; }
    bool full() const { return block_.size() >= kPositionBlockTarget || count_ == UINT16_MAX; }
    RecordNumber firstRecord() const { return first_; }
    // Records must ascend.
    void add(RecordNumber record, Slice positions);
    // The block; the writer is empty again after clear().
    Slice finish();
    void clear();

private:
    std::string block_ = std::string(kPositionBlockHeader, '\0');
    RecordNumber first_ = 0;
    RecordNumber last_ = 0;
    uint32_t count_ = 0;
};

// Checksum, order and lengths of a whole block.
Status validatePositionBlock(RecordNumber first, Slice block);

}  // namespace wdb
