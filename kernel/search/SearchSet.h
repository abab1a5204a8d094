#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kernel/index/RecordSet.h"
#include "kernel/search/Ordering.h"
#include "kernel/search/OutputColumn.h"
#include "kernel/search/SearchContext.h"

namespace wdb {

enum class SetKind : int32_t { Records = 0, Rows = 1, Values = 2, Union = 3 };

// The hits of a set in one base, and the state of the base that was searched.
struct SetBase {
    std::shared_ptr<OpenBase> base;
    std::shared_ptr<const BaseDefinition> definition;
    RecordSet records;      // borrows nothing
    uint64_t count = 0;     // of records
    uint64_t commit = 0;    // number of the last commit that the search saw
};

// A numbered set. Its records never change; their values are read when a row is fetched.
struct SearchSet {
    int32_t number = 0;
    SetKind kind = SetKind::Records;
    std::string command;
    std::vector<SetBase> bases;         // none: one row of constants
    std::vector<OutputColumn> columns;  // of a record set: made per base when the first row is fetched
    std::unique_ptr<Ordering> order;    // null: by record number
    std::vector<RecordNumber> window;   // records by number from the place windowStart on, for row after row
    uint64_t windowStart = 0;

    uint64_t rows() const;
    bool has(const OpenBase& base) const;
    // The hits in a base, borrowed from this set; empty when it is none of the set's.
    RecordSet recordsOf(const OpenBase& base) const;
    // Record at a place from 0 by number, 0 behind the end.
    RecordNumber byNumber(SetBase& base, uint64_t place);
};

}  // namespace wdb
