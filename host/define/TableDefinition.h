#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct ColumnReference {
    std::string table, column;
    std::int32_t onDelete = 1, onUpdate = 1;  // WDB_ACT_...
};

struct ColumnDefinition {
    std::string name, comment;
    std::int32_t type = 0;  // WDB_T_...
    bool serial = false;
    bool mandatory = false;
    bool part = false;   // lives in the part records
    bool plain = false;  // a TEXT delivered line by line, without paragraphs
    bool indexed = true;
    std::optional<std::string> defaultValue;
    std::optional<ColumnReference> reference;
};

// A table as the kernel knows it, without its records.
struct TableDefinition {
    std::string name, comment, charset;
    std::string location;    // the setting that names its directory; empty for the usual one
    std::string primaryKey;  // empty without one
    std::vector<ColumnDefinition> columns;
};

// The definition of an existing table. Who may not read definitions gets names, types and constraints only.
// Throws KernelError.
TableDefinition readDefinition(const std::string& table);
// Makes the table, or adds to an existing one the columns that it lacks. Throws KernelError.
void storeDefinition(const TableDefinition& definition);

// CREATE TABLE can say everything that the definition says.
bool fitsCreateTable(const TableDefinition& definition);
// The CREATE TABLE statement, with its semicolon.
std::string createTable(const TableDefinition& definition);

// As one JSON object: {"table": "T", "primaryKey": "ID", "columns": [{"name": "ID", "type": "INTEGER",
// "notNull": true, "references": {"table": "U", "column": "K", "onDelete": "CASCADE"}}, ...]}. Members that
// have their usual value are left out.
std::string definitionJson(const TableDefinition& definition);
// The reverse. Throws std::runtime_error with the member that is wrong.
TableDefinition parseDefinition(std::string_view json);

}  // namespace host
