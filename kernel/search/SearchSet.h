#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kernel/index/RecordSet.h"
#include "kernel/search/FieldUse.h"
#include "kernel/search/Ordering.h"
#include "kernel/search/OutputColumn.h"
#include "kernel/search/RowBlock.h"
#include "kernel/search/SearchContext.h"
#include "kernel/search/UnionRows.h"

namespace wdb {

enum class SetKind : int32_t { Records = 0, Rows = 1, Values = 2, Union = 3 };

// The hits of a set in one base, and the state of the base that was searched.
struct SetBase {
    std::shared_ptr<OpenBase> base;
    std::shared_ptr<const BaseDefinition> definition;
    RecordSet records;       // borrows nothing unless the set says so
    uint64_t count = 0;      // of records
    uint64_t commit = 0;     // number of the last commit that the search saw
    bool collected = false;  // of a block's rows: records and count are made
    // Of a record set over a base with part fields: the hit rows, ascending, and the records whose head
    // satisfied the search by itself.
    std::vector<PartRow> hits;
    RecordSet headHits;
};

// A numbered set. Its records never change; their values are read when a row is fetched.
struct SearchSet {
    int32_t number = 0;
    uint64_t serial = 0;  // of all sets of the session
    SetKind kind = SetKind::Records;
    std::string command;
    std::vector<SetBase> bases;         // none: one row of constants
    std::vector<OutputColumn> columns;  // of a record set: made per base when the first row is fetched
    std::unique_ptr<Ordering> order;    // null: by record number
    std::unique_ptr<RowBlock>
        block;  // rows that are more than the records of the one base; `order` is not used then
    std::unique_ptr<UnionRows> joined;  // of a union, whose `bases` are those of its members
    std::vector<RecordNumber> window;   // records by number from the place windowStart on, for row after row
    uint64_t windowStart = 0;
    // The records of `bases` lie in part in the map of the snapshot that was searched: keepValues() copies
    // them before that goes. So the first rows of many hits are not paid for with a copy of all.
    bool borrows = false;
    bool lost = false;         // there was no memory for the copy: nobody finds the set any more
    FieldUse use;              // what was read to make the set
    uint64_t rightsState = 0;  // under which all that could be read, as far as is known

    uint64_t rows() const;
    // Records of the first base: those of its rows.
    uint64_t firstRecords();
    bool has(const OpenBase& base) const;
    // The hits in a base, borrowed from this set; empty when it is none of the set's.
    RecordSet recordsOf(const OpenBase& base);
    // Record at a place from 0 by number, 0 behind the end.
    RecordNumber byNumber(SetBase& base, uint64_t place);
    // The record of a row of one base's records. WDB_E_CHANGED when the order cannot be completed any more.
    Result<RecordNumber> recordInRow(SetBase& base, uint64_t place, const BaseSnapshot& snapshot,
                                     SearchContext& context);

private:
    // Makes the records of a base from the rows of a block.
    void collectRecords(size_t base);
};

}  // namespace wdb
