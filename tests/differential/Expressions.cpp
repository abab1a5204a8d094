#include "tests/differential/Expressions.h"

#include "tests/differential/Generator.h"

namespace differential {

Expression shown(const ColumnUse& use) {
    const std::string twin = columnForTwin(use);
    Expression expression{columnForEngine(use), twin};
    if (use.kind == Kind::kNumeric) expression.twin = "decimals(" + twin + ")";
    if (use.kind == Kind::kText) expression.twin = "paragraphs(" + twin + ")";
    if (use.kind == Kind::kItems && use.item == 0) expression.twin = "shown_items(" + twin + ")";
    return expression;
}

Expression sorted(const ColumnUse& use) {
    std::string twin = columnForTwin(use);
    if (use.kind == Kind::kItems && use.item == 0) twin = "item(" + twin + ", 1)";
    const bool text = use.kind == Kind::kVarchar || use.kind == Kind::kText || use.kind == Kind::kItems;
    return {columnForEngine(use), text ? "norm(" + twin + ")" : twin};
}

/// A sum, difference, product or quotient of columns and numbers; without a value when an operand has none.
Expression Generator::arithmetic(const Source& source) {
    const bool numeric = random_.percent(50);
    const ColumnUse left = useOf(source, numeric ? Kind::kNumeric : Kind::kInteger);
    const std::string name = columnForEngine(left), hundredths = columnForTwin(left);
    const int number = random_.between(0, 9);
    const std::string digits = std::to_string(number);
    switch (random_.below(5)) {
        case 0: {
            const std::string right = columnForEngine(useOf(source, Kind::kInteger));
            if (numeric) return {name + " - " + right, "decimals(" + hundredths + " - 100 * " + right + ")"};
            return {name + " - " + right, hundredths + " - " + right};
        }
        case 1:
            if (numeric)
                return {name + " + " + digits, "decimals(" + hundredths + " + 100 * " + digits + ")"};
            return {name + " + " + digits, hundredths + " + " + digits};
        case 2:
            if (numeric) return {name + " * " + digits, "decimals(" + hundredths + " * " + digits + ")"};
            return {name + " * " + digits, hundredths + " * " + digits};
        case 3:
            // Six decimals, rounded; none for a division by zero.
            if (numeric) return {name + " / " + digits, "mean(" + hundredths + ", " + digits + ")"};
            return {name + " / " + digits, "mean(100 * " + hundredths + ", " + digits + ")"};
        default:
            if (numeric)
                return {digits + " - " + name + " * 2",
                        "decimals(100 * " + digits + " - 2 * " + hundredths + ")"};
            return {digits + " - " + name + " * 2", digits + " - 2 * " + hundredths};
    }
}

/// Several values as one text, all or from one position to another.
Expression Generator::valueList(const Source& source) {
    const std::string items = columnForEngine(useOf(source, Kind::kItems));
    const int first = random_.between(1, 3), last = random_.between(1, 4);
    const std::string from = std::to_string(first), to = std::to_string(last);
    if (random_.percent(50))
        return {"VALUELIST(" + items + ", '+')", "value_list(" + items + ", '+', 1, 99)"};
    return {"VALUELIST(" + items + ", ' & ', " + from + ", " + to + ")",
            "value_list(" + items + ", ' & ', " + from + ", " + to + ")"};
}

/// The first value that a query finds, the same in every row.
Expression Generator::scalarQuery(const std::vector<Table>& tables) {
    const Source source{&random_.pick(tables), "q"};
    const std::vector<Kind> kinds{Kind::kVarchar, Kind::kInteger, Kind::kNumeric, Kind::kDate, Kind::kTime};
    const Expression item = shown(useOf(source, random_.pick(kinds)));
    const ConditionPtr where = innerCondition(source, tables);
    const std::string from = " FROM " + source.table->name + " q WHERE ";
    return {"(SELECT " + item.engine + from + conditionForEngine(*where) + ")",
            "(SELECT " + item.twin + from + conditionForTwin(*where) + " ORDER BY q.R LIMIT 1)"};
}

/// An aggregate over a column that is none of the groups.
SortedExpression Generator::aggregate(const Source& source, const std::vector<ColumnUse>& groups) {
    const std::vector<Kind> numbers{Kind::kInteger, Kind::kNumeric},
        ordered{Kind::kInteger, Kind::kNumeric, Kind::kDate, Kind::kTime},
        all{Kind::kVarchar, Kind::kInteger, Kind::kNumeric, Kind::kDate, Kind::kTime};
    const std::size_t draw = random_.below(8);
    if (draw == 7) {
        const std::string items = columnForEngine(useOf(source, Kind::kItems));
        const std::string sum = "COALESCE(SUM(item_count(" + items + ")), 0)";
        return {{"COUNT(" + items + ")", sum}, sum};
    }
    if (draw == 0) return {{"COUNT(*)", "COUNT(*)"}, "COUNT(*)"};
    ColumnUse column;
    for (bool taken = true; taken;) {
        column = useOf(source, random_.pick(draw <= 2 ? all : draw <= 4 ? numbers : ordered));
        taken = false;
        for (const ColumnUse& group : groups) taken = taken || group.name == column.name;
    }
    const std::string engine = columnForEngine(column), twin = columnForTwin(column);
    const bool numeric = column.kind == Kind::kNumeric;
    switch (draw) {
        case 1:
            return {{"COUNT(" + engine + ")", "COUNT(" + twin + ")"}, "COUNT(" + twin + ")"};
        case 2: {
            const std::string count = "COUNT(DISTINCT " + sorted(column).twin + ")";
            return {{"COUNT(DISTINCT " + engine + ")", count}, count};
        }
        case 3: {
            const std::string sum = "SUM(" + twin + ")";
            return {{"SUM(" + engine + ")", numeric ? "decimals(" + sum + ")" : sum}, sum};
        }
        case 4: {
            const std::string mean =
                "mean(SUM(" + twin + (numeric ? "" : " * 100") + "), COUNT(" + twin + "))";
            return {{"AVG(" + engine + ")", mean}, "CAST(" + mean + " AS REAL)"};
        }
        default: {
            const std::string name = draw == 5 ? "MIN(" : "MAX(", value = name + twin + ")";
            return {{name + engine + ")", numeric ? "decimals(" + value + ")" : value}, value};
        }
    }
}

}  // namespace differential
