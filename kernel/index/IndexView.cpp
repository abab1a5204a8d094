#include "kernel/index/IndexView.h"

#include "kernel/index/IndexViewImpl.h"

namespace wdb {

IndexView::IndexView(IndexSources sources) : impl_(std::make_unique<Impl>(std::move(sources))) {}
IndexView::~IndexView() = default;
IndexView::IndexView(IndexView&&) noexcept = default;
IndexView& IndexView::operator=(IndexView&&) noexcept = default;

Result<RecordSet> IndexView::Impl::set(FieldNumber number, SetKind kind) {
    RecordSet hits;
    const char rest = static_cast<char>(kind);
    WDB_TRY(setReader().read(indexKey(number, Slice(&rest, 1)), hits));
    overlay(hits, sources.valuePosition, [&](const Layer& layer, RecordSetBuilder& out) {
        if (kind == SetKind::Present) return addVisible(layer, layer.entries.present(number), 0, out);
        if (kind == SetKind::Multi) return addVisible(layer, layer.entries.multi(number), 0, out);
        for (uint32_t entry = 0; entry < layer.entries.count(); ++entry) {
            const DeltaEntries::Entry* found = layer.visible(entry);
            if (found != nullptr && !found->deleted) out.add(found->record);
        }
    });
    return hits;
}

Status IndexView::Impl::verify(RecordSet& sure, RecordSet unsure,
                               const std::function<bool(const RecordView&)>& test) {
    unsure.subtract(sure);
    if (unsure.empty()) return WDB_OK;
    RecordSetBuilder builder;
    Status status = WDB_OK;
    unsure.forEach([&](RecordNumber number) {
        if (!ok(status)) return;
        const Result<RecordView> record = sources.records->record(number);
        if (!record)
            status = record.status();
        else if (test(*record))
            builder.add(number);
    });
    sure.unite(builder.finish());
    return status;
}

Result<std::shared_ptr<const Vocabulary>> IndexView::Impl::vocabulary(Vocabulary::Table table,
                                                                      const FieldDefinition& field) {
    const bool words = table == Vocabulary::Table::Words;
    const Position position = words ? sources.wordPosition : sources.valuePosition;
    std::shared_ptr<const Vocabulary> found;
    if (sources.ranks != nullptr) found = sources.ranks->vocabulary(table, field.number, position);
    if (!found) {
        auto made = std::make_shared<Vocabulary>(table, field.number, position);
        const std::string prefix = indexKey(field.number, {});
        std::string present;
        WDB_TRY((words ? postings : values).walk(prefix, prefix, [&](Slice key, uint16_t, Slice) -> Status {
            if (key == present) return WDB_OK;
            present = key;
            if (key.size() < 3) return WDB_E_CORRUPT;
            Slice text = key.substr(2);
            const bool cut =
                words ? maybeCutTerm(text.substr(0, text.size() - 1)) : maybeCutKey(field.type, text);
            if (!cut || words) text.remove_suffix(1);
            return made->add(text, cut) ? WDB_OK : WDB_FAIL;
        }));
        found = std::move(made);
        if (sources.ranks != nullptr) sources.ranks->store(found);
    }
    if (found->tooLarge()) found = nullptr;
    return found;
}

Result<RecordSet> IndexView::live() {
    return impl_->set(0, SetKind::Live);
}

Result<uint64_t> IndexView::liveCount() {
    const Result<RecordSet> records = live();
    if (!records) return records.status();
    return records->cardinality();
}

Result<RecordSet> IndexView::present(FieldNumber field) {
    if (impl_->sources.schema->find(field) == nullptr) return Status{WDB_E_FIELD};
    return impl_->set(field, SetKind::Present);
}

Result<RecordSet> IndexView::multi(FieldNumber field) {
    if (impl_->sources.schema->find(field) == nullptr) return Status{WDB_E_FIELD};
    return impl_->set(field, SetKind::Multi);
}

Result<uint64_t> IndexView::orderCost(FieldNumber field) {
    const Result<const FieldDefinition*> definition = impl_->itemField(field);
    if (!definition) return definition.status();
    uint64_t cost = impl_->sources.values->entries(value_table::kValues);
    impl_->forLayers(impl_->sources.valuePosition,
                     [&](const Impl::Layer& layer) { cost += layer.entries.count(); });
    return cost;
}

// A key with all its records deleted or changed since is passed over.
Status IndexView::nextTerm(FieldNumber field, std::string& term, uint64_t& records) {
    const FieldDefinition* definition = impl_->sources.schema->find(field);
    if (definition == nullptr) return WDB_E_FIELD;
    const bool text = definition->type == FieldType::Text;
    if (!text && !holdsItems(definition->type)) return WDB_E_TYPE;
    PostingReader& table = text ? impl_->postings : impl_->values;
    const Position position = text ? impl_->sources.wordPosition : impl_->sources.valuePosition;
    const std::string prefix = indexKey(field, {});
    std::string key = term.empty() ? prefix : text ? wordKey(field, term) : indexKey(field, term);
    while (true) {
        key.push_back('\xFF');  // behind every chunk of the key, before every other key
        std::string next;
        const auto offer = [&](Slice candidate) {
            if (next.empty() || candidate < Slice(next)) next = candidate;
        };
        if (key.size() == prefix.size() + 1) key.pop_back();
        const Slice from = key;
        WDB_TRY(table.walk(from, prefix, [&](Slice found, uint16_t, Slice) {
            if (found < from && from.starts_with(found)) return Status{WDB_OK};
            if (found < from) return Status{WDB_E_CORRUPT};  // a damaged order would lead in circles
            offer(found);
            return Status{WDB_FAIL};
        }));
        impl_->forLayers(position, [&](const Impl::Layer& layer) {
            const DeltaEntries::Dictionary& keys = text ? layer.entries.words() : layer.entries.values();
            keys.forEachFrom(from, [&](uint32_t number) {
                if (keys.key(number).starts_with(prefix)) offer(keys.key(number));
                return false;
            });
        });
        if (next.empty()) return WDB_FAIL;
        RecordSet hits;
        WDB_TRY(table.read(next, hits));
        impl_->overlay(hits, position, [&](const Impl::Layer& layer, RecordSetBuilder& out) {
            const DeltaEntries::Dictionary& keys = text ? layer.entries.words() : layer.entries.values();
            const uint32_t number = keys.find(next);
            if (number != TermTable::kNone) Impl::addVisible(layer, keys.entries(number), text ? 0 : 1, out);
        });
        if (!hits.empty()) {
            records = hits.cardinality();
            term = Slice(next).substr(prefix.size(), next.size() - prefix.size() - (text ? 1 : 0));
            return WDB_OK;
        }
        key = next;
    }
}

}  // namespace wdb
