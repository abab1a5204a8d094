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
    auto set = std::make_unique<SearchSet>();
    set->kind = command_.values ? SetKind::Values : SetKind::Rows;
    const Status status = command_.tables.empty() ? bindColumns(nullptr, nullptr, command_.fields, set->columns, error_)
                                                  : selectFrom(command_.tables.front(), *set);
    if (status != WDB_OK) return status;
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
Status SelectPlan::checkQualifiers(const ccl::TableRef& table) {
    if (!command_.where) return WDB_OK;
    for (const ccl::Criterion& criterion : command_.where->criteria) {
        if (!meansTable(criterion.column, table)) {
            return fault(error_, WDB_E_CCL_FIELD, criterion.column.position, criterion.column.qualifier);
        }
    }
    return WDB_OK;
}

Status SelectPlan::selectFrom(const ccl::TableRef& table, SearchSet& set) {
    Result<std::shared_ptr<OpenBase>> base = context_.findBase(table.base);
    if (!base) return fault(error_, base.status(), table.position, table.base);
    const Result<const BaseSnapshot*> snapshot = context_.snapshot(*base);
    if (!snapshot) return snapshot.status();
    BaseState state(context_, **snapshot);
    WDB_TRY(bindColumns(&state, &table, command_.fields, set.columns, error_));
    WDB_TRY(bindSort(state, table, set));
    WDB_TRY(checkQualifiers(table));
    WDB_TRY(searchBase(command_.where ? &*command_.where : nullptr, state, search_, set.bases.emplace_back(), error_));
    if (set.order == nullptr || context_.snapshotsStay()) return WDB_OK;
    return set.order->fix(set.bases.front().records, state);
}

Status SelectPlan::bindSort(const BaseState& state, const ccl::TableRef& table, SearchSet& set) {
    std::vector<SortKey> keys;
    for (const ccl::SortItem& item : command_.sort) {
        WDB_TRY(sortColumn(state, table, item, set, keys));
        if (!keys.empty() && keys.back().field == 0) break;  // no two rows are equal in it
    }
    const bool natural = keys.empty() || (keys.front().field == 0 && !keys.front().descending);
    if (!natural && !command_.values) set.order = std::make_unique<Ordering>(std::move(keys));
    return WDB_OK;
}

Status SelectPlan::sortColumn(const BaseState& state, const ccl::TableRef& table, const ccl::SortItem& item,
                              const SearchSet& set, std::vector<SortKey>& keys) {
    SortKey key;
    key.descending = item.descending;
    if (item.item > 0) {
        if (static_cast<size_t>(item.item) > set.columns.size()) {
            return fault(error_, WDB_E_CCL_FIELD, item.position, std::to_string(item.item));
        }
        const OutputColumn& column = set.columns[static_cast<size_t>(item.item) - 1];
        if (column.kind == OutputColumn::Kind::Constant || column.kind == OutputColumn::Kind::Null) return WDB_OK;
        key.field = column.field;
        key.type = column.type;
        key.item = column.first > 0 ? column.first : 1;
    } else if (!meansTable(item.column, table)) {
        return fault(error_, WDB_E_CCL_FIELD, item.position, item.column.qualifier);
    } else if (!item.column.record) {
        const FieldDefinition* field = state.readable(item.column.field);
        if (field == nullptr) return fault(error_, WDB_E_CCL_FIELD, item.position, item.column.field);
        key.field = field->number;
        key.type = field->type;
        key.item = item.column.first > 0 ? static_cast<uint32_t>(item.column.first) : 1;
    }
    if (key.field != 0 && key.type == FieldType::String) return fault(error_, WDB_E_TYPE, item.position);
    keys.push_back(key);
    return WDB_OK;
}

}  // namespace wdb
