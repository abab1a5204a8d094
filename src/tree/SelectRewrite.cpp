// How validation completes a SELECT: "*" becomes columns, a join condition becomes join entries.
#include <vector>

#include "src/support/text.h"
#include "src/tree/ComparisonOps.h"
#include "src/tree/WSQLStmtSelect.h"

namespace wsql {
namespace {

bool hasPrimaryKey(const WELKFieldInfoList& fields) {
    for (int32_t i = 0; i < fields.Count(); ++i) {
        if (fields.Get(i)->primaryKey) return true;
    }
    return false;
}

std::unique_ptr<WSQLColumnRef> boundColumn(const WSQLTableRef& table, const WELKFieldInfo& field,
                                           bool keyTable) {
    auto column = std::make_unique<WSQLColumnRef>(field.name);
    column->table = table.table;
    column->correlation = table.correlation;
    column->fieldNumber = static_cast<int32_t>(field.number);
    column->fieldType = field.type;
    column->fieldFlags = field.flags;
    column->keyTable = keyTable;
    return column;
}

/// The terms of an AND chain in their order; a negated or OR composite is one term.
std::vector<std::unique_ptr<WSQLCondition>> andTerms(std::unique_ptr<WSQLCondition> condition) {
    std::vector<std::unique_ptr<WSQLCondition>> terms;
    std::vector<std::unique_ptr<WSQLCondition>> pending;
    pending.push_back(std::move(condition));
    while (!pending.empty()) {
        std::unique_ptr<WSQLCondition> node = std::move(pending.back());
        pending.pop_back();
        if (!node) continue;
        WSQLCompositeCondition* composite = node->asComposite();
        if (composite == nullptr || composite->negated() ||
            composite->connective != WSQLCompositeCondition::kAnd) {
            terms.push_back(std::move(node));
            continue;
        }
        pending.push_back(std::move(composite->right));
        pending.push_back(std::move(composite->left));
    }
    return terms;
}

bool belongsTo(const WSQLScalar* column, const WSQLTableRef& table) {
    const std::string& qualifier = column->asColumnRef()->qualifier();
    return equalNames(qualifier, table.qualifier());
}

/// The comparison when it compares a column of the one table with a column of the other, else null.
const WSQLComparison* joinComparison(const WSQLCondition* term, const WSQLTableRef& left,
                                     const WSQLTableRef& right) {
    const auto* comparison = dynamic_cast<const WSQLComparison*>(term);
    if (comparison == nullptr || comparison->negated() || !comparison->isActive()) return nullptr;
    if (dynamic_cast<const WSQLLikePredicate*>(term) != nullptr) return nullptr;
    const WSQLScalar* a = comparison->left.get();
    const WSQLScalar* b = comparison->right.get();
    if (a == nullptr || b == nullptr || a->asColumnRef() == nullptr || b->asColumnRef() == nullptr)
        return nullptr;
    const bool straight = belongsTo(a, left) && belongsTo(b, right);
    const bool turned = belongsTo(a, right) && belongsTo(b, left);
    return straight || turned ? comparison : nullptr;
}

std::unique_ptr<WSQLWelkJoin> joinEntry(int32_t kind, const WSQLComparison& comparison,
                                        const WSQLTableRef& left, const WSQLTableRef& right) {
    const WSQLColumnRef* a = comparison.left->asColumnRef();
    const WSQLColumnRef* b = comparison.right->asColumnRef();
    const bool straight = belongsTo(a, left) && belongsTo(b, right);
    auto entry = std::make_unique<WSQLWelkJoin>();
    entry->kind = kind;
    entry->op = straight ? comparison.op : ComparisonOp::mirrored(comparison.op);
    entry->leftTable = left.clone();
    entry->rightTable = right.clone();
    entry->leftColumn = (straight ? a : b)->cloneColumn();
    entry->rightColumn = (straight ? b : a)->cloneColumn();
    return entry;
}

}  // namespace

int32_t WSQLStmtSelect::expandTable(const WSQLTableRef& table, int32_t index) {
    const bool keyTable = hasPrimaryKey(*table.fields);
    for (int32_t i = 0; i < table.fields->Count(); ++i) {
        const WELKFieldInfo& field = *table.fields->Get(i);
        insertItem(index + i, boundColumn(table, field, keyTable));
        needsPartRecords = needsPartRecords || field.partField;
    }
    return table.fields->Count();
}

bool WSQLStmtSelect::expandItem(int32_t index) {
    const auto* all = dynamic_cast<const WSQLAllColumns*>(item(index));
    std::vector<const WSQLTableRef*> wanted;
    if (all != nullptr && !all->table.empty()) {
        wanted.push_back(findTable(all->table));
    } else {
        for (const WSQLTableRef& table : *tables) wanted.push_back(&table);
    }
    if (wanted.empty()) return false;
    for (const WSQLTableRef* table : wanted) {
        if (table == nullptr || !table->fields) return false;
    }
    if (all != nullptr) takeItem(index).reset();
    for (const WSQLTableRef* table : wanted) index += expandTable(*table, index);
    return true;
}

bool WSQLStmtSelect::attachJoin(int32_t kind, std::unique_ptr<WSQLTableRef> left,
                                std::unique_ptr<WSQLTableRef> right, std::unique_ptr<WSQLCondition> condition,
                                std::string& error) {
    auto terms = andTerms(std::move(condition));
    bool joined = false;
    for (auto& term : terms) {
        const WSQLComparison* comparison = joinComparison(term.get(), *left, *right);
        if (comparison == nullptr) continue;
        joins->append(joinEntry(kind, *comparison, *left, *right));
        term.reset();
        joined = true;
    }
    if (!joined) {
        error = "The join condition compares no column of \"" + left->qualifier() + "\" with one of \"" +
                right->qualifier() + "\".";
        return false;
    }
    for (auto& term : terms) addWhere(std::move(term));
    if (findTable(right->qualifier()) == nullptr) tables->append(std::move(right));
    return true;
}

}  // namespace wsql
