#include "tests/differential/Change.h"

#include <algorithm>

#include "tests/differential/Expressions.h"

namespace differential {
namespace {

void append(std::string& list, const std::string& part, const char* between = ", ") {
    list += (list.empty() ? "" : between) + part;
}

std::string conjunction(const std::vector<std::string>& tests) {
    std::string all;
    for (const std::string& test : tests) append(all, test, " AND ");
    return all;
}

}  // namespace

// ---- values ----

std::string Changes::item(const Source& source, Kind kind) {
    std::vector<std::string> names;
    for (const Column& column : source.table->columns) {
        if (column.kind == kind) names.push_back(column.name);
    }
    return (source.alias.empty() ? "" : source.alias + ".") + random_.pick(names);
}

ConditionPtr Changes::condition(const Source& source) {
    // Sub-queries want qualified columns.
    const bool queries = !source.alias.empty() && random_.percent(50);
    return generator_.condition({source}, random_.between(0, 2), queries ? &tables_ : nullptr);
}

/// The first value that a query finds: a column, or a sum.
Changes::Value Changes::asked(Kind kind) {
    const Source source{&random_.pick(tables_), "q"};
    std::string column = item(source, kind), twin = column;
    const bool sum = (kind == Kind::kNumeric || kind == Kind::kInteger) && random_.percent(40);
    if (sum) {
        column += " + 2";
        twin += kind == Kind::kNumeric ? " + 200" : " + 2";
    }
    std::string from = " FROM " + source.table->name + " q", tail = from;
    if (random_.percent(80)) {
        const ConditionPtr where = condition(source);
        from += " WHERE " + conditionForEngine(*where);
        tail += " WHERE " + conditionForTwin(*where);
    }
    return {"(SELECT " + column + from + ")", "(SELECT " + twin + tail + " ORDER BY q.R LIMIT 1)",
            "EXISTS (SELECT 1" + tail + ")"};
}

Changes::Value Changes::valueFor(Kind kind) {
    if (random_.percent(12)) return {"NULL", "NULL", ""};
    if (kind == Kind::kVarchar && random_.percent(3)) return {"''", "NULL", ""};
    const bool plain = kind != Kind::kText && kind != Kind::kItems;
    if (plain && random_.percent(15)) return asked(kind);
    const std::string value = generator_.value(kind);
    return {literalForEngine(kind, value), literalForTwin(kind, value), ""};
}

// ---- statements ----

Source Changes::target(std::size_t table, std::string& engineName, std::string& twinName) {
    const std::string& name = tables_[table].name;
    const std::size_t draw = random_.below(3);
    engineName = name + (draw == 0 ? " k" : "");
    twinName = name + (draw == 0 ? " AS k" : "");
    return {&tables_[table], draw == 0 ? "k" : draw == 1 ? name : ""};
}

/// The twin would ask sub-queries over the table itself anew for each record: it collects the numbers first.
Changes::Found Changes::find(const Source& source, const std::string& twinName) {
    const ConditionPtr where = condition(source);
    const std::string record = (source.alias.empty() ? "" : source.alias + ".") + "R";
    return {" WHERE " + conditionForEngine(*where),
            "R IN (SELECT " + record + " FROM " + twinName + " WHERE " + conditionForTwin(*where) + ")"};
}

Change Changes::insertValues(std::size_t table) {
    Table& into = tables_[table];
    Change change;
    change.table = table;
    const bool ignore = random_.percent(20), all = random_.percent(10);
    std::string columns, values, twinColumns, twinValues;
    std::vector<std::string> needs;
    Row row;
    for (const Column& column : into.columns) {
        row.emplace_back();
        if (!all && column.name != into.key && random_.percent(30)) continue;
        append(twinColumns, column.name);
        if (column.kind == Kind::kItems && !all) {
            Cell cell = generator_.cell(column.kind);
            if (cell.empty()) cell.emplace_back();
            std::string joined;
            for (std::size_t n = 0; n < cell.size(); ++n) {
                append(columns, column.name + "[" + std::to_string(n + 1) + "]");
                append(values, literalForEngine(column.kind, cell[n]));
                joined += (n > 0 ? std::string(1, kItemEnd) : "") + cell[n];
            }
            append(twinValues, literalForTwin(column.kind, joined));
            if (!joined.empty()) row.back() = cell;
            continue;
        }
        const Value value = valueFor(column.kind);
        append(columns, column.name);
        append(values, value.engine);
        append(twinValues, value.twin);
        if (!value.needs.empty()) needs.push_back(value.needs);
    }
    if (columns.empty()) {
        columns = twinColumns = into.columns.front().name;
        values = twinValues = "NULL";
    }
    change.engine = std::string("INSERT ") + (ignore ? "IGNORE " : "") + "INTO " + into.name +
                    (all ? "" : " (" + columns + ")") + " VALUES (" + values + ")";
    change.twin = std::string("INSERT OR ") + (ignore ? "IGNORE" : "FAIL") + " INTO " + into.name + " (" +
                  twinColumns + ") VALUES (" + twinValues + ")";
    if (!needs.empty()) change.possible = "SELECT " + conjunction(needs);
    change.refusal = " must be a";
    into.rows.push_back(std::move(row));
    return change;
}

/// A select item that the target's kind can hold, and what the twin stores of it.
Changes::Value Changes::sourceFor(const Source& source, Kind target) {
    const std::size_t draw = random_.below(10);
    if (target == Kind::kVarchar && draw < 2) {
        const std::string number = item(source, Kind::kInteger);
        return {number, "CAST(" + number + " AS TEXT)", ""};
    }
    if ((target == Kind::kVarchar && draw < 4) || (target == Kind::kItems && draw < 3)) {
        const std::string items = item(source, Kind::kItems);
        return {items, "shown_items(" + items + ")", ""};
    }
    const bool fromText = target == Kind::kItems || (target == Kind::kText && draw < 3);
    const std::string column = item(source, fromText ? Kind::kVarchar : target);
    return {column, column, ""};
}

Change Changes::insertSelect(std::size_t table) {
    const Table& into = tables_[table];
    const Source source{&random_.pick(tables_), random_.percent(50) ? "s" : ""};
    const bool ignore = random_.percent(40);
    std::string columns, items, twinColumns, twinItems;
    for (const Column& column : into.columns) {
        if (column.name != into.key && random_.percent(35)) continue;
        const Value value = sourceFor(source, column.kind);
        const int position = column.kind == Kind::kItems ? random_.between(0, 3) : 0;
        const std::string place = std::to_string(position);
        append(columns, column.name + (position > 0 ? "[" + place + "]" : ""));
        append(items, value.engine);
        append(twinColumns, column.name);
        append(twinItems, position > 0 ? "with_item(NULL, " + place + ", " + value.twin + ")" : value.twin);
    }
    if (columns.empty()) return insertValues(table);
    std::string from = " FROM " + source.table->name + (source.alias.empty() ? "" : " s"), tail = from;
    if (random_.percent(85)) {
        const ConditionPtr where = condition(source);
        from += " WHERE " + conditionForEngine(*where);
        tail += " WHERE " + conditionForTwin(*where);
    } else {
        tail += " WHERE 1";
    }
    tail += " ORDER BY ";
    if (random_.percent(30)) {
        const std::string order = item(source, Kind::kVarchar);
        from += " ORDER BY " + order;
        tail += "norm(" + order + "), ";
    }
    tail += (source.alias.empty() ? "" : "s.") + std::string("R");
    Change change;
    change.table = table;
    change.engine = std::string("INSERT ") + (ignore ? "IGNORE " : "") + "INTO " + into.name + " (" +
                    columns + ") SELECT " + items + from;
    change.twin = std::string("INSERT OR ") + (ignore ? "IGNORE" : "FAIL") + " INTO " + into.name + " (" +
                  twinColumns + ") SELECT " + twinItems + tail;
    return change;
}

Change Changes::update(std::size_t table) {
    std::string name, twinName, sets, twinSets;
    const Source source = target(table, name, twinName);
    std::vector<Column> columns = source.table->columns;
    std::vector<std::string> needs;
    for (int count = random_.between(1, 3); count > 0; --count) {
        const std::size_t drawn = random_.below(columns.size());
        const Column column = columns[drawn];
        columns.erase(columns.begin() + static_cast<std::ptrdiff_t>(drawn));
        const Value value = valueFor(column.kind);
        const bool one = column.kind == Kind::kItems && random_.percent(70);
        const std::string place = std::to_string(random_.between(1, 4));
        append(sets, column.name + (one ? "[" + place + "]" : "") + " = " + value.engine);
        append(twinSets,
               column.name + " = " +
                   (one ? "with_item(" + column.name + ", " + place + ", " + value.twin + ")" : value.twin));
        if (!value.needs.empty()) needs.push_back(value.needs);
    }
    Change change;
    change.table = table;
    change.engine = "UPDATE " + name + " SET " + sets;
    // The records go in their order, as long as no index is asked.
    change.twin = "UPDATE OR FAIL " + source.table->name + " NOT INDEXED SET " + twinSets + " WHERE ";
    const Found found = random_.percent(95) ? find(source, twinName) : Found{"", "1"};
    change.engine += found.engine;
    change.twin += found.twin;
    if (!needs.empty()) {
        change.possible = "SELECT NOT EXISTS (SELECT 1 FROM " + source.table->name + " WHERE " + found.twin +
                          ") OR (" + conjunction(needs) + ")";
    }
    change.refusal = "Internal error: NULL pointer for column";
    return change;
}

Change Changes::remove(std::size_t table, bool all) {
    std::string name, twinName;
    const Source source = target(table, name, twinName);
    const Found found = all ? Found{"", "1"} : find(source, twinName);
    return {table, "DELETE FROM " + name + found.engine,
            "DELETE FROM " + source.table->name + " WHERE " + found.twin, "", ""};
}

Change Changes::draw(std::size_t rows) {
    const std::size_t table = random_.below(tables_.size());
    constexpr std::size_t kMany = 120;
    if (rows > kMany) return remove(table, random_.percent(20));
    const std::size_t draw = random_.below(100);
    if (draw < 45) return insertValues(table);
    if (draw < 55) return insertSelect(table);
    if (draw < 85) return update(table);
    return remove(table, draw == 99);
}

}  // namespace differential
