#include "kernel/search/FindPlan.h"

#include <algorithm>

#include "kernel/common/Ascii.h"
#include "kernel/search/CommandFault.h"
#include "kernel/search/ConditionBinder.h"
#include "kernel/search/PartSearch.h"
#include "kernel/search/SelectPlan.h"

namespace wdb {

Result<std::shared_ptr<OpenBase>> FindPlan::meaning(const ccl::Column& column) {
    for (const std::shared_ptr<OpenBase>& base : search_.bases()) {
        if (equalsIgnoreCase(base->definition()->name, trimName(column.qualifier))) return base;
    }
    Result<std::shared_ptr<OpenBase>> other = context_.findBase(column.qualifier);
    if (other || other.status() != WDB_E_BASE) return other;
    if (search_.bases().size() == 1) return search_.bases().front();
    return fault(error_, search_.bases().empty() ? WDB_E_CCL_NO_BASE : WDB_E_CCL_FIELD, column.position,
                 column.qualifier);
}

Status FindPlan::findBases(std::vector<std::shared_ptr<OpenBase>>& bases) {
    std::shared_ptr<OpenBase> named;
    std::string_view known;  // one name stands many times
    for (const ccl::Criterion& criterion : expression_.criteria) {
        const std::string& qualifier = criterion.column.qualifier;
        if (qualifier.empty() || qualifier == known) continue;
        known = qualifier;
        Result<std::shared_ptr<OpenBase>> base = meaning(criterion.column);
        if (!base) return base.status();
        if (named != nullptr && named->id() != (*base)->id()) {
            return fault(error_, WDB_E_CCL_UNSUPPORTED, criterion.column.position, qualifier);
        }
        named = std::move(*base);
    }
    if (named != nullptr)
        bases = {named};
    else
        bases = search_.bases();
    return bases.empty() ? fault(error_, WDB_E_CCL_NO_BASE, 0) : WDB_OK;
}

// A base whose records have parts: a record is found when one of its rows is.
Status FindPlan::searchParted(BaseState& state, SetBase& result) {
    std::vector<Condition> conditions;
    WDB_TRY(ConditionBinder(state, search_, error_).bind(expression_.criteria, conditions));
    PartHits hits;
    WDB_TRY(searchParts(&expression_, static_cast<uint32_t>(expression_.nodes.size() - 1), conditions, state,
                        hits));
    RecordSetBuilder records;
    for (const PartRow& row : hits.rows) records.add(row.record);
    fillBase(state, records.finish(), false, result);
    result.hits = std::move(hits.rows);
    result.headHits = std::move(hits.heads);
    result.headHits.own();
    return WDB_OK;
}

Result<std::shared_ptr<SearchSet>> FindPlan::makeSet() {
    std::vector<std::shared_ptr<OpenBase>> bases;
    if (const Status status = findBases(bases); status != WDB_OK) return status;
    auto set = std::make_shared<SearchSet>();
    Status last = WDB_OK;
    for (const std::shared_ptr<OpenBase>& base : bases) {
        const Result<const BaseSnapshot*> snapshot = context_.snapshot(base);
        if (!snapshot) return snapshot.status();
        BaseState state(context_, **snapshot);
        SetBase part;
        const auto& fields = state.snapshot.schema().fields();
        const bool parts = std::any_of(fields.begin(), fields.end(),
                                       [](const FieldDefinition& field) { return field.part; });
        const Status status =
            parts ? searchParted(state, part) : searchBase(&expression_, state, search_, part, error_);
        const bool unknownField = status == WDB_E_CCL_FIELD && bases.size() > 1;
        if (status != WDB_OK && !unknownField) return status;
        if (unknownField)
            last = status;
        else
            set->bases.push_back(std::move(part));
    }
    if (set->bases.empty()) return last;
    return set;
}

}  // namespace wdb
