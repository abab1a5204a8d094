#include "kernel/index/RecordSet.h"

#include <algorithm>

#include "kernel/index/ContainerOps.h"

namespace wdb {
namespace {

constexpr uint16_t chunkOf(RecordNumber record) { return static_cast<uint16_t>(record >> 16); }
constexpr uint16_t lowOf(RecordNumber record) { return static_cast<uint16_t>(record & 0xFFFF); }

}  // namespace

RecordSet RecordSet::of(std::span<const RecordNumber> ascending) {
    RecordSet set;
    std::vector<uint16_t> lows;
    for (size_t at = 0; at < ascending.size();) {
        const uint16_t chunk = chunkOf(ascending[at]);
        lows.clear();
        for (; at < ascending.size() && chunkOf(ascending[at]) == chunk; ++at) lows.push_back(lowOf(ascending[at]));
        OwnedContainer made = containerOf(lows.data(), static_cast<uint32_t>(lows.size()));
        set.adopt(chunk, made.view, std::move(made.data));
    }
    return set;
}

RecordSet RecordSet::single(RecordNumber record) { return of({&record, 1}); }

RecordSet RecordSet::range(RecordNumber first, RecordNumber last) {
    RecordSet set;
    if (last < first) return set;
    for (uint32_t chunk = chunkOf(first); chunk <= chunkOf(last); ++chunk) {
        const uint16_t low = chunk == chunkOf(first) ? lowOf(first) : uint16_t{0};
        const uint16_t high = chunk == chunkOf(last) ? lowOf(last) : uint16_t{0xFFFF};
        OwnedContainer made = containerOfRange(low, high);
        set.adopt(static_cast<uint16_t>(chunk), made.view, std::move(made.data));
    }
    return set;
}

Status RecordSet::borrow(uint16_t chunk, Slice stored) {
    const Result<ContainerView> view = readContainer(stored);
    if (!view) return view.status();
    borrow(chunk, *view);
    return WDB_OK;
}

void RecordSet::borrow(uint16_t chunk, const ContainerView& container) {
    if (container.cardinality != 0) chunks_.push_back({chunk, container, nullptr});
}

void RecordSet::adopt(uint16_t chunk, const ContainerView& container, std::unique_ptr<char[]> data) {
    if (container.cardinality != 0) chunks_.push_back({chunk, container, std::move(data)});
}

uint64_t RecordSet::cardinality() const {
    uint64_t count = 0;
    for (const Chunk& chunk : chunks_) count += chunk.view.cardinality;
    return count;
}

size_t RecordSet::findChunk(uint16_t number) const {
    const auto place = std::lower_bound(chunks_.begin(), chunks_.end(), number,
                                        [](const Chunk& chunk, uint16_t wanted) { return chunk.number < wanted; });
    return static_cast<size_t>(place - chunks_.begin());
}

bool RecordSet::contains(RecordNumber record) const {
    const size_t place = findChunk(chunkOf(record));
    return place < chunks_.size() && chunks_[place].number == chunkOf(record) &&
           chunks_[place].view.contains(lowOf(record));
}

RecordNumber RecordSet::select(uint64_t place) const {
    for (const Chunk& chunk : chunks_) {
        if (place < chunk.view.cardinality) {
            return RecordNumber{chunk.number} << 16 | chunk.view.select(static_cast<uint32_t>(place));
        }
        place -= chunk.view.cardinality;
    }
    return 0;
}

uint64_t RecordSet::rank(RecordNumber record) const {
    uint64_t count = 0;
    for (const Chunk& chunk : chunks_) {
        if (chunk.number > chunkOf(record)) break;
        count += chunk.number < chunkOf(record) ? chunk.view.cardinality : chunk.view.rank(lowOf(record));
    }
    return count;
}

RecordNumber RecordSet::last() const {
    if (chunks_.empty()) return 0;
    const Chunk& chunk = chunks_.back();
    return RecordNumber{chunk.number} << 16 | chunk.view.select(chunk.view.cardinality - 1);
}

RecordNumber RecordSet::after(RecordNumber record) const {
    if (record == UINT32_MAX) return 0;
    const RecordNumber wanted = record + 1;
    for (size_t place = findChunk(chunkOf(wanted)); place < chunks_.size(); ++place) {
        const Chunk& chunk = chunks_[place];
        const uint32_t below = chunk.number == chunkOf(wanted) ? chunk.view.rank(lowOf(wanted)) : 0;
        if (below < chunk.view.cardinality) return RecordNumber{chunk.number} << 16 | chunk.view.select(below);
    }
    return 0;
}

void RecordSet::add(RecordNumber record) {
    const size_t place = findChunk(chunkOf(record));
    const uint16_t low = lowOf(record);
    OwnedContainer single = containerOf(&low, 1);
    if (place == chunks_.size() || chunks_[place].number != chunkOf(record)) {
        chunks_.insert(chunks_.begin() + static_cast<ptrdiff_t>(place),
                       Chunk{chunkOf(record), single.view, std::move(single.data)});
        return;
    }
    Chunk& chunk = chunks_[place];
    if (chunk.view.contains(low)) return;
    OwnedContainer made = wdb::unite(chunk.view, single.view);
    chunk.view = made.view;
    chunk.owned = std::move(made.data);
}

void RecordSet::remove(RecordNumber record) {
    const size_t place = findChunk(chunkOf(record));
    const uint16_t low = lowOf(record);
    if (place == chunks_.size() || chunks_[place].number != chunkOf(record)) return;
    Chunk& chunk = chunks_[place];
    if (!chunk.view.contains(low)) return;
    const OwnedContainer single = containerOf(&low, 1);
    OwnedContainer made = wdb::subtract(chunk.view, single.view);
    if (made.view.cardinality == 0) {
        chunks_.erase(chunks_.begin() + static_cast<ptrdiff_t>(place));
        return;
    }
    chunk.view = made.view;
    chunk.owned = std::move(made.data);
}

void RecordSet::intersect(const RecordSet& other) { *this = intersection(*this, other); }

void RecordSet::unite(const RecordSet& other) {
    RecordSet copy;
    for (const Chunk& chunk : other.chunks_) copy.chunks_.push_back({chunk.number, chunk.view, nullptr});
    unite(std::move(copy));
}

void RecordSet::unite(RecordSet&& other) {
    if (chunks_.empty()) {
        chunks_ = std::move(other.chunks_);
        return;
    }
    std::vector<Chunk> merged;
    merged.reserve(chunks_.size() + other.chunks_.size());
    auto a = chunks_.begin();
    auto b = other.chunks_.begin();
    while (a != chunks_.end() && b != other.chunks_.end()) {
        if (a->number < b->number) {
            merged.push_back(std::move(*a++));
        } else if (b->number < a->number) {
            merged.push_back(std::move(*b++));
        } else {
            OwnedContainer made = wdb::unite(a->view, b->view);
            merged.push_back({a->number, made.view, std::move(made.data)});
            ++a;
            ++b;
        }
    }
    std::move(a, chunks_.end(), std::back_inserter(merged));
    std::move(b, other.chunks_.end(), std::back_inserter(merged));
    chunks_ = std::move(merged);
    other.chunks_.clear();
}

void RecordSet::subtract(const RecordSet& other) {
    std::vector<Chunk> kept;
    kept.reserve(chunks_.size());
    size_t at = 0;
    for (Chunk& chunk : chunks_) {
        while (at < other.chunks_.size() && other.chunks_[at].number < chunk.number) ++at;
        if (at == other.chunks_.size() || other.chunks_[at].number != chunk.number ||
            !wdb::intersects(chunk.view, other.chunks_[at].view)) {
            kept.push_back(std::move(chunk));
            continue;
        }
        OwnedContainer made = wdb::subtract(chunk.view, other.chunks_[at].view);
        if (made.view.cardinality != 0) kept.push_back({chunk.number, made.view, std::move(made.data)});
    }
    chunks_ = std::move(kept);
}

namespace {

// Calls visit(place in a, place in b) for each chunk that both sets have.
template <typename Visit>
void forCommonChunks(const RecordSet& a, const RecordSet& b, Visit&& visit) {
    size_t i = 0;
    size_t j = 0;
    while (i < a.chunkCount() && j < b.chunkCount()) {
        const uint16_t x = a.chunkNumber(i);
        const uint16_t y = b.chunkNumber(j);
        if (x == y && !visit(i, j)) return;
        i += x <= y;
        j += y <= x;
    }
}

}  // namespace

RecordSet RecordSet::intersection(const RecordSet& a, const RecordSet& b) {
    RecordSet result;
    forCommonChunks(a, b, [&](size_t i, size_t j) {
        OwnedContainer made = wdb::intersect(a.chunk(i), b.chunk(j));
        result.adopt(a.chunkNumber(i), made.view, std::move(made.data));
        return true;
    });
    return result;
}

RecordSet RecordSet::difference(const RecordSet& a, const RecordSet& b) {
    RecordSet result = a.view();
    result.subtract(b);
    return result;
}

uint64_t RecordSet::intersectionCardinality(const RecordSet& a, const RecordSet& b) {
    uint64_t count = 0;
    forCommonChunks(a, b, [&](size_t i, size_t j) {
        count += wdb::intersectionCardinality(a.chunk(i), b.chunk(j));
        return true;
    });
    return count;
}

bool RecordSet::intersects(const RecordSet& a, const RecordSet& b) {
    bool found = false;
    forCommonChunks(a, b, [&](size_t i, size_t j) {
        found = wdb::intersects(a.chunk(i), b.chunk(j));
        return !found;
    });
    return found;
}

void RecordSet::copyTo(uint64_t first, size_t count, std::vector<RecordNumber>& out) const {
    out.clear();
    for (const Chunk& chunk : chunks_) {
        if (out.size() == count) return;
        if (first >= chunk.view.cardinality) {
            first -= chunk.view.cardinality;
            continue;
        }
        const RecordNumber base = RecordNumber{chunk.number} << 16;
        const auto left = static_cast<uint32_t>(std::min<uint64_t>(count - out.size(), chunk.view.cardinality - first));
        if (chunk.view.kind == ContainerKind::Array) {
            for (uint32_t i = 0; i < left; ++i) out.push_back(base | chunk.view.at(static_cast<uint32_t>(first) + i));
        } else {
            const uint16_t start = chunk.view.select(static_cast<uint32_t>(first));
            uint32_t taken = 0;
            for (size_t w = start / 64u; taken < left && w < kBitmapWords; ++w) {
                uint64_t bits = chunk.view.word(w);
                if (w == start / 64u) bits &= ~uint64_t{0} << (start % 64u);
                for (; bits != 0 && taken < left; bits &= bits - 1, ++taken) {
                    out.push_back(base | static_cast<RecordNumber>(w * 64 + static_cast<unsigned>(std::countr_zero(bits))));
                }
            }
        }
        first = 0;
    }
}

std::vector<RecordNumber> RecordSet::toVector() const {
    std::vector<RecordNumber> records;
    records.reserve(cardinality());
    forEach([&](RecordNumber record) { records.push_back(record); });
    return records;
}

void RecordSet::own() {
    for (Chunk& chunk : chunks_) {
        if (chunk.owned != nullptr) continue;
        OwnedContainer copy = copyOf(chunk.view);
        chunk.view = copy.view;
        chunk.owned = std::move(copy.data);
    }
}

bool RecordSet::ownsAll() const {
    return std::all_of(chunks_.begin(), chunks_.end(), [](const Chunk& chunk) { return chunk.owned != nullptr; });
}

RecordSet RecordSet::clone() const {
    RecordSet copy = view();
    copy.own();
    return copy;
}

RecordSet RecordSet::view() const {
    RecordSet borrowed;
    borrowed.chunks_.reserve(chunks_.size());
    for (const Chunk& chunk : chunks_) borrowed.chunks_.push_back({chunk.number, chunk.view, nullptr});
    return borrowed;
}

size_t RecordSet::memory() const {
    size_t bytes = chunks_.capacity() * sizeof(Chunk);
    for (const Chunk& chunk : chunks_) bytes += chunk.owned != nullptr ? chunk.view.bytes() : 0;
    return bytes;
}

bool RecordSet::operator==(const RecordSet& other) const {
    return std::equal(chunks_.begin(), chunks_.end(), other.chunks_.begin(), other.chunks_.end(),
                      [](const Chunk& a, const Chunk& b) {
                          return a.number == b.number && a.view.kind == b.view.kind &&
                                 a.view.cardinality == b.view.cardinality &&
                                 std::memcmp(a.view.data, b.view.data, a.view.bytes()) == 0;
                      });
}

std::string RecordSet::validate() const {
    for (size_t place = 0; place < chunks_.size(); ++place) {
        const Chunk& chunk = chunks_[place];
        if (place > 0 && chunks_[place - 1].number >= chunk.number) return "chunks out of order";
        std::string stored;
        appendContainer(chunk.view, stored);
        if (stored.empty()) return "empty chunk " + std::to_string(chunk.number);
        if (!ok(validateContainer(stored))) return "unsound container in chunk " + std::to_string(chunk.number);
    }
    return {};
}

}  // namespace wdb
