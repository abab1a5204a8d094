#include "kernel/search/SearchSet.h"

#include <algorithm>

namespace wdb {

namespace {

constexpr size_t kWindow = 256;

}  // namespace

uint64_t SearchSet::rows() const {
    if (bases.empty()) return 1;
    uint64_t sum = 0;
    for (const SetBase& base : bases) sum += base.count;
    return sum;
}

bool SearchSet::has(const OpenBase& base) const {
    return std::any_of(bases.begin(), bases.end(), [&](const SetBase& one) { return one.base->id() == base.id(); });
}

RecordSet SearchSet::recordsOf(const OpenBase& base) const {
    for (const SetBase& one : bases) {
        if (one.base->id() == base.id()) return one.records.view();
    }
    return {};
}

RecordNumber SearchSet::byNumber(SetBase& base, uint64_t place) {
    if (bases.size() > 1) return base.records.select(place);
    if (place < windowStart || place >= windowStart + window.size()) {
        // A walk goes on in blocks; a jump fetches what it asked for.
        const bool onwards = place == windowStart + window.size();
        base.records.copyTo(place, onwards ? kWindow : kWindow / 8, window);
        windowStart = place;
        if (window.empty()) return 0;
    }
    return window[place - windowStart];
}

}  // namespace wdb
