// A definition as a CREATE TABLE statement.
#include <algorithm>

#include "host/Catalog.h"
#include "host/define/TableDefinition.h"
#include "host/input/ColumnNames.h"
#include "host/records/RowWriter.h"
#include "host/text/Completion.h"
#include "wdb.h"

namespace host {

namespace {

// The literal of a default value; empty when there is none that says the same.
std::string defaultLiteral(const ColumnDefinition& column) {
    const std::string& text = *column.defaultValue;
    switch (column.type) {
        case WDB_T_DATE:
            return "DATE('" + text + "')";
        case WDB_T_INTEGER:
            return numberLiteral(text, column.type);
        case WDB_T_TIME:
        case WDB_T_NUMBER:
            return text.starts_with('-') ? "(SELECT " + text + ")" : text;
        default:
            return quotedLiteral(text);
    }
}

std::string action(const char* event, std::int32_t code) {
    constexpr const char* kNames[] = {"", "RESTRICT", "CASCADE", "NO ACTION", "SET NULL", "SET DEFAULT"};
    if (code <= WDB_ACT_RESTRICT || code > WDB_ACT_SET_DEFAULT) return {};
    return std::string(" ON ") + event + " " + kNames[code];
}

// Names stand as they are where the statement can take them so.
std::string name(std::string_view text) {
    const auto plain = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
    };
    const bool bare = !text.empty() && std::all_of(text.begin(), text.end(), plain) && text.front() != '_' &&
                      (text.front() < '0' || text.front() > '9') && !isKeyword(text);
    return bare ? std::string(text) : quotedName(text);
}

std::string references(const ColumnReference& to) {
    return "REFERENCES " + name(to.table) + " (" + name(to.column) + ")" + action("DELETE", to.onDelete) +
           action("UPDATE", to.onUpdate);
}

}  // namespace

bool fitsCreateTable(const TableDefinition& definition) {
    return std::none_of(
        definition.columns.begin(), definition.columns.end(), [&](const ColumnDefinition& column) {
            const bool indexed = column.indexed || column.type == WDB_T_STRING;
            // The statement lets no table refer to itself.
            const bool itself = column.reference && equalNames(column.reference->table, definition.name);
            return column.part || column.plain || !indexed || itself ||
                   (column.defaultValue && defaultLiteral(column).empty());
        });
}

std::string createTable(const TableDefinition& definition) {
    std::string sql = "CREATE TABLE " + name(definition.name) + " (", keys;
    for (const ColumnDefinition& column : definition.columns) {
        const bool key = equalNames(column.name, definition.primaryKey);
        sql += &column == &definition.columns.front() ? "\n  " : ",\n  ";
        sql += name(column.name) + " " + (column.serial ? "SERIAL" : sqlTypeName(column.type));
        if (column.defaultValue) {
            const std::string literal = defaultLiteral(column);
            if (!literal.empty()) sql += " DEFAULT " + literal;
        }
        if (key) sql += " PRIMARY KEY";
        if (column.mandatory && !column.serial) sql += " NOT NULL";
        if (!column.reference) continue;
        // A column takes one constraint; a second one stands at the end.
        if (key || (column.mandatory && !column.serial))
            keys += ",\n  FOREIGN KEY (" + name(column.name) + ") " + references(*column.reference);
        else
            sql += " " + references(*column.reference);
    }
    sql += keys + "\n)";
    if (!definition.location.empty()) sql += " WITH LOCATION = " + name(definition.location);
    return sql + ";";
}

}  // namespace host
