#pragma once

#include <functional>
#include <string>
#include <utility>

#include "kernel/index/DeltaEntries.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/index/IndexView.h"
#include "kernel/index/PostingReader.h"
#include "kernel/index/RecordMatcher.h"

namespace wdb {

// What the operations of an IndexView share: how the layers lie over each other.
//
// Law: a record lives wholly in the index or wholly in one layer of changes. Hits are those of the index less
// the records that the process's delta touched, with the delta's hits; then the same with the session's unit.
struct IndexView::Impl {
    explicit Impl(IndexSources from)
        : sources(std::move(from)),
          postings(*sources.words, word_table::kPostings),
          values(*sources.values, value_table::kValues) {}

    // A layer of changes as this view sees it.
    struct Layer {
        const DeltaEntries& entries;
        Position after;
        Position upTo;

        const DeltaEntries::Entry* visible(uint32_t number) const {
            const DeltaEntries::Entry& entry = entries.entry(number);
            return entries.visible(entry, after, upTo) ? &entry : nullptr;
        }
    };

    // Calls use(Layer) for the layers over an index file at a position, the lowest first. The delta is locked
    // meanwhile.
    template <typename Use>
    void forLayers(Position filePosition, Use&& use) const {
        if (sources.delta && sources.position > filePosition) {
            const Delta::Reader reader = sources.delta->read();
            if (!reader.entries().empty()) use(Layer{reader.entries(), filePosition, sources.position});
        }
        if (sources.unit != nullptr && !sources.unit->empty())
            use(Layer{sources.unit->entries(), 0, UINT64_MAX});
    }

    // Lays the changes over the hits of an index file; collect(Layer, RecordSetBuilder&) gives a layer's
    // hits.
    template <typename Collect>
    void overlay(RecordSet& hits, Position filePosition, Collect&& collect) const {
        forLayers(filePosition, [&](const Layer& layer) {
            hits.subtract(layer.entries.touched(layer.after, layer.upTo));
            RecordSetBuilder builder;
            collect(layer, builder);
            hits.unite(builder.finish());
        });
    }

    // Adds the visible ones of a key's entries; `shift` 1 for tagged lists.
    static void addVisible(const Layer& layer, std::span<const uint32_t> entries, unsigned shift,
                           RecordSetBuilder& out) {
        for (const uint32_t tag : entries) {
            const DeltaEntries::Entry* entry = layer.visible(tag >> shift);
            if (entry != nullptr) out.add(entry->record);
        }
    }

    // The field when it exists and the check fits, else the status.
    template <typename Check>
    Result<const FieldDefinition*> field(FieldNumber number, Check&& check) const {
        const FieldDefinition* found = sources.schema->find(number);
        if (found == nullptr) return Status{WDB_E_FIELD};
        if (!check(found->type)) return Status{WDB_E_TYPE};
        return found;
    }
    Result<const FieldDefinition*> itemField(FieldNumber number) const { return field(number, holdsItems); }
    Result<const FieldDefinition*> textField(FieldNumber number) const {
        return field(number, [](FieldType type) { return type == FieldType::Text; });
    }

    // Made when it is asked for: few searches do, and a view without it fits the heap's quick blocks.
    PostingReader setReader() const { return {*sources.values, value_table::kSets}; }
    Result<RecordSet> set(FieldNumber field, SetKind kind);
    // From the cache, or made by one walk (Places.cpp).
    Result<std::shared_ptr<const Ranks>> ranks(const FieldDefinition& field);
    // The same for the keys of a field. Null when there are too many of them.
    Result<std::shared_ptr<const Vocabulary>> vocabulary(Vocabulary::Table table,
                                                         const FieldDefinition& field);

    // Adds to `sure` the records of `unsure` for which the test holds.
    Status verify(RecordSet& sure, RecordSet unsure, const std::function<bool(const RecordView&)>& test);

    IndexSources sources;
    PostingReader postings;
    PostingReader values;
    RecordMatcher matcher;
};

// Field, and what follows it in a key.
inline std::string indexKey(FieldNumber field, Slice rest) {
    std::string key;
    key.reserve(rest.size() + 4);
    appendBig(key, field);
    key.append(rest);
    return key;
}

// Field, term cut to its limit, 0.
inline std::string wordKey(FieldNumber field, Slice term) {
    std::string key = indexKey(field, term.substr(0, kMaxTerm));
    key.push_back('\0');
    return key;
}

// Whether a stored term may stand for longer words, a stored value key for longer values.
inline bool maybeCutTerm(Slice term) {
    return term.size() >= kMaxTerm;
}
inline bool maybeCutKey(FieldType type, Slice key) {
    return key.size() >= kMaxValueKey && !(type == FieldType::Phrase && key.back() == '\0') &&
           type != FieldType::Integer;
}

}  // namespace wdb
