// Checks of WHERE conditions against the tables that the statement names.
#include <vector>

#include "src/ValidationFault.h"
#include "src/WSQLFilter.h"
#include "src/tree/ExactType.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ValidatePredicate";

}  // namespace

bool WSQLFilter::ValidateCondition(WSQLStatement* statement, WSQLCondition* condition) {
    // Chains of AND and OR lean to the left and may be very long: their composites are walked, not recursed
    // into.
    std::vector<WSQLCompositeCondition*> spine;
    while (condition != nullptr && condition->asComposite() != nullptr) {
        spine.push_back(condition->asComposite());
        condition = spine.back()->left.get();
    }
    if (condition != nullptr) {
        WSQLPredicate* predicate = exactly<WSQLComparison>(condition);
        if (predicate == nullptr) predicate = dynamic_cast<WSQLPredicate*>(condition);
        if (predicate == nullptr) {
            ReportValidationFault(803, "WSQLFilter::ValidateCondition", "%s",
                                  "Invalid part in condition in statement.");
            return false;
        }
        if (!ValidatePredicate(statement, predicate)) return false;
    }
    for (; !spine.empty(); spine.pop_back()) {
        if (!ValidateCondition(statement, spine.back()->right.get())) return false;
    }
    return true;
}

bool WSQLFilter::ValidatePredicate(WSQLStatement* statement, WSQLPredicate* predicate) {
    if (!predicate->isActive()) return true;
    if (auto* comparison = exactly<WSQLComparison>(predicate)) {
        return ValidateScalar(statement, comparison->left.get()) &&
               ValidateScalar(statement, comparison->right.get());
    }
    if (auto* test = dynamic_cast<WSQLNullTest*>(predicate)) {
        return BindColumn(statement, test->column.get(), {332, 349, false}, kContext);
    }
    if (auto* between = dynamic_cast<WSQLBetweenTest*>(predicate)) {
        return ValidateScalar(statement, between->scalar.get()) &&
               ValidateScalar(statement, between->low.get()) &&
               ValidateScalar(statement, between->high.get());
    }
    if (auto* like = dynamic_cast<WSQLLikePredicate*>(predicate)) {
        WSQLColumnRef* column = like->left ? like->left->asColumnRef() : nullptr;
        if (!BindColumn(statement, column, {387, 404, false}, kContext)) return false;
        if (column->fieldType == WDB_T_TEXT || column->fieldType == WDB_T_PHRASE) {
            if (dynamic_cast<WSQLLiteralSelect*>(like->right.get()) == nullptr) return true;
            ReportValidationFault(__LINE__, kContext, "%s",
                                  "A subselect cannot be the pattern of a LIKE predicate.");
            return false;
        }
        ReportValidationFault(414, kContext,
                              "Column type for \"%s\" must be TEXT or PHRASE for use with the LIKE operator.",
                              column->column.c_str());
        return false;
    }
    if (auto* subselect = dynamic_cast<WSQLSubselect*>(predicate)) {
        if (!ValidateScalar(statement, subselect->scalar.get())) return false;
        if (subselect->scalar->asColumnRef() == nullptr) {
            ReportValidationFault(__LINE__, kContext, "%s",
                                  "The L-value of a subselect predicate must be a column reference.");
            return false;
        }
        return ValidateSelect(subselect->select.get());
    }
    ReportValidationFault(571, kContext, "%s", "Invalid predicate type in condition.");
    return false;
}

}  // namespace wsql
