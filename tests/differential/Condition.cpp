#include "tests/differential/Condition.h"

#include "tests/differential/Text.h"

namespace differential {
namespace {

std::string hundredfold(const Constant& constant) {
    return std::to_string(constant.type == Constant::Type::kReal ? constant.number : constant.number * 100);
}

/// What order comparisons look at: the text in front of the first wildcard.
std::string cut(const std::string& text) {
    return text.substr(0, text.find_first_of(std::string{kAnyRun, kAnyOne}));
}

std::string isNull(const std::string& column, bool isIt) {
    return column + (isIt ? " IS NULL" : " IS NOT NULL");
}

std::string applied(const char* function, const std::string& column, const std::string& text) {
    return std::string(function) + "(" + column + ", " + quoted(text) + ")";
}

std::string applied(const char* function, const std::string& column, Operator op, const std::string& text) {
    return std::string(function) + "(" + column + ", '" + operatorText(op) + "', " + quoted(text) + ")";
}

/// "holds", or "has a value and does not hold".
std::string equality(const std::string& column, Operator op, const std::string& holds) {
    if (op == Operator::kEqual) return holds;
    return "(" + column + " IS NOT NULL AND NOT " + holds + ")";
}

bool isOrder(Operator op) {
    return op != Operator::kEqual && op != Operator::kNotEqual;
}

std::string infix(const std::string& left, Operator op, const std::string& right) {
    return left + " " + operatorText(op) + " " + right;
}

std::string textTest(const ColumnUse& use, Operator op, const Constant& constant) {
    const std::string column = columnForTwin(use);
    if (use.kind == Kind::kItems && use.item == 0) return applied("items_stand", column, op, constant.text);
    if (use.kind == Kind::kText) {
        // The wildcard alone asks for any value, one without words included.
        const bool any =
            constant.hasWildcards() && constant.text.find_first_not_of(kAnyRun) == std::string::npos;
        const bool above = op == Operator::kGreater || op == Operator::kGreaterEqual;
        if (any && (above || !isOrder(op)))
            return equality(column, above ? Operator::kEqual : op, isNull(column, false));
        if (isOrder(op)) return applied("words_stand", column, op, cut(constant.text));
        return equality(column, op, applied("holds_phrase", column, constant.text));
    }
    if (isOrder(op)) return infix("norm(" + column + ")", op, quoted(normalized(cut(constant.text))));
    return equality(column, op, applied("matches", column, constant.text));
}

/// The value of a number, date or time column as documents show it.
std::string delivered(const ColumnUse& use) {
    const std::string column = columnForTwin(use);
    if (use.kind == Kind::kNumeric) return "decimals(" + column + ")";
    return use.kind == Kind::kInteger ? "CAST(" + column + " AS TEXT)" : column;
}

std::string numberTest(const ColumnUse& use, Operator op, const Constant& constant) {
    const std::string column = columnForTwin(use);
    const std::string hundreds = use.kind == Kind::kNumeric ? column : column + " * 100";
    return infix(hundreds, op, hundredfold(constant));
}

std::string compareForTwin(const Condition& condition, Operator op) {
    const ColumnUse& use = condition.column;
    const Constant& constant = condition.low;
    const std::string column = columnForTwin(use);
    if (constant.isAbsent()) return isOrder(op) ? "0" : isNull(column, op == Operator::kEqual);
    if (use.kind == Kind::kInteger || use.kind == Kind::kNumeric) {
        if (constant.hasWildcards())
            return equality(column, op, applied("matches", delivered(use), constant.text));
        return numberTest(use, op, constant);
    }
    if (use.kind == Kind::kDate || use.kind == Kind::kTime) {
        if (constant.hasWildcards()) return equality(column, op, applied("matches", column, constant.text));
        return infix(column, op, quoted(constant.text));
    }
    return textTest(use, op, constant);
}

std::string rangeForTwin(const ColumnUse& use, const Constant& low, const Constant& high) {
    if (low.isAbsent() || high.isAbsent()) return "0";
    const std::string column = columnForTwin(use);
    if (use.kind == Kind::kItems && use.item == 0)
        return "items_between(" + column + ", " + quoted(cut(low.text)) + ", " + quoted(cut(high.text)) + ")";
    if (use.kind == Kind::kText)
        return "words_between(" + column + ", " + quoted(cut(low.text)) + ", " + quoted(cut(high.text)) + ")";
    Condition end;
    end.column = use;
    end.low = low;
    const std::string from = compareForTwin(end, Operator::kGreaterEqual);
    end.low = high;
    return "(" + from + " AND " + compareForTwin(end, Operator::kLessEqual) + ")";
}

bool constantsHold(const Condition& condition) {
    int order = 0;
    if (condition.low.type == Constant::Type::kInteger && condition.high.type == Constant::Type::kInteger) {
        order =
            condition.low.number < condition.high.number ? -1 : condition.low.number > condition.high.number;
    } else {
        order = condition.low.text.compare(condition.high.text);
    }
    switch (condition.op) {
        case Operator::kEqual:
            return order == 0;
        case Operator::kNotEqual:
            return order != 0;
        case Operator::kLess:
            return order < 0;
        case Operator::kGreater:
            return order > 0;
        case Operator::kLessEqual:
            return order <= 0;
        default:
            return order >= 0;
    }
}

/// The pattern of LIKE: every wildcard of the dialect, and its own characters without their meaning.
std::string patternForEngine(const std::string& text) {
    std::string pattern = "'";
    for (char c : text) {
        if (c == kAnyRun) {
            pattern += '%';
        } else if (c == kAnyOne) {
            pattern += '_';
        } else {
            if (c == '%' || c == '_' || c == '$') pattern += '\\';
            pattern += c;
        }
    }
    return pattern + "'";
}

std::string likeForTwin(const Condition& condition, bool negated) {
    const std::string column = columnForTwin(condition.column);
    if (condition.low.isAbsent()) return isNull(column, !negated);
    return textTest(condition.column, negated ? Operator::kNotEqual : Operator::kEqual, condition.low);
}

/// Some value, none of them, none at all: what a set of values means to a comparison.
std::string subqueryForTwin(const Condition& condition, Operator op) {
    const bool text = condition.column.kind == Kind::kVarchar;
    const std::string outer = columnForTwin(condition.column), inner = columnForTwin(condition.inner);
    // "<=" stands for "<" here.
    const Operator used = op == Operator::kLessEqual ? Operator::kLess : op;
    const std::string left = text ? "norm(" + outer + ")" : outer,
                      right = text ? "norm(" + inner + ")" : inner;
    const std::string from = " FROM " + condition.innerTable + " WHERE " +
                             (condition.left ? conditionForTwin(*condition.left) : "1") + " AND " +
                             infix(left, used == Operator::kNotEqual ? Operator::kEqual : used, right) + ")";
    if (used == Operator::kNotEqual)
        return "(" + outer + " IS NOT NULL AND NOT EXISTS (SELECT 1" + from + ")";
    return "EXISTS (SELECT 1" + from;
}

}  // namespace

bool Constant::hasWildcards() const {
    return type == Type::kText && text.find_first_of(std::string{kAnyRun, kAnyOne}) != std::string::npos;
}

const char* operatorText(Operator op) {
    constexpr const char* kTexts[] = {"=", "<>", "<", ">", "<=", ">="};
    return kTexts[static_cast<std::size_t>(op)];
}

Operator opposite(Operator op) {
    constexpr Operator kOpposites[] = {Operator::kNotEqual,  Operator::kEqual,   Operator::kGreaterEqual,
                                       Operator::kLessEqual, Operator::kGreater, Operator::kLess};
    return kOpposites[static_cast<std::size_t>(op)];
}

std::string columnForEngine(const ColumnUse& column) {
    const std::string qualifier = column.alias.empty() ? "" : column.alias + ".";
    if (column.isRecord()) return qualifier + "R";
    return qualifier + column.name + (column.item > 0 ? "[" + std::to_string(column.item) + "]" : "");
}

std::string recordOf(const ColumnUse& column) {
    return (column.alias.empty() ? "" : column.alias + ".") + "R";
}

std::string columnForTwin(const ColumnUse& column) {
    const std::string qualifier = column.alias.empty() ? "" : column.alias + ".";
    const std::string name = qualifier + (column.isRecord() ? "R" : column.name);
    return column.item > 0 ? "item(" + name + ", " + std::to_string(column.item) + ")" : name;
}

std::string constantForEngine(const Constant& constant) {
    switch (constant.type) {
        case Constant::Type::kInteger:
            return std::to_string(constant.number);
        case Constant::Type::kReal:
            return decimals(constant.number);
        case Constant::Type::kDate:
            return "DATE('" + constant.text + "')";
        case Constant::Type::kTime:
            return constant.text;
        case Constant::Type::kText: {
            std::string text = constant.text;
            for (char& c : text) c = c == kAnyRun ? '%' : c;
            return quoted(text);
        }
        default:
            return "NULL";
    }
}

namespace {

std::string queryForEngine(const Condition& condition) {
    return "SELECT " + columnForEngine(condition.inner) + " FROM " + condition.innerTable +
           (condition.left ? " WHERE " + conditionForEngine(*condition.left) : "") +
           (condition.right ? " UNION " + queryForEngine(*condition.right) : "");
}

}  // namespace

std::string conditionForEngine(const Condition& condition) {
    const std::string column = columnForEngine(condition.column);
    const std::string op = std::string(" ") + operatorText(condition.op) + " ";
    switch (condition.type) {
        case Condition::Type::kCompare: {
            const std::string constant = constantForEngine(condition.low);
            return condition.reversed ? constant + op + column : column + op + constant;
        }
        case Condition::Type::kBetween:
            return column + (condition.negated ? " NOT BETWEEN " : " BETWEEN ") +
                   constantForEngine(condition.low) + " AND " + constantForEngine(condition.high);
        case Condition::Type::kLike:
            return column + (condition.negated ? " NOT LIKE " : " LIKE ") +
                   patternForEngine(condition.low.text);
        case Condition::Type::kNull:
            return column + (condition.negated ? " IS NOT NULL" : " IS NULL");
        case Condition::Type::kConstants:
            return constantForEngine(condition.low) + op + constantForEngine(condition.high);
        case Condition::Type::kSubquery:
            return column + (condition.in ? " IN (" : op + "(") + queryForEngine(condition) + ")";
        case Condition::Type::kNot:
            return "NOT (" + conditionForEngine(*condition.left) + ")";
        default:
            return "(" + conditionForEngine(*condition.left) +
                   (condition.type == Condition::Type::kAnd ? ") AND (" : ") OR (") +
                   conditionForEngine(*condition.right) + ")";
    }
}

std::string conditionForTwin(const Condition& condition, bool inverted) {
    const bool negated = condition.negated != inverted;
    const Operator op = inverted ? opposite(condition.op) : condition.op;
    switch (condition.type) {
        case Condition::Type::kCompare:
            return compareForTwin(condition, op);
        case Condition::Type::kBetween: {
            const std::string range = rangeForTwin(condition.column, condition.low, condition.high);
            // Records without a value lie outside of every range; where an outer join found no record there
            // is nothing that could.
            return negated
                       ? "(" + recordOf(condition.column) + " IS NOT NULL AND NOT COALESCE(" + range + ", 0))"
                       : range;
        }
        case Condition::Type::kLike:
            return likeForTwin(condition, negated);
        case Condition::Type::kNull:
            return isNull(columnForTwin(condition.column), !negated);
        case Condition::Type::kConstants:
            return constantsHold(condition) != inverted ? "1" : "0";
        case Condition::Type::kSubquery:
            if (!condition.right) return subqueryForTwin(condition, op);
            return "(" + subqueryForTwin(condition, op) + (op == Operator::kEqual ? " OR " : " AND ") +
                   conditionForTwin(*condition.right, inverted) + ")";
        case Condition::Type::kNot:
            return conditionForTwin(*condition.left, !inverted);
        default: {
            const bool both = (condition.type == Condition::Type::kAnd) != inverted;
            return "(" + conditionForTwin(*condition.left, inverted) + (both ? " AND " : " OR ") +
                   conditionForTwin(*condition.right, inverted) + ")";
        }
    }
}

std::vector<ConditionPtr> simplerConditions(const ConditionPtr& condition) {
    std::vector<ConditionPtr> simpler;
    if (condition->type == Condition::Type::kSubquery) {
        for (ConditionPtr Condition::*part : {&Condition::left, &Condition::right}) {
            if (!((*condition).*part)) continue;
            auto bare = std::make_shared<Condition>(*condition);
            (*bare).*part = nullptr;
            simpler.push_back(std::move(bare));
        }
    } else {
        if (condition->left) simpler.push_back(condition->left);
        if (condition->right) simpler.push_back(condition->right);
    }
    for (int side = 0; side < 2; ++side) {
        const ConditionPtr& part = side == 0 ? condition->left : condition->right;
        if (!part) continue;
        for (const ConditionPtr& smaller : simplerConditions(part)) {
            auto copy = std::make_shared<Condition>(*condition);
            (side == 0 ? copy->left : copy->right) = smaller;
            simpler.push_back(std::move(copy));
        }
    }
    return simpler;
}

}  // namespace differential
