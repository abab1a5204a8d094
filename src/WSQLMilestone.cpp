#include "src/WSQLMilestone.h"

#include <vector>

#include "src/ElementAt.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

bool isSubselect(const WSQLScalar* scalar) {
    return dynamic_cast<const WSQLLiteralSelect*>(scalar) != nullptr;
}

bool holdsSubselect(const WSQLCondition* root) {
    std::vector<const WSQLCondition*> open{root};
    while (!open.empty()) {
        const WSQLCondition* condition = open.back();
        open.pop_back();
        if (condition == nullptr) continue;
        if (const WSQLCompositeCondition* composite = condition->asComposite()) {
            open.push_back(composite->right.get());
            open.push_back(composite->left.get());
        } else if (const auto* comparison = dynamic_cast<const WSQLComparison*>(condition)) {
            if (isSubselect(comparison->left.get()) || isSubselect(comparison->right.get())) return true;
        } else if (dynamic_cast<const WSQLSubselect*>(condition) != nullptr) {
            return true;
        }
    }
    return false;
}

bool isValueList(const WSQLFunctionRef& function) {
    return equalNames(function.name, "VALUELIST");
}

/// A function that the kernel would have to compute, anywhere in the expression; inside arithmetic every
/// function is one.
bool isComputed(const WSQLScalar& item) {
    if (const WSQLFunctionRef* function = item.asFunctionRef()) return !isValueList(*function);
    return item.asColumnRef() == nullptr && !item.isConstant();
}

}  // namespace

bool beyondValidation(const WSQLStmtSelect& select) {
    if (select.hasUnion() || select.joinSpec || select.tables->Count() > 1 || select.joins->Count() > 0)
        return true;
    for (std::int32_t i = 0; i < select.tables->Count(); ++i) {
        if (equalNames(elementAt(*select.tables, i).owner, "WDBS")) return true;
    }
    for (std::int32_t i = 0; i < select.itemCount(); ++i) {
        if (isSubselect(select.item(i))) return true;
    }
    return holdsSubselect(select.where.get());
}

bool beyondExecution(const WSQLStmtSelect& select) {
    if (select.distinct || count(select.groupBy) > 0) return true;
    for (std::int32_t i = 0; i < select.itemCount(); ++i) {
        if (isComputed(elementAt(select.items(), i))) return true;
    }
    return false;
}

bool beyondExecution(const WSQLStmtInsert& insert) {
    if (insert.select) return true;
    for (std::int32_t i = 0; i < count(insert.values); ++i) {
        const auto* value = dynamic_cast<const WSQLLiteralSelect*>(insert.values->Get(i));
        if (value != nullptr && (value->select->tables->Count() > 0 || beyondValidation(*value->select)))
            return true;
    }
    return false;
}

}  // namespace wsql
