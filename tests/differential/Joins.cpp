// Queries over several tables.
#include "tests/differential/Expressions.h"
#include "tests/differential/Generator.h"

namespace differential {
namespace {

const std::vector<Kind> kJoinKinds{Kind::kVarchar, Kind::kInteger, Kind::kNumeric, Kind::kDate, Kind::kTime};

void chain(std::string& list, const std::string& part) {
    list += (list.empty() ? "" : " AND ") + part;
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

/// The same column in both tables.
Expression Generator::usingColumn(const Source& left, const Source& right) {
    const ColumnUse from = useOf(left, random_.pick(kJoinKinds)), to{right.alias, from.name, from.kind, 0};
    return {from.name, sorted(from).twin + " = " + sorted(to).twin};
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
        const Expression on = byName ? usingColumn(left, right) : joinCondition(left, right, form == 3);
        if (form < 3) {
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
    const ConditionPtr where = condition({inner}, 1);
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
