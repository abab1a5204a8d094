#include "src/ConditionTranslator.h"

#include <vector>

#include "src/tree/ComparisonOps.h"
#include "src/tree/ExactType.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CclText.h"

namespace wsql {
namespace {

constexpr std::string_view kEveryRecord = "R=FROM 1";
constexpr std::string_view kNoRecord = "(R=TO 1) NOT (R=TO 1)";

/// Whether an order of left to right (below 0, 0, above 0) satisfies the operator.
bool satisfies(std::int32_t op, int order) {
    switch (op) {
        case ComparisonOp::kNotEqual:
            return order != 0;
        case ComparisonOp::kLess:
            return order < 0;
        case ComparisonOp::kGreater:
            return order > 0;
        case ComparisonOp::kLessEqual:
            return order <= 0;
        case ComparisonOp::kGreaterEqual:
            return order >= 0;
        default:
            return order == 0;
    }
}

template <class T>
int orderOf(const T& a, const T& b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

const WSQLColumnRef* asColumn(const WSQLScalar* scalar) {
    return scalar != nullptr ? scalar->asColumnRef() : nullptr;
}
bool isConstant(const WSQLScalar* scalar) {
    return scalar != nullptr && scalar->isConstant();
}
bool isActive(const WSQLCondition* condition) {
    return condition != nullptr && condition->isActive();
}

}  // namespace

bool constantComparisonHolds(const WSQLComparison& comparison) {
    using Kind = ConstantValue::Kind;
    const ConstantValue left = comparison.left->constantValue();
    const ConstantValue right = comparison.right->constantValue();
    if (left.kind == right.kind && !left.null && !right.null) {
        if (left.kind == Kind::kInteger)
            return satisfies(comparison.op, orderOf(left.integer, right.integer));
        if (left.kind == Kind::kReal) return satisfies(comparison.op, orderOf(left.real, right.real));
        if (left.kind == Kind::kBoolean)
            return satisfies(comparison.op, orderOf(left.boolean, right.boolean));
    }
    CStringBuffer leftText(64), rightText(64);
    comparison.left->toText(leftText);
    comparison.right->toText(rightText);
    return satisfies(comparison.op, leftText.view().compare(rightText.view()));
}

void appendFieldText(CStringBuffer& out, const std::string& prefix, const WSQLColumnRef& column) {
    appendCclName(out, prefix);
    out.append('.');
    // In quotes the row identifier would be a field that happens to have this name.
    if (column.fieldNumber == WSQLColumnRef::kRowIdentifier) {
        out.append(column.column);
    } else {
        appendCclName(out, column.column);
    }
}

void appendColumnText(CStringBuffer& out, const std::string& prefix, const WSQLColumnRef& column) {
    appendFieldText(out, prefix, column);
    if (column.subscript > 0) {
        out.append('.');
        appendNumber(out, column.subscript);
    }
}

const std::string& ConditionTranslator::prefixOf(const WSQLColumnRef& column) const {
    return prefix_ == Prefix::kQualifier ? column.qualifier() : column.table;
}

void ConditionTranslator::appendColumn(const WSQLColumnRef& column, CStringBuffer& out) const {
    appendColumnText(out, prefixOf(column), column);
}

void ConditionTranslator::appendConstant(const WSQLScalar& constant, CStringBuffer& out) const {
    using Kind = ConstantValue::Kind;
    const Kind kind = constant.constantValue().kind;
    const bool bare =
        kind == Kind::kInteger || kind == Kind::kReal || kind == Kind::kDate || kind == Kind::kTime;
    CStringBuffer text(64);
    constant.toText(text);
    appendCclValue(out, text.view(), bare ? CclValueKind::kBare : CclValueKind::kText);
}

const std::string& ConditionTranslator::word(std::string& cache, const char* canonical) {
    if (cache.empty()) cache = words_(canonical);
    return cache;
}

bool ConditionTranslator::fault(std::int32_t line, const char* text) {
    problem_ = Problem::kFault;
    faultLine_ = line;
    faultText_ = text;
    return false;
}

bool ConditionTranslator::node(const WSQLCondition& condition, bool negated, CStringBuffer& out) {
    if (condition.asComposite() != nullptr) return chain(condition, negated, out);
    negated = negated != condition.negated();
    if (const auto* compared = exactly<const WSQLComparison>(&condition))
        return comparison(*compared, negated, out);
    if (const auto* likeTest = dynamic_cast<const WSQLLikePredicate*>(&condition))
        return like(*likeTest, negated, out);
    if (const auto* range = dynamic_cast<const WSQLBetweenTest*>(&condition))
        return between(*range, negated, out);
    if (const auto* test = dynamic_cast<const WSQLNullTest*>(&condition))
        return nullTest(*test, negated, out);
    if (const auto* embedded = dynamic_cast<const WSQLEmbeddedCCL*>(&condition)) {
        if (negated) {
            out.append('(');
            out.append(kEveryRecord);
            out.append(") NOT ");
        }
        out.append('(');
        out.append(embedded->ccl);
        out.append(')');
        return true;
    }
    if (const auto* query = dynamic_cast<const WSQLSubselect*>(&condition))
        return subselect(*query, negated, out);
    return fault(645, "Condition type not yet supported");
}

/// A chain of ANDs and ORs that leans to the left is written in one pass, all its opening parentheses first;
/// only right operands are recursed into. Negation is pushed down to the tests: NOT of an AND is the OR of
/// the NOTs.
bool ConditionTranslator::chain(const WSQLCondition& root, bool negated, CStringBuffer& out) {
    struct Link {
        const WSQLCompositeCondition* composite;
        bool negated;
        bool active;  // whether the right operand says anything
    };
    std::vector<Link> spine;
    const WSQLCondition* leaf = &root;
    while (leaf != nullptr && leaf->asComposite() != nullptr) {
        const WSQLCompositeCondition* composite = leaf->asComposite();
        negated = negated != composite->negated();
        spine.push_back({composite, negated, isActive(composite->right.get())});
        leaf = composite->left.get();
    }
    bool some = isActive(leaf);
    const bool leafActive = some;
    for (auto link = spine.rbegin(); link != spine.rend(); ++link) {
        if (some && link->active) out.append('(');
        some = some || link->active;
    }
    const std::int32_t start = out.length();
    if (leafActive && !node(*leaf, negated, out)) return false;
    for (; !spine.empty(); spine.pop_back()) {
        const Link& link = spine.back();
        if (!link.active) continue;
        const bool joins = out.length() > start;
        if (joins) {
            const bool isOr = (link.composite->connective == WSQLCompositeCondition::kOr) != link.negated;
            out.append(") ");
            out.append(isOr ? word(or_, "ORX") : word(and_, "AND"));
            out.append(" (");
        }
        if (!node(*link.composite->right, link.negated, out)) return false;
        if (joins) out.append(')');
    }
    return out.length() > start || fault(452, "INTERNAL ERROR: Empty translation for composite condition.");
}

bool ConditionTranslator::like(const WSQLLikePredicate& like, bool negated, CStringBuffer& out) {
    const WSQLColumnRef* column = asColumn(like.left.get());
    if (column == nullptr) return fault(71, "The LIKE predicate requires a column reference as an LVALUE.");
    appendColumn(*column, out);
    out.append(negated ? "<>" : "=");
    CStringBuffer text(64), pattern(64);
    if (like.right) like.right->toText(text);
    appendLikePattern(pattern, text.view());
    appendCclValue(out, pattern.view(), CclValueKind::kPattern);
    return true;
}

bool ConditionTranslator::comparison(const WSQLComparison& comparison, bool negated, CStringBuffer& out) {
    const WSQLColumnRef* left = asColumn(comparison.left.get());
    const WSQLColumnRef* right = asColumn(comparison.right.get());
    if (left == nullptr && right == nullptr) {
        if (!isConstant(comparison.left.get()) || !isConstant(comparison.right.get())) {
            return fault(151, "A constant comparison must be between constant values.");
        }
        out.append(constantComparisonHolds(comparison) != negated ? kEveryRecord : kNoRecord);
        return true;
    }
    const WSQLColumnRef* column = left != nullptr ? left : right;
    if (column == nullptr) return fault(255, "A comparison must include a column reference");
    const WSQLScalar* value = left != nullptr ? comparison.right.get() : comparison.left.get();
    if (!isConstant(value)) {
        return fault(268, "A comparison must include an expression that evaulates to a constant value.");
    }
    appendColumn(*column, out);
    out.append(ComparisonOp::sign(negated ? ComparisonOp::opposite(comparison.op) : comparison.op));
    appendConstant(*value, out);
    return true;
}

bool ConditionTranslator::between(const WSQLBetweenTest& between, bool negated, CStringBuffer& out) {
    const WSQLColumnRef* column = asColumn(between.scalar.get());
    if (column == nullptr) return fault(353, "Scalar type in BETWEEN predicate must be a column reference.");
    if (!isConstant(between.low.get()) || !isConstant(between.high.get())) {
        return fault(359, "Range specification in BETWEEN predicate must be simple expressions.");
    }
    if (negated) {
        // Every record of the table without those of the range.
        appendCclName(out, prefixOf(*column));
        out.append('.');
        out.append(word(record_, "RXX"));
        out.append('=');
        out.append(word(from_, "FRL"));
        out.append(" 1 ");
        out.append(word(not_, "NOT"));
        out.append(' ');
    }
    appendColumn(*column, out);
    out.append('=');
    appendConstant(*between.low, out);
    out.append(' ');
    out.append(word(to_, "FTL"));
    out.append(' ');
    appendConstant(*between.high, out);
    return true;
}

/// The values of the sub-query's set; "<=" reads as "<" here.
bool ConditionTranslator::subselect(const WSQLSubselect& subselect, bool negated, CStringBuffer& out) {
    std::int32_t set = 0;
    if (!subselects_ || !subselects_(subselect, set)) {
        problem_ = Problem::kAnswered;
        return false;
    }
    const std::int32_t start = out.length();
    if (const WSQLColumnRef* column = asColumn(subselect.scalar.get())) {
        appendColumn(*column, out);
    } else if (subselect.scalar) {
        subselect.scalar->toText(out);
    }
    const std::int32_t op = negated ? ComparisonOp::opposite(subselect.op) : subselect.op;
    out.append(op == ComparisonOp::kLessEqual ? "<" : ComparisonOp::sign(op));
    appendNumber(out, set);
    out.append('.');
    CStringBuffer item(64);
    if (subselect.select->item(0) != nullptr) subselect.select->item(0)->toText(item);
    const WSQLColumnRef* inner = asColumn(subselect.select->item(0));
    // In quotes the row identifier would be a field that happens to have this name.
    if (inner != nullptr && inner->fieldNumber == WSQLColumnRef::kRowIdentifier) {
        out.append(item);
    } else {
        // An item without a text, such as NULL, has no name: any name means the set's only column.
        appendCclName(out, item.length() > 0 ? item.view() : "1");
    }
    if (note_) note_(out.view().substr(static_cast<std::size_t>(start)));
    return true;
}

bool ConditionTranslator::nullTest(const WSQLNullTest& test, bool negated, CStringBuffer& out) {
    appendColumn(*test.column, out);
    out.append(negated ? "=$" : "=\"\"");
    return true;
}

}  // namespace wsql
