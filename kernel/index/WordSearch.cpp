#include <algorithm>

#include "kernel/index/IndexView.h"
#include "kernel/index/IndexViewImpl.h"
#include "kernel/index/PositionReader.h"

namespace wdb {

namespace {

// Hits that are certain, and those on cut terms that the record must confirm.
struct Hits {
    RecordSet sure;
    RecordSet unsure;
};

enum class Fit { No, Yes, AskRecord };

// How a stored term stands to a pattern.
Fit fitPattern(const Pattern& pattern, Slice term) {
    if (maybeCutTerm(term)) return Fit::AskRecord;
    return pattern.isPrefixOnly() || pattern.match(term) ? Fit::Yes : Fit::No;
}

// How a stored term stands to bounds.
Fit fitBounds(const std::optional<Bound>& low, const std::optional<Bound>& high, Slice term) {
    Fit fit = Fit::Yes;
    for (const Bound* bound : {low ? &*low : nullptr, high ? &*high : nullptr}) {
        if (bound == nullptr) continue;
        if (maybeCutTerm(term) && Slice(bound->value).substr(0, kMaxTerm) == term) {
            fit = Fit::AskRecord;
            continue;
        }
        const int order = term.compare(bound->value);
        if (order == 0 ? !bound->inclusive : (bound == (low ? &*low : nullptr)) == (order < 0)) return Fit::No;
    }
    return fit;
}

bool withinBounds(const std::optional<Bound>& low, const std::optional<Bound>& high, Slice word) {
    if (low && (word < Slice(low->value) || (!low->inclusive && word == low->value))) return false;
    return !high || word < Slice(high->value) || (high->inclusive && word == high->value);
}

Slice termOf(Slice key) { return key.substr(2, key.size() - 3); }

}  // namespace

// Searches over the word file and the words of the layers.
class WordSearch {
public:
    WordSearch(IndexView::Impl& impl, FieldNumber field) : impl_(impl), field_(field) {}

    Result<RecordSet> pattern(const Pattern& pattern) {
        const auto holds = [&](const RecordView& record) { return impl_.matcher.phrase(record, field_, {&pattern, 1}); };
        if (pattern.isLiteral()) return resolve(literal(pattern.prefix()), holds);
        const std::string prefix = indexKey(field_, pattern.prefix().substr(0, kMaxTerm));
        return resolve(scan(prefix, prefix, [&](Slice term) { return fitPattern(pattern, term); }, [](Slice) { return true; }),
                       holds);
    }

    Result<RecordSet> range(const std::optional<Bound>& low, const std::optional<Bound>& high) {
        const std::string from = indexKey(field_, low ? Slice(low->value).substr(0, kMaxTerm) : Slice());
        const Slice end = high ? Slice(high->value) : Slice();
        return resolve(scan(from, indexKey(field_, {}), [&](Slice term) { return fitBounds(low, high, term); },
                            [&](Slice term) { return !high || term <= end; }),
                       [&](const RecordView& record) {
                           return impl_.matcher.anyWord(record, field_, [&](Slice word) { return withinBounds(low, high, word); });
                       });
    }

    // Words without wildcards, none long enough to be cut.
    Result<RecordSet> literalPhrase(std::span<const Pattern> patterns);
    // Any words: candidates hold each of them, the record decides.
    Result<RecordSet> anyPhrase(std::span<const Pattern> patterns);

private:
    Position position() const { return impl_.sources.wordPosition; }

    Result<RecordSet> resolve(Result<Hits> hits, const std::function<bool(const RecordView&)>& holds) {
        if (!hits) return hits.status();
        WDB_TRY(impl_.verify(hits->sure, std::move(hits->unsure), holds));
        return std::move(hits->sure);
    }

    Result<Hits> literal(Slice term) {
        Hits hits;
        if (term.empty()) return hits;
        RecordSet& target = maybeCutTerm(term) ? hits.unsure : hits.sure;
        const std::string key = wordKey(field_, term);
        WDB_TRY(impl_.postings.read(key, target));
        impl_.overlay(target, position(), [&](const IndexView::Impl::Layer& layer, RecordSetBuilder& out) {
            const uint32_t number = layer.entries.words().find(key);
            if (number != TermTable::kNone) IndexView::Impl::addVisible(layer, layer.entries.words().entries(number), 0, out);
        });
        return hits;
    }

    // Terms from the key `from` on that begin with `prefix`, as long as goesOn(term).
    template <typename FitTerm, typename GoesOn>
    Result<Hits> scan(const std::string& from, const std::string& prefix, FitTerm&& fit, GoesOn&& goesOn) {
        RecordSetBuilder sure;
        RecordSetBuilder unsure;
        std::string present;
        Fit fits = Fit::No;
        WDB_TRY(impl_.postings.walk(from, prefix, [&](Slice key, uint16_t chunk, Slice stored) -> Status {
            if (key.size() < 4) return WDB_E_CORRUPT;
            if (key != present) {
                present = key;
                if (!goesOn(termOf(key))) return WDB_FAIL;
                fits = fit(termOf(key));
            }
            if (fits == Fit::No) return WDB_OK;
            return (fits == Fit::Yes ? sure : unsure).add(chunk, stored);
        }));
        Hits hits{sure.finish(), unsure.finish()};
        scanLayers(hits.sure, from, prefix, fit, goesOn, Fit::Yes);
        scanLayers(hits.unsure, from, prefix, fit, goesOn, Fit::AskRecord);
        return hits;
    }

    template <typename FitTerm, typename GoesOn>
    void scanLayers(RecordSet& hits, const std::string& from, const std::string& prefix, FitTerm& fit, GoesOn& goesOn, Fit wanted) {
        impl_.overlay(hits, position(), [&](const IndexView::Impl::Layer& layer, RecordSetBuilder& out) {
            const DeltaEntries::Dictionary& words = layer.entries.words();
            words.forEachFrom(from, [&](uint32_t number) {
                const Slice key = words.key(number);
                if (!key.starts_with(prefix) || !goesOn(termOf(key))) return false;
                if (fit(termOf(key)) == wanted) IndexView::Impl::addVisible(layer, words.entries(number), 0, out);
                return true;
            });
        });
    }

    Status filterByPositions(RecordSet& candidates, const std::vector<std::string>& keys);
    void phraseInLayer(const IndexView::Impl::Layer& layer, const std::vector<std::string>& keys, RecordSetBuilder& out) const;

    IndexView::Impl& impl_;
    FieldNumber field_;
};

// Keeps the candidates in which the words stand next to each other.
Status WordSearch::filterByPositions(RecordSet& candidates, const std::vector<std::string>& keys) {
    std::vector<PositionReader> readers;
    readers.reserve(keys.size());
    for (const std::string& key : keys) readers.emplace_back(*impl_.sources.words, key);
    RecordSetBuilder builder;
    std::vector<uint32_t> begins;  // positions at which the phrase may begin
    std::vector<uint32_t> here;
    Status status = WDB_OK;
    candidates.forEach([&](RecordNumber record) {
        for (size_t word = 0; ok(status) && word < readers.size(); ++word) {
            Slice stored;
            status = readers[word].seek(record, stored);
            if (status == WDB_FAIL) status = WDB_E_CORRUPT;  // the posting says that the word is there
            if (ok(status)) status = readPositions(stored, word == 0 ? begins : here);
            if (!ok(status) || word == 0) continue;
            size_t kept = 0;
            size_t at = 0;
            for (const uint32_t begin : begins) {
                const uint64_t wanted = uint64_t{begin} + word;
                while (at < here.size() && here[at] < wanted) ++at;
                if (at < here.size() && here[at] == wanted) begins[kept++] = begin;
            }
            begins.resize(kept);
            if (begins.empty()) return;
        }
        if (ok(status) && !begins.empty()) builder.add(record);
    });
    candidates = builder.finish();
    return status;
}

void WordSearch::phraseInLayer(const IndexView::Impl::Layer& layer, const std::vector<std::string>& keys,
                               RecordSetBuilder& out) const {
    const DeltaEntries::Dictionary& words = layer.entries.words();
    std::vector<uint32_t> numbers;
    for (const std::string& key : keys) {
        numbers.push_back(words.find(key));
        if (numbers.back() == TermTable::kNone) return;
    }
    const uint32_t rarest = *std::min_element(numbers.begin(), numbers.end(), [&](uint32_t a, uint32_t b) {
        return words.entries(a).size() < words.entries(b).size();
    });
    for (const uint32_t number : words.entries(rarest)) {
        const DeltaEntries::Entry* entry = layer.visible(number);
        if (entry == nullptr) continue;
        const std::span<const uint32_t> tokens = layer.entries.tokens(*entry, field_);
        if (std::search(tokens.begin(), tokens.end(), numbers.begin(), numbers.end()) != tokens.end()) out.add(entry->record);
    }
}

Result<RecordSet> WordSearch::literalPhrase(std::span<const Pattern> patterns) {
    std::vector<std::string> keys;
    for (const Pattern& pattern : patterns) keys.push_back(wordKey(field_, pattern.prefix()));
    std::vector<RecordSet> postings(keys.size());
    for (size_t i = 0; i < keys.size(); ++i) WDB_TRY(impl_.postings.read(keys[i], postings[i]));
    std::sort(postings.begin(), postings.end(), [](const RecordSet& a, const RecordSet& b) { return a.cardinality() < b.cardinality(); });
    RecordSet hits = std::move(postings[0]);
    for (size_t i = 1; i < postings.size(); ++i) hits.intersect(postings[i]);
    impl_.forLayers(position(), [&](const IndexView::Impl::Layer& layer) { hits.subtract(layer.entries.touched(layer.after, layer.upTo)); });
    WDB_TRY(filterByPositions(hits, keys));
    impl_.overlay(hits, position(), [&](const IndexView::Impl::Layer& layer, RecordSetBuilder& out) { phraseInLayer(layer, keys, out); });
    return hits;
}

Result<RecordSet> WordSearch::anyPhrase(std::span<const Pattern> patterns) {
    Result<RecordSet> candidates = impl_.set(field_, SetKind::Present);
    for (const Pattern& pattern : patterns) {
        if (!candidates) return candidates.status();
        if (pattern.matchesAll()) continue;
        const Result<RecordSet> hits = this->pattern(pattern);
        if (!hits) return hits.status();
        candidates->intersect(*hits);
    }
    RecordSet found;
    WDB_TRY(impl_.verify(found, std::move(*candidates),
                         [&](const RecordView& record) { return impl_.matcher.phrase(record, field_, patterns); }));
    return found;
}

Result<RecordSet> IndexView::word(FieldNumber field, const Pattern& pattern) {
    const Result<const FieldDefinition*> definition = impl_->textField(field);
    if (!definition) return definition.status();
    return WordSearch(*impl_, field).pattern(pattern);
}

Result<RecordSet> IndexView::phrase(FieldNumber field, std::span<const Pattern> patterns) {
    const Result<const FieldDefinition*> definition = impl_->textField(field);
    if (!definition) return definition.status();
    if (patterns.empty()) return RecordSet();
    if (patterns.size() == 1) return WordSearch(*impl_, field).pattern(patterns[0]);
    const bool plain = std::all_of(patterns.begin(), patterns.end(), [](const Pattern& pattern) {
        return pattern.isLiteral() && !pattern.empty() && !maybeCutTerm(pattern.prefix());
    });
    return plain ? WordSearch(*impl_, field).literalPhrase(patterns) : WordSearch(*impl_, field).anyPhrase(patterns);
}

Result<RecordSet> IndexView::wordRange(FieldNumber field, const std::optional<Bound>& low, const std::optional<Bound>& high) {
    const Result<const FieldDefinition*> definition = impl_->textField(field);
    if (!definition) return definition.status();
    return WordSearch(*impl_, field).range(low, high);
}

}  // namespace wdb
