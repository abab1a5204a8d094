#pragma once

#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/PositionBlock.h"
#include "kernel/index/RankCounter.h"
#include "kernel/storage/Environment.h"

namespace wdb {

// Reads the positions of one term, record by record. Which posting of the term is a record's is told by the
// term's record set; where its positions are by the lengths before it.
class PositionReader {
public:
    // `key`: field, term, 0. `records`: what the postings have under it; it must outlive the reader.
    PositionReader(const Txn& words, Slice key, const RecordSet& records);

    // The positions of a member of the record set, not below the one asked for before. WDB_E_CORRUPT when the
    // blocks do not fit the set.
    Status seek(RecordNumber record, Slice& positions);

private:
    Status loadBlock(RecordNumber record);
    bool take(RecordNumber record);

    Cursor cursor_;
    std::string key_;  // with room for the record number
    size_t prefix_;    // bytes of the key before it
    RankCounter counter_;
    PositionBlockView block_;  // count 0: none
    uint64_t before_ = 0;      // postings before the block
    uint32_t place_ = 0;       // of the latest posting within the block
    size_t at_ = 0;            // its positions
};

}  // namespace wdb
