#include "kernel/search/SelectPlan.h"

#include "kernel/search/CommandFault.h"
#include "kernel/search/ConditionBinder.h"
#include "kernel/search/ExpressionEvaluator.h"

namespace wdb {

Status searchBase(const ccl::Expression* expression, BaseState& state, Search& search, SetBase& result,
                  CommandError& error) {
    std::vector<Condition> conditions;
    if (expression != nullptr) {
        WDB_TRY(ConditionBinder(state, search, error).bind(expression->criteria, conditions));
    }
    Result<RecordSet> records = expression == nullptr ? state.index.live()
                                                      : evaluateExpression(*expression, conditions, state);
    if (!records) return records.status();
    result.base = state.snapshot.sharedBase();
    result.definition = state.snapshot.sharedDefinition();
    result.records = std::move(*records);
    result.records.own();
    result.count = result.records.cardinality();
    result.commit = state.snapshot.commitNumber();
    return WDB_OK;
}

Result<std::unique_ptr<SearchSet>> SelectPlan::makeSet() {
    if (const Status status = checkSupported(); status != WDB_OK) return status;
    for (const ccl::TableRef& table : command_.tables) {
        if (const Status status = tables_.add(table); status != WDB_OK) return status;
    }
    auto set = std::make_unique<SearchSet>();
    set->kind = command_.values ? SetKind::Values : SetKind::Rows;
    if (const Status status = bindColumns(tables_, command_.fields, set->columns, aggregates_, error_); status != WDB_OK) {
        return status;
    }
    if (!aggregates_.empty()) return fault(error_, WDB_E_CCL_UNSUPPORTED, 0);
    if (command_.tables.empty()) return set;
    if (const Status status = selectFrom(*set); status != WDB_OK) return status;
    return set;
}

Status SelectPlan::checkSupported() {
    if (command_.tables.size() > 1) return fault(error_, WDB_E_CCL_UNSUPPORTED, command_.tables[1].position);
    if (!command_.joins.empty()) return fault(error_, WDB_E_CCL_UNSUPPORTED, command_.joins[0].left.position);
    if (!command_.group.empty()) return fault(error_, WDB_E_CCL_UNSUPPORTED, command_.group[0].position);
    const bool whereAlone = command_.tables.empty() && command_.where.has_value();
    if (command_.distinct || whereAlone) return fault(error_, WDB_E_CCL_UNSUPPORTED, 0);
    return WDB_OK;
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

Status SelectPlan::selectFrom(SearchSet& set) {
    BaseState& state = *tables_[0].state;
    WDB_TRY(bindSort(set));
    WDB_TRY(checkQualifiers());
    WDB_TRY(searchBase(command_.where ? &*command_.where : nullptr, state, search_, set.bases.emplace_back(), error_));
    if (set.order == nullptr || context_.snapshotsStay()) return WDB_OK;
    return set.order->fix(set.bases.front().records, state);
}

Status SelectPlan::bindSort(SearchSet& set) {
    std::vector<SortKey> keys;
    for (const ccl::SortItem& item : command_.sort) {
        WDB_TRY(sortColumn(item, set, keys));
        if (!keys.empty() && keys.back().field == 0) break;  // no two rows are equal in it
    }
    const bool natural = keys.empty() || (keys.front().field == 0 && !keys.front().descending);
    if (!natural && !command_.values) set.order = std::make_unique<Ordering>(std::move(keys));
    return WDB_OK;
}

Status SelectPlan::sortColumn(const ccl::SortItem& item, const SearchSet& set, std::vector<SortKey>& keys) {
    SortKey key;
    key.descending = item.descending;
    if (item.item > 0) {
        if (static_cast<size_t>(item.item) > set.columns.size()) {
            return fault(error_, WDB_E_CCL_FIELD, item.position, std::to_string(item.item));
        }
        const OutputColumn& column = set.columns[static_cast<size_t>(item.item) - 1];
        if (column.kind == OutputColumn::Kind::Constant || column.kind == OutputColumn::Kind::Null) return WDB_OK;
        if (column.kind == OutputColumn::Kind::Arithmetic) return fault(error_, WDB_E_CCL_UNSUPPORTED, item.position);
        key.field = column.field;
        key.type = column.type;
        key.item = column.first > 0 && column.first == column.last ? column.first : 1;
    } else {
        const Result<BoundColumn> column = tables_.bind(item.column);
        if (!column) return column.status();
        key.field = column->field == nullptr ? FieldNumber{0} : column->field->number;
        key.type = column->type();
        key.item = column->first > 0 && column->first == column->last ? column->first : 1;
    }
    if (key.field != 0 && key.type == FieldType::String) return fault(error_, WDB_E_TYPE, item.position);
    keys.push_back(key);
    return WDB_OK;
}

}  // namespace wdb
