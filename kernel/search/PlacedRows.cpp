#include "kernel/search/PlacedRows.h"

#include <algorithm>

namespace wdb {

namespace {

constexpr size_t kBlock = 64;  // rows that are ordered beyond those asked for

}  // namespace

uint32_t PlacedRows::at(size_t place) {
    sortAround(place);
    return rows_[place];
}

std::vector<uint32_t> PlacedRows::take() {
    std::sort(rows_.begin(), rows_.end(), [this](uint32_t a, uint32_t b) { return before(a, b); });
    return std::move(rows_);
}

bool PlacedRows::before(uint32_t a, uint32_t b) const {
    const size_t width = descending_.size();
    for (size_t column = 0; column < width; ++column) {
        const uint64_t left = places_[a * width + column], right = places_[b * width + column];
        if (left != right) return descending_[column] ? left > right : left < right;
    }
    return a < b;
}

void PlacedRows::sortAround(size_t at) {
    const auto less = [this](uint32_t a, uint32_t b) { return before(a, b); };
    auto next = std::upper_bound(stretches_.begin(), stretches_.end(), at,
                                 [](size_t place, const Stretch& stretch) { return place < stretch.begin; });
    const size_t place = static_cast<size_t>(next - stretches_.begin()) - 1;
    if (stretches_[place].sorted) return;
    const size_t begin = stretches_[place].begin;
    const size_t end = next == stretches_.end() ? rows_.size() : next->begin;
    // Reading on doubles the stretch before; a jump begins anew.
    const bool onwards = at == begin && place > 0 && stretches_[place - 1].sorted;
    const size_t block = onwards ? std::max<size_t>(kBlock, begin - stretches_[place - 1].begin) * 2 : kBlock;
    const size_t from = at - begin <= block ? begin : at;
    const size_t to = end - at <= 2 * block ? end : at + block;
    const auto item = [this](size_t i) { return rows_.begin() + static_cast<ptrdiff_t>(i); };
    if (from > begin) std::nth_element(item(begin), item(from), item(end), less);
    if (to < end) std::nth_element(item(from), item(to), item(end), less);
    std::sort(item(from), item(to), less);
    std::vector<Stretch> parts;
    if (from > begin) parts.push_back({begin, false});
    parts.push_back({from, true});
    if (to < end) parts.push_back({to, false});
    stretches_.erase(stretches_.begin() + static_cast<ptrdiff_t>(place));
    stretches_.insert(stretches_.begin() + static_cast<ptrdiff_t>(place), parts.begin(), parts.end());
}

}  // namespace wdb
