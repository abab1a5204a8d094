#include "kernel/index/PositionReader.h"

#include "kernel/common/ByteOrder.h"
#include "kernel/index/IndexFormat.h"

namespace wdb {

PositionReader::PositionReader(const Txn& words, Slice key)
    : cursor_(words.cursor(word_table::kPositions)), key_(key), prefix_(key.size()) {
    key_.append(4, '\0');
}

// The last block that begins at or before the record.
Status PositionReader::loadBlock(RecordNumber record) {
    block_.reset();
    storeBig(key_.data() + prefix_, record);
    Status status = cursor_.seek(key_);
    if (!ok(status) && status != WDB_FAIL) return status;
    if (!ok(status))
        status = cursor_.last();
    else if (cursor_.key() != key_)
        status = cursor_.previous();
    if (!ok(status)) return status;
    const Slice found = cursor_.key();
    if (found.size() != key_.size() || !found.starts_with(Slice(key_).substr(0, prefix_))) return WDB_FAIL;
    const Result<PositionBlockReader> block =
        PositionBlockReader::open(loadBig<uint32_t>(found.data() + prefix_), cursor_.value());
    if (!block) return block.status();
    block_ = *block;
    pending_ = false;
    return WDB_OK;
}

Status PositionReader::seek(RecordNumber record, Slice& positions) {
    if (!block_ || block_->lastRecord() < record) {
        WDB_TRY(loadBlock(record));
        if (block_->lastRecord() < record) return WDB_FAIL;
    }
    while (true) {
        if (!pending_) {
            const Status status = block_->next();
            if (!ok(status)) return status;
        }
        pending_ = block_->record() > record;
        if (pending_) return WDB_FAIL;
        if (block_->record() == record) {
            positions = block_->positions();
            return WDB_OK;
        }
    }
}

}  // namespace wdb
