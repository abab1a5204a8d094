#include "kernel/search/RankOrder.h"

#include <algorithm>

#include "kernel/catalog/OpenBase.h"

namespace wdb {

namespace {

constexpr uint64_t kManyLoose = 16384;  // records to be sorted by themselves
constexpr size_t kFirstWindow = 32;     // rows that a walk makes at once: a page,
constexpr size_t kWindow = 256;         // and more when it goes on

}  // namespace

Result<std::unique_ptr<RankOrder>> RankOrder::make(FieldNumber field, bool descending,
                                                   const RecordSet& records, BaseState& state) {
    const auto ranks = state.index.ranks(field);
    if (!ranks) return ranks.status();
    std::unique_ptr<RankOrder> order(new RankOrder(*ranks, descending));
    Result<RecordSet> unknown = state.index.unranked(field, **ranks);
    if (!unknown) return unknown.status();
    unknown->intersect(records);
    if (unknown->cardinality() > kManyLoose) return Status{WDB_FAIL};
    RecordSet known = RecordSet::difference(records, *unknown);
    std::vector<OrderedRecord> placed;
    if (const Status status = state.index.places(field, *unknown, placed); status != WDB_OK) return status;
    Result<RecordSet> present = state.index.present(field);
    if (!present) return present.status();
    if (RecordSet::intersectionCardinality(known, *present) < known.cardinality())
        order->empties_ = RecordSet::difference(known, *present);
    for (const OrderedRecord& one : placed) {
        if (one.place == 0)
            order->empties_.add(one.record);
        else
            order->loose_.push_back({one.place, one.record});
    }
    std::sort(order->loose_.begin(), order->loose_.end(), [&](const Placed& a, const Placed& b) {
        if (a.place != b.place) return descending ? a.place > b.place : a.place < b.place;
        return a.record < b.record;
    });
    order->empties_.own();
    order->emptyCount_ = order->empties_.cardinality();
    order->count_ = records.cardinality();
    known.subtract(order->empties_);
    order->full_ = order->loose_.empty() && known.cardinality() == (*ranks)->inOrder.size();
    if (!order->full_) {
        order->known_ = std::move(known);
        order->spread();
        order->restart();
    }
    return order;
}

// Bits for every chunk of the known records: its own where it has them.
void RankOrder::spread() {
    known_.own();
    for (size_t i = 0; i < known_.chunkCount(); ++i) {
        const ContainerView& chunk = known_.chunk(i);
        bits_.resize(size_t{known_.chunkNumber(i)} + 1, nullptr);
        if (chunk.kind == ContainerKind::Bitmap) {
            bits_.back() = chunk.data;
            continue;
        }
        char* bits = spread_.emplace_back(new char[kBitmapBytes]()).get();
        chunk.forEach([&](uint16_t low) { bits[low / 8] = static_cast<char>(bits[low / 8] | 1 << low % 8); });
        bits_.back() = bits;
    }
}

RecordNumber RankOrder::at(uint64_t place) {
    if (full_) return direct(place);
    if (place < windowBegin_) restart();
    while (place >= windowBegin_ + window_.size()) goOn();
    return window_[place - windowBegin_];
}

// The first and the place behind the last record with the same value.
uint32_t RankOrder::stretchBegin(uint32_t at) const {
    const auto& order = ranks_->inOrder;
    const uint32_t rank = ranks_->of(order[at]);
    return static_cast<uint32_t>(
        std::partition_point(order.begin(), order.begin() + at,
                             [&](RecordNumber record) { return ranks_->of(record) < rank; }) -
        order.begin());
}
uint32_t RankOrder::stretchEnd(uint32_t at) const {
    const auto& order = ranks_->inOrder;
    const uint32_t rank = ranks_->of(order[at]);
    return static_cast<uint32_t>(
        std::partition_point(order.begin() + at, order.end(),
                             [&](RecordNumber record) { return ranks_->of(record) <= rank; }) -
        order.begin());
}

RecordNumber RankOrder::direct(uint64_t place) const {
    const auto& order = ranks_->inOrder;
    if (!descending_) {
        return place < emptyCount_ ? empties_.select(place) : order[place - emptyCount_];
    }
    if (place >= order.size()) return empties_.select(place - order.size());
    // Values descend, the records of one value ascend.
    const uint32_t mirrored = static_cast<uint32_t>(order.size() - 1 - place);
    const uint32_t begin = stretchBegin(mirrored), end = stretchEnd(mirrored);
    return order[begin + (end - 1 - mirrored)];
}

void RankOrder::restart() {
    window_.clear();
    windowBegin_ = 0;
    emptyAt_ = 0;
    looseAt_ = 0;
    at_ = begin_ = end_ = descending_ ? static_cast<uint32_t>(ranks_->inOrder.size()) : 0;
    if (descending_) at_ = end_ = begin_;
    ranked_ = nextRanked();
}

RecordNumber RankOrder::nextRanked() {
    const auto& order = ranks_->inOrder;
    if (!descending_) {
        while (at_ < order.size()) {
            const RecordNumber record = order[at_++];
            if (isMember(record)) return record;
        }
        return 0;
    }
    while (true) {
        while (at_ < end_) {
            const RecordNumber record = order[at_++];
            if (isMember(record)) return record;
        }
        if (begin_ == 0) return 0;
        end_ = begin_;
        begin_ = stretchBegin(end_ - 1);
        at_ = begin_;
    }
}

// The next rows into the window: empty values first, descending last.
void RankOrder::goOn() {
    windowBegin_ += window_.size();
    const size_t size = window_.empty() ? kFirstWindow : kWindow;
    window_.clear();
    const auto addEmpties = [this, size] {
        std::vector<RecordNumber> block;
        empties_.copyTo(emptyAt_, size - window_.size(), block);
        emptyAt_ += block.size();
        window_.insert(window_.end(), block.begin(), block.end());
    };
    if (!descending_ && emptyAt_ < emptyCount_) addEmpties();
    while (window_.size() < size && (ranked_ != 0 || looseAt_ < loose_.size())) {
        bool takeLoose = ranked_ == 0;
        if (ranked_ != 0 && looseAt_ < loose_.size()) {
            const Placed& loose = loose_[looseAt_];
            const uint64_t place = IndexView::placeOf(ranks_->of(ranked_));
            takeLoose = loose.place == place ? loose.record < ranked_ : (loose.place < place) != descending_;
        }
        if (takeLoose) {
            window_.push_back(loose_[looseAt_++].record);
        } else {
            window_.push_back(ranked_);
            ranked_ = nextRanked();
        }
    }
    if (descending_ && window_.size() < size) addEmpties();
}

}  // namespace wdb
