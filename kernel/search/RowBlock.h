#pragma once

#include <memory>

#include "kernel/search/KeptRecords.h"
#include "kernel/search/PlacedRows.h"
#include "kernel/search/RowView.h"
#include "kernel/search/Tuples.h"

namespace wdb {

struct SearchSet;

// The rows of a set that the records of one base cannot stand for: joined rows, rows of parts, groups.
struct RowBlock {
    Tuples rows;  // per table of the set's bases, in their order
    std::vector<ComputedColumn> computed;
    bool plain = true;  // rows are those of records; else computed ones, without record numbers
    std::unique_ptr<PlacedRows> order;  // null: as they stand
    std::shared_ptr<KeptRecords> kept;  // of rows that are not plain, once the set is numbered

    // Keeps the rows at these places, before they are ordered.
    void gather(const std::vector<uint32_t>& places) {
        rows.gather(places);
        for (ComputedColumn& column : computed) {
            std::vector<std::string> values;
            values.reserve(places.size());
            for (const uint32_t place : places) values.push_back(std::move(column.values[place]));
            column.values = std::move(values);
        }
    }
    uint64_t size() const { return order ? order->size() : rows.size(); }
    size_t rowAt(uint64_t place) { return order ? order->at(place) : place; }
};

// The rows of a UNION: those of other sets, which it keeps alive.
struct UnionRows {
    struct Member {
        std::shared_ptr<SearchSet> set;
        std::vector<OutputColumn> columns;    // the set's, with names that tell the base
        uint64_t begin = 0;                   // its first row among all rows
        bool fixed = false;                   // duplicates were dropped: the values are those of that time
        std::shared_ptr<KeptRecords> kept{};  // of a fixed member of plain rows, once the union is numbered
    };
    std::vector<Member> members;
    uint64_t all = 0;  // rows of all members
    bool picked = false;
    std::vector<uint32_t> picks;  // the rows that are left, in their order; when picked

    uint64_t size() const { return picked ? picks.size() : all; }
};

}  // namespace wdb
