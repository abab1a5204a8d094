// The forms of queries that the generator draws.
#include "tests/differential/Features.h"
#include "tests/differential/Generator.h"

namespace differential {
namespace {

/// The column as documents show it.
Expression shown(const ColumnUse& use) {
    const std::string twin = columnForTwin(use);
    Expression expression{columnForEngine(use), twin};
    if (use.kind == Kind::kNumeric) expression.twin = "decimals(" + twin + ")";
    if (use.kind == Kind::kText) expression.twin = "paragraphs(" + twin + ")";
    if (use.kind == Kind::kItems && use.item == 0) expression.twin = "shown_items(" + twin + ")";
    return expression;
}

/// The column as it is sorted and grouped: one text for what compares as equal.
Expression sorted(const ColumnUse& use) {
    std::string twin = columnForTwin(use);
    if (use.kind == Kind::kItems && use.item == 0) twin = "item(" + twin + ", 1)";
    const bool text = use.kind == Kind::kVarchar || use.kind == Kind::kText || use.kind == Kind::kItems;
    return {columnForEngine(use), text ? "norm(" + twin + ")" : twin};
}

std::string firstOf(const std::string& place, const std::string& value) {
    return "first_of(" + place + ", " + value + ")";
}

bool isPlainColumn(const ColumnUse& use) {
    return !use.isRecord() && use.kind != Kind::kText && use.kind != Kind::kItems;
}

}  // namespace

Source Generator::from(const std::vector<Table>& tables, Query& query, bool qualified) {
    const Table& table = random_.pick(tables);
    const bool named = random_.percent(30);
    query.from = {table.name + (named ? " k" : ""), table.name + (named ? " k" : "")};
    return {&table, named ? "k" : qualified || random_.percent(30) ? table.name : ""};
}

void Generator::addItems(Query& query, const Scope& scope, std::vector<ColumnUse>& items) {
    for (int count = random_.between(1, 4); count > 0; --count) {
        items.push_back(use(random_.pick(scope)));
        query.items.push_back(shown(items.back()));
    }
}

void Generator::addOrder(Query& query, const Scope& scope, const std::vector<ColumnUse>& items) {
    for (int count = random_.between(0, 3); count > 0; --count) {
        OrderItem item;
        item.descending = random_.percent(40);
        const bool byPosition = random_.percent(40);
        const std::size_t position = random_.below(items.size());
        ColumnUse column = byPosition ? items[position] : use(random_.pick(scope));
        const ColumnUse written = column;
        // Written by name, a column sorts by its first item, whatever the subscript.
        if (!byPosition && column.item > 0) column.item = 1;
        if (column.isRecord() && !byPosition) continue;
        item.key = sorted(column);
        if (!byPosition && column.item > 0) item.key.engine = columnForEngine(written);
        if (byPosition) item.key.engine = std::to_string(position + 1);
        query.order.push_back(std::move(item));
    }
}

void Generator::addWhere(Query& query, const Scope& scope, const std::vector<Table>& tables) {
    if (!random_.percent(85)) return;
    const bool qualified = !scope.front().alias.empty();
    query.where =
        condition(scope, random_.between(0, 3), qualified && has(Feature::kSubquery) ? &tables : nullptr);
}

void Generator::addPage(Query& query) {
    if (!random_.percent(25)) return;
    query.blockSize = random_.between(1, 12);
    query.block = random_.between(1, 4);
}

/// A sum, difference or product of columns and numbers; without a value when an operand has none.
Expression Generator::arithmetic(const Source& source) {
    const bool numeric = random_.percent(50);
    const ColumnUse left = useOf(source, numeric ? Kind::kNumeric : Kind::kInteger);
    const std::string name = columnForEngine(left), hundredths = columnForTwin(left);
    const int number = random_.between(0, 9);
    const std::string digits = std::to_string(number);
    switch (random_.below(4)) {
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
        default:
            if (numeric)
                return {digits + " - " + name + " * 2",
                        "decimals(100 * " + digits + " - 2 * " + hundredths + ")"};
            return {digits + " - " + name + " * 2", digits + " - 2 * " + hundredths};
    }
}

Query Generator::plain(const std::vector<Table>& tables) {
    Query query;
    const Source source = from(tables, query, random_.percent(50));
    std::vector<ColumnUse> items;
    query.records = {"R"};
    addItems(query, {source}, items);
    addWhere(query, {source}, tables);
    addOrder(query, {source}, items);
    if (has(Feature::kArithmetic) && random_.percent(20)) query.items.push_back(arithmetic(source));
    addPage(query);
    return query;
}

Query Generator::distinct(const std::vector<Table>& tables) {
    Query query;
    const Source source = from(tables, query, true);
    query.distinct = true;
    query.sequence = false;
    for (int count = random_.between(1, 3); count > 0; --count) {
        const ColumnUse drawn = use(source);
        const bool counts = drawn.kind != Kind::kText || has(Feature::kDistinctText);
        const ColumnUse column = counts ? drawn : useOf(source, Kind::kVarchar);
        const Expression item = shown(column);
        query.items.push_back({item.engine, firstOf("R", item.twin)});
        query.groups.push_back({"", "distinct_key(" + item.twin + ")"});
    }
    addWhere(query, {source}, tables);
    return query;
}

/// An aggregate over a column that is none of the groups.
Expression Generator::aggregate(const Source& source, const std::vector<ColumnUse>& groups) {
    const std::vector<Kind> numbers{Kind::kInteger, Kind::kNumeric},
        ordered{Kind::kInteger, Kind::kNumeric, Kind::kDate, Kind::kTime},
        all{Kind::kVarchar, Kind::kInteger, Kind::kNumeric, Kind::kDate, Kind::kTime};
    const std::size_t draw = random_.below(7);
    if (draw == 0) return {"COUNT(*)", "COUNT(*)"};
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
            return {"COUNT(" + engine + ")", "COUNT(" + twin + ")"};
        case 2:
            return {"COUNT(DISTINCT " + engine + ")", "COUNT(DISTINCT " + sorted(column).twin + ")"};
        case 3:
            return {"SUM(" + engine + ")", numeric ? "decimals(SUM(" + twin + "))" : "SUM(" + twin + ")"};
        case 4:
            return {"AVG(" + engine + ")",
                    "mean(SUM(" + twin + (numeric ? "" : " * 100") + "), COUNT(" + twin + "))"};
        default: {
            const std::string name = draw == 5 ? "MIN(" : "MAX(";
            return {name + engine + ")", numeric ? "decimals(" + name + twin + "))" : name + twin + ")"};
        }
    }
}

Query Generator::aggregated(const std::vector<Table>& tables) {
    Query query;
    const Source source = from(tables, query, true);
    for (int count = random_.between(1, 4); count > 0; --count) query.items.push_back(aggregate(source, {}));
    addWhere(query, {source}, tables);
    return query;
}

Query Generator::grouped(const std::vector<Table>& tables) {
    Query query;
    const Source source = from(tables, query, true);
    query.sequence = false;
    std::vector<ColumnUse> groups;
    for (int count = random_.between(1, 2); count > 0; --count) {
        const ColumnUse column = use(source);
        if (isPlainColumn(column)) groups.push_back(column);
    }
    if (groups.empty()) groups.push_back(useOf(source, Kind::kInteger));
    for (const ColumnUse& group : groups) {
        query.groups.push_back(sorted(group));
        const Expression item = shown(group);
        if (random_.percent(80)) query.items.push_back({item.engine, firstOf("R", item.twin)});
    }
    for (int count = random_.between(1, 3); count > 0; --count)
        query.items.push_back(aggregate(source, groups));
    addWhere(query, {source}, tables);
    return query;
}

/// Two tables, or one with itself, by one or two comparisons of columns of the same kind.
Query Generator::joined(const std::vector<Table>& tables) {
    Query query;
    const Source left{&random_.pick(tables), "a"}, right{&random_.pick(tables), "b"};
    const std::size_t form = random_.below(4);  // inner, left, right, and a comparison in WHERE
    const std::vector<Kind> kinds{Kind::kVarchar, Kind::kInteger, Kind::kNumeric, Kind::kDate, Kind::kTime};
    Expression on;
    for (int count = random_.percent(25) ? 2 : 1; count > 0; --count) {
        const Kind kind = random_.pick(kinds);
        const ColumnUse from = useOf(left, kind), to = useOf(right, kind);
        const std::string op =
            operatorText(random_.percent(85) ? Operator::kEqual : static_cast<Operator>(random_.below(6)));
        const std::string glue = on.engine.empty() ? "" : " AND ";
        on.engine += glue + columnForEngine(from) + " " + op + " " + columnForEngine(to);
        on.twin += glue + sorted(from).twin + " " + op + " " + sorted(to).twin;
    }
    const char* words[] = {" JOIN ", " LEFT JOIN ", " RIGHT JOIN "};
    const std::string head = left.table->name + " a", tail = right.table->name + " b";
    if (form < 3) {
        query.from.engine = head + words[form] + tail + " ON " + on.engine;
        query.from.twin = head + words[form] + tail + " ON " + on.twin;
    } else {
        query.from.engine = head + ", " + tail + " WHERE " + on.engine;
        query.from.twin = head + " JOIN " + tail + " ON " + on.twin;
    }
    query.sequence = form == 0 || form == 3;
    query.records = {"a.R", "b.R"};
    std::vector<ColumnUse> items;
    addItems(query, {left, right}, items);
    if (form < 3) {
        addWhere(query, {left, right}, tables);
        addOrder(query, {left, right}, items);
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

Query Generator::unionOf(const std::vector<Table>& tables) {
    Query query;
    std::vector<Kind> kinds;
    const int columns = random_.between(1, 3), members = random_.between(2, 3);
    query.all = random_.percent(50);
    for (int i = 0; i < columns; ++i) {
        const Kind kind = random_.pick(tables.front().columns).kind;
        const bool counts = query.all || kind != Kind::kText || has(Feature::kDistinctText);
        kinds.push_back(counts ? kind : Kind::kVarchar);
    }
    std::vector<Query> parts;
    for (int i = 0; i < members; ++i) {
        Query part;
        const Source source = from(tables, part, true);
        for (Kind kind : kinds) part.items.push_back(shown(useOf(source, kind)));
        addWhere(part, {source}, tables);
        parts.push_back(std::move(part));
    }
    parts.front().all = query.all;
    query = parts.front();
    query.further.assign(parts.begin() + 1, parts.end());
    query.sequence = query.all;
    return query;
}

Query Generator::query(const std::vector<Table>& tables) {
    using Form = Query (Generator::*)(const std::vector<Table>&);
    struct Choice {
        bool on;
        unsigned percent;
        Form form;
    };
    constexpr Choice kChoices[] = {{has(Feature::kDistinct), 8, &Generator::distinct},
                                   {has(Feature::kAggregate), 8, &Generator::aggregated},
                                   {has(Feature::kGroup), 10, &Generator::grouped},
                                   {has(Feature::kJoin), 18, &Generator::joined},
                                   {has(Feature::kSubquery), 5, &Generator::joinedByQuery},
                                   {has(Feature::kUnion), 8, &Generator::unionOf}};
    std::size_t draw = random_.below(100);
    for (const Choice& choice : kChoices) {
        if (draw < choice.percent) return choice.on ? (this->*choice.form)(tables) : plain(tables);
        draw -= choice.percent;
    }
    return plain(tables);
}

}  // namespace differential
