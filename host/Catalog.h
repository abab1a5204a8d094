#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct TableEntry {
    std::string name, owner, comment;
    std::int64_t records = 0;
    std::int32_t status = 1;  // WDB_E_STORAGE or WDB_E_CORRUPT where the table's file cannot be read
};

struct TableColumn {
    std::string name;
    std::int32_t number = 0;  // field number
    std::int32_t type = 0;    // WDB_T_...
    std::uint32_t flags = 0;  // WDB_F_...
};

// The tables that the session's user may see, by name.
std::vector<TableEntry> listTables();
// The table's columns in the order of their numbers. Throws KernelError when there is no such table.
std::vector<TableColumn> listColumns(const std::string& table);
// Its records; nothing when they cannot be counted.
std::optional<std::int64_t> countRecords(const std::string& table);
bool tableExists(const std::string& table);
// "VARCHAR", "LONG VARCHAR", ... for a kernel type.
const char* sqlTypeName(std::int32_t type);

}  // namespace host
