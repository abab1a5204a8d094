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

}  // namespace

Status groupRows(std::span<const OutputColumn> columns, const SourceRows& source, RowGroups& groups) {
    WDB_TRY(groupNumbers(columns.front(), source, groups.numberOf, groups.numbers));
    for (const OutputColumn& column : columns.subspan(1)) {
        std::vector<uint32_t> others;
        uint32_t count = 0;
        WDB_TRY(groupNumbers(column, source, others, count));
        groups.numbers = combineNumbers(groups.numberOf, others);
    }
    std::vector<char> seen(groups.numbers, 0);
    for (uint32_t row = 0; row < groups.numberOf.size(); ++row) {
        const uint32_t number = groups.numberOf[row];
        if (seen[number]) continue;
        seen[number] = 1;
        groups.groups.push_back(number);
        groups.firstRow.push_back(row);
    }
    return WDB_OK;
}

RowGroups oneGroup(size_t rows) {
    return {std::vector<uint32_t>(rows, 0), 1, {0}, {rows == 0 ? Tuples::kNone : 0}};
}

namespace {

void countRows(const RowGroups& groups, ComputedColumn& result) {
    std::vector<int64_t> rows(groups.numbers, 0);
    for (const uint32_t number : groups.numberOf) ++rows[number];
    result.type = FieldType::Integer;
    for (const uint32_t group : groups.groups) result.values.push_back(encodeInteger(rows[group]));
}

// SUM, AVG and COUNT of whole numbers, from the column that the index keeps. WDB_FAIL when it cannot tell.
Status aggregateIntegers(const BoundAggregate& aggregate, const SourceRows& source, const RowGroups& groups,
                         ComputedColumn& result) {
    using ccl::Function;
    const BoundColumn& column = *aggregate.column;
    const bool fits = column.field != nullptr && column.field->type == FieldType::Integer &&
                      column.first == 0 && !column.ofParts() && !aggregate.distinct &&
                      aggregate.function != Function::Min && aggregate.function != Function::Max;
    if (!fits) return WDB_FAIL;
    std::vector<int64_t> values;
    std::vector<char> present;
    IndexView& index = source.tables[column.table].state->index;
    WDB_TRY(index.integers(column.field->number, source.rows.records(column.table), values, present));
    struct Sum {
        int64_t sum = 0;
        int64_t count = 0;
        __int128 carried = 0;  // what did not fit the sum
    };
    std::vector<Sum> sums(groups.numbers);
    for (size_t row = 0; row < values.size(); ++row) {
        Sum& sum = sums[groups.numberOf[row]];
        sum.count += present[row];
        int64_t total = 0;
        if (__builtin_add_overflow(sum.sum, values[row], &total)) {
            sum.carried += sum.sum;
            total = values[row];
        }
        sum.sum = total;
    }
    for (const uint32_t group : groups.groups) {
        Accumulator accumulator(aggregate.function, FieldType::Integer, false);
        accumulator.addIntegers(sums[group].carried + sums[group].sum,
                                static_cast<uint64_t>(sums[group].count));
        result.type = accumulator.type();
        result.values.push_back(accumulator.result());
    }
    return WDB_OK;
}

}  // namespace

Status aggregate(const BoundAggregate& aggregate, const SourceRows& source, const RowGroups& groups,
                 ComputedColumn& result) {
    if (!aggregate.column) {
        countRows(groups, result);
        return WDB_OK;
    }
    const Status fast = aggregateIntegers(aggregate, source, groups, result);
    if (fast != WDB_FAIL) return fast;
    const OutputColumn column = asOutput(*aggregate.column);
    const DateForm form = source.tables.context().dateForm();
    std::vector<uint32_t> placeOf(groups.numbers, 0);
    for (uint32_t group = 0; group < groups.groups.size(); ++group) placeOf[groups.groups[group]] = group;
    std::vector<Accumulator> accumulators(groups.groups.size(),
                                          Accumulator(aggregate.function, column.type, aggregate.distinct));
    WDB_TRY(forEachRow(source, [&](size_t row, const RowView& view) {
        Accumulator& accumulator = accumulators[placeOf[groups.numberOf[row]]];
        columnValues(column, view, form, [&](Slice value) { accumulator.add(value); });
    }));
    result.type = Accumulator(aggregate.function, column.type, false).type();
    for (const Accumulator& accumulator : accumulators) result.values.push_back(accumulator.result());
    return WDB_OK;
}

}  // namespace wdb
