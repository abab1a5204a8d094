#include "src/DictionaryCondition.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "src/WDBSRows.h"
#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

/// All three lists go by the name of the first one in their faults.
constexpr const char* kSource = "DICT_GetTablesList";

bool lessIgnoringCase(char a, char b) {
    return static_cast<unsigned char>(asciiLower(a)) < static_cast<unsigned char>(asciiLower(b));
}

/// Below, at or above 0; letter case does not count.
int compareTexts(std::string_view a, std::string_view b) {
    if (std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), lessIgnoringCase)) return -1;
    return std::lexicographical_compare(b.begin(), b.end(), a.begin(), a.end(), lessIgnoringCase) ? 1 : 0;
}

std::string textOf(const WSQLScalar& scalar) {
    CStringBuffer text(64);
    scalar.toText(text);
    return std::string(text.view());
}

/// The inequalities keep the rows on the other side of the constant than they say: existing statements count
/// on it.
bool keeps(std::int32_t op, int order) {
    switch (op) {
        case ComparisonOp::kEqual:
            return order == 0;
        case ComparisonOp::kNotEqual:
            return order != 0;
        case ComparisonOp::kLess:
            return order > 0;
        case ComparisonOp::kGreater:
            return order < 0;
        case ComparisonOp::kLessEqual:
            return order >= 0;
        default:
            return order <= 0;
    }
}

}  // namespace

bool DictionaryCondition::fault(const char* format, const char* name) const {
    CStringBuffer text(128);
    const std::string_view whole(format);
    const std::size_t place = whole.find("%s");
    text.append(whole.substr(0, place));
    if (place != std::string_view::npos) {
        text.append(name);
        text.append(whole.substr(place + 2));
    }
    filter_.WriteFaultDocument(0, text.text(), text.length(), kSource, "execution");
    return false;
}

bool DictionaryCondition::judge(const WDBSRow& row, bool& kept) const {
    kept = true;
    return condition_ == nullptr || evaluate(*condition_, row, 0, kept);
}

// Chains of conditions lean to the left and may be very long: down the spine in a loop, and up again.
bool DictionaryCondition::evaluate(const WSQLCondition& condition, const WDBSRow& row, std::int32_t level,
                                   bool& kept) const {
    std::vector<const WSQLCompositeCondition*> spine;
    const WSQLCondition* first = &condition;
    while (const WSQLCompositeCondition* composite = first->asComposite()) {
        filter_.debug(kSource, "Translating composite condition level=#%d\n",
                      level + static_cast<std::int32_t>(spine.size()));
        spine.push_back(composite);
        first = composite->left.get();
    }
    if (!predicate(*first, row, kept)) return false;
    for (; !spine.empty(); spine.pop_back()) {
        const WSQLCompositeCondition& composite = *spine.back();
        const bool isAnd = composite.connective == WSQLCompositeCondition::kAnd;
        const bool isOr = composite.connective == WSQLCompositeCondition::kOr;
        const auto below = level + static_cast<std::int32_t>(spine.size());
        if ((isAnd && kept) || (isOr && !kept)) {
            if (!evaluate(*composite.right, row, below, kept)) return false;
        }
        kept = kept && (isAnd || isOr);
        if (composite.negated()) kept = !kept;
    }
    return true;
}

bool DictionaryCondition::predicate(const WSQLCondition& condition, const WDBSRow& row, bool& kept) const {
    const auto* comparison = dynamic_cast<const WSQLComparison*>(&condition);
    if (comparison == nullptr) return fault("Condition type not yet supported");
    const bool isLike = dynamic_cast<const WSQLLikePredicate*>(comparison) != nullptr;
    if (!(isLike ? like(*comparison, row, kept) : compare(*comparison, row, kept))) return false;
    if (condition.negated()) kept = !kept;
    return true;
}

std::int32_t DictionaryCondition::columnOf(const WSQLScalar& scalar) const {
    return dictionaryColumn(kind_, scalar.asColumnRef()->column);
}

bool DictionaryCondition::like(const WSQLComparison& comparison, const WDBSRow& row, bool& kept) const {
    const WSQLColumnRef* column = comparison.left ? comparison.left->asColumnRef() : nullptr;
    if (column == nullptr) return fault("The LIKE predicate requires a column reference as an LVALUE.");
    const std::int32_t number = columnOf(*column);
    if (number == 0) {
        return fault("Column \"%s\" in LIKE predicate cannot be found in WDBS.TABLES.",
                     column->column.c_str());
    }
    const std::string value = row.value(number), pattern = textOf(*comparison.right);
    kept = std::search(value.begin(), value.end(), pattern.begin(), pattern.end(),
                       [](char a, char b) { return asciiLower(a) == asciiLower(b); }) != value.end() ||
           pattern.empty();
    return true;
}

bool DictionaryCondition::compare(const WSQLComparison& comparison, const WDBSRow& row, bool& kept) const {
    const bool onLeft = comparison.left->asColumnRef() != nullptr;
    const WSQLScalar& columnSide = onLeft ? *comparison.left : *comparison.right;
    const WSQLScalar& other = onLeft ? *comparison.right : *comparison.left;
    if (columnSide.asColumnRef() == nullptr) return fault("A comparison must include a column reference");
    if (!other.isConstant()) {
        return fault(kind_ == DictionaryKind::kTables
                         ? "A comparison must include an expression that evaulates to a constant value."
                         : "A comparison must include an expression that evaluates to a constant value.");
    }
    const std::int32_t number = columnOf(columnSide);
    if (number == 0) {
        return fault("Column \"%s\" in comparison cannot be found in WDBS.TABLES.",
                     columnSide.asColumnRef()->column.c_str());
    }
    const std::string constant = textOf(other);
    kept = keeps(comparison.op, compareTexts(row.value(number), constant)) ||
           (comparison.op == ComparisonOp::kEqual && constant == "%");
    return true;
}

}  // namespace wsql
