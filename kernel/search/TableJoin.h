#pragma once

#include "kernel/search/JoinComparison.h"
#include "kernel/search/TableRows.h"

namespace wdb {

struct JoinClause;

// Rows of a selection that would be more than this are WDB_E_MEMORY.
inline constexpr size_t kMaxTuples = 100'000'000;

// Gives the rows of `added` to the rows that the clause's comparisons fit; a row with several fitting ones is
// repeated. Rows that an outer join keeps get an empty other side.
Status joinTable(const JoinClause& clause, uint32_t joined, const TableRows& added, SourceTables& tables,
                 Tuples& rows);

// Decides a comparison for each row; both tables are in the rows.
Status compareRows(const JoinComparison& comparison, const Tuples& rows, SourceTables& tables,
                   std::vector<char>& holds);

}  // namespace wdb
