#include "kernel/search/SelectPlan.h"

#include <algorithm>
#include <numeric>

#include "kernel/search/CommandFault.h"
#include "kernel/search/ConditionBinder.h"
#include "kernel/search/ConstantRow.h"
#include "kernel/search/Distinct.h"
#include "kernel/search/ExpressionEvaluator.h"
#include "kernel/search/Grouping.h"
#include "kernel/search/StepTimer.h"
#include "kernel/search/TallyPlan.h"

namespace wdb {

using Kind = OutputColumn::Kind;

namespace {

// Whether a condition asks for an earlier set, whose records it may then borrow.
bool asksSets(const ccl::Expression& expression) {
    using Form = ccl::Criterion::Form;
    return std::ranges::any_of(expression.criteria, [](const ccl::Criterion& criterion) {
        return criterion.form == Form::InSet || criterion.form == Form::Set;
    });
}

}  // namespace

Status searchBase(const ccl::Expression* expression, BaseState& state, Search& search, SetBase& result,
                  CommandError& error) {
    std::vector<Condition> conditions;
    if (expression != nullptr) {
        WDB_TRY(ConditionBinder(state, search, error).bind(expression->criteria, conditions));
    }
    Result<RecordSet> records =
        expression == nullptr ? state.index.live() : evaluateExpression(*expression, conditions, state);
    if (!records) return records.status();
    fillBase(state, std::move(*records), expression == nullptr || !asksSets(*expression), result);
    return WDB_OK;
}

void fillBase(const BaseState& state, RecordSet records, bool ofIndex, SetBase& result) {
    result.base = state.snapshot.sharedBase();
    result.definition = state.snapshot.sharedDefinition();
    result.records = std::move(records);
    if (!ofIndex || !state.context.snapshotsStay()) result.records.own();
    result.count = result.records.cardinality();
    result.commit = state.snapshot.commitNumber();
}

Result<std::shared_ptr<SearchSet>> SelectPlan::makeSet() {
    auto set = std::make_shared<SearchSet>();
    set->kind = command_.values ? SetKind::Values : SetKind::Rows;
    if (const Status status = bind(*set); status != WDB_OK) return status;
    if (command_.tables.empty()) {
        bool holds = true;
        if (command_.where) {
            const Status status = holdsForConstants(*command_.where, holds, error_);
            if (status != WDB_OK) return status;
        }
        if (!holds) set->block = std::make_unique<RowBlock>();
        return set;
    }
    const Status status = isSimple() ? selectRecords(*set) : makeBlock(*set);
    if (status != WDB_OK) return status;
    return set;
}

namespace {

// A column of a table as an entry of a row.
OutputColumn columnOf(const BoundColumn& bound) {
    OutputColumn column;
    column.kind = bound.field == nullptr ? Kind::Record : Kind::Field;
    column.table = bound.table;
    column.type = bound.type();
    column.first = bound.first;
    column.last = bound.last;
    if (bound.field == nullptr) return column;
    column.field = bound.field->number;
    column.ofParts = bound.field->part;
    column.name = bound.field->name;
    return column;
}

// What SORT items sort by: entries of the row, or other columns.
Status bindSort(const std::vector<ccl::SortItem>& items, const SearchSet& set, SourceTables& tables,
                std::vector<OutputColumn>& sort, CommandError& error) {
    for (const ccl::SortItem& item : items) {
        if (static_cast<size_t>(item.item) > set.columns.size()) {
            return fault(error, WDB_E_CCL_FIELD, item.position, std::to_string(item.item));
        }
        if (item.item > 0) {
            sort.push_back(set.columns[static_cast<size_t>(item.item) - 1]);
        } else {
            const Result<BoundColumn> bound = tables.bind(item.column);
            if (!bound) return bound.status();
            sort.push_back(columnOf(*bound));
        }
        const bool binary = sort.back().kind == Kind::Field && sort.back().type == FieldType::String;
        if (binary) return fault(error, WDB_E_TYPE, item.position);
    }
    return WDB_OK;
}

}  // namespace

Status SelectPlan::bind(SearchSet& set) {
    for (const ccl::TableRef& table : command_.tables) WDB_TRY(tables_.add(table));
    WDB_TRY(bindColumns(tables_, command_.fields, set.columns, aggregates_, error_));
    if (!command_.tables.empty()) return WDB_OK;
    // A row of constants: nothing but a condition has a meaning beside it.
    const bool more = !aggregates_.empty() || !command_.joins.empty() || !command_.group.empty();
    return more ? fault(error_, WDB_E_CCL_UNSUPPORTED, 0)
                : bindSort(command_.sort, set, tables_, sort_, error_);
}

// Are the rows the records of the one base?
bool SelectPlan::isSimple() const {
    const bool one =
        tables_.size() == 1 && command_.joins.empty() && command_.group.empty() && aggregates_.empty();
    if (!one || command_.distinct || tables_.hasPartFields(0)) return false;
    return std::none_of(command_.sort.begin(), command_.sort.end(), [&](const ccl::SortItem& item) {
        const size_t place = static_cast<size_t>(item.item) - 1;
        return item.item > 0 && static_cast<size_t>(item.item) <= command_.fields.size() &&
               command_.fields[place].kind == ccl::FieldItem::Kind::Arithmetic &&
               command_.fields[place].terms.size() > 1;
    });
}

// Every qualifier of the condition must mean the table.
Status SelectPlan::checkQualifiers() {
    if (!command_.where) return WDB_OK;
    for (const ccl::Criterion& criterion : command_.where->criteria) {
        if (!criterion.column.qualifier.empty() && !tables_.find(criterion.column.qualifier)) {
            return fault(error_, WDB_E_CCL_FIELD, criterion.column.position, criterion.column.qualifier);
        }
    }
    return WDB_OK;
}

Status SelectPlan::selectRecords(SearchSet& set) {
    BaseState& state = *tables_[0].state;
    WDB_TRY(bindSort(command_.sort, set, tables_, sort_, error_));
    WDB_TRY(checkQualifiers());
    WDB_TRY(searchBase(command_.where ? &*command_.where : nullptr, state, search_, set.bases.emplace_back(),
                       error_));
    std::vector<SortKey> keys;
    for (size_t i = 0; i < sort_.size(); ++i) {
        const OutputColumn& column = sort_[i];
        if (column.kind != Kind::Field && column.kind != Kind::Record) continue;  // the same in all rows
        const bool item = column.first > 0 && column.first == column.last;
        keys.push_back({column.field, column.type, item ? column.first : 1, command_.sort[i].descending});
        if (column.kind == Kind::Record) break;  // no two rows are equal in it
    }
    const bool natural = keys.empty() || (keys.front().field == 0 && !keys.front().descending);
    if (natural || command_.values) return WDB_OK;
    set.order = std::make_unique<Ordering>(std::move(keys));
    return context_.snapshotsStay() ? WDB_OK : set.order->fix(set.bases.front().records, state);
}

Status SelectPlan::bindGroup() {
    for (const ccl::Column& column : command_.group) {
        const Result<BoundColumn> bound = tables_.bind(column);
        if (!bound) return bound.status();
        group_.push_back(columnOf(*bound));
    }
    return WDB_OK;
}

// The rows of a base are parts when part fields of it occur in FIELD, WHERE or GROUP.
void SelectPlan::markParts(const SearchSet& set, const WherePlan& where) {
    const auto mark = [this](const OutputColumn& column) {
        if (column.kind == Kind::Field && column.ofParts) tables_[column.table].byPart = true;
    };
    for (const OutputColumn& column : set.columns) {
        mark(column);
        if (!column.arithmetic) continue;
        for (const OutputColumn& operand : column.arithmetic->operands) mark(operand);
    }
    for (const OutputColumn& column : group_) mark(column);
    for (const BoundAggregate& aggregate : aggregates_) {
        if (aggregate.column && aggregate.column->ofParts()) tables_[aggregate.column->table].byPart = true;
    }
    for (uint32_t table = 0; table < tables_.size(); ++table) {
        if (where.usesParts(table)) tables_[table].byPart = true;
    }
}

Status SelectPlan::makeBlock(SearchSet& set) {
    JoinPlan joins(command_.joins, tables_, error_);
    WDB_TRY(joins.bind());
    WherePlan where(command_.where ? &*command_.where : nullptr, tables_, search_, error_);
    WDB_TRY(where.bind());
    WDB_TRY(bindGroup());
    WDB_TRY(bindSort(command_.sort, set, tables_, sort_, error_));
    markParts(set, where);
    set.block = std::make_unique<RowBlock>();
    WDB_TRY(makeRows(joins, where, *set.block));
    const StepTimer arranged(context_, 1);
    WDB_TRY(arrange(set, *set.block));
    arranged.done("SORT", set.block->size());
    addBases(set);
    return WDB_OK;
}

Status SelectPlan::makeRows(JoinPlan& joins, WherePlan& where, RowBlock& block) {
    const bool groups = !group_.empty() || !aggregates_.empty();
    const StepTimer joined(context_, 1);
    if (groups && command_.joins.empty() && canTally(group_, aggregates_, tables_)) {
        TableRows found;
        WDB_TRY(where.tableRows(0, true, found));
        joined.done("rows", found.size());
        const StepTimer tallied(context_, 1);
        block.rows = Tuples(1);
        const Status status =
            tallyRecords(group_, aggregates_, found.records, tables_[0].state->index, block);
        if (status != WDB_FAIL) {
            tallied.done("GROUP", block.rows.size());
            return status;
        }
        found.moveTo(block.rows, 0);
    } else {
        WDB_TRY(joins.run(where, block.rows));
        joined.done("rows", block.rows.size());
    }
    const StepTimer filtered(context_, 1);
    WDB_TRY(where.filter(block.rows));
    filtered.done("WHR", block.rows.size());
    const StepTimer grouped(context_, 1);
    if (groups) WDB_TRY(group(block));
    grouped.done("GROUP", block.rows.size());
    return WDB_OK;
}

Status SelectPlan::group(RowBlock& block) {
    const SourceRows source{tables_, block.rows, block.computed};
    RowGroups groups = group_.empty() ? oneGroup(block.rows.size()) : RowGroups();
    if (!group_.empty()) WDB_TRY(groupRows(group_, source, groups));
    std::vector<ComputedColumn> computed(aggregates_.size());
    for (size_t i = 0; i < aggregates_.size(); ++i)
        WDB_TRY(aggregate(aggregates_[i], source, groups, computed[i]));
    block.rows.gather(groups.firstRow);
    block.computed = std::move(computed);
    block.plain = false;
    return WDB_OK;
}

// DISTINCT and SORT.
Status SelectPlan::arrange(SearchSet& set, RowBlock& block) {
    const SourceRows source{tables_, block.rows, block.computed};
    std::vector<uint32_t> kept;
    if (command_.distinct) {
        const InlineValues inlined{context_.textsInline(), context_.objectsInline()};
        WDB_TRY(distinctRows(set.columns, source, inlined, kept));
        block.plain = false;
        block.gather(kept);
    }
    kept.resize(block.rows.size());
    std::iota(kept.begin(), kept.end(), 0u);
    std::vector<OutputColumn> keys = command_.values ? std::vector<OutputColumn>() : sort_;
    std::vector<char> descending;
    for (const ccl::SortItem& item : command_.sort) descending.push_back(item.descending);
    // Rows that DISTINCT left stand so that equal ones would be neighbours.
    if (command_.distinct) keys.insert(keys.end(), set.columns.begin(), set.columns.end());
    descending.resize(keys.size(), 0);
    if (keys.empty()) return WDB_OK;
    std::vector<uint64_t> places(block.rows.size() * keys.size());
    std::vector<uint64_t> column;
    for (size_t key = 0; key < keys.size(); ++key) {
        const bool constant = keys[key].kind == Kind::Constant || keys[key].kind == Kind::Null;
        const bool binary = keys[key].kind == Kind::Field && keys[key].type == FieldType::String;
        if (constant || binary) continue;
        WDB_TRY(sortPlaces(keys[key], source, column));
        for (size_t row = 0; row < column.size(); ++row) places[row * keys.size() + key] = column[row];
    }
    block.order = std::make_unique<PlacedRows>(std::move(descending), std::move(places), std::move(kept));
    return WDB_OK;
}

void SelectPlan::addBases(SearchSet& set) {
    for (uint32_t table = 0; table < tables_.size(); ++table) {
        const BaseSnapshot& snapshot = tables_[table].state->snapshot;
        SetBase& base = set.bases.emplace_back();
        base.base = snapshot.sharedBase();
        base.definition = snapshot.sharedDefinition();
        base.commit = snapshot.commitNumber();
    }
}

}  // namespace wdb
