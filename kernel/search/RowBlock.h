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

}  // namespace wdb
