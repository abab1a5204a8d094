#include "kernel/index/RecordSet.h"

#include <algorithm>
#include <utility>

#include "kernel/index/ContainerKernels.h"
#include "kernel/index/ContainerOperations.h"

namespace wdb {

namespace {

constexpr uint16_t high(RecordNumber record) {
    return static_cast<uint16_t>(record >> 16);
}
constexpr uint16_t low(RecordNumber record) {
    return static_cast<uint16_t>(record & 0xFFFF);
}
constexpr RecordNumber join(uint16_t chunk, uint16_t low) {
    return RecordNumber{chunk} << 16 | low;
}

}  // namespace

RecordSet RecordSet::of(std::span<const RecordNumber> ascending) {
    RecordSet out;
    std::vector<uint16_t> members;
    for (size_t i = 0; i < ascending.size();) {
        const uint16_t chunk = high(ascending[i]);
        members.clear();
        for (; i < ascending.size() && high(ascending[i]) == chunk; ++i) members.push_back(low(ascending[i]));
        OwnedContainer made = fromMembers(members.data(), static_cast<uint32_t>(members.size()));
        out.adopt(chunk, made.view, std::move(made.data));
    }
    return out;
}

RecordSet RecordSet::single(RecordNumber record) {
    return of({&record, 1});
}

RecordSet RecordSet::range(RecordNumber first, RecordNumber last) {
    RecordSet out;
    if (last < first) return out;
    for (uint32_t chunk = high(first); chunk <= high(last); ++chunk) {
        const uint32_t from = chunk == high(first) ? low(first) : 0;
        const uint32_t to = chunk == high(last) ? low(last) : 0xFFFF;
        auto bits = allocateContainer(kBitmapBytes);
        std::memset(bits.get(), 0, kBitmapBytes);
        for (uint32_t i = from; i <= to;) {
            if ((i & 7) == 0 && to - i >= 7) {
                const uint32_t bytes = (to - i + 1) / 8;
                std::memset(bits.get() + i / 8, 0xFF, bytes);
                i += bytes * 8;
            } else {
                setBit(bits.get(), static_cast<uint16_t>(i++));
            }
        }
        OwnedContainer made = fromBits(std::move(bits), to - from + 1);
        out.adopt(static_cast<uint16_t>(chunk), made.view, std::move(made.data));
    }
    return out;
}

Status RecordSet::borrow(uint16_t chunk, Slice stored) {
    const Result<ContainerView> view = readContainer(stored);
    if (!view) return view.status();
    borrow(chunk, *view);
    return WDB_OK;
}

void RecordSet::borrow(uint16_t chunk, const ContainerView& container) {
    if (container.cardinality > 0) chunks_.push_back({chunk, container, nullptr});
}

void RecordSet::adopt(uint16_t chunk, const ContainerView& container, std::unique_ptr<char[]> data) {
    if (container.cardinality > 0) chunks_.push_back({chunk, container, std::move(data)});
}

size_t RecordSet::findChunk(uint16_t number) const {
    const auto found =
        std::lower_bound(chunks_.begin(), chunks_.end(), number,
                         [](const Chunk& chunk, uint16_t wanted) { return chunk.number < wanted; });
    return static_cast<size_t>(found - chunks_.begin());
}

uint64_t RecordSet::cardinality() const {
    uint64_t count = 0;
    for (const Chunk& chunk : chunks_) count += chunk.view.cardinality;
    return count;
}

bool RecordSet::contains(RecordNumber record) const {
    const size_t place = findChunk(high(record));
    return place < chunks_.size() && chunks_[place].number == high(record) &&
           chunks_[place].view.contains(low(record));
}

RecordNumber RecordSet::select(uint64_t place) const {
    for (const Chunk& chunk : chunks_) {
        if (place < chunk.view.cardinality)
            return join(chunk.number, chunk.view.select(static_cast<uint32_t>(place)));
        place -= chunk.view.cardinality;
    }
    return 0;
}

uint64_t RecordSet::rank(RecordNumber record) const {
    uint64_t count = 0;
    for (const Chunk& chunk : chunks_) {
        if (chunk.number > high(record)) break;
        count += chunk.number < high(record) ? chunk.view.cardinality : chunk.view.rank(low(record));
    }
    return count;
}

RecordNumber RecordSet::last() const {
    if (chunks_.empty()) return 0;
    return join(chunks_.back().number, chunks_.back().view.select(chunks_.back().view.cardinality - 1));
}

RecordNumber RecordSet::after(RecordNumber record) const {
    for (size_t place = findChunk(high(record)); place < chunks_.size(); ++place) {
        const Chunk& chunk = chunks_[place];
        uint32_t from = 0;
        if (chunk.number == high(record)) {
            if (low(record) == 0xFFFF) continue;
            from = chunk.view.rank(static_cast<uint16_t>(low(record) + 1));
        }
        if (from < chunk.view.cardinality) return join(chunk.number, chunk.view.select(from));
    }
    return 0;
}

void RecordSet::add(RecordNumber record) {
    const size_t place = findChunk(high(record));
    const bool there = place < chunks_.size() && chunks_[place].number == high(record);
    if (there && chunks_[place].view.contains(low(record))) return;
    if (!there || chunks_[place].view.cardinality == kMaxArray) return unite(single(record));
    Chunk& chunk = chunks_[place];
    if (chunk.view.kind == ContainerKind::Bitmap) {
        if (!chunk.owned) chunk.owned = copyContainer(chunk.view).data;
        setBit(chunk.owned.get(), low(record));
        chunk.view.data = chunk.owned.get();
        ++chunk.view.cardinality;
        return;
    }
    const size_t before = size_t{chunk.view.rank(low(record))} * 2;
    auto data = allocateContainer(chunk.view.bytes() + 2);
    const uint16_t member = low(record);
    std::memcpy(data.get(), chunk.view.data, before);
    std::memcpy(data.get() + before, &member, 2);
    std::memcpy(data.get() + before + 2, chunk.view.data + before, chunk.view.bytes() - before);
    chunk.view = {ContainerKind::Array, chunk.view.cardinality + 1, data.get()};
    chunk.owned = std::move(data);
}

void RecordSet::remove(RecordNumber record) {
    subtract(single(record));
}

void RecordSet::intersect(const RecordSet& other) {
    *this = intersection(*this, other);
}

RecordSet RecordSet::intersection(const RecordSet& a, const RecordSet& b) {
    RecordSet out;
    size_t i = 0;
    size_t j = 0;
    while (i < a.chunks_.size() && j < b.chunks_.size()) {
        const Chunk& x = a.chunks_[i];
        const Chunk& y = b.chunks_[j];
        if (x.number == y.number) {
            OwnedContainer made = intersectContainers(x.view, y.view);
            out.adopt(x.number, made.view, std::move(made.data));
        }
        i += x.number <= y.number ? 1 : 0;
        j += y.number <= x.number ? 1 : 0;
    }
    return out;
}

void RecordSet::unite(const RecordSet& other) {
    RecordSet borrowed;
    for (const Chunk& chunk : other.chunks_) {
        if (!chunk.owned)
            borrowed.borrow(chunk.number, chunk.view);
        else {
            OwnedContainer made = copyContainer(chunk.view);
            borrowed.adopt(chunk.number, made.view, std::move(made.data));
        }
    }
    unite(std::move(borrowed));
}

void RecordSet::unite(RecordSet&& other) {
    if (other.chunks_.empty()) return;
    if (chunks_.empty()) {
        *this = std::move(other);
        return;
    }
    std::vector<Chunk> merged;
    merged.reserve(chunks_.size() + other.chunks_.size());
    size_t i = 0;
    size_t j = 0;
    while (i < chunks_.size() || j < other.chunks_.size()) {
        if (j == other.chunks_.size() ||
            (i < chunks_.size() && chunks_[i].number < other.chunks_[j].number)) {
            merged.push_back(std::move(chunks_[i++]));
        } else if (i == chunks_.size() || other.chunks_[j].number < chunks_[i].number) {
            merged.push_back(std::move(other.chunks_[j++]));
        } else {
            OwnedContainer made = uniteContainers(chunks_[i].view, other.chunks_[j].view);
            merged.push_back({chunks_[i].number, made.view, std::move(made.data)});
            ++i;
            ++j;
        }
    }
    chunks_ = std::move(merged);
    other.chunks_.clear();
}

void RecordSet::subtract(const RecordSet& other) {
    if (other.chunks_.empty()) return;
    size_t to = 0;
    for (size_t i = 0; i < chunks_.size(); ++i) {
        const size_t place = other.findChunk(chunks_[i].number);
        const bool meets = place < other.chunks_.size() && other.chunks_[place].number == chunks_[i].number;
        if (meets && countIntersection(chunks_[i].view, other.chunks_[place].view) > 0) {
            OwnedContainer made = subtractContainers(chunks_[i].view, other.chunks_[place].view);
            if (made.view.cardinality == 0) continue;
            chunks_[i].view = made.view;
            chunks_[i].owned = std::move(made.data);
        }
        if (to != i) chunks_[to] = std::move(chunks_[i]);
        ++to;
    }
    chunks_.resize(to);
}

RecordSet RecordSet::difference(const RecordSet& a, const RecordSet& b) {
    RecordSet out;
    for (const Chunk& chunk : a.chunks_) {
        const size_t place = b.findChunk(chunk.number);
        const bool meets = place < b.chunks_.size() && b.chunks_[place].number == chunk.number;
        if (!meets && !chunk.owned) {
            out.borrow(chunk.number, chunk.view);
            continue;
        }
        OwnedContainer made =
            meets ? subtractContainers(chunk.view, b.chunks_[place].view) : copyContainer(chunk.view);
        out.adopt(chunk.number, made.view, std::move(made.data));
    }
    return out;
}

uint64_t RecordSet::intersectionCardinality(const RecordSet& a, const RecordSet& b) {
    uint64_t count = 0;
    for (const Chunk& chunk : a.chunks_) {
        const size_t place = b.findChunk(chunk.number);
        if (place < b.chunks_.size() && b.chunks_[place].number == chunk.number)
            count += countIntersection(chunk.view, b.chunks_[place].view);
    }
    return count;
}

bool RecordSet::intersects(const RecordSet& a, const RecordSet& b) {
    for (const Chunk& chunk : a.chunks_) {
        const size_t place = b.findChunk(chunk.number);
        if (place < b.chunks_.size() && b.chunks_[place].number == chunk.number &&
            countIntersection(chunk.view, b.chunks_[place].view) > 0)
            return true;
    }
    return false;
}

void RecordSet::copyTo(uint64_t first, size_t count, std::vector<RecordNumber>& out) const {
    out.clear();
    out.reserve(static_cast<size_t>(std::min<uint64_t>(count, cardinality())));
    for (const Chunk& chunk : chunks_) {
        if (out.size() == count) return;
        if (first >= chunk.view.cardinality) {
            first -= chunk.view.cardinality;
            continue;
        }
        if (chunk.view.kind == ContainerKind::Array) {
            for (auto i = static_cast<uint32_t>(first); i < chunk.view.cardinality && out.size() < count; ++i)
                out.push_back(join(chunk.number, chunk.view.at(i)));
        } else {
            size_t w = 0;
            for (; first > 0 && w < kBitmapWords; ++w) {
                const auto bits = static_cast<uint64_t>(std::popcount(chunk.view.word(w)));
                if (first < bits) break;
                first -= bits;
            }
            for (; w < kBitmapWords && out.size() < count; ++w) {
                uint64_t bits = chunk.view.word(w);
                for (; first > 0; --first) bits &= bits - 1;
                const RecordNumber base = join(chunk.number, static_cast<uint16_t>(w * 64));
                for (; bits != 0 && out.size() < count; bits &= bits - 1)
                    out.push_back(base + static_cast<RecordNumber>(std::countr_zero(bits)));
            }
        }
        first = 0;
    }
}

std::vector<RecordNumber> RecordSet::toVector() const {
    std::vector<RecordNumber> out;
    copyTo(0, cardinality(), out);
    return out;
}

void RecordSet::own() {
    for (Chunk& chunk : chunks_) {
        if (chunk.owned) continue;
        OwnedContainer made = copyContainer(chunk.view);
        chunk.view = made.view;
        chunk.owned = std::move(made.data);
    }
}

bool RecordSet::ownsAll() const {
    return std::all_of(chunks_.begin(), chunks_.end(),
                       [](const Chunk& chunk) { return chunk.owned != nullptr; });
}

RecordSet RecordSet::clone() const {
    RecordSet out = view();
    out.own();
    return out;
}

RecordSet RecordSet::view() const {
    RecordSet out;
    out.chunks_.reserve(chunks_.size());
    for (const Chunk& chunk : chunks_) out.borrow(chunk.number, chunk.view);
    return out;
}

size_t RecordSet::memory() const {
    size_t bytes = chunks_.size() * sizeof(Chunk);
    for (const Chunk& chunk : chunks_) bytes += chunk.owned ? chunk.view.bytes() : 0;
    return bytes;
}

bool RecordSet::operator==(const RecordSet& other) const {
    if (chunks_.size() != other.chunks_.size()) return false;
    for (size_t i = 0; i < chunks_.size(); ++i) {
        const Chunk& a = chunks_[i];
        const Chunk& b = other.chunks_[i];
        if (a.number != b.number || a.view.kind != b.view.kind || a.view.cardinality != b.view.cardinality ||
            std::memcmp(a.view.data, b.view.data, a.view.bytes()) != 0)
            return false;
    }
    return true;
}

std::string RecordSet::validate() const {
    for (size_t i = 0; i < chunks_.size(); ++i) {
        const ContainerView& view = chunks_[i].view;
        const std::string where = " in chunk " + std::to_string(chunks_[i].number);
        if (i > 0 && chunks_[i - 1].number >= chunks_[i].number) return "chunks out of order";
        if (view.cardinality == 0) return "empty container" + where;
        if ((view.kind == ContainerKind::Bitmap) != (view.cardinality > kMaxArray))
            return "wrong kind" + where;
        if (view.kind == ContainerKind::Bitmap &&
            containerKernels().countBits(view.data, kBitmapBytes) != view.cardinality)
            return "wrong cardinality" + where;
        for (uint32_t m = 1; view.kind == ContainerKind::Array && m < view.cardinality; ++m) {
            if (view.at(m - 1) >= view.at(m)) return "members out of order" + where;
        }
    }
    return {};
}

}  // namespace wdb
