#include "tests/differential/Query.h"

namespace differential {
namespace {

void append(std::string& list, const std::string& part) {
    if (!part.empty()) list += (list.empty() ? "" : ", ") + part;
}

std::string selectForEngine(const Query& query) {
    std::string items, groups;
    for (const Expression& item : query.items) append(items, item.engine);
    for (const Expression& group : query.groups) append(groups, group.engine);
    std::string sql =
        std::string("SELECT ") + (query.distinct ? "DISTINCT " : "") + items + " FROM " + query.from.engine;
    if (query.where) sql += " WHERE " + conditionForEngine(*query.where);
    return groups.empty() ? sql : sql + " GROUP BY " + groups;
}

std::string orderForTwin(const Query& query, const std::vector<std::string>& last) {
    std::string order;
    for (const OrderItem& item : query.order) append(order, item.key.twin + (item.descending ? " DESC" : ""));
    for (const std::string& record : last) append(order, record);
    return order.empty() ? order : " ORDER BY " + order;
}

/// The members below each other with their place, the columns as c0, c1, ...; order keys name those.
std::string unionForTwin(const Query& query) {
    std::string members, columns, keys;
    for (std::size_t member = 0; member <= query.further.size(); ++member) {
        const Query& part = member == 0 ? query : query.further[member - 1];
        std::string sql = "SELECT " + std::to_string(member) + " * 1000000 + R AS place";
        for (std::size_t i = 0; i < part.items.size(); ++i)
            sql += ", " + part.items[i].twin + " AS c" + std::to_string(i);
        for (std::size_t i = 0; i < part.sortKeys.size(); ++i)
            sql += ", " + part.sortKeys[i] + " AS k" + std::to_string(i);
        sql += " FROM " + part.from.twin;
        if (part.where) sql += " WHERE " + conditionForTwin(*part.where);
        members += (members.empty() ? "" : " UNION ALL ") + sql;
    }
    for (std::size_t i = 0; i < query.items.size(); ++i) {
        const std::string column = "c" + std::to_string(i);
        append(columns, query.all ? column : "first_of(place, " + column + ")");
        append(keys, "distinct_key(" + column + ")");
    }
    return "SELECT " + columns + " FROM (" + members + ")" + (query.all ? "" : " GROUP BY " + keys) +
           (query.all ? orderForTwin(query, {"place"}) : "");
}

}  // namespace

std::string forEngine(const Query& query) {
    std::string sql = selectForEngine(query), order;
    for (const Query& member : query.further)
        sql += (query.all ? " UNION ALL " : " UNION ") + selectForEngine(member);
    for (const OrderItem& item : query.order)
        append(order, item.key.engine + (item.descending ? " DESC" : ""));
    return order.empty() ? sql : sql + " ORDER BY " + order;
}

std::string forTwin(const Query& query) {
    if (!query.further.empty()) return unionForTwin(query);
    std::string items, groups;
    for (const Expression& item : query.items) append(items, item.twin);
    for (const Expression& group : query.groups) append(groups, group.twin);
    std::string sql = "SELECT " + items + " FROM " + query.from.twin;
    if (query.where) sql += " WHERE " + conditionForTwin(*query.where);
    if (!groups.empty()) sql += " GROUP BY " + groups;
    return sql + orderForTwin(query, query.records);
}

std::vector<Query> simpler(const Query& query) {
    std::vector<Query> result;
    const auto add = [&](auto change) {
        Query copy = query;
        change(copy);
        result.push_back(std::move(copy));
    };
    if (query.blockSize != 0)
        add([](Query& q) {
            q.blockSize = 0;
            q.block = 1;
        });
    if (query.where) {
        add([](Query& q) { q.where = nullptr; });
        for (const ConditionPtr& smaller : simplerConditions(query.where))
            add([&](Query& q) { q.where = smaller; });
    }
    for (std::size_t i = 0; i < query.further.size(); ++i) {
        if (query.further.size() > 1)
            add([i](Query& q) { q.further.erase(q.further.begin() + static_cast<std::ptrdiff_t>(i)); });
        if (query.further[i].where) add([i](Query& q) { q.further[i].where = nullptr; });
    }
    // An order by position would mean another item.
    for (std::size_t i = 0; i < query.order.size(); ++i)
        add([i](Query& q) { q.order.erase(q.order.begin() + static_cast<std::ptrdiff_t>(i)); });
    if (query.order.empty() && query.groups.empty() && query.further.empty()) {
        for (std::size_t i = 0; query.items.size() > 1 && i < query.items.size(); ++i)
            add([i](Query& q) { q.items.erase(q.items.begin() + static_cast<std::ptrdiff_t>(i)); });
    }
    return result;
}

}  // namespace differential
