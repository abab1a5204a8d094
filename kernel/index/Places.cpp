#include <algorithm>

#include "kernel/index/IndexView.h"
#include "kernel/index/IndexViewImpl.h"

namespace wdb {

namespace {

// Makes the ranks of a field by one walk through its keys.
class RankMaker {
public:
    RankMaker(IndexView::Impl& impl, const FieldDefinition& field) : impl_(impl), field_(field) {}

    Result<std::shared_ptr<const Ranks>> make() {
        auto ranks = std::make_shared<Ranks>();
        ranks->field = field_.number;
        ranks->position = impl_.sources.valuePosition;
        const char kind = static_cast<char>(SetKind::Multi);
        WDB_TRY(impl_.setReader().read(indexKey(field_.number, Slice(&kind, 1)), multi_));
        impl_.forLayers(impl_.sources.valuePosition, [&](const IndexView::Impl::Layer& layer) {
            touched_.unite(layer.entries.touched(layer.after, layer.upTo));
        });
        const std::string prefix = indexKey(field_.number, {});
        WDB_TRY(impl_.values.walk(prefix, prefix, [&](Slice key, uint16_t chunk, Slice stored) -> Status {
            const Result<ContainerView> container = readContainer(stored);
            if (!container) return container.status();
            if (key != key_) startKey(key, *ranks);
            return note(chunk, *container, *ranks);
        }));
        return std::shared_ptr<const Ranks>(std::move(ranks));
    }

private:
    void startKey(Slice key, Ranks& ranks) {
        key_ = key;
        cut_ = maybeCutKey(field_.type, key.substr(2));
        ranks.cut = ranks.cut || cut_;
        if (ranks.count++ % Ranks::kMarkStep == 0) ranks.marks.emplace_back(key.substr(2));
    }

    Status note(uint16_t chunk, const ContainerView& container, Ranks& ranks) {
        Status status = WDB_OK;
        const RecordNumber base = RecordNumber{chunk} << 16;
        container.forEach([&](uint16_t low) {
            const RecordNumber record = base | low;
            if (record >= ranks.rankOf.size())
                ranks.rankOf.resize(std::max<size_t>(record + size_t{1}, ranks.rankOf.size() * 2));
            uint32_t& rank = ranks.rankOf[record];
            if (cut_)
                rank = Ranks::kUnknown;
            else if (multi_.empty() || !multi_.contains(record)) {
                rank = ranks.count;
                ranks.inOrder.push_back(record);
            } else if (touched_.contains(record))
                rank = Ranks::kUnknown;
            else if (rank == 0 && ok(status))
                status = noteFirst(record, rank, ranks);
        });
        return status;
    }

    Status noteFirst(RecordNumber number, uint32_t& rank, Ranks& ranks) {
        const Result<RecordView> record = impl_.sources.records->record(number);
        if (!record) return record.status();
        const std::string first = RecordMatcher::firstKey(*record, field_);
        if (maybeCutKey(field_.type, Slice(first).substr(0, kMaxValueKey))) {
            rank = Ranks::kUnknown;
        } else if (first == Slice(key_).substr(2)) {
            rank = ranks.count;
            ranks.inOrder.push_back(number);
        }
        return WDB_OK;
    }

    IndexView::Impl& impl_;
    const FieldDefinition& field_;
    RecordSet multi_;
    RecordSet touched_;
    std::string key_;
    bool cut_ = false;
};

// A place is twice the rank for values that the file has, one less for those before the value of that rank,
// and below that a number that orders the values within one such gap (or with one cut key).
constexpr unsigned kGapBits = 30;

struct SlowRecord {
    size_t index;  // in the result
    uint64_t gap;
    std::string key;  // whole
};

}  // namespace

// Finds the places of records that the ranks do not know.
class Placer {
public:
    Placer(IndexView::Impl& impl, const FieldDefinition& field, const Ranks& ranks)
        : impl_(impl), field_(field), ranks_(ranks) {}

    Status add(size_t index, RecordNumber number) {
        const Result<RecordView> record = impl_.sources.records->record(number);
        if (record.status() == WDB_E_DELETED || record.status() == WDB_FAIL) return WDB_OK;  // gone since
        if (!record) return record.status();
        SlowRecord slow{index, 0, RecordMatcher::firstKey(*record, field_)};
        if (!slow.key.empty()) {
            WDB_TRY(findGap(Slice(slow.key).substr(0, kMaxValueKey), slow.gap));
            slow_.push_back(std::move(slow));
        }
        return WDB_OK;
    }

    void finish(std::vector<uint64_t>& out) {
        std::sort(slow_.begin(), slow_.end(), [](const SlowRecord& a, const SlowRecord& b) {
            return a.gap != b.gap ? a.gap < b.gap : a.key < b.key;
        });
        uint64_t within = 0;
        for (size_t i = 0; i < slow_.size(); ++i) {
            if (i > 0 && slow_[i].gap == slow_[i - 1].gap)
                within += slow_[i].key != slow_[i - 1].key ? 1 : 0;
            else
                within = 0;
            out[slow_[i].index] = slow_[i].gap << kGapBits | within;
        }
    }

private:
    Status findGap(Slice key, uint64_t& gap) {
        const auto mark = std::upper_bound(
            ranks_.marks.begin(), ranks_.marks.end(), key,
            [](Slice wanted, const std::string& candidate) { return wanted < Slice(candidate); });
        if (mark == ranks_.marks.begin()) {
            gap = 1;
            return WDB_OK;
        }
        uint64_t rank = static_cast<uint64_t>(mark - ranks_.marks.begin() - 1) * Ranks::kMarkStep;
        gap = 0;
        std::string present;
        WDB_TRY(impl_.values.walk(indexKey(field_.number, *(mark - 1)), indexKey(field_.number, {}),
                                  [&](Slice found, uint16_t, Slice) -> Status {
                                      if (found == present) return WDB_OK;
                                      present = found;
                                      ++rank;
                                      const int order = found.substr(2).compare(key);
                                      if (order < 0) return WDB_OK;
                                      gap = rank * 2 - (order == 0 ? 0 : 1);
                                      return WDB_FAIL;
                                  }));
        if (gap == 0) gap = rank * 2 + 1;
        return WDB_OK;
    }

    IndexView::Impl& impl_;
    const FieldDefinition& field_;
    const Ranks& ranks_;
    std::vector<SlowRecord> slow_;
};

Result<std::shared_ptr<const Ranks>> IndexView::Impl::ranks(const FieldDefinition& field) {
    if (sources.ranks != nullptr) {
        if (auto cached = sources.ranks->find(field.number, sources.valuePosition)) return cached;
    }
    Result<std::shared_ptr<const Ranks>> made = RankMaker(*this, field).make();
    if (made && sources.ranks != nullptr) sources.ranks->store(*made);
    return made;
}

uint64_t IndexView::placeOf(uint32_t rank) {
    return uint64_t{rank} * 2 << kGapBits;
}

uint32_t IndexView::rankOfPlace(uint64_t place) {
    const bool between = (place >> kGapBits) % 2 != 0 || place % (uint64_t{1} << kGapBits) != 0;
    return between ? 0 : static_cast<uint32_t>(place >> (kGapBits + 1));
}

Result<std::shared_ptr<const Ranks>> IndexView::ranks(FieldNumber field) {
    const Result<const FieldDefinition*> definition = impl_->itemField(field);
    if (!definition) return definition.status();
    return impl_->ranks(**definition);
}

Status IndexView::places(FieldNumber field, const RecordSet& records, std::vector<OrderedRecord>& out) {
    const std::vector<RecordNumber> numbers = records.toVector();
    std::vector<uint64_t> places;
    WDB_TRY(this->places(field, numbers, places));
    out.clear();
    out.reserve(numbers.size());
    for (size_t i = 0; i < numbers.size(); ++i) out.push_back({places[i], numbers[i]});
    return WDB_OK;
}

Status IndexView::places(FieldNumber field, std::span<const RecordNumber> records,
                         std::vector<uint64_t>& out) {
    out.assign(records.size(), 0);
    const Result<const FieldDefinition*> definition = impl_->itemField(field);
    if (!definition) return definition.status();
    const Result<std::shared_ptr<const Ranks>> ranks = this->ranks(field);
    if (!ranks) return ranks.status();
    RecordSet touched;
    impl_->forLayers(impl_->sources.valuePosition, [&](const Impl::Layer& layer) {
        touched.unite(layer.entries.touched(layer.after, layer.upTo));
    });
    Placer placer(*impl_, **definition, **ranks);
    for (size_t i = 0; i < records.size(); ++i) {
        const uint32_t rank = (*ranks)->of(records[i]);
        if (rank == Ranks::kUnknown || (!touched.empty() && touched.contains(records[i])))
            WDB_TRY(placer.add(i, records[i]));
        else
            out[i] = uint64_t{rank} * 2 << kGapBits;
    }
    placer.finish(out);
    return WDB_OK;
}

}  // namespace wdb
