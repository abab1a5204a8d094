// The rows of the dictionary, made from the kernel's definitions when a statement asks for them.
#pragma once

#include <cstdint>
#include <vector>

#include "src/WDBSRows.h"
#include "src/welkhelp/DatabaseEntry.h"

namespace wsql {

class DictionaryCondition;
class WSQLFilter;

/// Each appends the rows that the condition keeps, database by database in the order of the list. index: the
/// 0-based database to look at, below 0 all of them. False after a fault.
bool DICT_GetTablesList(WSQLFilter& filter, const std::vector<DatabaseEntry>& databases,
                        const DictionaryCondition& condition, std::int32_t index, WDBSList& rows);
bool DICT_GetColumnsList(WSQLFilter& filter, const std::vector<DatabaseEntry>& databases,
                         const DictionaryCondition& condition, std::int32_t index, WDBSList& rows);
bool DICT_GetReferencesList(WSQLFilter& filter, const std::vector<DatabaseEntry>& databases,
                            const DictionaryCondition& condition, std::int32_t index, WDBSList& rows);

}  // namespace wsql
