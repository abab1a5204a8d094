#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace wdb {

// Rows put in order by their places, only as far as somebody asks: quickselect cuts the rows into stretches
// that stand in order among each other, and a stretch is sorted when one of its rows is wanted. Stretches
// double as rows are read on.
class PlacedRows {
public:
    // descending: per key. places: per row one for each key. rows: those that are to be ordered. Rows that
    // are equal come by ascending number.
    PlacedRows(std::vector<char> descending, std::vector<uint64_t> places, std::vector<uint32_t> rows)
        : descending_(std::move(descending)),
          places_(std::move(places)),
          rows_(std::move(rows)),
          stretches_{{0, false}} {}

    size_t size() const { return rows_.size(); }
    // The row at a place in the order.
    uint32_t at(size_t place);
    // All rows in order.
    std::vector<uint32_t> take();

private:
    bool before(uint32_t a, uint32_t b) const;
    void sortAround(size_t at);

    // Rows from `begin` to the next stretch: all behind those of the stretches before.
    struct Stretch {
        size_t begin;
        bool sorted;
    };

    std::vector<char> descending_;
    std::vector<uint64_t> places_;
    std::vector<uint32_t> rows_;
    std::vector<Stretch> stretches_;  // ascending
};

}  // namespace wdb
