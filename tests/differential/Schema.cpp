#include "tests/differential/Schema.h"

#include <cstdlib>

namespace differential {
namespace {

const char* engineType(Kind kind) {
    switch (kind) {
        case Kind::kInteger:
            return "INTEGER";
        case Kind::kNumeric:
            return "NUMERIC";
        case Kind::kDate:
            return "DATE";
        case Kind::kTime:
            return "TIME";
        case Kind::kText:
            return "LONG VARCHAR";
        default:
            return "VARCHAR";
    }
}

}  // namespace

std::string decimals(std::int64_t hundredths) {
    const std::int64_t magnitude = hundredths < 0 ? -hundredths : hundredths;
    const std::string cents = std::to_string(magnitude % 100);
    return (hundredths < 0 ? "-" : "") + std::to_string(magnitude / 100) + (cents.size() < 2 ? ".0" : ".") +
           cents;
}

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (char c : text) {
        if (c == '\'') result += c;
        result += c;
    }
    return result + "'";
}

std::string literalForEngine(Kind kind, const std::string& value) {
    if (value.empty()) return "NULL";
    switch (kind) {
        case Kind::kInteger:
        case Kind::kNumeric: {
            const std::int64_t number = std::strtoll(value.c_str(), nullptr, 10);
            const std::string text = kind == Kind::kNumeric ? decimals(number) : value;
            return number < 0 ? "(SELECT " + text + ")" : text;
        }
        case Kind::kDate:
            return "DATE('" + value + "')";
        case Kind::kTime:
            return value;
        default:
            return quoted(value);
    }
}

std::string literalForTwin(Kind kind, const std::string& value) {
    if (value.empty()) return "NULL";
    return kind == Kind::kInteger || kind == Kind::kNumeric ? value : quoted(value);
}

std::string createForEngine(const Table& table) {
    std::string sql;
    for (const Column& column : table.columns) {
        sql += (sql.empty() ? "" : ", ") + column.name + " " + engineType(column.kind);
        if (column.name == table.key) sql += " PRIMARY KEY";
    }
    return "CREATE TABLE " + table.name + " (" + sql + ")";
}

std::string insertForEngine(const Table& table, const Row& row) {
    std::string columns, values;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const Column& column = table.columns[i];
        for (std::size_t n = 0; n < row[i].size(); ++n) {
            if (row[i][n].empty()) continue;
            const std::string comma = columns.empty() ? "" : ", ";
            columns += comma + column.name;
            if (column.kind == Kind::kItems) columns += "[" + std::to_string(n + 1) + "]";
            values += comma + literalForEngine(column.kind, row[i][n]);
        }
    }
    if (columns.empty()) {
        columns = table.columns.front().name;
        values = "NULL";
    }
    return "INSERT INTO " + table.name + " (" + columns + ") VALUES (" + values + ")";
}

std::string createForTwin(const Table& table) {
    std::string sql = "R INTEGER PRIMARY KEY";
    for (const Column& column : table.columns) {
        const bool number = column.kind == Kind::kInteger || column.kind == Kind::kNumeric;
        sql += ", " + column.name + (number ? " INTEGER" : " TEXT");
    }
    sql = "CREATE TABLE " + table.name + " (" + sql + ")";
    // Keys are equal as texts are; records without one do not mind each other.
    if (!table.key.empty())
        sql +=
            "; CREATE UNIQUE INDEX key_of_" + table.name + " ON " + table.name + " (norm(" + table.key + "))";
    return sql;
}

std::string insertForTwin(const Table& table, const Row& row) {
    std::string values = "NULL";
    for (std::size_t i = 0; i < row.size(); ++i) {
        std::string joined;
        for (std::size_t n = 0; n < row[i].size(); ++n)
            joined += (n > 0 ? std::string(1, kItemEnd) : "") + row[i][n];
        values += ", " + literalForTwin(table.columns[i].kind, joined);
    }
    return "INSERT INTO " + table.name + " VALUES (" + values + ")";
}

}  // namespace differential
