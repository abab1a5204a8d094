// Queries over several tables.
#include "tests/differential/Expressions.h"
#include "tests/differential/Generator.h"

namespace differential {
namespace {

const std::vector<Kind> kJoinKinds{Kind::kVarchar, Kind::kInteger, Kind::kNumeric, Kind::kDate, Kind::kTime};

void chain(std::string& list, const std::string& part) {
    list += (list.empty() ? "" : " AND ") + part;
}

/// The columns that both tables have and that joins compare.
std::vector<const Column*> sharedColumns(const Table& left, const Table& right) {
    std::vector<const Column*> shared;
    for (const Column& column : left.columns) {
        for (const Column& other : right.columns) {
            if (column.name == other.name && column.kind != Kind::kText && column.kind != Kind::kItems)
                shared.push_back(&column);
        }
    }
    return shared;
}

}  // namespace

/// One or two comparisons of a column of the left table with one of the right.
Expression Generator::joinCondition(const Source& left, const Source& right, bool equalOnly) {
    Expression on;
    for (int count = random_.percent(25) ? 2 : 1; count > 0; --count) {
        if (!equalOnly && random_.percent(12)) {
            // Some pair of values has to be equal.
            const ColumnUse from = useOf(left, Kind::kItems), to = useOf(right, Kind::kVarchar);
            chain(on.engine, columnForEngine(from) + " = " + columnForEngine(to));
            chain(on.twin, "items_meet(" + columnForTwin(from) + ", " + columnForTwin(to) + ")");
            continue;
        }
        const Kind kind = random_.pick(kJoinKinds);
        const ColumnUse from = useOf(left, kind), to = useOf(right, kind);
        const bool equal = equalOnly || random_.percent(85);
        const Operator op = equal ? Operator::kEqual : static_cast<Operator>(random_.below(6));
        const std::string sign = std::string(" ") + operatorText(op) + " ";
        chain(on.engine, columnForEngine(from) + sign + columnForEngine(to));
        chain(on.twin, sorted(from).twin + sign + sorted(to).twin);
    }
    return on;
}

/// A column that both tables have.
Expression Generator::usingColumn(const Source& left, const Source& right) {
    const Column* column = random_.pick(sharedColumns(*left.table, *right.table));
    return {column->name, sorted({left.alias, column->name, column->kind, 0}).twin + " = " +
                              sorted({right.alias, column->name, column->kind, 0}).twin};
}

/// All columns that both tables have.
Expression Generator::naturalCondition(const Source& left, const Source& right) {
    Expression all;
    for (const Column* column : sharedColumns(*left.table, *right.table)) {
        chain(all.twin, sorted({left.alias, column->name, column->kind, 0}).twin + " = " +
                            sorted({right.alias, column->name, column->kind, 0}).twin);
    }
    return all;
}

/// No search knows how to pair every record with every other one.
Query Generator::crossed(const std::vector<Table>& tables) {
    Query query;
    const Source left{&random_.pick(tables), "a"}, right{&random_.pick(tables), "b"};
    query.from.engine = left.table->name + " a CROSS JOIN " + right.table->name + " b";
    query.fault = "-8 CROSS JOIN not yet implemented.";
    if (random_.percent(50)) {
        const Source third{&random_.pick(tables), "c"};
        query.from.engine +=
            " JOIN " + third.table->name + " c ON " + joinCondition(right, third, true).engine;
        query.fault = "-8 CROSS JOIN is not supported when mixed with other JOIN types.";
    }
    std::vector<ColumnUse> items;
    addItems(query, {left, right}, items);
    return query;
}

/// Two or three tables, the same one several times perhaps.
Query Generator::joined(const std::vector<Table>& tables) {
    Query query;
    Scope scope{{&random_.pick(tables), "a"}};
    const char* const words[] = {" JOIN ", " LEFT JOIN ", " RIGHT JOIN "};
    const char* const aliases[] = {"b", "c"};
    const std::size_t form = random_.below(4);  // inner, left, right, and comparisons in WHERE
    std::string where;
    query.from = {scope[0].table->name + " a", scope[0].table->name + " a"};
    for (int more = form == 2 || random_.percent(75) ? 1 : 2, i = 0; i < more; ++i) {
        const Source right{&random_.pick(tables), aliases[i]};
        const Source left = random_.pick(scope);
        const std::string name = right.table->name + " " + right.alias;
        const bool byName = form < 3 && scope.size() == 1 && random_.percent(15);
        const std::size_t shared = sharedColumns(*left.table, *right.table).size();
        const bool natural = byName && shared < 3;
        const Expression on = natural  ? naturalCondition(left, right)
                              : byName ? usingColumn(left, right)
                                       : joinCondition(left, right, form == 3);
        if (natural) {
            query.from.engine += std::string(" NATURAL") + words[form] + name;
        } else if (form < 3) {
            query.from.engine +=
                words[form] + name + (byName ? " USING (" + on.engine + ")" : " ON " + on.engine);
        } else {
            query.from.engine += ", " + name;
            chain(where, on.engine);
        }
        query.from.twin += words[form < 3 ? form : 0] + name + " ON " + on.twin;
        scope.push_back(right);
    }
    if (form == 3) query.from.engine += " WHERE " + where;
    query.sequence = form == 0 || form == 3;
    for (const Source& source : scope) query.records.push_back(source.alias + ".R");
    std::vector<ColumnUse> items;
    addItems(query, scope, items);
    if (form < 3) {
        addWhere(query, scope, tables);
        addOrder(query, scope, items);
    }
    if (query.sequence) addPage(query);
    return query;
}

/// "=" with a query is a join: a row for every record that the query finds.
Query Generator::joinedByQuery(const std::vector<Table>& tables) {
    Query query;
    const Source outer{&random_.pick(tables), "k"}, inner{&random_.pick(tables), "s"};
    const std::vector<Kind> kinds{Kind::kVarchar, Kind::kInteger, Kind::kNumeric, Kind::kDate, Kind::kTime};
    const Kind kind = random_.pick(kinds);
    const ColumnUse left = useOf(outer, kind), right = useOf(inner, kind);
    const ConditionPtr where = innerCondition(inner, tables);
    const std::string test =
        sorted(left).twin + " = " + sorted(right).twin + " AND " + conditionForTwin(*where);
    query.from.engine = outer.table->name + " k WHERE " + columnForEngine(left) + " = (SELECT " +
                        columnForEngine(right) + " FROM " + inner.table->name + " s WHERE " +
                        conditionForEngine(*where) + ")";
    // A table cannot be joined twice under its name: then the query is a set of values, and no row repeats.
    const bool joins = inner.table != outer.table;
    const std::string found = "(SELECT 1 FROM " + inner.table->name + " s WHERE " + test + ")";
    query.from.twin = outer.table->name + " k" +
                      (joins ? " JOIN " + inner.table->name + " s ON " + test : " WHERE EXISTS " + found);
    query.records = {"k.R"};
    if (joins) query.records.push_back("s.R");
    std::vector<ColumnUse> items;
    addItems(query, {outer}, items);
    return query;
}

}  // namespace differential
