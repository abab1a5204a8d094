#include "kernel/search/TallyPlan.h"

#include <algorithm>

#include "kernel/record/Value.h"
#include "kernel/search/Accumulator.h"

namespace wdb {

namespace {

using ccl::Function;

bool fits(const OutputColumn& column) {
    return column.kind == OutputColumn::Kind::Field && holdsItems(column.type) && !column.ofParts &&
           column.first == 0;
}

bool fits(const BoundAggregate& aggregate) {
    if (!aggregate.column) return true;
    const BoundColumn& column = *aggregate.column;
    return column.field != nullptr && column.field->type == FieldType::Integer && column.first == 0 &&
           !column.ofParts() && !aggregate.distinct && aggregate.function != Function::Min &&
           aggregate.function != Function::Max;
}

void compute(const BoundAggregate& aggregate, std::span<const Tally> tallies, ComputedColumn& column) {
    column.type = FieldType::Integer;
    for (const Tally& tally : tallies) {
        if (!aggregate.column) {
            column.values.push_back(encodeInteger(tally.rows));
            continue;
        }
        Accumulator accumulator(aggregate.function, FieldType::Integer, false);
        accumulator.addIntegers(tally.sum, tally.values);
        column.type = accumulator.type();
        column.values.push_back(accumulator.result());
    }
}

}  // namespace

bool canTally(std::span<const OutputColumn> group, std::span<const BoundAggregate> aggregates,
              const SourceTables& tables) {
    return tables.size() == 1 && !tables[0].byPart && group.size() <= 1 &&
           std::all_of(group.begin(), group.end(), [](const auto& one) { return fits(one); }) &&
           std::all_of(aggregates.begin(), aggregates.end(), [](const auto& one) { return fits(one); });
}

Status tallyRecords(std::span<const OutputColumn> group, std::span<const BoundAggregate> aggregates,
                    const RecordSet& records, IndexView& index, RowBlock& block) {
    const FieldNumber by = group.empty() ? FieldNumber{0} : group.front().field;
    std::vector<FieldNumber> fields;  // to add up, each once; 0 for rows alone
    for (const BoundAggregate& aggregate : aggregates) {
        if (aggregate.column) fields.push_back(aggregate.column->field->number);
    }
    if (fields.empty()) fields.push_back(0);
    std::sort(fields.begin(), fields.end());
    fields.erase(std::unique(fields.begin(), fields.end()), fields.end());
    std::vector<ComputedColumn> computed(aggregates.size());
    std::vector<Tally> tallies;
    for (const FieldNumber field : fields) {
        WDB_TRY(index.tally(by, field, records, tallies));
        if (tallies.empty() && group.empty()) tallies.emplace_back();  // one row of no rows
        for (size_t i = 0; i < aggregates.size(); ++i) {
            const auto& column = aggregates[i].column;
            if ((column ? column->field->number : fields.front()) == field)
                compute(aggregates[i], tallies, computed[i]);
        }
    }
    std::vector<RecordNumber> first;
    first.reserve(tallies.size());
    for (const Tally& tally : tallies) first.push_back(tally.first);
    block.rows.set(0, std::move(first), {});
    block.computed = std::move(computed);
    block.plain = false;
    return WDB_OK;
}

}  // namespace wdb
