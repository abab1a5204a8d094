#include "kernel/search/WherePlan.h"

#include <algorithm>
#include <unordered_map>

#include "kernel/search/ConditionBinder.h"
#include "kernel/search/ExpressionEvaluator.h"
#include "kernel/search/ItemTest.h"
#include "kernel/search/PartSearch.h"
#include "kernel/search/SearchSet.h"

namespace wdb {

using ccl::Connective;
using ccl::Criterion;

namespace {

// The truth of both operands, row by row, into the left one's.
void combine(Connective kind, std::vector<char>& left, const std::vector<char>& right) {
    for (size_t i = 0; i < left.size(); ++i) {
        const bool a = left[i] != 0, b = right[i] != 0;
        left[i] = kind == Connective::And ? a && b : kind == Connective::Or ? a || b : a && !b;
    }
}

}  // namespace

Status WherePlan::bind() {
    if (expression_ == nullptr) return WDB_OK;
    std::vector<uint32_t> criterionOwner;
    for (const Criterion& criterion : expression_->criteria) {
        Status status = WDB_OK;
        const uint32_t owner = ownerOf(criterion, status);
        WDB_TRY(status);
        criterionOwner.push_back(owner);
        ConditionBinder binder(*tables_[owner == kAnyTable ? 0 : owner].state, search_, error_);
        WDB_TRY(binder.bindOne(criterion, conditions_.emplace_back()));
        const bool noNumber = criterion.column.record && criterion.form == Criterion::Form::Empty &&
                              criterion.comparison == ccl::Comparison::Equal;
        emptyTruth_.push_back(noNumber || conditions_.back().test == Condition::Test::Absent);
    }
    for (const ccl::ExpressionNode& node : expression_->nodes) {
        if (node.kind == Connective::Criterion)
            owners_.push_back(criterionOwner[node.left]);
        else
            owners_.push_back(owners_[node.left] == owners_[node.right] ? owners_[node.left] : kMixed);
        noneTruth_.push_back(holdsForNone(node));
    }
    splitConjuncts();
    return WDB_OK;
}

uint32_t WherePlan::ownerOf(const Criterion& criterion, Status& status) {
    if (criterion.form == Criterion::Form::InSet) {
        const SearchSet* set = search_.find(static_cast<int32_t>(criterion.number));
        for (uint32_t table = 0; set != nullptr && table < tables_.size(); ++table) {
            if (set->has(*tables_[table].base)) return table;
        }
        return 0;
    }
    if (criterion.column.record && criterion.column.qualifier.empty())
        return tables_.size() > 1 ? kAnyTable : 0;
    const Result<BoundColumn> column = tables_.bind(criterion.column);
    if (!column) status = column.status();
    return column ? column->table : 0;
}

void WherePlan::splitConjuncts() {
    std::vector<uint32_t> pending{static_cast<uint32_t>(expression_->nodes.size() - 1)};
    while (!pending.empty()) {
        const uint32_t at = pending.back();
        pending.pop_back();
        const ccl::ExpressionNode& node = expression_->nodes[at];
        if (node.kind != Connective::And) {
            conjuncts_.push_back(at);
            continue;
        }
        pending.push_back(node.right);
        pending.push_back(node.left);
    }
}

bool WherePlan::usesParts(uint32_t table) const {
    for (size_t i = 0; i < conditions_.size(); ++i) {
        if (conditions_[i].field == nullptr || !conditions_[i].field->part) continue;
        const Criterion& criterion = expression_->criteria[i];
        const auto owner = criterion.column.qualifier.empty() ? 0 : tables_.find(criterion.column.qualifier);
        if (owner == table) return true;
    }
    return false;
}

Status WherePlan::tableRows(uint32_t table, bool narrow, TableRows& rows) {
    rows.byPart = tables_[table].byPart;
    bool first = true;
    if (narrow && expression_ != nullptr && owners_.back() == table) {
        conjuncts_.clear();
        return subset(table, static_cast<uint32_t>(expression_->nodes.size() - 1), rows);
    }
    for (size_t i = 0; narrow && i < conjuncts_.size();) {
        if (owners_[conjuncts_[i]] != table) {
            ++i;
            continue;
        }
        TableRows found;
        found.byPart = rows.byPart;
        WDB_TRY(subset(table, conjuncts_[i], found));
        if (first)
            rows = std::move(found);
        else
            rows.intersect(std::move(found));
        first = false;
        conjuncts_.erase(conjuncts_.begin() + static_cast<ptrdiff_t>(i));
    }
    return first ? subset(table, std::nullopt, rows) : WDB_OK;
}

// No root: all rows of the table.
Status WherePlan::subset(uint32_t table, std::optional<uint32_t> root, TableRows& rows) {
    BaseState& state = *tables_[table].state;
    if (rows.byPart) {
        PartHits hits;
        WDB_TRY(searchParts(root ? expression_ : nullptr, root.value_or(0), conditions_, state, hits));
        rows.parts = std::move(hits.rows);
        return WDB_OK;
    }
    Result<RecordSet> records =
        root ? evaluateExpression(*expression_, *root, conditions_, state) : state.index.live();
    if (!records) return records.status();
    rows.records = std::move(*records);
    rows.whole = !root;
    return WDB_OK;
}

// The truth of a node in rows that have no record of its table; its operands' truths are there.
char WherePlan::holdsForNone(const ccl::ExpressionNode& node) const {
    const std::vector<char>& truth = noneTruth_;
    return node.kind == Connective::Criterion ? emptyTruth_[node.left]
           : node.kind == Connective::And     ? truth[node.left] && truth[node.right]
           : node.kind == Connective::Or      ? truth[node.left] || truth[node.right]
                                              : truth[node.left] && !truth[node.right];
}

Status WherePlan::filter(Tuples& rows) {
    for (const uint32_t root : conjuncts_) {
        if (rows.size() == 0) return WDB_OK;
        std::vector<char> truth;
        WDB_TRY(truths(root, rows, truth));
        std::vector<uint32_t> kept;
        for (uint32_t row = 0; row < truth.size(); ++row) {
            if (truth[row]) kept.push_back(row);
        }
        if (kept.size() < rows.size()) rows.gather(kept);
    }
    return WDB_OK;
}

// Walks the subtree with a stack of its own; stretches of one table are leaves.
Status WherePlan::truths(uint32_t root, const Tuples& rows, std::vector<char>& result) {
    struct Visit {
        uint32_t node;
        bool operandsDone;
    };
    std::vector<Visit> visits{{root, false}};
    std::unordered_map<uint32_t, std::vector<char>> results;  // by node
    while (!visits.empty()) {
        const Visit visit = visits.back();
        visits.pop_back();
        const ccl::ExpressionNode& node = expression_->nodes[visit.node];
        if (owners_[visit.node] != kMixed &&
            (owners_[visit.node] != kAnyTable || node.kind == Connective::Criterion)) {
            WDB_TRY(leafTruths(visit.node, rows, results[visit.node]));
        } else if (!visit.operandsDone) {
            visits.push_back({visit.node, true});
            visits.push_back({node.right, false});
            visits.push_back({node.left, false});
        } else {
            combine(node.kind, results[node.left], results[node.right]);
            std::vector<char> joined = std::move(results[node.left]);
            results.erase(node.left);
            results.erase(node.right);
            results[visit.node] = std::move(joined);
        }
    }
    result.swap(results[root]);
    return WDB_OK;
}

Status WherePlan::leafTruths(uint32_t root, const Tuples& rows, std::vector<char>& result) {
    result.assign(rows.size(), 0);
    const uint32_t table = owners_[root];
    if (table == kAnyTable) {
        const Condition& condition = conditions_[expression_->nodes[root].left];
        for (size_t row = 0; row < rows.size(); ++row) {
            RecordNumber first = 0;
            for (uint32_t i = 0; i < tables_.size() && first == 0; ++i) first = rows.record(i, row);
            result[row] = first != 0 && holdsNumber(condition, first);
        }
        return WDB_OK;
    }
    TableRows found;
    found.byPart = tables_[table].byPart;
    WDB_TRY(subset(table, root, found));
    const char none = noneTruth_[root];
    for (size_t row = 0; row < rows.size(); ++row) {
        const PartRow at = rows.at(table, row);
        result[row] = at.record == 0 ? none : static_cast<char>(found.contains(at));
    }
    return WDB_OK;
}

}  // namespace wdb
