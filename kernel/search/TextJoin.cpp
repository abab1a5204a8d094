#include "kernel/search/TextJoin.h"

#include <algorithm>

#include "kernel/record/Value.h"
#include "kernel/search/ConditionSets.h"
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
    for (const auto& [value, place] : places_) WDB_TRY(lookUp(value, found_[place]));
    return WDB_OK;
}

Status TextJoin::lookUp(const std::string& value, RecordSet& records) {
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
    Result<RecordSet> found = recordsWhere(condition, state);
    if (!found) return found.status();
    records = std::move(*found);
    records.own();
    return WDB_OK;
}

bool TextJoin::fits(uint32_t left, uint32_t right) const {
    const RecordNumber record = texts_[turned_ ? right : left].record;
    const std::vector<uint32_t>& values = valuesOf_[turned_ ? left : right];
    return std::any_of(values.begin(), values.end(),
                       [&](uint32_t value) { return found_[value].contains(record); });
}

void TextJoin::matches(bool left, uint32_t row, std::vector<uint32_t>& out) {
    out.clear();
    if (left != turned_) {  // a row of the text's side
        if (!inverted_) invert();
        const auto rows = rowsOf_.find(texts_[row].record);
        if (rows != rowsOf_.end()) out = rows->second;
    } else {
        for (const uint32_t value : valuesOf_[row]) {
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
            found_[value].forEach([&](RecordNumber record) { rowsOf_[record].push_back(row); });
        }
    }
}

}  // namespace wdb
