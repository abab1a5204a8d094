#include "kernel/search/ItemTest.h"

#include <algorithm>

#include "kernel/record/TextLines.h"
#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/text/Normalize.h"

namespace wdb {

ItemTest::ItemTest(const Condition& condition, SearchContext& context)
    : condition_(condition), context_(context) {
    if (condition.test != Condition::Test::Equal) return;
    for (const std::string& value : condition.values)
        keys_.push_back(wholeValueKey(condition.field->type, value));
    std::sort(keys_.begin(), keys_.end());
}

bool holdsNumber(const Condition& condition, RecordNumber record) {
    const bool inside = condition.test == Condition::Test::Records
                            ? condition.records.contains(record)
                            : record >= condition.firstRecord && record <= condition.lastRecord;
    return inside != condition.negated;
}

bool ItemTest::holds(const RecordView& record, PartNumber firstPart, PartNumber lastPart) {
    const Parts parts{firstPart, lastPart};
    if (condition_.test == Condition::Test::Absent) return !anyItem(record, parts, &ItemTest::isPresent);
    if (!condition_.negated) return anyItem(record, parts, &ItemTest::passes);
    return anyItem(record, parts, &ItemTest::isPresent) && !anyItem(record, parts, &ItemTest::passes);
}

bool ItemTest::anyItem(const RecordView& record, Parts parts, bool (ItemTest::*test)(Slice)) {
    const uint32_t first = condition_.first, last = condition_.last;
    for (PartNumber part = parts.first; part <= parts.last; ++part) {
        const ItemList items = record.items(part, condition_.field->number);
        if (condition_.field->type == FieldType::Text && first > 0 && !items.empty()) {
            const Slice text = items.first();
            for (uint32_t i = first; i <= std::min(last, paragraphCount(text)); ++i) {
                const LineRange lines = paragraphLines(text, i);
                if (!lines.none && (this->*test)(text.substr(lines.begin, lines.end - lines.begin)))
                    return true;
            }
            continue;
        }
        uint32_t position = 0;
        for (const Slice item : items) {
            ++position;
            if (first > 0 && position > last) break;
            if (position >= first && !item.empty() && (this->*test)(item)) return true;
        }
    }
    return false;
}

bool ItemTest::passes(Slice item) {
    using Test = Condition::Test;
    switch (condition_.test) {
        case Test::Present:
            return !item.empty();
        case Test::Equal:
            return equalsSome(item);
        case Test::Matching:
            buffer_.clear();
            normalizeTo(item, kNormalizeValue, buffer_);
            return condition_.pattern.match(buffer_);
        case Test::Words:
            return hasPhrase(item);
        case Test::Within:
            return within(item);
        case Test::WordWithin:
            return hasWordWithin(item);
        case Test::Delivered:
            return delivered(item);
        default:
            return false;
    }
}

bool ItemTest::equalsSome(Slice item) {
    return std::binary_search(keys_.begin(), keys_.end(), wholeValueKey(condition_.field->type, item));
}

bool ItemTest::within(Slice item) const {
    const FieldType type = condition_.field->type;
    if (condition_.low) {
        const int order = compareValues(type, item, condition_.low->value);
        if (order < 0 || (order == 0 && !condition_.low->inclusive)) return false;
    }
    if (!condition_.high) return true;
    const int order = compareValues(type, item, condition_.high->value);
    return order < 0 || (order == 0 && condition_.high->inclusive);
}

bool ItemTest::hasWordWithin(Slice text) {
    bool found = false;
    context_.analyzer().words(text, [&](const Word& word) {
        const auto& low = condition_.low;
        const auto& high = condition_.high;
        const bool above = !low || word.term > low->value || (low->inclusive && word.term == low->value);
        const bool below = !high || word.term < high->value || (high->inclusive && word.term == high->value);
        found = found || (above && below);
    });
    return found;
}

// Every phrase has, per place in it, the words of the text that fit there; a phrase stands where its first
// word does.
bool ItemTest::hasPhrase(Slice text) {
    std::vector<std::pair<std::string, uint32_t>> words;
    context_.analyzer().words(
        text, [&](const Word& word) { words.emplace_back(std::string(word.term), word.position); });
    for (const std::vector<Pattern>& phrase : condition_.phrases) {
        if (phrase.empty()) continue;
        for (size_t start = 0; start + phrase.size() <= words.size(); ++start) {
            size_t length = 0;
            while (length < phrase.size() && words[start + length].second == words[start].second + length &&
                   phrase[length].match(words[start + length].first)) {
                ++length;
            }
            if (length == phrase.size()) return true;
        }
    }
    return false;
}

bool ItemTest::delivered(Slice item) {
    buffer_.clear();
    renderValue(condition_.field->type, item, context_.dateForm(), buffer_);
    return condition_.pattern.match(buffer_);
}

}  // namespace wdb
