#include "src/tree/WSQLPredicates.h"

#include "src/support/CStringBuffer.h"
#include "src/tree/TreeDump.h"
#include "src/tree/WSQLStmtSelect.h"

namespace wsql {
namespace {

const std::string kNoText;

const std::string& tableOf(const WSQLScalar* scalar) {
    const WSQLColumnRef* column = scalar != nullptr ? scalar->asColumnRef() : nullptr;
    return column != nullptr ? column->table : kNoText;
}

/// qualifier "." name for a column, the node's own text for anything else. With `preferAlias` the correlation
/// name, where there is one, stands for the table name.
void appendOperand(CStringBuffer& out, const WSQLScalar* scalar, bool preferAlias) {
    if (scalar == nullptr) return;
    const WSQLColumnRef* column = scalar->asColumnRef();
    if (column == nullptr) {
        scalar->toText(out);
        return;
    }
    const std::string& qualifier =
        preferAlias && !column->correlation.empty() ? column->correlation : column->table;
    if (!qualifier.empty()) {
        out.append(std::string_view(qualifier));
        out.append('.');
    }
    out.append(column->column.empty() ? std::string_view("(null)") : std::string_view(column->column));
}

void appendNot(CStringBuffer& out, const WSQLCondition& condition) {
    if (condition.negated()) out.append("NOT ");
}

std::unique_ptr<WSQLScalar> cloneOrNull(const std::unique_ptr<WSQLScalar>& scalar) {
    return scalar ? scalar->clone() : nullptr;
}

}  // namespace

const char* ComparisonOp::text(int32_t op) {
    static constexpr const char* kTexts[] = {"=", "!=", "<", ">", "<=", ">=", "IN"};
    return op >= kEqual && op <= kIn ? kTexts[op] : "??";
}

WSQLComparison::WSQLComparison(int32_t comparisonOp, std::unique_ptr<WSQLScalar> leftSide,
                               std::unique_ptr<WSQLScalar> rightSide)
    : op(comparisonOp), left(std::move(leftSide)), right(std::move(rightSide)) {}

void WSQLComparison::toText(CStringBuffer& out) const {
    if (!isActive()) return;
    const bool sameQualifier = tableOf(left.get()) == tableOf(right.get());
    appendNot(out, *this);
    appendOperand(out, left.get(), sameQualifier);
    // IN belongs to sub-queries alone.
    out.append(op == ComparisonOp::kIn ? "??" : ComparisonOp::text(op));
    appendOperand(out, right.get(), sameQualifier);
}

void WSQLComparison::dump(TreeDump& out) const {
    out.open(ComparisonOp::text(op));
    out.child(left);
    out.child(right);
    dumpFlags(out);
    out.close();
}

std::unique_ptr<WSQLComparison> WSQLComparison::cloneComparison() const {
    auto copy = std::make_unique<WSQLComparison>(op, cloneOrNull(left), cloneOrNull(right));
    copy->copyFlags(*this);
    return copy;
}

std::unique_ptr<WSQLCondition> WSQLComparison::clone() const {
    return cloneComparison();
}

WSQLLikePredicate::WSQLLikePredicate(std::unique_ptr<WSQLColumnRef> column,
                                     std::unique_ptr<WSQLScalar> pattern)
    : WSQLComparison(ComparisonOp::kEqual, std::move(column), std::move(pattern)) {}

void WSQLLikePredicate::toText(CStringBuffer& out) const {
    appendOperand(out, left.get(), false);
    if (negated()) out.append(" NOT");
    out.append(" LIKE '");
    if (right) right->toText(out);
    out.append('\'');
}

void WSQLLikePredicate::dump(TreeDump& out) const {
    out.open("like");
    out.child(left);
    out.child(right);
    dumpFlags(out);
    out.close();
}

std::unique_ptr<WSQLCondition> WSQLLikePredicate::clone() const {
    auto copy = std::make_unique<WSQLLikePredicate>(nullptr, cloneOrNull(right));
    copy->left = cloneOrNull(left);
    copy->copyFlags(*this);
    return copy;
}

WSQLBetweenTest::WSQLBetweenTest(std::unique_ptr<WSQLScalar> tested, std::unique_ptr<WSQLScalar> lowBound,
                                 std::unique_ptr<WSQLScalar> highBound)
    : scalar(std::move(tested)), low(std::move(lowBound)), high(std::move(highBound)) {}

void WSQLBetweenTest::toText(CStringBuffer& out) const {
    appendNot(out, *this);
    appendOperand(out, scalar.get(), false);
    out.append(" BETWEEN ");
    if (low) low->toText(out);
    out.append(" AND ");
    if (high) high->toText(out);
}

void WSQLBetweenTest::dump(TreeDump& out) const {
    out.open("between");
    out.child(scalar);
    out.child(low);
    out.child(high);
    dumpFlags(out);
    out.close();
}

std::unique_ptr<WSQLCondition> WSQLBetweenTest::clone() const {
    auto copy = std::make_unique<WSQLBetweenTest>(cloneOrNull(scalar), cloneOrNull(low), cloneOrNull(high));
    copy->copyFlags(*this);
    return copy;
}

WSQLNullTest::WSQLNullTest(std::unique_ptr<WSQLColumnRef> tested) : column(std::move(tested)) {}

void WSQLNullTest::toText(CStringBuffer& out) const {
    appendNot(out, *this);
    appendOperand(out, column.get(), false);
    out.append(" IS NULL");
}

void WSQLNullTest::dump(TreeDump& out) const {
    out.open("isnull");
    out.child(column);
    dumpFlags(out);
    out.close();
}

std::unique_ptr<WSQLCondition> WSQLNullTest::clone() const {
    auto copy = std::make_unique<WSQLNullTest>(column ? column->cloneColumn() : nullptr);
    copy->copyFlags(*this);
    return copy;
}

WSQLSubselect::WSQLSubselect(std::unique_ptr<WSQLScalar> tested, int32_t comparisonOp,
                             std::unique_ptr<WSQLStmtSelect> query)
    : scalar(std::move(tested)), op(comparisonOp), select(std::move(query)) {}

WSQLSubselect::~WSQLSubselect() = default;

void WSQLSubselect::toText(CStringBuffer& out) const {
    if (!isActive()) return;
    appendNot(out, *this);
    // The sub-query has neither qualifier nor text, so the two qualifiers are equal when the column has none.
    appendOperand(out, scalar.get(), tableOf(scalar.get()).empty());
    out.append(ComparisonOp::text(op));
}

void WSQLSubselect::dump(TreeDump& out) const {
    out.open("subselect");
    out.atom(ComparisonOp::text(op));
    out.child(scalar);
    out.child(select);
    dumpFlags(out);
    out.close();
}

std::unique_ptr<WSQLCondition> WSQLSubselect::clone() const {
    auto copy = std::make_unique<WSQLSubselect>(cloneOrNull(scalar), op, select ? select->clone() : nullptr);
    copy->copyFlags(*this);
    return copy;
}

}  // namespace wsql
