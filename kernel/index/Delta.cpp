#include "kernel/index/Delta.h"

#include <algorithm>

#include "kernel/index/DeltaEntries.h"

namespace wdb {

Delta::Delta(std::shared_ptr<const Schema> schema, Position start)
    : schema_(std::move(schema)),
      start_(start),
      caughtUpTo_(start),
      entries_(std::make_unique<DeltaEntries>(schema_)) {}

Delta::~Delta() = default;

size_t Delta::entries() const {
    return read().entries().count();
}

size_t Delta::bytes() const {
    return read().entries().bytes();
}

Status Delta::Appender::add(Position position, RecordNumber record, const RecordView* image) {
    if (position <= caughtUpTo()) return WDB_OK;
    if (position < delta_->entries_->lastPosition())
        return delta_->entries_->newest(record) >= position ? WDB_OK : WDB_E_ARGUMENT;
    delta_->entries_->add(position, record, image);
    return WDB_OK;
}

void Delta::Appender::advance(Position position) {
    if (position > caughtUpTo()) delta_->caughtUpTo_.store(position, std::memory_order_release);
}

Status Delta::Appender::fold(const UnitDelta& unit) {
    if (unit.empty() || unit.last() <= caughtUpTo()) return WDB_OK;
    if (unit.first() != caughtUpTo() + 1) return WDB_FAIL;
    delta_->entries_->addAll(unit.entries(), caughtUpTo());
    advance(unit.last());
    return WDB_OK;
}

std::shared_ptr<Delta> Delta::successor(Position merged) const {
    auto next = std::make_shared<Delta>(schema_, merged);
    const Reader reader = read();
    next->entries_->addAll(reader.entries(), merged);
    next->caughtUpTo_ = std::max(merged, caughtUpTo());
    return next;
}

UnitDelta::UnitDelta(std::shared_ptr<const Schema> schema)
    : entries_(std::make_unique<DeltaEntries>(std::move(schema))) {}
UnitDelta::~UnitDelta() = default;
UnitDelta::UnitDelta(UnitDelta&&) noexcept = default;
UnitDelta& UnitDelta::operator=(UnitDelta&&) noexcept = default;

Status UnitDelta::add(Position position, RecordNumber record, const RecordView* image) {
    if (position < entries_->lastPosition()) return WDB_E_ARGUMENT;
    entries_->add(position, record, image);
    return WDB_OK;
}

bool UnitDelta::empty() const {
    return entries_->empty();
}
Position UnitDelta::first() const {
    return entries_->firstPosition();
}
Position UnitDelta::last() const {
    return entries_->lastPosition();
}

}  // namespace wdb
