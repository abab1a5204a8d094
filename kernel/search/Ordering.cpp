#include "kernel/search/Ordering.h"

#include <algorithm>
#include <numeric>

#include "kernel/catalog/OpenBase.h"
#include "kernel/index/RankCache.h"
#include "kernel/record/ValueKey.h"
#include "kernel/search/OrderedWalk.h"
#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

constexpr uint64_t kBlock = 64;        // rows that are ordered beyond those asked for
constexpr uint64_t kShortWalk = 256;   // keys: worth a walk unless there are ranks
constexpr uint64_t kStep = 16;         // keys: always worth a walk
constexpr uint64_t kLongWalk = 20000;  // keys: a walk that still beats giving every record its place
constexpr uint64_t kFewRecords = 512;  // sorted by their values rather than by making ranks
constexpr uint64_t kRecordKeys = 8;    // keys that a walk passes while a record's value is read
// The ranks are made when walks have passed this part of the file's entries: making them reads those of one
// field.
constexpr uint64_t kRankShare = 4;

bool fieldOrder(const SortKey& key) {
    return key.field != 0 && holdsItems(key.type) && key.item == 1;
}

bool ranksCached(const SortKey& key, const BaseState& state) {
    return state.snapshot.sharedBase()->ranks().find(key.field, state.snapshot.valuePosition()) != nullptr;
}

// Notes what an order has cost for want of ranks. True when they are there, or when making them pays by now.
Result<bool> ranksPay(const SortKey& key, BaseState& state, uint64_t keys) {
    if (ranksCached(key, state)) return true;
    const Result<uint64_t> entries = state.index.orderCost(key.field);
    if (!entries) return entries.status();
    return state.snapshot.sharedBase()->ranks().walked(key.field, state.snapshot.valuePosition(), keys,
                                                       *entries / kRankShare);
}

}  // namespace

Result<RecordNumber> Ordering::at(uint64_t place, const RecordSet& records, BaseState& state) {
    if (has(place)) return known(place);
    if (lost_) return Status{WDB_E_CHANGED};
    if (first_.empty()) {
        const Status status = walk(place + 1, records, state);
        if (status != WDB_OK) return status;
        if (has(place)) return known(place);
    }
    const Status status = fix(records, state);
    if (status != WDB_OK) return status;
    return known(place);
}

RecordNumber Ordering::known(uint64_t place) {
    if (ranked_) return ranked_->at(place);
    if (place < first_.size()) return first_[place];
    return records_[placed_->at(place - first_.size())];
}

Status Ordering::fix(const RecordSet& records, BaseState& state) {
    if (placed_ || ranked_) return WDB_OK;
    if (keys_.size() != 1 || !fieldOrder(keys_[0])) return placeAll(records, state);
    if (const uint64_t count = records.cardinality(); count <= kFewRecords) {
        const Result<bool> pays = ranksPay(keys_[0], state, count * kRecordKeys);
        if (!pays) return pays.status();
        if (!*pays) return placeAll(records, state);
    }
    Result<std::unique_ptr<RankOrder>> made =
        RankOrder::make(keys_[0].field, keys_[0].descending, records, state);
    if (!made && made.status() != WDB_FAIL) return made.status();
    if (!made) return placeAll(records, state);
    // After a write in between the rows told before stay where they are, and none comes twice.
    if (!first_.empty() && !agrees(**made)) return placeAll(records, state);
    ranked_ = std::move(*made);
    return WDB_OK;
}

bool Ordering::agrees(RankOrder& order) const {
    for (uint64_t place = 0; place < first_.size(); ++place) {
        if (order.at(place) != first_[place]) return false;
    }
    return true;
}

// How many keys a walk passes is guessed from the share of the field's entries that are hits.
Status Ordering::walk(uint64_t count, const RecordSet& records, BaseState& state) {
    if (keys_.size() != 1 || !fieldOrder(keys_[0])) return WDB_OK;
    const uint64_t all = records.cardinality();
    if (all == 0) return WDB_OK;
    const uint64_t wanted = std::min(count + kBlock, all);
    Result<uint64_t> entries = state.index.orderCost(keys_[0].field);
    if (!entries) return entries.status();
    const double keys =
        static_cast<double>(wanted) * static_cast<double>(*entries) / static_cast<double>(all);
    if (keys > kLongWalk || (keys > kShortWalk && all <= kFewRecords)) return WDB_OK;
    const Result<bool> pays = keys > kStep ? ranksPay(keys_[0], state, 0) : false;
    if (!pays) return pays.status();
    if (*pays) return WDB_OK;
    uint64_t budget = static_cast<uint64_t>(keys) * 4 + kShortWalk;
    const uint64_t before = budget;
    const Result<bool> reached = walkInOrder(keys_[0], wanted, budget, records, state, first_);
    if (!reached) return reached.status();
    return ranksPay(keys_[0], state, before - budget).status();
}

Status Ordering::placeAll(const RecordSet& records, BaseState& state) {
    records_ = records.toVector();
    places_.assign(records_.size() * keys_.size(), 0);
    for (size_t column = 0; column < keys_.size(); ++column) {
        WDB_TRY(placesOf(keys_[column], records, state, column));
    }
    std::vector<RecordNumber> walked = first_;
    std::sort(walked.begin(), walked.end());
    std::vector<uint32_t> pending;
    pending.reserve(records_.size() - walked.size());
    auto skip = walked.begin();
    for (uint32_t i = 0; i < records_.size(); ++i) {
        if (skip != walked.end() && *skip == records_[i])
            ++skip;
        else
            pending.push_back(i);
    }
    std::vector<char> descending;
    for (const SortKey& key : keys_) descending.push_back(key.descending);
    placed_.emplace(std::move(descending), std::move(places_), std::move(pending));
    return WDB_OK;
}

Status Ordering::placesOf(const SortKey& key, const RecordSet& records, BaseState& state, size_t column) {
    const size_t width = keys_.size();
    if (key.field == 0) {
        for (size_t i = 0; i < records_.size(); ++i) places_[i * width + column] = records_[i];
        return WDB_OK;
    }
    const bool byValue = !fieldOrder(key) || (records_.size() <= kFewRecords && !ranksCached(key, state));
    if (byValue) return placesByValue(key, state, column);
    std::vector<OrderedRecord> ordered;
    WDB_TRY(state.index.places(key.field, records, ordered));
    if (ordered.size() != records_.size()) return WDB_E_CORRUPT;
    for (size_t i = 0; i < ordered.size(); ++i) places_[i * width + column] = ordered[i].place;
    return WDB_OK;
}

// Decodes the records: for few of them, and for what no index orders.
Status Ordering::placesByValue(const SortKey& key, BaseState& state, size_t column) {
    std::vector<std::string> values(records_.size());
    for (size_t i = 0; i < records_.size(); ++i) {
        const Result<RecordView> record = state.snapshot.record(records_[i]);
        // A record that was deleted since the set was made keeps a row: with the empty values.
        if (record.status() == WDB_E_DELETED || record.status() == WDB_FAIL) continue;
        if (!record) return record.status();
        const Slice item = record->items(key.field).at(key.item);
        if (item.empty()) continue;
        values[i] = holdsItems(key.type) ? wholeValueKey(key.type, item) : normalize(item, kNormalizeValue);
    }
    std::vector<uint32_t> order(records_.size());
    std::iota(order.begin(), order.end(), 0u);
    std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return values[a] < values[b]; });
    uint64_t place = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        if (values[order[i]].empty()) continue;
        if (i == 0 || values[order[i]] != values[order[i - 1]]) ++place;
        places_[order[i] * keys_.size() + column] = place;
    }
    return WDB_OK;
}

}  // namespace wdb
