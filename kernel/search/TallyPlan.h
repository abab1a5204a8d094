#pragma once

#include "kernel/search/RowBlock.h"
#include "kernel/search/SourceTables.h"

namespace wdb {

// Can a selection's groups be made of its records without making rows? With one table, by at most one field,
// counts of rows and COUNT, SUM and AVG of whole numbers.
bool canTally(std::span<const OutputColumn> group, std::span<const BoundAggregate> aggregates,
              const SourceTables& tables);
// Groups the records into rows of a block, which has one table and none yet. WDB_FAIL when only the records
// can tell the values; the block is as it was then.
Status tallyRecords(std::span<const OutputColumn> group, std::span<const BoundAggregate> aggregates,
                    const RecordSet& records, IndexView& index, RowBlock& block);

}  // namespace wdb
