#include "kernel/index/Spellings.h"

#include <xxhash.h>

#include "kernel/index/IndexViewImpl.h"

namespace wdb {

uint64_t Spellings::form(FieldType type, Slice canonical) {
    const bool bySize = type == FieldType::Phrase && canonical.size() <= kNormalizedLength;
    if (fixed(type)) return 1;
    return bySize ? canonical.size() + 1
                  : XXH3_64bits(canonical.data(), canonical.size()) | uint64_t{1} << 63;
}

// Looks at every record once. A rank with a record that was changed since is taken as mixed: another snapshot
// may still see the record as it was.
Result<std::shared_ptr<const Spellings>> IndexView::spellings(FieldNumber field) {
    const Result<const FieldDefinition*> definition = impl_->itemField(field);
    if (!definition) return definition.status();
    RankCache* const cache = impl_->sources.ranks;
    if (cache != nullptr) {
        if (auto cached = cache->spellings(field, impl_->sources.valuePosition)) return cached;
    }
    const auto ranks = this->ranks(field);
    if (!ranks) return ranks.status();
    auto made = std::make_shared<Spellings>();
    made->field = field;
    made->position = impl_->sources.valuePosition;
    const bool fixed = Spellings::fixed((*definition)->type);
    made->formOf.assign((*ranks)->count + size_t{1}, fixed ? 1 : Spellings::kMixed);
    RecordSet touched;
    impl_->forLayers(impl_->sources.valuePosition, [&](const Impl::Layer& layer) {
        touched.unite(layer.entries.touched(layer.after, layer.upTo));
    });
    uint32_t latest = 0;
    for (const RecordNumber number : (*ranks)->inOrder) {
        if (fixed) break;
        const uint32_t rank = (*ranks)->of(number);
        uint64_t& form = made->formOf[rank];
        const bool known = rank == latest;
        if (known && form == Spellings::kMixed) continue;
        latest = rank;
        form = known ? form : Spellings::kMixed;
        if (!touched.empty() && touched.contains(number)) {
            form = Spellings::kMixed;
            continue;
        }
        const Result<RecordView> record = impl_->sources.records->record(number);
        if (!record) return record.status();
        const uint64_t own = Spellings::form((*definition)->type, record->items(field).first());
        form = known && form != own ? Spellings::kMixed : own;
    }
    if (cache != nullptr) cache->store(made);
    return std::shared_ptr<const Spellings>(std::move(made));
}

}  // namespace wdb
