#include "tests/differential/Query.h"

namespace differential {
namespace {

void append(std::string& list, const std::string& part) {
    list += (list.empty() ? "" : ", ") + part;
}

}  // namespace

std::string forEngine(const Query& query) {
    std::string items, groups, order;
    for (const Expression& item : query.items) append(items, item.engine);
    for (const Expression& group : query.groups) append(groups, group.engine);
    for (const OrderItem& item : query.order)
        append(order, item.key.engine + (item.descending ? " DESC" : ""));
    std::string sql =
        std::string("SELECT ") + (query.distinct ? "DISTINCT " : "") + items + " FROM " + query.from.engine;
    if (query.where) sql += " WHERE " + conditionForEngine(*query.where);
    if (!groups.empty()) sql += " GROUP BY " + groups;
    if (!order.empty()) sql += " ORDER BY " + order;
    return sql;
}

std::string forTwin(const Query& query) {
    std::string items, groups, order;
    for (const Expression& item : query.items) append(items, item.twin);
    for (const Expression& group : query.groups) append(groups, group.twin);
    for (const OrderItem& item : query.order) append(order, item.key.twin + (item.descending ? " DESC" : ""));
    for (const std::string& record : query.records) append(order, record);
    std::string sql = "SELECT " + items + " FROM " + query.from.twin;
    if (query.where) sql += " WHERE " + conditionForTwin(*query.where);
    if (!groups.empty()) sql += " GROUP BY " + groups;
    if (!order.empty()) sql += " ORDER BY " + order;
    return sql;
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
    // An order by position would mean another item.
    for (std::size_t i = 0; i < query.order.size(); ++i)
        add([i](Query& q) { q.order.erase(q.order.begin() + static_cast<std::ptrdiff_t>(i)); });
    if (query.order.empty() && query.groups.empty() && !query.distinct) {
        for (std::size_t i = 0; query.items.size() > 1 && i < query.items.size(); ++i)
            add([i](Query& q) { q.items.erase(q.items.begin() + static_cast<std::ptrdiff_t>(i)); });
    }
    return result;
}

}  // namespace differential
