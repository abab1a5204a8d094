#pragma once

#include <optional>
#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/PositionBlock.h"
#include "kernel/storage/Environment.h"

namespace wdb {

// Reads the positions of one term, record by record in ascending order.
class PositionReader {
public:
    // `key`: field, term, 0.
    PositionReader(const Txn& words, Slice key);

    // The positions of a record above those asked for before: WDB_OK, WDB_FAIL when the term has none there,
    // WDB_E_CORRUPT.
    Status seek(RecordNumber record, Slice& positions);

private:
    Status loadBlock(RecordNumber record);

    Cursor cursor_;
    std::string key_;  // with room for the record number
    size_t prefix_;    // bytes of the key before it
    std::optional<PositionBlockReader> block_;
    bool pending_ = false;  // the block's present posting was not used yet
};

}  // namespace wdb
