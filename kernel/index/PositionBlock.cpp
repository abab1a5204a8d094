#include "kernel/index/PositionBlock.h"

#include <xxhash.h>

#include "kernel/common/ByteOrder.h"
#include "kernel/index/Varint.h"

namespace wdb {

namespace {

uint32_t checksum(Slice block) {
    return static_cast<uint32_t>(XXH3_64bits(block.data() + 4, block.size() - 4));
}

}  // namespace

void appendPositions(const std::vector<uint32_t>& ascending, std::string& out) {
    uint32_t before = 0;
    for (const uint32_t position : ascending) {
        appendVarint(out, position - before);
        before = position;
    }
}

Status readPositions(Slice stored, std::vector<uint32_t>& out) {
    out.clear();
    const char* at = stored.data();
    const char* const end = at + stored.size();
    uint32_t position = 0;
    while (at < end) {
        uint32_t distance;
        if (!readVarint(at, end, distance)) return WDB_E_CORRUPT;
        position += distance;
        out.push_back(position);
    }
    return WDB_OK;
}

Result<PositionBlockReader> PositionBlockReader::open(RecordNumber first, Slice block) {
    if (block.size() < kPositionBlockHeader) return Status{WDB_E_CORRUPT};
    PositionBlockReader reader;
    reader.at_ = block.data() + kPositionBlockHeader;
    reader.end_ = block.data() + block.size();
    reader.record_ = first;
    reader.last_ = loadLittle<uint32_t>(block.data() + 4);
    reader.left_ = loadLittle<uint16_t>(block.data() + 8);
    return reader;
}

Status PositionBlockReader::next() {
    if (left_ == 0) return WDB_FAIL;
    uint32_t distance;
    uint32_t size;
    if (!readVarint(at_, end_, distance) || !readVarint(at_, end_, size) ||
        size > static_cast<size_t>(end_ - at_))
        return WDB_E_CORRUPT;
    --left_;
    record_ += distance;
    positions_ = {at_, size};
    at_ += size;
    return WDB_OK;
}

void PositionBlockWriter::add(RecordNumber record, Slice positions) {
    if (empty()) first_ = last_ = record;
    appendVarint(block_, record - last_);
    appendVarint(block_, positions.size());
    block_.append(positions);
    last_ = record;
    ++count_;
}

Slice PositionBlockWriter::finish() {
    storeLittle(block_.data() + 4, last_);
    storeLittle(block_.data() + 8, static_cast<uint16_t>(count_));
    storeLittle(block_.data(), checksum(block_));
    return block_;
}

void PositionBlockWriter::clear() {
    block_.resize(kPositionBlockHeader);
    count_ = 0;
}

Status validatePositionBlock(RecordNumber first, Slice block) {
    Result<PositionBlockReader> reader = PositionBlockReader::open(first, block);
    if (!reader) return reader.status();
    if (loadLittle<uint32_t>(block.data()) != checksum(block)) return WDB_E_CORRUPT;
    std::vector<uint32_t> positions;
    RecordNumber before = 0;
    size_t used = kPositionBlockHeader;
    Status status;
    while (ok(status = reader->next())) {
        if (reader->record() <= before) return WDB_E_CORRUPT;
        before = reader->record();
        WDB_TRY(readPositions(reader->positions(), positions));
        for (size_t i = 1; i < positions.size(); ++i) {
            if (positions[i - 1] >= positions[i]) return WDB_E_CORRUPT;
        }
        if (positions.empty()) return WDB_E_CORRUPT;
        used = static_cast<size_t>(reader->positions().data() + reader->positions().size() - block.data());
    }
    if (status != WDB_FAIL) return status;
    return before == reader->lastRecord() && used == block.size() ? WDB_OK : WDB_E_CORRUPT;
}

}  // namespace wdb
