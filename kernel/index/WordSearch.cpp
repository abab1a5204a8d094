#include <algorithm>
#include <memory>
#include <optional>

#include "kernel/index/IndexView.h"
#include "kernel/index/IndexViewImpl.h"
#include "kernel/index/PositionReader.h"
#include "kernel/index/Varint.h"

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
        if (order == 0 ? !bound->inclusive : (bound == (low ? &*low : nullptr)) == (order < 0))
            return Fit::No;
    }
    return fit;
}

bool withinBounds(const std::optional<Bound>& low, const std::optional<Bound>& high, Slice word) {
    if (low && (word < Slice(low->value) || (!low->inclusive && word == low->value))) return false;
    return !high || word < Slice(high->value) || (high->inclusive && word == high->value);
}

Slice termOf(Slice key) {
    return key.substr(2, key.size() - 3);
}

// A vocabulary's matches are looked up one by one while they are so small a part of its terms; more of them
// are read by a walk.
constexpr size_t kWalkShare = 8;

// Terms that a word of a phrase may stand for before the records are asked instead of the positions.
constexpr size_t kMaxExpansion = 256;

// A term that a word of a phrase stands for.
struct PhraseTerm {
    std::string key;
    RecordSet records;
};
using PhraseWord = std::vector<PhraseTerm>;

// The positions of one word of a phrase, record by record.
class WordPositions {
public:
    WordPositions(const Txn& words, const PhraseWord& word)
        : words_(words), word_(word), readers_(word.size()) {}

    // Whether the word stands for one term only.
    bool single() const { return word_.size() == 1; }
    // The stored positions of such a word.
    Status stored(RecordNumber record, Slice& out) { return seek(0, record, out); }

    // The positions of all its terms in a record that holds one of them, ascending.
    Status read(RecordNumber record, std::vector<uint32_t>& out) {
        size_t found = 0;
        for (size_t i = 0; i < word_.size(); ++i) {
            if (word_.size() > 1 && !word_[i].records.contains(record)) continue;
            Slice stored;
            WDB_TRY(seek(i, record, stored));
            WDB_TRY(readPositions(stored, found == 0 ? out : more_));
            if (found++ > 0) out.insert(out.end(), more_.begin(), more_.end());
        }
        if (found > 1) std::sort(out.begin(), out.end());
        return found == 0 ? WDB_E_CORRUPT : WDB_OK;
    }

private:
    Status seek(size_t term, RecordNumber record, Slice& stored) {
        if (!readers_[term])
            readers_[term] = std::make_unique<PositionReader>(words_, word_[term].key, word_[term].records);
        return readers_[term]->seek(record, stored);
    }

    const Txn& words_;
    const PhraseWord& word_;
    std::vector<std::unique_ptr<PositionReader>> readers_;
    std::vector<uint32_t> more_;
};

// A walk through the stored positions of one word in one record.
struct PositionWalk {
    const char* at;
    const char* end;
    uint64_t here = 0;

    // To the first position not below `wanted`: WDB_FAIL when there is none.
    Status reach(uint64_t wanted) {
        while (here < wanted) {
            if (at == end) return WDB_FAIL;
            uint32_t distance;
            if (!readVarint(at, end, distance)) return WDB_E_CORRUPT;
            here += distance;
        }
        return WDB_OK;
    }
    Status begin() {
        uint32_t first;
        if (!readVarint(at, end, first)) return WDB_E_CORRUPT;
        here = first;
        return WDB_OK;
    }
};

// WDB_OK when the words have positions one behind the other, WDB_FAIL when not.
Status standInOrder(std::vector<PositionWalk>& words) {
    for (PositionWalk& word : words) WDB_TRY(word.begin());
    for (size_t i = 1; i < words.size();) {
        WDB_TRY(words[i].reach(words[0].here + i));
        if (words[i].here == words[0].here + i) {
            ++i;
            continue;
        }
        WDB_TRY(words[0].reach(words[i].here - i));
        i = 1;
    }
    return WDB_OK;
}

}  // namespace

// Searches over the word file and the words of the layers.
class WordSearch {
public:
    WordSearch(IndexView::Impl& impl, FieldNumber field) : impl_(impl), field_(field) {}

    Result<RecordSet> pattern(const Pattern& pattern) {
        const auto holds = [&](const RecordView& record) {
            return impl_.matcher.phrase(record, field_, {&pattern, 1});
        };
        if (pattern.isLiteral()) return resolve(literal(pattern.prefix()), holds);
        const std::string prefix = indexKey(field_, pattern.prefix().substr(0, kMaxTerm));
        const auto fit = [&](Slice term) { return fitPattern(pattern, term); };
        const auto goesOn = [](Slice) { return true; };
        if (pattern.prefix().empty() && !pattern.matchesAll()) {
            Hits hits;
            const Status status = scanVocabulary(pattern, hits);
            if (ok(status)) {
                scanAllLayers(hits, prefix, prefix, fit, goesOn);
                return resolve(std::move(hits), holds);
            }
            if (status != WDB_FAIL) return status;
        }
        return resolve(scan(prefix, prefix, fit, goesOn), holds);
    }

    Result<RecordSet> range(const std::optional<Bound>& low, const std::optional<Bound>& high) {
        const std::string from = indexKey(field_, low ? Slice(low->value).substr(0, kMaxTerm) : Slice());
        const Slice end = high ? Slice(high->value) : Slice();
        return resolve(scan(
                           from, indexKey(field_, {}), [&](Slice term) { return fitBounds(low, high, term); },
                           [&](Slice term) { return !high || term <= end; }),
                       [&](const RecordView& record) {
                           return impl_.matcher.anyWord(
                               record, field_, [&](Slice word) { return withinBounds(low, high, word); });
                       });
    }

    Result<RecordSet> phrase(std::span<const Pattern> patterns);

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
            if (number != TermTable::kNone)
                IndexView::Impl::addVisible(layer, layer.entries.words().entries(number), 0, out);
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
        scanAllLayers(hits, from, prefix, fit, goesOn);
        return hits;
    }

    // What a pattern without a beginning matches in the file. WDB_FAIL when a walk is the better way.
    Status scanVocabulary(const Pattern& pattern, Hits& hits) {
        const FieldDefinition& field = *impl_.sources.schema->find(field_);
        const auto vocabulary = impl_.vocabulary(Vocabulary::Table::Words, field);
        if (!vocabulary) return vocabulary.status();
        if (!*vocabulary) return WDB_FAIL;
        std::vector<std::string> keys;
        const size_t most = (*vocabulary)->size() / kWalkShare;
        (*vocabulary)->forEachMatch(pattern, [&](Slice term) {
            keys.push_back(wordKey(field_, term));
            return keys.size() <= most;
        });
        if (keys.size() > most) return WDB_FAIL;
        RecordSetBuilder sure;
        RecordSetBuilder unsure;
        for (const std::string& key : keys) WDB_TRY(impl_.postings.addTo(key, sure));
        for (const std::string& term : (*vocabulary)->cut())
            WDB_TRY(impl_.postings.addTo(wordKey(field_, term), unsure));
        hits = {sure.finish(), unsure.finish()};
        return WDB_OK;
    }

    template <typename FitTerm, typename GoesOn>
    void scanAllLayers(Hits& hits, const std::string& from, const std::string& prefix, FitTerm& fit,
                       GoesOn& goesOn) {
        scanLayers(hits.sure, from, prefix, fit, goesOn, Fit::Yes);
        scanLayers(hits.unsure, from, prefix, fit, goesOn, Fit::AskRecord);
    }

    template <typename FitTerm, typename GoesOn>
    void scanLayers(RecordSet& hits, const std::string& from, const std::string& prefix, FitTerm& fit,
                    GoesOn& goesOn, Fit wanted) {
        impl_.overlay(hits, position(), [&](const IndexView::Impl::Layer& layer, RecordSetBuilder& out) {
            const DeltaEntries::Dictionary& words = layer.entries.words();
            words.forEachFrom(from, [&](uint32_t number) {
                const Slice key = words.key(number);
                if (!key.starts_with(prefix) || !goesOn(termOf(key))) return false;
                if (fit(termOf(key)) == wanted)
                    IndexView::Impl::addVisible(layer, words.entries(number), 0, out);
                return true;
            });
        });
    }

    Status expand(const Pattern& pattern, std::optional<PhraseWord>& word);
    // By the positions of the terms; by looking at the records that hold each of the words.
    Result<RecordSet> phraseByPositions(std::span<const Pattern> patterns,
                                        const std::vector<PhraseWord>& words);
    Result<RecordSet> phraseByRecords(std::span<const Pattern> patterns);
    Status filterByPositions(RecordSet& candidates, const std::vector<PhraseWord>& words);
    static Status standTogether(std::vector<WordPositions>& readers, RecordNumber record,
                                std::vector<uint32_t>& begins, std::vector<uint32_t>& here, bool& found);
    void phraseInLayer(const IndexView::Impl::Layer& layer, std::span<const Pattern> patterns,
                       RecordSetBuilder& out) const;
    std::vector<uint32_t> numbersOf(const DeltaEntries::Dictionary& words, const Pattern& pattern) const;

    IndexView::Impl& impl_;
    FieldNumber field_;
};

// The terms that a word stands for; none when there are too many of them or the index cannot tell.
Status WordSearch::expand(const Pattern& pattern, std::optional<PhraseWord>& word) {
    word.reset();
    if (pattern.matchesAll() || pattern.empty() || maybeCutTerm(pattern.prefix())) return WDB_OK;
    PhraseWord terms;
    if (pattern.isLiteral()) {
        terms.push_back({wordKey(field_, pattern.prefix()), {}});
        WDB_TRY(impl_.postings.read(terms[0].key, terms[0].records));
        word = std::move(terms);
        return WDB_OK;
    }
    const std::string prefix = indexKey(field_, pattern.prefix());
    bool fits = true;
    Slice passed;  // the latest key that does not match; it lies in the map
    const Status walked =
        impl_.postings.walk(prefix, prefix, [&](Slice key, uint16_t chunk, Slice stored) -> Status {
            if (key.size() < 4) return WDB_E_CORRUPT;
            if (key == passed) return WDB_OK;
            if (terms.empty() || key != terms.back().key) {
                const Fit fit = fitPattern(pattern, termOf(key));
                fits = fit != Fit::AskRecord && (fit == Fit::No || terms.size() < kMaxExpansion);
                if (!fits) return WDB_FAIL;
                if (fit == Fit::No) {
                    passed = key;
                    return WDB_OK;
                }
                terms.push_back({std::string(key), {}});
            }
            return terms.back().records.borrow(chunk, stored);
        });
    WDB_TRY(walked);
    impl_.forLayers(position(), [&](const IndexView::Impl::Layer& layer) {
        const DeltaEntries::Dictionary& words = layer.entries.words();
        words.forPrefix(prefix,
                        [&](uint32_t number) { fits = fits && !maybeCutTerm(termOf(words.key(number))); });
    });
    if (fits) word = std::move(terms);
    return WDB_OK;
}

Result<RecordSet> WordSearch::phrase(std::span<const Pattern> patterns) {
    if (patterns.empty()) return RecordSet();
    if (patterns.size() == 1) return pattern(patterns[0]);
    std::vector<PhraseWord> words;
    for (const Pattern& pattern : patterns) {
        std::optional<PhraseWord> word;
        WDB_TRY(expand(pattern, word));
        if (!word) return phraseByRecords(patterns);
        words.push_back(std::move(*word));
    }
    return phraseByPositions(patterns, words);
}

Result<RecordSet> WordSearch::phraseByPositions(std::span<const Pattern> patterns,
                                                const std::vector<PhraseWord>& words) {
    std::vector<RecordSet> unions;
    for (const PhraseWord& word : words) {
        if (word.size() == 1) {
            unions.push_back(word[0].records.view());
            continue;
        }
        RecordSetBuilder builder;
        for (const PhraseTerm& term : word) builder.add(term.records);
        unions.push_back(builder.finish());
    }
    std::sort(unions.begin(), unions.end(),
              [](const RecordSet& a, const RecordSet& b) { return a.cardinality() < b.cardinality(); });
    RecordSet hits = std::move(unions[0]);
    for (size_t i = 1; i < unions.size(); ++i) hits.intersect(unions[i]);
    impl_.forLayers(position(), [&](const IndexView::Impl::Layer& layer) {
        hits.subtract(layer.entries.touched(layer.after, layer.upTo));
    });
    WDB_TRY(filterByPositions(hits, words));
    impl_.overlay(hits, position(), [&](const IndexView::Impl::Layer& layer, RecordSetBuilder& out) {
        phraseInLayer(layer, patterns, out);
    });
    return hits;
}

// Keeps the candidates in which the words stand next to each other.
Status WordSearch::filterByPositions(RecordSet& candidates, const std::vector<PhraseWord>& words) {
    std::vector<WordPositions> readers;
    readers.reserve(words.size());
    for (const PhraseWord& word : words) readers.emplace_back(*impl_.sources.words, word);
    const bool plain =
        std::all_of(readers.begin(), readers.end(), [](const WordPositions& word) { return word.single(); });
    RecordSetBuilder builder;
    std::vector<PositionWalk> walks;
    std::vector<uint32_t> begins;
    std::vector<uint32_t> here;
    Status status = WDB_OK;
    candidates.forEach([&](RecordNumber record) {
        if (!ok(status)) return;
        bool found = true;
        if (plain) {
            walks.clear();
            for (size_t i = 0; ok(status) && i < readers.size(); ++i) {
                Slice stored;
                status = readers[i].stored(record, stored);
                walks.push_back({stored.data(), stored.data() + stored.size()});
            }
            if (ok(status)) status = standInOrder(walks);
            found = status != WDB_FAIL;
            if (!found) status = WDB_OK;
        } else {
            status = standTogether(readers, record, begins, here, found);
        }
        if (ok(status) && found) builder.add(record);
    });
    candidates = builder.finish();
    return status;
}

// Whether all words stand next to each other in a record that holds them all. `begins` and `here` are room:
// positions at which the phrase may begin, positions of the present word.
Status WordSearch::standTogether(std::vector<WordPositions>& readers, RecordNumber record,
                                 std::vector<uint32_t>& begins, std::vector<uint32_t>& here, bool& found) {
    WDB_TRY(readers[0].read(record, begins));
    for (size_t word = 1; word < readers.size() && !begins.empty(); ++word) {
        WDB_TRY(readers[word].read(record, here));
        size_t kept = 0;
        size_t at = 0;
        for (const uint32_t begin : begins) {
            const uint64_t wanted = uint64_t{begin} + word;
            while (at < here.size() && here[at] < wanted) ++at;
            if (at < here.size() && here[at] == wanted) begins[kept++] = begin;
        }
        begins.resize(kept);
    }
    found = !begins.empty();
    return WDB_OK;
}

// The numbers of the words that match, ascending.
std::vector<uint32_t> WordSearch::numbersOf(const DeltaEntries::Dictionary& words,
                                            const Pattern& pattern) const {
    std::vector<uint32_t> numbers;
    if (pattern.isLiteral()) {
        const uint32_t number = words.find(wordKey(field_, pattern.prefix()));
        if (number != TermTable::kNone) numbers.push_back(number);
        return numbers;
    }
    words.forPrefix(indexKey(field_, pattern.prefix()), [&](uint32_t number) {
        if (pattern.match(termOf(words.key(number)))) numbers.push_back(number);
    });
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

void WordSearch::phraseInLayer(const IndexView::Impl::Layer& layer, std::span<const Pattern> patterns,
                               RecordSetBuilder& out) const {
    const DeltaEntries::Dictionary& words = layer.entries.words();
    std::vector<std::vector<uint32_t>> numbers;
    size_t rarest = 0;
    size_t fewest = SIZE_MAX;
    for (const Pattern& pattern : patterns) {
        numbers.push_back(numbersOf(words, pattern));
        size_t entries = 0;
        for (const uint32_t number : numbers.back()) entries += words.entries(number).size();
        if (entries < fewest) rarest = numbers.size() - 1;
        fewest = std::min(fewest, entries);
    }
    const auto matches = [](uint32_t token, const std::vector<uint32_t>& wanted) {
        return std::binary_search(wanted.begin(), wanted.end(), token);
    };
    for (const uint32_t word : numbers[rarest]) {
        for (const uint32_t number : words.entries(word)) {
            const DeltaEntries::Entry* entry = layer.visible(number);
            if (entry == nullptr) continue;
            const std::span<const uint32_t> tokens = layer.entries.tokens(*entry, field_);
            if (std::search(tokens.begin(), tokens.end(), numbers.begin(), numbers.end(), matches) !=
                tokens.end())
                out.add(entry->record);
        }
    }
}

Result<RecordSet> WordSearch::phraseByRecords(std::span<const Pattern> patterns) {
    Result<RecordSet> candidates = impl_.set(field_, SetKind::Present);
    for (const Pattern& pattern : patterns) {
        if (!candidates) return candidates.status();
        if (pattern.matchesAll()) continue;
        const Result<RecordSet> hits = this->pattern(pattern);
        if (!hits) return hits.status();
        candidates->intersect(*hits);
    }
    RecordSet found;
    WDB_TRY(impl_.verify(found, std::move(*candidates), [&](const RecordView& record) {
        return impl_.matcher.phrase(record, field_, patterns);
    }));
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
    return WordSearch(*impl_, field).phrase(patterns);
}

Result<RecordSet> IndexView::wordRange(FieldNumber field, const std::optional<Bound>& low,
                                       const std::optional<Bound>& high) {
    const Result<const FieldDefinition*> definition = impl_->textField(field);
    if (!definition) return definition.status();
    return WordSearch(*impl_, field).range(low, high);
}

}  // namespace wdb
