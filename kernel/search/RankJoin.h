#pragma once

#include "kernel/search/JoinComparison.h"
#include "kernel/search/TableRows.h"

namespace wdb {

struct JoinClause;

// Joins a table by the equality of two fields of one type, without reading the records: either the orders of
// both fields are laid over each other once (and kept), so that a row costs a few array accesses, or, for few
// rows, the values are looked up one by one. Records that these orders do not know are looked up. WDB_FAIL
// when the clause is not of that kind: nothing is changed then.
Status joinByRanks(const JoinClause& clause, uint32_t joined, const TableRows& added, SourceTables& tables,
                   Tuples& rows);

}  // namespace wdb
