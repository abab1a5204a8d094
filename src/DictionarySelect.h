// A selection from the dictionary: its rows, and its items as columns of the dictionary's table.
#pragma once

#include <cstdint>

#include "src/WDBSRows.h"

namespace wsql {

class WSQLFilter;
class WSQLStmtSelect;

/// What a validated selection from one dictionary table delivers.
struct DictionaryResult {
    WDBSList rows;
    bool counts = false;  ///< COUNT(*): one row, the number of the others
    std::int32_t hits() const { return counts ? 1 : static_cast<std::int32_t>(rows.size()); }
};

/// Whether the statement selects from one table of the dictionary and from nothing else.
bool selectsDictionary(const WSQLStmtSelect& select);

/// Builds the list, binds the select items to the table's columns and drops what DISTINCT drops. False after
/// a fault.
bool searchDictionary(WSQLFilter& filter, WSQLStmtSelect& select, DictionaryResult& result);

/// Binds the select items: column references, or COUNT(*) alone. False after a fault.
bool bindDictionaryItems(WSQLFilter& filter, WSQLStmtSelect& select);

}  // namespace wsql
