#include "kernel/search/TextJoin.h"

#include <algorithm>

#include "kernel/record/Value.h"
#include "kernel/search/ConditionSets.h"
#include "kernel/search/ItemTest.h"
#include "kernel/text/Normalize.h"

namespace wdb {

using ccl::Comparison;
using Test = Condition::Test;

TextJoin::TextJoin(const JoinComparison& comparison, SourceTables& tables)
    : comparison_(comparison), tables_(tables), turned_(comparison.left.type() != FieldType::Text) {
    if (turned_) comparison_ = {comparison.right, comparison.mirrored(), comparison.left};
}

Status TextJoin::prepare(std::span<const PartRow> left, std::span<const PartRow> right) {
    texts_ = turned_ ? right : left;
    byPart_ = tables_[comparison_.left.table].byPart && comparison_.left.ofParts();
    return readValues(turned_ ? left : right);
}

Status TextJoin::readValues(std::span<const PartRow> rows) {
    const BoundColumn& column = comparison_.right;
    SourceTable& table = tables_[column.table];
    const DateForm form = tables_.context().dateForm();
    for (const PartRow& row : rows) {
        std::vector<uint32_t>& values = valuesOf_.emplace_back();
        const auto keep = [&](Slice item) {
            std::string text;
            renderValue(column.type(), item, form, text);
            const auto [at, added] =
                places_.try_emplace(std::move(text), static_cast<uint32_t>(found_.size()));
            if (added) found_.emplace_back();
            values.push_back(at->second);
        };
        if (row.record == 0) continue;
        if (column.field == nullptr) {
            keep(encodeInteger(row.record));
            continue;
        }
        const Result<RecordView> record = table.state->snapshot.record(row.record);
        if (!record) return record.status();
        visitJoinItems(column, *record, row.part, table.byPart, keep);
    }
    rowsFound_.resize(found_.size());
    for (const auto& [value, place] : places_) WDB_TRY(lookUp(value, place));
    return WDB_OK;
}

Status TextJoin::lookUp(const std::string& value, uint32_t place) {
    const Comparison comparison = comparison_.comparison;
    BaseState& state = *tables_[comparison_.left.table].state;
    Condition condition;
    condition.field = comparison_.left.field;
    condition.first = comparison_.left.first;
    condition.last = comparison_.left.last;
    condition.negated = comparison == Comparison::NotEqual;
    if (comparison == Comparison::Equal || condition.negated) {
        condition.test = Test::Words;
        condition.phrases.push_back(state.context.analyzer().wordPatterns(Pattern(value)));
    } else {
        condition.test = Test::WordWithin;
        const bool above = comparison == Comparison::Greater || comparison == Comparison::GreaterOrEqual;
        const bool inclusive =
            comparison == Comparison::GreaterOrEqual || comparison == Comparison::LessOrEqual;
        std::string word = normalize(state.context.analyzer().fold(value), kFoldBlanks);
        if (word.empty()) return WDB_OK;  // nothing stands so to the empty value
        (above ? condition.low : condition.high) = Bound{std::move(word), inclusive};
    }
    Result<RecordSet> found = byPart_ ? recordsMaybe(condition, state) : recordsWhere(condition, state);
    if (!found) return found.status();
    if (byPart_) return lookUpParts(condition, *found, rowsFound_[place]);
    found_[place] = std::move(*found);
    found_[place].own();
    return WDB_OK;
}

// The rows, parts of the records found, whose own text fits.
Status TextJoin::lookUpParts(const Condition& condition, const RecordSet& records,
                             std::vector<uint32_t>& rows) {
    BaseState& state = *tables_[comparison_.left.table].state;
    ItemTest test(condition, state.context);
    for (const RecordNumber number : records.toVector()) {
        auto at = std::lower_bound(texts_.begin(), texts_.end(), PartRow{number, 0});
        if (at == texts_.end() || at->record != number) continue;
        const Result<RecordView> record = state.snapshot.record(number);
        if (!record) return record.status();
        for (; at != texts_.end() && at->record == number; ++at) {
            if (test.holds(*record, at->part)) rows.push_back(static_cast<uint32_t>(at - texts_.begin()));
        }
    }
    return WDB_OK;
}

bool TextJoin::fits(uint32_t left, uint32_t right) const {
    const uint32_t text = turned_ ? right : left;
    const std::vector<uint32_t>& values = valuesOf_[turned_ ? left : right];
    return std::any_of(values.begin(), values.end(), [&](uint32_t value) {
        const std::vector<uint32_t>& rows = rowsFound_[value];
        return byPart_ ? std::binary_search(rows.begin(), rows.end(), text)
                       : found_[value].contains(texts_[text].record);
    });
}

void TextJoin::matches(bool left, uint32_t row, std::vector<uint32_t>& out) {
    out.clear();
    if (left != turned_) {  // a row of the text's side
        if (!inverted_) invert();
        const auto rows = rowsOf_.find(byPart_ ? row : texts_[row].record);
        if (rows != rowsOf_.end()) out = rows->second;
    } else {
        for (const uint32_t value : valuesOf_[row]) {
            out.insert(out.end(), rowsFound_[value].begin(), rowsFound_[value].end());
            found_[value].forEach([&](RecordNumber record) {
                auto at = std::lower_bound(texts_.begin(), texts_.end(), PartRow{record, 0});
                for (; at != texts_.end() && at->record == record; ++at)
                    out.push_back(static_cast<uint32_t>(at - texts_.begin()));
            });
        }
    }
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
}

void TextJoin::invert() {
    inverted_ = true;
    for (uint32_t row = 0; row < valuesOf_.size(); ++row) {
        for (const uint32_t value : valuesOf_[row]) {
            for (const uint32_t text : rowsFound_[value]) rowsOf_[text].push_back(row);
            found_[value].forEach([&](RecordNumber record) { rowsOf_[record].push_back(row); });
        }
    }
}

}  // namespace wdb
