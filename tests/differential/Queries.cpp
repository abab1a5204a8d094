// The forms of queries that the generator draws.
#include "tests/differential/Expressions.h"
#include "tests/differential/Features.h"
#include "tests/differential/Generator.h"

namespace differential {
namespace {

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
    const bool qualified = subqueries_ && !scope.front().alias.empty();
    query.where =
        condition(scope, random_.between(0, 3), qualified && has(Feature::kSubquery) ? &tables : nullptr);
}

void Generator::addPage(Query& query) {
    if (!random_.percent(25)) return;
    query.blockSize = random_.between(1, 12);
    query.block = random_.between(1, 4);
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
    if (random_.percent(8)) query.items.push_back(valueList(source));
    if (has(Feature::kSubquery) && random_.percent(8)) query.items.push_back(scalarQuery(tables));
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
    const bool ordered = query.items.size() == groups.size() && random_.percent(60);
    for (int count = random_.between(1, 3); count > 0; --count) {
        const SortedExpression item = aggregate(source, groups);
        query.items.push_back(item);
        if (ordered && random_.percent(40))
            query.order.push_back({{std::to_string(query.items.size()), item.key}, random_.percent(40)});
    }
    addWhere(query, {source}, tables);
    if (!ordered) return query;
    // No two groups are equal in all of these.
    query.sequence = true;
    for (std::size_t i = 0; i < groups.size(); ++i)
        query.order.push_back({{std::to_string(i + 1), sorted(groups[i]).twin}, random_.percent(40)});
    addPage(query);
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
        for (Kind kind : kinds) {
            const ColumnUse column = useOf(source, kind);
            part.items.push_back(shown(column));
            part.sortKeys.push_back(sorted(column).twin);
        }
        addWhere(part, {source}, tables);
        parts.push_back(std::move(part));
    }
    parts.front().all = query.all;
    query = parts.front();
    query.further.assign(parts.begin() + 1, parts.end());
    query.sequence = query.all;
    for (int count = query.all ? random_.between(0, 2) : 0; count > 0; --count) {
        const std::size_t position = random_.below(kinds.size());
        query.order.push_back(
            {{std::to_string(position + 1), "k" + std::to_string(position)}, random_.percent(40)});
    }
    if (query.sequence) addPage(query);
    return query;
}

Query Generator::shortQuery(const std::vector<Table>& tables) {
    subqueries_ = false;  // the twin would look at every pair of records
    const std::size_t draw = random_.below(10);
    if (draw < 2) return aggregated(tables);
    if (draw < 4) return grouped(tables);
    Query query = plain(tables);
    query.blockSize = random_.between(1, 30);
    query.block = random_.between(1, random_.percent(50) ? 3 : 100);
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
                                   {has(Feature::kJoin), 1, &Generator::crossed},
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
