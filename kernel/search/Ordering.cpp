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

constexpr uint64_t kBlock = 64;           // rows that are ordered beyond those asked for
constexpr uint64_t kShortWalk = 256;      // keys: always worth a walk
constexpr uint64_t kLongWalk = 20000;     // keys: a walk that still beats giving every record its place
constexpr uint64_t kFewRecords = 512;     // sorted by their values rather than by making ranks

bool fieldOrder(const SortKey& key) { return key.field != 0 && holdsItems(key.type) && key.item == 1; }

bool ranksCached(const SortKey& key, const BaseState& state) {
    return state.snapshot.sharedBase()->ranks().find(key.field, state.snapshot.valuePosition()) != nullptr;
}

}  // namespace

Status Ordering::ensure(uint64_t count, const RecordSet& records, BaseState& state) {
    if (count <= rows_.size()) return WDB_OK;
    if (lost_) return WDB_E_CHANGED;
    if (!placed_ && rows_.empty()) WDB_TRY(walk(count, records, state));
    if (count <= rows_.size()) return WDB_OK;
    WDB_TRY(fix(records, state));
    sortBlock(count);
    return WDB_OK;
}

Status Ordering::fix(const RecordSet& records, BaseState& state) {
    return placed_ ? WDB_OK : placeAll(records, state);
}

// How many keys a walk passes is guessed from the share of the field's entries that are hits.
Status Ordering::walk(uint64_t count, const RecordSet& records, BaseState& state) {
    if (keys_.size() != 1 || !fieldOrder(keys_[0])) return WDB_OK;
    const uint64_t all = records.cardinality();
    if (all == 0) return WDB_OK;
    const uint64_t wanted = std::min(count + kBlock, all);
    Result<uint64_t> entries = state.index.orderCost(keys_[0].field);
    if (!entries) return entries.status();
    const double keys = static_cast<double>(wanted) * static_cast<double>(*entries) / static_cast<double>(all);
    const bool sortInstead = keys > kShortWalk && (all <= kFewRecords || ranksCached(keys_[0], state));
    if (sortInstead || keys > kLongWalk) return WDB_OK;
    const Result<bool> reached =
        walkInOrder(keys_[0], wanted, static_cast<uint64_t>(keys) * 4 + kShortWalk, records, state, rows_);
    return reached ? WDB_OK : reached.status();
}

Status Ordering::placeAll(const RecordSet& records, BaseState& state) {
    records_ = records.toVector();
    places_.assign(records_.size() * keys_.size(), 0);
    for (size_t column = 0; column < keys_.size(); ++column) {
        WDB_TRY(placesOf(keys_[column], records, state, column));
    }
    std::vector<RecordNumber> known = rows_;
    std::sort(known.begin(), known.end());
    pending_.reserve(records_.size() - known.size());
    for (uint32_t i = 0; i < records_.size(); ++i) {
        if (!std::binary_search(known.begin(), known.end(), records_[i])) pending_.push_back(i);
    }
    placed_ = true;
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

bool Ordering::before(uint32_t a, uint32_t b) const {
    const size_t width = keys_.size();
    for (size_t column = 0; column < width; ++column) {
        const uint64_t left = places_[a * width + column], right = places_[b * width + column];
        if (left != right) return keys_[column].descending ? left > right : left < right;
    }
    return a < b;
}

void Ordering::sortBlock(uint64_t count) {
    const uint64_t missing = count > rows_.size() ? count - rows_.size() : 0;
    const size_t block = std::min<uint64_t>(pending_.size() - sorted_, std::max<uint64_t>(missing, rows_.size()) + kBlock);
    const auto begin = pending_.begin() + static_cast<ptrdiff_t>(sorted_);
    const auto end = begin + static_cast<ptrdiff_t>(block);
    const auto less = [this](uint32_t a, uint32_t b) { return before(a, b); };
    if (end != pending_.end()) std::nth_element(begin, end, pending_.end(), less);
    std::sort(begin, end, less);
    for (auto at = begin; at != end; ++at) rows_.push_back(records_[*at]);
    sorted_ += block;
}

}  // namespace wdb
