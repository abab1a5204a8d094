#include "kernel/search/ConstantRow.h"

#include "kernel/search/CommandFault.h"
#include "kernel/search/ConditionBinder.h"
#include "kernel/search/ItemTest.h"

namespace wdb {

namespace {

constexpr RecordNumber kRow = 1;

Status criterionHolds(const ccl::Criterion& criterion, char& holds, CommandError& error) {
    using Form = ccl::Criterion::Form;
    if (criterion.form == Form::InSet || criterion.form == Form::Set)
        return fault(error, WDB_E_CCL_UNSUPPORTED, criterion.position);
    const ccl::Column& column = criterion.column;
    if (!column.record || !column.qualifier.empty())
        return fault(error, WDB_E_CCL_FIELD, column.position,
                     column.qualifier.empty() ? column.field : column.qualifier);
    Condition condition;
    WDB_TRY(bindNumbers(criterion, condition, error));
    holds = holdsNumber(condition, kRow);
    return WDB_OK;
}

}  // namespace

Status holdsForConstants(const ccl::Expression& expression, bool& holds, CommandError& error) {
    using ccl::Connective;
    std::vector<char> truth(expression.nodes.size());
    for (size_t at = 0; at < truth.size(); ++at) {
        const ccl::ExpressionNode& node = expression.nodes[at];
        switch (node.kind) {
            case Connective::Criterion:
                WDB_TRY(criterionHolds(expression.criteria[node.left], truth[at], error));
                break;
            case Connective::And:
                truth[at] = truth[node.left] && truth[node.right];
                break;
            case Connective::Or:
                truth[at] = truth[node.left] || truth[node.right];
                break;
            case Connective::Not:
                truth[at] = truth[node.left] && !truth[node.right];
                break;
        }
    }
    holds = !truth.empty() && truth.back() != 0;
    return WDB_OK;
}

}  // namespace wdb
