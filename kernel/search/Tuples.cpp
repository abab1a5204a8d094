#include "kernel/search/Tuples.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace wdb {

namespace {

template <typename Number>
void gatherOne(std::vector<Number>& numbers, const std::vector<uint32_t>& places) {
    std::vector<Number> result(places.size());
    for (size_t i = 0; i < places.size(); ++i) {
        if (places[i] != Tuples::kNone) result[i] = numbers[places[i]];
    }
    numbers = std::move(result);
}

}  // namespace

void Tuples::set(uint32_t table, std::vector<RecordNumber> records, std::vector<PartNumber> parts) {
    size_ = records.size();
    tables_[table] = {std::move(records), std::move(parts)};
    joined_[table] = 1;
}

void Tuples::gather(const std::vector<uint32_t>& places) {
    for (uint32_t table = 0; table < tables_.size(); ++table) {
        if (!joined_[table]) continue;
        gatherOne(tables_[table].records, places);
        if (!tables_[table].parts.empty()) gatherOne(tables_[table].parts, places);
    }
    size_ = places.size();
}

bool Tuples::before(size_t a, size_t b) const {
    for (uint32_t table = 0; table < tables_.size(); ++table) {
        if (!joined_[table]) continue;
        const Table& one = tables_[table];
        if (one.records[a] != one.records[b]) return one.records[a] < one.records[b];
        if (!one.parts.empty() && one.parts[a] != one.parts[b]) return one.parts[a] < one.parts[b];
    }
    return false;
}

void Tuples::sort() {
    bool sorted = true;
    for (size_t row = 1; row < size_ && sorted; ++row) sorted = !before(row, row - 1);
    if (sorted) return;
    std::vector<uint32_t> places(size_);
    std::iota(places.begin(), places.end(), 0u);
    std::sort(places.begin(), places.end(), [this](uint32_t a, uint32_t b) { return before(a, b); });
    gather(places);
}

Tuples Tuples::oneEmpty(size_t tables) {
    Tuples rows(tables);
    for (uint32_t table = 0; table < tables; ++table) rows.set(table, {0}, {});
    return rows;
}

}  // namespace wdb
