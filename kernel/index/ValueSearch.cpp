#include <algorithm>
#include <array>
#include <limits>

#include "kernel/index/Column.h"
#include "kernel/index/ColumnKernels.h"
#include "kernel/index/IndexView.h"
#include "kernel/index/IndexViewImpl.h"

namespace wdb {

namespace {

// What a range may read of the values table before a scan of the column is the better way: entries, and
// records in them.
constexpr size_t kShortRange = 24;
constexpr size_t kFewRecords = 2048;
// Records with several items that a column scan may look up one by one.
constexpr uint64_t kFewMulti = 64;
// Keys that a search may walk through before the ranks of the field are the better way.
constexpr size_t kShortWalk = 64;
// The ranks are made when walks have read this part of the file's entries: making them reads those of one
// field.
constexpr uint64_t kRankShare = 4;
// Records to a step of a scan of the ranks.
constexpr uint32_t kScanWords = 64;
// A vocabulary's matches are looked up one by one while they are so small a part of its keys; more of them
// are read by a walk.
constexpr size_t kWalkShare = 8;

enum class Fit { No, Yes, AskRecord };

struct Hits {
    RecordSet sure;
    RecordSet unsure;
};

// A range of value keys, without the field.
struct KeyRange {
    FieldType type;
    std::optional<std::string> low;  // whole keys
    std::optional<std::string> high;
    bool lowInclusive = true;
    bool highInclusive = true;

    // Of a stored key.
    Fit fit(Slice key) const {
        if (maybeCutKey(type, key) && ((low && Slice(*low).substr(0, kMaxValueKey) == key) ||
                                       (high && Slice(*high).substr(0, kMaxValueKey) == key)))
            return Fit::AskRecord;
        return holds(key) ? Fit::Yes : Fit::No;
    }
    // Of a whole key.
    bool holds(Slice key) const {
        if (low && (key < Slice(*low) || (!lowInclusive && key == *low))) return false;
        return !high || key < Slice(*high) || (highInclusive && key == *high);
    }
};

Slice valueOf(Slice key) {
    return key.substr(2);
}

// The keys from `from` on that are below `end`; without an end all of them.
struct KeySpan {
    std::string from;
    std::optional<std::string> end;

    bool holds(Slice key) const { return key >= Slice(from) && (!end || key < Slice(*end)); }
};

KeySpan spanOf(const KeyRange& range) {
    KeySpan span{range.low.value_or(""), range.high};
    // A 0 more makes the least key above one.
    if (range.low && !range.lowInclusive) span.from.push_back('\0');
    if (span.end && range.highInclusive) span.end->push_back('\0');
    return span;
}

// What begins with a prefix.
KeySpan spanOf(Slice prefix) {
    KeySpan span{std::string(prefix), std::string(prefix)};
    while (!span.end->empty() && span.end->back() == '\xFF') span.end->pop_back();
    if (span.end->empty())
        span.end.reset();
    else
        span.end->back() = static_cast<char>(span.end->back() + 1);
    return span;
}

}  // namespace

// Searches over the value file and the values of the layers.
class ValueSearch {
public:
    ValueSearch(IndexView::Impl& impl, const FieldDefinition& field) : impl_(impl), field_(field) {}

    Result<RecordSet> equal(Slice canonical) {
        RecordSet sure;
        const std::string whole = wholeValueKey(field_.type, canonical);
        if (whole.empty()) return sure;
        const Slice cut = Slice(whole).substr(0, kMaxValueKey);
        RecordSet hits;
        WDB_TRY(exact(cut, hits));
        if (!maybeCutKey(field_.type, cut)) return hits;
        WDB_TRY(impl_.verify(sure, std::move(hits), [&](const RecordView& record) {
            return impl_.matcher.anyKey(record, field_, [&](Slice key) { return key == whole; });
        }));
        return sure;
    }

    Result<RecordSet> match(const Pattern& pattern) {
        // What stands before the first wildcard, as keys have it.
        const std::string prefix = indexKey(field_.number, pattern.prefix().substr(0, kMaxValueKey));
        const bool literal = pattern.isLiteral();
        const auto fit = [&](Slice key) {
            if (maybeCutKey(field_.type, key)) return Fit::AskRecord;
            return pattern.match(key.substr(0, key.size() - 1)) ? Fit::Yes : Fit::No;
        };
        // A literal's key is its prefix and the end byte, the first of all that begin so.
        const auto goesOn = [&](Slice key) { return !literal || key.size() <= pattern.prefix().size() + 1; };
        Hits hits;
        Status status = WDB_FAIL;
        if (pattern.prefix().empty())
            status = scanVocabulary(pattern, hits);
        else if (pattern.isPrefixOnly() && pattern.prefix().size() < kMaxValueKey)
            status = scanInOrder(prefix, prefix, fit, goesOn, spanOf(pattern.prefix()), hits);
        if (status == WDB_FAIL) status = scanIndex(prefix, prefix, fit, goesOn, {}, hits);
        if (!ok(status)) return status;
        return finish(std::move(hits), prefix, prefix, fit, goesOn,
                      [&](Slice whole) { return pattern.match(whole.substr(0, whole.size() - 1)); });
    }

    Result<RecordSet> where(const std::function<bool(Slice)>& test) {
        const auto passes = [&](Slice key) {
            const Result<std::string> value = valueOfKey(field_.type, key);
            return value && test(*value);
        };
        std::string latest;  // a key comes once for each of its chunks
        Fit fits = Fit::No;
        const auto fit = [&](Slice key) {
            if (key == latest) return fits;
            latest = key;
            fits = maybeCutKey(field_.type, key) ? Fit::AskRecord : passes(key) ? Fit::Yes : Fit::No;
            return fits;
        };
        const auto goesOn = [](Slice) { return true; };
        const std::string prefix = indexKey(field_.number, {});
        Hits hits;
        WDB_TRY(scanIndex(prefix, prefix, fit, goesOn, {}, hits));
        return finish(std::move(hits), prefix, prefix, fit, goesOn, passes);
    }

    Result<RecordSet> range(const std::optional<Bound>& low, const std::optional<Bound>& high);

private:
    Status exact(Slice key, RecordSet& hits) {
        const std::string full = indexKey(field_.number, key);
        WDB_TRY(impl_.values.read(full, hits));
        impl_.overlay(hits, impl_.sources.valuePosition,
                      [&](const IndexView::Impl::Layer& layer, RecordSetBuilder& out) {
                          const uint32_t number = layer.entries.values().find(full);
                          if (number != TermTable::kNone)
                              IndexView::Impl::addVisible(layer, layer.entries.values().entries(number), 1,
                                                          out);
                      });
        return WDB_OK;
    }

    // How much a walk may read: it answers WDB_FAIL beyond.
    struct Limit {
        size_t entries = std::numeric_limits<size_t>::max();
        size_t records = std::numeric_limits<size_t>::max();
    };

    // Keys of the index from `from` on that begin with `prefix`, as long as goesOn(key). `walked`, when
    // given, gets the number of entries.
    template <typename FitKey, typename GoesOn>
    Status scanIndex(const std::string& from, const std::string& prefix, FitKey& fit, GoesOn& goesOn,
                     const Limit& limit, Hits& hits, uint64_t* walked = nullptr) {
        RecordSetBuilder sure;
        RecordSetBuilder unsure;
        size_t entries = 0;
        size_t records = 0;
        bool stopped = false;
        WDB_TRY(impl_.values.walk(from, prefix, [&](Slice key, uint16_t chunk, Slice stored) -> Status {
            if (key.size() < 3) return WDB_E_CORRUPT;
            if (!goesOn(valueOf(key))) return WDB_FAIL;
            const Result<ContainerView> container = readContainer(stored);
            if (!container) return container.status();
            records += container->cardinality;
            stopped = ++entries > limit.entries || records > limit.records;
            if (stopped) return WDB_FAIL;
            const Fit fits = fit(valueOf(key));
            if (fits == Fit::No) return WDB_OK;
            (fits == Fit::Yes ? sure : unsure).add(chunk, *container);
            return WDB_OK;
        }));
        if (walked != nullptr) *walked = entries;
        if (stopped) return WDB_FAIL;
        hits = {sure.finish(), unsure.finish()};
        return WDB_OK;
    }

    // Keys that lie together: by a walk when they are few, by the ranks when these are there. Walks that were
    // not short are noted, so that the ranks are made when they have cost as much.
    template <typename FitKey, typename GoesOn>
    Status scanInOrder(const std::string& from, const std::string& prefix, FitKey& fit, GoesOn& goesOn,
                       const KeySpan& span, Hits& hits) {
        RankCache* const cache = impl_.sources.ranks;
        if (cache == nullptr) return scanIndex(from, prefix, fit, goesOn, {}, hits);
        const Position position = impl_.sources.valuePosition;
        const uint64_t all = impl_.sources.values->entries(value_table::kValues) / kRankShare;
        std::shared_ptr<const Ranks> ranks = cache->find(field_.number, position);
        if (!ranks && cache->walked(field_.number, position, 0, all)) {
            const Result<std::shared_ptr<const Ranks>> made = impl_.ranks(field_);
            if (!made) return made.status();
            ranks = *made;
        }
        if (ranks) {
            Status status = scanIndex(from, prefix, fit, goesOn, {kShortWalk}, hits);
            if (status == WDB_FAIL) status = scanRanks(*ranks, span, hits.sure);
            if (status != WDB_FAIL) return status;
        }
        uint64_t walked = 0;
        WDB_TRY(scanIndex(from, prefix, fit, goesOn, {}, hits, &walked));
        if (walked > kShortWalk) cache->walked(field_.number, position, walked, all);
        return WDB_OK;
    }

    // What a pattern without a beginning matches. WDB_FAIL when a walk is the better way.
    Status scanVocabulary(const Pattern& pattern, Hits& hits) {
        const auto vocabulary = impl_.vocabulary(Vocabulary::Table::Values, field_);
        if (!vocabulary) return vocabulary.status();
        if (!*vocabulary) return WDB_FAIL;
        std::vector<std::string> keys;
        const size_t most = (*vocabulary)->size() / kWalkShare;
        (*vocabulary)->forEachMatch(pattern, [&](Slice key) {
            keys.push_back(indexKey(field_.number, key));
            keys.back().push_back('\0');
            return keys.size() <= most;
        });
        if (keys.size() > most) return WDB_FAIL;
        RecordSetBuilder sure;
        RecordSetBuilder unsure;
        for (const std::string& key : keys) WDB_TRY(impl_.values.addTo(key, sure));
        for (const std::string& key : (*vocabulary)->cut())
            WDB_TRY(impl_.values.addTo(indexKey(field_.number, key), unsure));
        hits = {sure.finish(), unsure.finish()};
        return WDB_OK;
    }

    template <typename FitKey, typename GoesOn>
    void scanLayers(RecordSet& hits, const std::string& from, const std::string& prefix, FitKey& fit,
                    GoesOn& goesOn, Fit wanted) {
        impl_.overlay(hits, impl_.sources.valuePosition,
                      [&](const IndexView::Impl::Layer& layer, RecordSetBuilder& out) {
                          const DeltaEntries::Dictionary& values = layer.entries.values();
                          values.forEachFrom(from, [&](uint32_t number) {
                              const Slice key = values.key(number);
                              if (!key.starts_with(prefix) || !goesOn(valueOf(key))) return false;
                              if (fit(valueOf(key)) == wanted)
                                  IndexView::Impl::addVisible(layer, values.entries(number), 1, out);
                              return true;
                          });
                      });
    }

    template <typename FitKey, typename GoesOn, typename HoldsWhole>
    Result<RecordSet> finish(Hits hits, const std::string& from, const std::string& prefix, FitKey& fit,
                             GoesOn& goesOn, HoldsWhole&& holds) {
        scanLayers(hits.sure, from, prefix, fit, goesOn, Fit::Yes);
        scanLayers(hits.unsure, from, prefix, fit, goesOn, Fit::AskRecord);
        WDB_TRY(impl_.verify(hits.sure, std::move(hits.unsure), [&](const RecordView& record) {
            return impl_.matcher.anyKey(record, field_, [&](Slice whole) { return holds(whole); });
        }));
        return std::move(hits.sure);
    }

    Status scanColumn(const KeyRange& range, RecordSet& hits);
    Status scanRanks(const Ranks& ranks, const KeySpan& span, RecordSet& hits);
    Status rankFrom(const Ranks& ranks, Slice key, uint32_t& rank);
    Status severalItems(RecordSet& records);

    IndexView::Impl& impl_;
    const FieldDefinition& field_;
};

// The records of the index in which the field has several items.
Status ValueSearch::severalItems(RecordSet& records) {
    const char kind = static_cast<char>(SetKind::Multi);
    WDB_TRY(impl_.setReader().read(indexKey(field_.number, Slice(&kind, 1)), records));
    impl_.forLayers(impl_.sources.valuePosition, [&](const IndexView::Impl::Layer& layer) {
        records.subtract(layer.entries.touched(layer.after, layer.upTo));
    });
    return WDB_OK;
}

// The least rank whose key is not below a key; one more than there are when all are below.
Status ValueSearch::rankFrom(const Ranks& ranks, Slice key, uint32_t& rank) {
    const auto mark = std::lower_bound(
        ranks.marks.begin(), ranks.marks.end(), key,
        [](const std::string& candidate, Slice wanted) { return Slice(candidate) < wanted; });
    rank = 1;
    if (mark == ranks.marks.begin()) return WDB_OK;
    // The mark before is below the key; the ranks behind it are looked at one by one.
    rank = static_cast<uint32_t>(mark - ranks.marks.begin() - 1) * Ranks::kMarkStep + 1;
    std::string present(*(mark - 1));
    WDB_TRY(impl_.values.walk(indexKey(field_.number, present), indexKey(field_.number, {}),
                              [&](Slice found, uint16_t, Slice) -> Status {
                                  if (valueOf(found) == Slice(present)) return WDB_OK;
                                  present = valueOf(found);
                                  ++rank;
                                  return Slice(present) < key ? Status{WDB_OK} : Status{WDB_FAIL};
                              }));
    if (Slice(present) < key) ++rank;
    return WDB_OK;
}

// The records of the index within a span of keys, by comparing ranks. WDB_FAIL when the ranks cannot tell.
Status ValueSearch::scanRanks(const Ranks& ranks, const KeySpan& span, RecordSet& hits) {
    RecordSet multi;
    WDB_TRY(severalItems(multi));
    if (ranks.cut || multi.cardinality() > kFewMulti) return WDB_FAIL;
    uint32_t low = 1;
    uint32_t end = ranks.count + 1;
    WDB_TRY(rankFrom(ranks, span.from, low));
    if (span.end) WDB_TRY(rankFrom(ranks, *span.end, end));
    RecordSetBuilder builder;
    std::array<uint64_t, kScanWords> words;
    const auto size = static_cast<uint32_t>(ranks.rankOf.size());
    const auto* const entries = reinterpret_cast<const char*>(ranks.rankOf.data());
    const auto compare = columnKernels().compare32;
    const uint32_t whole = size / 64;
    for (uint32_t word = 0; low < end && word < whole; word += kScanWords) {
        const uint32_t count = std::min(kScanWords, whole - word);
        compare(entries + size_t{word} * 256, low, end - low - 1, words.data(), count);
        builder.addWords(word, words.data(), count);
    }
    for (RecordNumber record = whole * 64; record < size; ++record) {
        if (ranks.rankOf[record] >= low && ranks.rankOf[record] < end) builder.add(record);
    }
    hits = builder.finish();
    return impl_.verify(hits, std::move(multi), [&](const RecordView& record) {
        return impl_.matcher.anyKey(record, field_, [&](Slice key) { return span.holds(key); });
    });
}

// The records of the index within a range, from the column. WDB_FAIL when the column cannot tell.
Status ValueSearch::scanColumn(const KeyRange& range, RecordSet& hits) {
    RecordSet multi;
    WDB_TRY(severalItems(multi));
    if (multi.cardinality() > kFewMulti) return WDB_FAIL;
    int64_t low = std::numeric_limits<int64_t>::min();
    int64_t high = std::numeric_limits<int64_t>::max();
    if (range.low) low = columnValue(field_.type, *range.low);
    if (range.high) high = columnValue(field_.type, *range.high);
    if ((range.low && !range.lowInclusive && low++ == std::numeric_limits<int64_t>::max()) ||
        (range.high && !range.highInclusive && high-- == std::numeric_limits<int64_t>::min()) || low > high) {
        hits = {};
        return WDB_OK;
    }
    RecordSetBuilder builder;
    const std::string prefix = indexKey(field_.number, {});
    Cursor cursor = impl_.sources.values->cursor(value_table::kColumns);
    Status status = cursor.seek(prefix);
    for (; ok(status) && cursor.key().starts_with(prefix); status = cursor.next()) {
        if (cursor.key().size() != prefix.size() + 4) return WDB_E_CORRUPT;
        const uint32_t block = loadBig<uint32_t>(cursor.key().data() + prefix.size());
        const Result<ColumnView> view = ColumnView::open(cursor.value());
        if (!view) return view.status();
        view->scan(block, low, high, builder);
    }
    if (!ok(status) && status != WDB_FAIL) return status;
    hits = builder.finish();
    return impl_.verify(hits, std::move(multi), [&](const RecordView& record) {
        return impl_.matcher.anyKey(record, field_, [&](Slice key) { return range.holds(key); });
    });
}

Result<RecordSet> ValueSearch::range(const std::optional<Bound>& low, const std::optional<Bound>& high) {
    KeyRange range{field_.type, std::nullopt, std::nullopt};
    if (low) {
        range.low = wholeValueKey(field_.type, low->value);
        range.lowInclusive = low->inclusive;
    }
    if (high) {
        range.high = wholeValueKey(field_.type, high->value);
        range.highInclusive = high->inclusive;
    }
    if (hasColumn(field_.type)) {
        const size_t size = field_.type == FieldType::Integer ? 8 : 4;
        if ((range.low && range.low->size() != size) || (range.high && range.high->size() != size))
            return Status{WDB_E_VALUE};
    }
    const std::string prefix = indexKey(field_.number, {});
    const std::string from =
        indexKey(field_.number, range.low ? Slice(*range.low).substr(0, kMaxValueKey) : Slice());
    const auto fit = [&](Slice key) { return range.fit(key); };
    const Slice end = range.high ? Slice(*range.high) : Slice();
    const auto goesOn = [&](Slice key) { return !range.high || key <= end; };
    const auto holds = [&](Slice whole) { return range.holds(whole); };
    if (hasColumn(field_.type)) {
        Hits hits;
        Status status = scanIndex(from, prefix, fit, goesOn, {kShortRange, kFewRecords}, hits);
        if (status == WDB_FAIL) status = scanColumn(range, hits.sure);
        if (ok(status)) return finish(std::move(hits), from, prefix, fit, goesOn, holds);
        if (status != WDB_FAIL) return status;
    }
    Hits hits;
    WDB_TRY(scanInOrder(from, prefix, fit, goesOn, spanOf(range), hits));
    return finish(std::move(hits), from, prefix, fit, goesOn, holds);
}

Result<RecordSet> IndexView::equal(FieldNumber field, Slice canonical) {
    const Result<const FieldDefinition*> definition = impl_->itemField(field);
    if (!definition) return definition.status();
    return ValueSearch(*impl_, **definition).equal(canonical);
}

Result<RecordSet> IndexView::range(FieldNumber field, const std::optional<Bound>& low,
                                   const std::optional<Bound>& high) {
    const Result<const FieldDefinition*> definition = impl_->itemField(field);
    if (!definition) return definition.status();
    return ValueSearch(*impl_, **definition).range(low, high);
}

Result<RecordSet> IndexView::where(FieldNumber field, const std::function<bool(Slice)>& test) {
    const Result<const FieldDefinition*> definition =
        impl_->field(field, [](FieldType type) { return holdsItems(type) && type != FieldType::Phrase; });
    if (!definition) return definition.status();
    return ValueSearch(*impl_, **definition).where(test);
}

Result<RecordSet> IndexView::match(FieldNumber field, const Pattern& pattern) {
    const Result<const FieldDefinition*> definition =
        impl_->field(field, [](FieldType type) { return type == FieldType::Phrase; });
    if (!definition) return definition.status();
    if (pattern.matchesAll()) return impl_->set(field, SetKind::Present);
    return ValueSearch(*impl_, **definition).match(pattern);
}

}  // namespace wdb
