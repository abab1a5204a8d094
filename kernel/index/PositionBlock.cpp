#include "kernel/index/PositionBlock.h"

#include <algorithm>

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

Result<PositionBlockView> PositionBlockView::open(RecordNumber first, Slice block) {
    if (block.size() < kPositionBlockHeader) return Status{WDB_E_CORRUPT};
    PositionBlockView view;
    view.first = first;
    view.last = loadLittle<uint32_t>(block.data() + 4);
    view.count = loadLittle<uint16_t>(block.data() + 8);
    const size_t distances = loadLittle<uint16_t>(block.data() + 10);
    const Slice rest = block.substr(kPositionBlockHeader);
    if (rest.size() < view.count + distances) return Status{WDB_E_CORRUPT};
    view.lengths = rest.data();
    view.distances = rest.substr(view.count, distances);
    view.positions = rest.substr(view.count + distances);
    return view;
}

Result<PositionBlockReader> PositionBlockReader::open(RecordNumber first, Slice block) {
    const Result<PositionBlockView> view = PositionBlockView::open(first, block);
    if (!view) return view.status();
    PositionBlockReader reader;
    reader.view_ = *view;
    reader.distance_ = view->distances.data();
    reader.record_ = first;
    return reader;
}

Status PositionBlockReader::next() {
    if (place_ == view_.count) return WDB_FAIL;
    uint32_t distance;
    const size_t size = view_.length(place_);
    if (!readVarint(distance_, view_.distances.data() + view_.distances.size(), distance) ||
        size > view_.positions.size() - at_)
        return WDB_E_CORRUPT;
    ++place_;
    record_ += distance;
    positions_ = view_.positions.substr(at_, size);
    at_ += size;
    return WDB_OK;
}

bool PositionBlockWriter::takes(size_t bytes) const {
    if (empty()) return true;
    // A varint takes five bytes at most, so that the distances of a block that is not full fit their two
    // bytes.
    const size_t used = lengths_.size() + distances_.size() + positions_.size();
    return used < kPositionBlockTarget && bytes < kLongPositions &&
           positions_.size() < kPositionBlockTarget &&
           !(lengths_.size() == 1 && positions_.size() >= kLongPositions);
}

void PositionBlockWriter::add(RecordNumber record, Slice positions) {
    if (empty()) first_ = last_ = record;
    distances_.varint(record - last_);
    lengths_.push(static_cast<char>(std::min(positions.size(), kLongPositions)));
    positions_.append(positions);
    last_ = record;
}

Slice PositionBlockWriter::finish() {
    block_.assign(kPositionBlockHeader, '\0');
    storeLittle(block_.data() + 4, last_);
    storeLittle(block_.data() + 8, static_cast<uint16_t>(lengths_.size()));
    storeLittle(block_.data() + 10, static_cast<uint16_t>(distances_.size()));
    block_.append(lengths_.view()).append(distances_.view()).append(positions_.view());
    storeLittle(block_.data(), checksum(block_));
    return block_;
}

void PositionBlockWriter::clear() {
    lengths_.clear();
    distances_.clear();
    positions_.clear();
}

Status validatePositionBlock(RecordNumber first, Slice block) {
    const Result<PositionBlockView> view = PositionBlockView::open(first, block);
    if (!view) return view.status();
    if (loadLittle<uint32_t>(block.data()) != checksum(block)) return WDB_E_CORRUPT;
    Result<PositionBlockReader> reader = PositionBlockReader::open(first, block);
    if (!reader) return reader.status();
    std::vector<uint32_t> positions;
    RecordNumber before = 0;
    size_t used = 0;
    Status status;
    while (ok(status = reader->next())) {
        if (reader->record() <= before) return WDB_E_CORRUPT;
        before = reader->record();
        WDB_TRY(readPositions(reader->positions(), positions));
        for (size_t i = 1; i < positions.size(); ++i) {
            if (positions[i - 1] >= positions[i]) return WDB_E_CORRUPT;
        }
        if (positions.empty()) return WDB_E_CORRUPT;
        used += reader->positions().size();
    }
    if (status != WDB_FAIL) return status;
    return before == view->last && used == view->positions.size() ? WDB_OK : WDB_E_CORRUPT;
}

}  // namespace wdb
