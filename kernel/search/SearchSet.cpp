#include "kernel/search/SearchSet.h"

#include <algorithm>

namespace wdb {

namespace {

constexpr size_t kWindow = 256;

}  // namespace

uint64_t SearchSet::rows() const {
    if (joined) return joined->size();
    if (block) return block->size();
    if (bases.empty()) return 1;
    uint64_t sum = 0;
    for (const SetBase& base : bases) sum += base.count;
    return sum;
}

bool SearchSet::has(const OpenBase& base) const {
    return std::any_of(bases.begin(), bases.end(),
                       [&](const SetBase& one) { return one.base->id() == base.id(); });
}

uint64_t SearchSet::firstRecords() {
    if (joined || bases.empty()) return 0;
    if (kind == SetKind::Records) return rows();
    if (block) collectRecords(0);
    return bases.front().count;
}

RecordSet SearchSet::recordsOf(const OpenBase& base) {
    if (joined) return {};
    for (size_t i = 0; i < bases.size(); ++i) {
        if (bases[i].base->id() != base.id()) continue;
        if (block) collectRecords(i);
        return bases[i].records.view();
    }
    return {};
}

void SearchSet::collectRecords(size_t base) {
    SetBase& one = bases[base];
    if (one.collected || !block->plain) return;
    one.collected = true;
    std::vector<RecordNumber> numbers = block->rows.records(static_cast<uint32_t>(base));
    if (!std::is_sorted(numbers.begin(), numbers.end())) std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    if (!numbers.empty() && numbers.front() == 0) numbers.erase(numbers.begin());
    one.records = RecordSet::of(numbers);
    one.count = numbers.size();
}

Result<RecordNumber> SearchSet::recordInRow(SetBase& base, uint64_t place, const BaseSnapshot& snapshot,
                                            SearchContext& context) {
    if (order == nullptr) return byNumber(base, place);
    if (order->has(place)) return order->known(place);
    BaseState state(context, snapshot);
    return order->at(place, base.records, state);
}

RecordNumber SearchSet::byNumber(SetBase& base, uint64_t place) {
    if (bases.size() > 1) return base.records.select(place);
    if (place < windowStart || place >= windowStart + window.size()) {
        // A walk goes on in blocks; a jump fetches what it asked for.
        const bool onwards = !window.empty() && place == windowStart + window.size();
        base.records.copyTo(place, onwards ? kWindow : kWindow / 8, window);
        windowStart = place;
        if (window.empty()) return 0;
    }
    return window[place - windowStart];
}

}  // namespace wdb
