#include "src/JoinConditions.h"

#include <vector>

#include "src/ElementAt.h"
#include "src/ValidationFault.h"
#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/tree/ComparisonOps.h"
#include "src/tree/ExactType.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr const char* kPredicateContext = "WSQLFilter::ValidatePredicate";
constexpr const char* kRelocateContext = "WSQLFilter::RelocateJoinComparison";

/// Whether the composite is one whose operands all have to hold.
bool isPlainAnd(const WSQLCompositeCondition& composite) {
    return composite.connective == WSQLCompositeCondition::kAnd && !composite.negated();
}

/// The terms of the AND chain at the root, from left to right: whatever is no plain AND is a term.
std::vector<WSQLCondition*> andTerms(WSQLCondition* root) {
    if (root == nullptr) return {};
    if (root->asComposite() == nullptr) return {root};
    std::vector<WSQLCondition*> terms, open{root};
    while (!open.empty()) {
        WSQLCondition* node = open.back();
        open.pop_back();
        if (node == nullptr) continue;
        WSQLCompositeCondition* composite = node->asComposite();
        if (composite == nullptr || !isPlainAnd(*composite)) {
            terms.push_back(node);
            continue;
        }
        open.push_back(composite->right.get());
        open.push_back(composite->left.get());
    }
    return terms;
}

/// Drops the inactive terms of the AND chain; an AND that loses an operand gives way to the other one.
void dropInactive(std::unique_ptr<WSQLCondition>& root) {
    std::vector<std::unique_ptr<WSQLCondition>> spine;
    std::unique_ptr<WSQLCondition> kept = std::move(root);
    while (kept && kept->asComposite() != nullptr && isPlainAnd(*kept->asComposite())) {
        std::unique_ptr<WSQLCondition> left = std::move(kept->asComposite()->left);
        spine.push_back(std::move(kept));
        kept = std::move(left);
    }
    if (kept && !kept->isActive()) kept.reset();
    for (; !spine.empty(); spine.pop_back()) {
        WSQLCompositeCondition& composite = *spine.back()->asComposite();
        dropInactive(composite.right);
        if (!composite.right) continue;
        if (!kept) {
            kept = std::move(composite.right);
            continue;
        }
        composite.left = std::move(kept);
        kept = std::move(spine.back());
    }
    root = std::move(kept);
}

bool isPrimaryKey(const WSQLColumnRef& column, const WSQLTableRef& table) {
    for (std::int32_t i = 0; table.fields && i < table.fields->Count(); ++i) {
        const WELKFieldInfo& field = *table.fields->Get(i);
        if (static_cast<std::int32_t>(field.number) == column.fieldNumber) return field.primaryKey;
    }
    return false;
}

bool isUsedName(const WSQLStmtSelect& select, const std::string& name) {
    return !name.empty() && select.findTable(name) != nullptr;
}

bool hasPartRecords(const WSQLStmtSelect& select) {
    for (std::int32_t i = 0; i < select.tables->Count(); ++i) {
        if (elementAt(*select.tables, i).hasPartRecords) return true;
    }
    return false;
}

/// A sub-query whose rows are exactly those of its one table that its WHERE lets pass.
bool isPlainQuery(const WSQLStmtSelect& query) {
    return query.tables->Count() == 1 && query.joins->Count() == 0 && !query.hasUnion() && !query.distinct &&
           count(query.groupBy) == 0 && count(query.orderBy) == 0 && query.itemCount() == 1;
}

bool holdsFunction(const WSQLScalar& scalar) {
    const WSQLScalar* item = &scalar;
    if (item->asColumnRef() != nullptr) return false;
    while (const auto* operation = dynamic_cast<const WSQLOperation*>(item)) {
        if (holdsFunction(*operation->right())) return true;
        item = operation->left();
    }
    return item != nullptr && item->asFunctionRef() != nullptr;
}

/// Whether functions count or add up the rows, which a join may repeat.
bool computesOverRows(const WSQLStmtSelect& select) {
    for (std::int32_t i = 0; i < select.itemCount(); ++i) {
        if (holdsFunction(elementAt(select.items(), i))) return true;
    }
    return false;
}

bool canBecomeJoin(const WSQLStmtSelect& outer, const WSQLSubselect& predicate) {
    if (predicate.negated() || !isPlainQuery(*predicate.select)) return false;
    const WSQLColumnRef* tested = predicate.scalar->asColumnRef();
    const WSQLColumnRef* item = predicate.select->itemAt(0).asColumnRef();
    if (tested == nullptr || tested->subscript > 0 || item == nullptr || item->subscript > 0) return false;
    const WSQLTableRef& table = elementAt(*predicate.select->tables, 0);
    const bool unique = predicate.op == ComparisonOp::kIn && isPrimaryKey(*item, table);
    return (predicate.op == ComparisonOp::kEqual || unique) && !isUsedName(outer, table.table) &&
           !isUsedName(outer, table.correlation) && !hasPartRecords(outer) && !table.hasPartRecords &&
           !equalNames(table.owner, "WDBS");
}

/// The two columns of a sub-query that becomes a join; null after a fault. A predicate that canBecomeJoin
/// takes raises none.
struct JoinColumns {
    const WSQLColumnRef* tested = nullptr;
    const WSQLColumnRef* item = nullptr;
    const WSQLTableRef* left = nullptr;  ///< the table of the tested column
};

bool findJoinColumns(WSQLFilter& filter, const WSQLStmtSelect* outer, const WSQLSubselect& predicate,
                     JoinColumns& found) {
    const WSQLStmtSelect& inner = *predicate.select;
    if (outer == nullptr) {
        filter.ReportValidationFault(
            557, kPredicateContext, "%s",
            "Unable to add JOIN condition to replace subselect - SELECT statement required.");
        return false;
    }
    found.tested = predicate.scalar->asColumnRef();
    const std::string tested = found.tested != nullptr ? found.tested->qualifier() : std::string();
    found.left = outer->findTable(tested);
    if (found.left == nullptr) {
        filter.ReportValidationFault(
            483, kPredicateContext,
            "Unable to find table \"%s\" while performing subselect->join conversion.", tested.c_str());
        return false;
    }
    found.item = inner.itemCount() > 0 ? inner.itemAt(0).asColumnRef() : nullptr;
    if (found.item == nullptr) {
        filter.ReportValidationFault(
            493, kPredicateContext, "%s",
            "Unable to perform subselect->join conversion on column #1 of subselect - "
            "not a column reference.");
        return false;
    }
    const std::string item = found.item->qualifier();
    if (inner.findTable(item) != nullptr || outer->findTable(item) != nullptr) return true;
    filter.ReportValidationFault(
        507, kPredicateContext,
        "Unable to find table \"%s\" in subselect while performing subselect->join conversion.",
        item.c_str());
    return false;
}

/// Attaches the sub-query's table as an inner join and silences the predicate.
bool rewriteAsJoin(WSQLFilter& filter, WSQLStmtSelect& outer, WSQLSubselect& predicate) {
    WSQLStmtSelect& inner = *predicate.select;
    JoinColumns columns;
    if (!findJoinColumns(filter, &outer, predicate, columns)) return false;
    const WSQLColumnRef& tested = *columns.tested;
    const WSQLColumnRef& item = *columns.item;
    const WSQLTableRef* left = columns.left;
    const std::int32_t op = predicate.op == ComparisonOp::kIn ? ComparisonOp::kEqual : predicate.op;
    std::unique_ptr<WSQLCondition> condition =
        std::make_unique<WSQLComparison>(op, tested.cloneColumn(), item.cloneColumn());
    if (inner.where) {
        condition = std::make_unique<WSQLCompositeCondition>(WSQLCompositeCondition::kAnd,
                                                             std::move(condition), std::move(inner.where));
    }
    std::string error;
    if (!outer.attachJoin(JoinKind::kInner, left->clone(), inner.tables->take(0), std::move(condition),
                          error)) {
        filter.ReportValidationFault(542, kPredicateContext, "%s", error.c_str());
        return false;
    }
    predicate.deactivate();
    filter.debug(kPredicateContext, "Rewrote subselect as an INNER JOIN.");
    return true;
}

const WSQLColumnRef* columnOf(const std::unique_ptr<WSQLScalar>& scalar) {
    return scalar ? scalar->asColumnRef() : nullptr;
}

}  // namespace

std::int32_t rewriteSubselects(WSQLFilter& filter, WSQLStmtSelect& select) {
    if (select.where == nullptr || select.tables->Count() == 0 || computesOverRows(select)) return 0;
    std::int32_t rewritten = 0;
    for (WSQLCondition* term : andTerms(select.where.get())) {
        auto* predicate = exactly<WSQLSubselect>(term);
        if (predicate == nullptr || !predicate->isActive() || !canBecomeJoin(select, *predicate)) continue;
        if (!rewriteAsJoin(filter, select, *predicate)) return -1;
        ++rewritten;
    }
    if (rewritten > 0) dropInactive(select.where);
    return rewritten;
}

std::int32_t extractJoins(WSQLFilter& filter, WSQLStmtSelect& select) {
    if (select.tables->Count() < 2) return 0;
    std::int32_t moved = 0;
    for (WSQLCondition* term : andTerms(select.where.get())) {
        auto* comparison = dynamic_cast<WSQLComparison*>(term);
        if (comparison == nullptr || !comparison->isActive()) continue;
        const std::int32_t result = filter.RelocateJoinComparison(&select, comparison);
        if (result < 0) return result;
        moved += result;
    }
    if (moved > 0) dropInactive(select.where);
    return moved;
}

// The comparison is silenced here; extractJoins drops it from the WHERE with all others.
std::int32_t WSQLFilter::RelocateJoinComparison(WSQLStatement* statement, WSQLComparison* comparison) {
    auto* select = dynamic_cast<WSQLStmtSelect*>(statement);
    if (select == nullptr || dynamic_cast<WSQLLikePredicate*>(comparison) != nullptr) return 0;
    const WSQLColumnRef* left = columnOf(comparison->left);
    const WSQLColumnRef* right = columnOf(comparison->right);
    if (left == nullptr || right == nullptr) return 0;
    const WSQLTableRef* tables[2] = {};
    const struct {
        const WSQLColumnRef* column;
        std::int32_t line;
    } sides[2] = {{left, 601}, {right, 613}};
    for (std::size_t i = 0; i < 2; ++i) {
        tables[i] = select->findTable(sides[i].column->qualifier());
        if (tables[i] != nullptr) continue;
        ReportValidationFault(sides[i].line, kRelocateContext, "Could not determine table for column \"%s\".",
                              sides[i].column->column.c_str());
        return -1;
    }
    if (tables[0] == tables[1]) return 0;
    if (logs(kLogDebug)) {
        CStringBuffer text(128);
        comparison->toText(text);
        debug(kRelocateContext, "Relocating JOIN condition \"%s\"", text.text());
    }
    if (tables[0]->table.empty() || tables[1]->table.empty()) {
        const bool first = tables[0]->table.empty();
        ReportValidationFault(first ? 628 : 638, kRelocateContext,
                              "INTERNAL ERROR: %s table of join condition without name.",
                              first ? "Left" : "Right");
        return -1;
    }
    std::unique_ptr<WSQLComparison> condition = comparison->cloneComparison();
    if (condition->negated()) {
        condition->op = ComparisonOp::opposite(condition->op);
        condition->setNegated(false);
    }
    if (!DBColumnExists(condition->left->asColumnRef(), select->tables.get())) {
        ReportValidationFault(650, kRelocateContext, "%s",
                              "Cannot find LValue of join specification in any specified table.");
        return -1;
    }
    if (!DBColumnExists(condition->right->asColumnRef(), select->tables.get())) {
        ReportValidationFault(657, kRelocateContext, "%s",
                              "Cannot find RValue of join specification in any specified table.");
        return -1;
    }
    std::string error;
    if (!select->attachJoin(JoinKind::kInner, tables[0]->clone(), tables[1]->clone(), std::move(condition),
                            error)) {
        ReportValidationFault(663, kRelocateContext, "%s", error.c_str());
        return -1;
    }
    comparison->deactivate();
    return 1;
}

}  // namespace wsql
