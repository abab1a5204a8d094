#include "kernel/index/Delta.h"

#include <algorithm>

#include "kernel/index/DeltaEntries.h"

namespace wdb {
namespace {

// Changes of a unit that are inverted when they are made: those of small statements, whose next search wants
// them anyway.
constexpr uint32_t kInvertedAtOnce = 32;
// Images that wait, in bytes.
constexpr size_t kWaitingBytes = size_t{8} << 20;

}  // namespace

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
    if (unit.first() != caughtUpTo() + 1 || !unit.settled()) return WDB_FAIL;
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
    if (position < last()) return WDB_E_ARGUMENT;
    if (waiting_.empty() && entries_->count() < kInvertedAtOnce) {
        entries_->add(position, record, image);
        return WDB_OK;
    }
    const bool deleted = image == nullptr || image->deleted();
    waiting_.push_back({position, record, deleted ? std::string() : std::string(image->image())});
    waitingBytes_ += waiting_.back().image.size();
    if (waitingBytes_ > kWaitingBytes) entries();
    return WDB_OK;
}

const DeltaEntries& UnitDelta::entries() const {
    for (; !waiting_.empty(); waiting_.pop_front()) {
        const Waiting& next = waiting_.front();
        const RecordView view = RecordView::trusted(next.image);
        entries_->add(next.position, next.record, next.image.empty() ? nullptr : &view);
    }
    waitingBytes_ = 0;
    return *entries_;
}

bool UnitDelta::empty() const {
    return entries_->empty() && waiting_.empty();
}
Position UnitDelta::first() const {
    return entries_->empty() && !waiting_.empty() ? waiting_.front().position : entries_->firstPosition();
}
Position UnitDelta::last() const {
    return waiting_.empty() ? entries_->lastPosition() : waiting_.back().position;
}

}  // namespace wdb
