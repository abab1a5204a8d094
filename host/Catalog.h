#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct TableEntry {
    std::string name, owner, comment;
    std::int64_t records = 0;
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
bool tableExists(const std::string& table);
// "VARCHAR", "LONG VARCHAR", ... for a kernel type.
const char* sqlTypeName(std::int32_t type);

}  // namespace host
