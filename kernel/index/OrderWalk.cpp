#include "kernel/index/OrderWalk.h"

#include <algorithm>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "kernel/index/IndexView.h"
#include "kernel/index/IndexViewImpl.h"

namespace wdb {

namespace {

constexpr size_t kFirstBatch = 16;
constexpr size_t kMaxBatch = 1024;

// The walk's sources each stand at their next key; a step takes the first of them, with all sources that
// stand at it.
class OrderWalkSource {
public:
    virtual ~OrderWalkSource() = default;
    // To the next key with records: WDB_FAIL at the end.
    virtual Status next() = 0;
    Slice key() const { return key_; }  // field, value key
    // Adds the records to a set; they are used up.
    void give(RecordSet& to) {
        if (to.empty())
            std::swap(to, records_);
        else
            to.unite(std::move(records_));
    }

protected:
    std::string key_;
    RecordSet records_;
};

// The keys of the value file, less the records that the layers touched and those whose first item is another
// one.
class FileSource : public OrderWalkSource {
public:
    FileSource(IndexView::Impl& impl, const FieldDefinition& field, bool descending)
        : impl_(impl), field_(field), descending_(descending), prefix_(indexKey(field.number, {})) {}

    Status open() {
        const char kind = static_cast<char>(SetKind::Multi);
        WDB_TRY(impl_.setReader().read(indexKey(field_.number, Slice(&kind, 1)), multi_));
        impl_.forLayers(impl_.sources.valuePosition, [&](const IndexView::Impl::Layer& layer) {
            touched_.unite(layer.entries.touched(layer.after, layer.upTo));
        });
        multi_.subtract(touched_);
        cursor_ = impl_.sources.values->cursor(value_table::kValues);
        if (!descending_) return state_ = cursor_.seek(prefix_);
        state_ = cursor_.seek(indexKey(static_cast<FieldNumber>(field_.number + 1), {}));
        if (state_ == WDB_FAIL)
            state_ = cursor_.last();
        else if (ok(state_))
            state_ = cursor_.previous();
        return state_;
    }

    Status next() override {
        while (true) {
            if (!ok(state_)) return state_;
            if (!cursor_.key().starts_with(prefix_)) return state_ = WDB_FAIL;
            if (cursor_.key().size() < prefix_.size() + 3) return state_ = WDB_E_CORRUPT;
            WDB_TRY(readGroup());
            records_.subtract(touched_);
            if (!multi_.empty() && RecordSet::intersects(records_, multi_)) WDB_TRY(dropLaterItems());
            if (!records_.empty()) return WDB_OK;
        }
    }

private:
    // All chunks of the cursor's key; leaves the cursor at the next key.
    Status readGroup() {
        key_.assign(cursor_.key().substr(0, cursor_.key().size() - 2));
        records_.clear();
        chunks_.clear();
        do {
            chunks_.emplace_back(loadBig<uint16_t>(cursor_.key().data() + key_.size()), cursor_.value());
            state_ = descending_ ? cursor_.previous() : cursor_.next();
        } while (ok(state_) && cursor_.key().size() == key_.size() + 2 && cursor_.key().starts_with(key_));
        if (!ok(state_) && state_ != WDB_FAIL) return state_;
        if (descending_) std::reverse(chunks_.begin(), chunks_.end());
        for (const auto& [chunk, stored] : chunks_) WDB_TRY(records_.borrow(chunk, stored));
        return WDB_OK;
    }

    Status dropLaterItems() {
        const Slice key = Slice(key_).substr(2);
        RecordSetBuilder later;
        Status status = WDB_OK;
        RecordSet::intersection(records_, multi_).forEach([&](RecordNumber number) {
            if (!ok(status)) return;
            const Result<RecordView> record = impl_.sources.records->record(number);
            if (!record)
                status = record.status();
            else if (Slice(RecordMatcher::firstKey(*record, field_)).substr(0, kMaxValueKey) != key)
                later.add(number);
        });
        records_.subtract(later.finish());
        return status;
    }

    IndexView::Impl& impl_;
    const FieldDefinition& field_;
    const bool descending_;
    const std::string prefix_;
    RecordSet multi_;
    RecordSet touched_;
    Cursor cursor_;
    Status state_ = WDB_FAIL;  // of the cursor
    std::vector<std::pair<uint16_t, Slice>> chunks_;
};

// The keys of one layer, fetched in growing batches so that the delta is not locked between steps.
class LayerSource : public OrderWalkSource {
public:
    LayerSource(IndexView::Impl& impl, const FieldDefinition& field, bool descending, bool unit)
        : impl_(impl), descending_(descending), unit_(unit), prefix_(indexKey(field.number, {})) {
        if (!descending)
            from_ = prefix_;
        else
            from_ = indexKey(static_cast<FieldNumber>(field.number + 1), {});
    }

    Status next() override {
        while (batch_.empty() && !ended_) fetch();
        if (batch_.empty()) return WDB_FAIL;
        key_ = std::move(batch_.front().first);
        records_ = RecordSet::of(batch_.front().second);
        batch_.pop_front();
        return WDB_OK;
    }

private:
    void fetch() {
        size_t looked = 0;
        ended_ = true;
        const DeltaEntries* unit = impl_.sources.unit != nullptr ? &impl_.sources.unit->entries() : nullptr;
        const RecordSet hidden = !unit_ && unit != nullptr ? unit->touched(0, UINT64_MAX) : RecordSet();
        impl_.forLayers(impl_.sources.valuePosition, [&](const IndexView::Impl::Layer& layer) {
            if ((&layer.entries == unit) != unit_) return;
            const DeltaEntries::Dictionary& values = layer.entries.values();
            const auto visit = [&](uint32_t number) {
                const Slice key = values.key(number);
                if (!key.starts_with(prefix_)) return false;
                if (looked++ == size_) {
                    ended_ = false;
                    return false;
                }
                last_ = key;
                take(layer, values, number, hidden);
                return true;
            };
            if (descending_)
                values.forEachBelow(from_, visit);
            else
                values.forEachFrom(from_, visit);
        });
        from_ = last_;
        if (!descending_) from_.push_back('\0');  // the least key above
        size_ = std::min(size_ * 4, kMaxBatch);
    }

    void take(const IndexView::Impl::Layer& layer, const DeltaEntries::Dictionary& values, uint32_t number,
              const RecordSet& hidden) {
        std::vector<RecordNumber> records;
        for (const uint32_t tag : values.entries(number)) {
            if ((tag & 1) == 0) continue;
            const DeltaEntries::Entry* entry = layer.visible(tag >> 1);
            if (entry != nullptr && !hidden.contains(entry->record)) records.push_back(entry->record);
        }
        if (records.empty()) return;
        std::sort(records.begin(), records.end());
        batch_.emplace_back(values.key(number), std::move(records));
    }

    IndexView::Impl& impl_;
    const bool descending_;
    const bool unit_;
    const std::string prefix_;
    std::string from_;
    std::string last_;
    size_t size_ = kFirstBatch;
    bool ended_ = false;
    std::deque<std::pair<std::string, std::vector<RecordNumber>>> batch_;
};

}  // namespace

struct OrderWalk::State {
    State(IndexView::Impl& view, const FieldDefinition& of, bool down)
        : impl(view), field(of), descending(down) {}

    struct Source {
        std::unique_ptr<OrderWalkSource> walk;
        bool alive = false;
    };

    Status add(std::unique_ptr<OrderWalkSource> walk) {
        const Status status = walk->next();
        if (!ok(status) && status != WDB_FAIL) return status;
        sources.push_back({std::move(walk), ok(status)});
        return WDB_OK;
    }

    // Whether a comes before b in the walk.
    bool before(Slice a, Slice b) const { return descending ? b < a : a < b; }

    Status next() {
        if (!groups.empty()) return nextGroup();
        const Source* first = nullptr;
        for (const Source& source : sources) {
            if (source.alive && (first == nullptr || before(source.walk->key(), first->walk->key())))
                first = &source;
        }
        if (first == nullptr) return WDB_FAIL;
        key = first->walk->key();
        records.clear();
        for (Source& source : sources) {
            if (!source.alive || source.walk->key() != key) continue;
            source.walk->give(records);
            const Status status = source.walk->next();
            if (!ok(status) && status != WDB_FAIL) return status;
            source.alive = ok(status);
        }
        if (!maybeCutKey(field.type, Slice(key).substr(2))) return WDB_OK;
        WDB_TRY(splitByValue());
        return nextGroup();
    }

    // Orders the records of a cut key by their values.
    Status splitByValue() {
        std::vector<std::pair<std::string, RecordNumber>> whole;
        Status status = WDB_OK;
        records.forEach([&](RecordNumber number) {
            if (!ok(status)) return;
            const Result<RecordView> record = impl.sources.records->record(number);
            if (!record)
                status = record.status();
            else
                whole.emplace_back(RecordMatcher::firstKey(*record, field), number);
        });
        WDB_TRY(status);
        std::sort(whole.begin(), whole.end(), [&](const auto& a, const auto& b) {
            return a.first != b.first ? before(a.first, b.first) : a.second < b.second;
        });
        for (size_t i = 0; i < whole.size();) {
            std::vector<RecordNumber> equal;
            const size_t begin = i;
            for (; i < whole.size() && whole[i].first == whole[begin].first; ++i)
                equal.push_back(whole[i].second);
            groups.push_back(RecordSet::of(equal));
        }
        return WDB_OK;
    }

    Status nextGroup() {
        records = std::move(groups.front());
        groups.pop_front();
        return WDB_OK;
    }

    IndexView::Impl& impl;
    const FieldDefinition& field;
    const bool descending;
    std::vector<Source> sources;
    std::string key;  // field, value key
    RecordSet records;
    std::deque<RecordSet> groups;  // of a cut key, still to come
};

OrderWalk::OrderWalk(std::unique_ptr<State> state) : state_(std::move(state)) {}
OrderWalk::OrderWalk(OrderWalk&&) noexcept = default;
OrderWalk& OrderWalk::operator=(OrderWalk&&) noexcept = default;
OrderWalk::~OrderWalk() = default;

Status OrderWalk::next() {
    return state_->next();
}
std::string_view OrderWalk::key() const {
    return Slice(state_->key).substr(2);
}
const RecordSet& OrderWalk::records() const {
    return state_->records;
}

Result<OrderWalk> IndexView::order(FieldNumber field, bool descending) {
    const Result<const FieldDefinition*> definition = impl_->itemField(field);
    if (!definition) return definition.status();
    auto state = std::make_unique<OrderWalk::State>(*impl_, **definition, descending);
    auto file = std::make_unique<FileSource>(*impl_, **definition, descending);
    const Status opened = file->open();
    if (!ok(opened) && opened != WDB_FAIL) return opened;
    WDB_TRY(state->add(std::move(file)));
    for (const bool unit : {false, true})
        WDB_TRY(state->add(std::make_unique<LayerSource>(*impl_, **definition, descending, unit)));
    return OrderWalk(std::move(state));
}

}  // namespace wdb
