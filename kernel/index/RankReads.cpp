#include <algorithm>

#include "kernel/index/ColumnBlocks.h"
#include "kernel/index/IndexView.h"
#include "kernel/index/IndexViewImpl.h"
#include "kernel/index/RankMap.h"
#include "kernel/record/Value.h"

namespace wdb {

namespace {

// The keys of a field in the value file, each one once, in order.
class KeyWalk {
public:
    KeyWalk(const Txn& values, FieldNumber field)
        : cursor_(values.cursor(value_table::kValues)), prefix_(indexKey(field, {})) {}

    Status first() { return take(cursor_.seek(prefix_)); }
    Status next() {
        const size_t size = cursor_.key().size() - 2;
        Status status = cursor_.next();
        while (ok(status) && cursor_.key().size() == size + 2 &&
               cursor_.key().substr(prefix_.size(), size - prefix_.size()) == value_)
            status = cursor_.next();
        return take(status);
    }
    Slice value() const { return value_; }
    uint32_t rank() const { return rank_; }

private:
    Status take(Status status) {
        if (!ok(status)) return status;
        const Slice key = cursor_.key();
        if (!key.starts_with(prefix_)) return WDB_FAIL;
        if (key.size() < prefix_.size() + 2) return WDB_E_CORRUPT;
        value_ = key.substr(prefix_.size(), key.size() - prefix_.size() - 2);
        ++rank_;
        return WDB_OK;
    }

    Cursor cursor_;
    const std::string prefix_;
    Slice value_;
    uint32_t rank_ = 0;
};

// Where the records of each rank begin in the order; one entry more than there are ranks.
std::vector<uint32_t> beginsOf(const Ranks& ranks) {
    std::vector<uint32_t> begins(size_t{ranks.count} + 2, 0);
    for (const RecordNumber record : ranks.inOrder) ++begins[ranks.of(record) + size_t{1}];
    for (size_t i = 1; i < begins.size(); ++i) begins[i] += begins[i - 1];
    return begins;
}

}  // namespace

Result<RecordSet> IndexView::unranked(FieldNumber field, const Ranks& ranks) {
    Result<RecordSet> loose = multi(field);
    if (!loose) return loose;
    loose->own();
    impl_->forLayers(impl_->sources.valuePosition, [&](const Impl::Layer& layer) {
        loose->unite(layer.entries.touched(layer.after, layer.upTo));
    });
    if (!ranks.cut) return loose;
    RecordSetBuilder unknown;
    for (RecordNumber record = 1; record < ranks.rankOf.size(); ++record) {
        if (ranks.rankOf[record] == Ranks::kUnknown) unknown.add(record);
    }
    loose->unite(unknown.finish());
    return loose;
}

Result<std::shared_ptr<const RankMap>> IndexView::rankMap(FieldNumber field, IndexView& other,
                                                          FieldNumber otherField, uint64_t otherBase) {
    const RankMap::Key key{field, impl_->sources.valuePosition, otherBase, otherField,
                           other.impl_->sources.valuePosition};
    RankCache* const cache = impl_->sources.ranks;
    if (cache != nullptr) {
        if (auto cached = cache->map(key)) return cached;
    }
    const auto mine = ranks(field);
    if (!mine) return mine.status();
    const auto theirs = other.ranks(otherField);
    if (!theirs) return theirs.status();
    const std::vector<uint32_t> begins = beginsOf(**theirs);
    auto map = std::make_shared<RankMap>();
    map->key = key;
    map->stretches.resize(size_t{(*mine)->count} + 1);
    KeyWalk left(*impl_->sources.values, field), right(*other.impl_->sources.values, otherField);
    Status leftStatus = left.first(), rightStatus = right.first();
    while (ok(leftStatus) && ok(rightStatus)) {
        const int order = left.value().compare(right.value());
        if (order == 0) {
            if (left.rank() > (*mine)->count || right.rank() > (*theirs)->count) return Status{WDB_E_CORRUPT};
            map->stretches[left.rank()] = {begins[right.rank()], begins[right.rank() + size_t{1}]};
        }
        if (order <= 0) leftStatus = left.next();
        if (order >= 0) rightStatus = right.next();
    }
    for (const Status status : {leftStatus, rightStatus}) {
        if (!ok(status) && status != WDB_FAIL) return status;
    }
    if (cache != nullptr) cache->store(map);
    return std::shared_ptr<const RankMap>(std::move(map));
}

Status IndexView::integers(FieldNumber field, std::span<const RecordNumber> records,
                           std::vector<int64_t>& values, std::vector<char>& present) {
    const Result<const FieldDefinition*> definition = impl_->itemField(field);
    if (!definition) return definition.status();
    if ((*definition)->type != FieldType::Integer) return WDB_E_TYPE;
    Result<RecordSet> loose = multi(field);
    if (!loose) return loose.status();
    if (!loose->empty()) return WDB_FAIL;
    RecordSet touched;
    impl_->forLayers(impl_->sources.valuePosition, [&](const Impl::Layer& layer) {
        touched.unite(layer.entries.touched(layer.after, layer.upTo));
    });
    values.assign(records.size(), 0);
    present.assign(records.size(), 0);
    ColumnBlocks blocks(*impl_->sources.values, field);
    for (size_t i = 0; i < records.size();) {
        const uint32_t block = columnBlock(records[i]);
        const RecordNumber first = block * kColumnRecords;
        size_t end = i + 1;
        while (end < records.size() && records[end] - first < kColumnRecords) ++end;
        const ColumnView* view = nullptr;
        WDB_TRY(blocks.open(block, view));
        if (view != nullptr)
            view->gather(records.subspan(i, end - i), first, values.data() + i, present.data() + i);
        i = end;
    }
    for (size_t i = 0; !touched.empty() && i < records.size(); ++i) {
        if (!touched.contains(records[i])) continue;
        const Result<RecordView> view = impl_->sources.records->record(records[i]);
        if (!view) return view.status();
        const Slice item = view->items(field).first();
        present[i] = !item.empty();
        values[i] = item.size() == sizeof(int64_t) ? decodeInteger(item) : 0;
    }
    return WDB_OK;
}

}  // namespace wdb
