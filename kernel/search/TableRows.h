#pragma once

#include <vector>

#include "kernel/index/RecordSet.h"
#include "kernel/search/Tuples.h"

namespace wdb {

// Rows of one table: records, or parts of records.
struct TableRows {
    bool byPart = false;
    bool whole = false;          // all records of the table
    RecordSet records;           // not byPart; may borrow from the table's snapshot
    std::vector<PartRow> parts;  // byPart; ascending

    uint64_t size() const { return byPart ? parts.size() : records.cardinality(); }
    bool contains(PartRow row) const;
    // Gives the rows to a table of `rows` as its first one.
    void moveTo(Tuples& rows, uint32_t table) const;
    // Those that are in both.
    void intersect(TableRows&& other);
};

}  // namespace wdb
