#include "kernel/search/Grouping.h"

#include <unordered_map>
#include <unordered_set>

#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/search/Accumulator.h"
#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

// The items of an aggregate's column as a column of rows.
OutputColumn asOutput(const BoundColumn& bound) {
    OutputColumn column;
    column.kind = bound.field == nullptr ? OutputColumn::Kind::Record : OutputColumn::Kind::Field;
    column.table = bound.table;
    column.type = bound.type();
    column.first = bound.first;
    column.last = bound.last;
    if (bound.field == nullptr) return column;
    column.field = bound.field->number;
    column.ofParts = bound.field->part;
    return column;
}

// Joins two numberings: equal numbers in both are one.
void combine(std::vector<uint32_t>& numbers, const std::vector<uint32_t>& others) {
    std::unordered_map<uint64_t, uint32_t> known;
    for (size_t row = 0; row < numbers.size(); ++row) {
        const uint64_t pair = uint64_t{numbers[row]} << 32 | others[row];
        numbers[row] = known.try_emplace(pair, static_cast<uint32_t>(known.size())).first->second;
    }
}

}  // namespace

Status groupRows(std::span<const OutputColumn> columns, const SourceRows& source, RowGroups& groups) {
    uint32_t count = 0;
    WDB_TRY(groupNumbers(columns.front(), source, groups.groupOf, count));
    for (const OutputColumn& column : columns.subspan(1)) {
        std::vector<uint32_t> others;
        WDB_TRY(groupNumbers(column, source, others, count));
        combine(groups.groupOf, others);
        count = static_cast<uint32_t>(groups.groupOf.size());
    }
    // Numbers in the order of first rows.
    constexpr uint32_t kNone = UINT32_MAX;
    std::vector<uint32_t> renumbered(count, kNone);
    for (uint32_t row = 0; row < groups.groupOf.size(); ++row) {
        uint32_t& number = renumbered[groups.groupOf[row]];
        if (number == kNone) {
            number = static_cast<uint32_t>(groups.firstRow.size());
            groups.firstRow.push_back(row);
        }
        groups.groupOf[row] = number;
    }
    return WDB_OK;
}

RowGroups oneGroup(size_t rows) { return {std::vector<uint32_t>(rows, 0), {rows == 0 ? Tuples::kNone : 0}}; }

Status aggregate(const BoundAggregate& aggregate, const SourceRows& source, const RowGroups& groups, ComputedColumn& result) {
    const size_t count = groups.firstRow.size();
    if (!aggregate.column) {
        std::vector<int64_t> rows(count, 0);
        for (const uint32_t group : groups.groupOf) ++rows[group];
        result.type = FieldType::Integer;
        for (const int64_t number : rows) result.values.push_back(encodeInteger(number));
        return WDB_OK;
    }
    const OutputColumn column = asOutput(*aggregate.column);
    const DateForm form = source.tables.context().dateForm();
    std::vector<Accumulator> accumulators(count, Accumulator(aggregate.function, column.type, aggregate.distinct));
    WDB_TRY(forEachRow(source, [&](size_t row, const RowView& view) {
        Accumulator& accumulator = accumulators[groups.groupOf[row]];
        columnValues(column, view, form, [&](Slice value) { accumulator.add(value); });
    }));
    result.type = accumulators.empty() ? FieldType::Integer : accumulators.front().type();
    for (Accumulator& accumulator : accumulators) result.values.push_back(accumulator.result());
    return WDB_OK;
}

}  // namespace wdb
