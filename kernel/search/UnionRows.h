#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "kernel/record/DateForm.h"
#include "kernel/search/Distinct.h"
#include "kernel/search/KeptRecords.h"
#include "kernel/search/OutputColumn.h"

namespace wdb {

struct SearchSet;

// What sorting and comparing takes from the rows of a union, by their places among all rows.
struct UnionKeys {
    std::deque<std::vector<std::string>> columns;  // what a column is ordered by
    std::deque<std::string> rows;                  // the row's own; equal for rows that are equal
    std::unordered_set<std::string_view> seen;     // those of the rows that are left; points into `rows`
    // How the rows were read.
    DateForm form;
    InlineValues inlined;
};

// The rows of a UNION: those of other sets, which it keeps alive. A chain of unions has a list of members and
// of keys in common, at the end of which each link writes: a link costs what it adds.
struct UnionRows {
    struct Member {
        std::shared_ptr<SearchSet> set;
        std::vector<OutputColumn> columns;    // the set's, with names that tell the base
        uint64_t begin = 0;                   // its first row among all rows
        bool fixed = false;                   // duplicates were dropped: the values are those of that time
        std::shared_ptr<KeptRecords> kept{};  // of a fixed member of plain rows, once the union is numbered
    };
    std::shared_ptr<std::deque<Member>> list = std::make_shared<std::deque<Member>>();
    size_t count = 0;  // of members: the first so many of the list
    uint64_t all = 0;  // rows of all members
    bool picked = false;
    std::vector<uint32_t> picks;  // the rows that are left, in their order; when picked
    // Of a DISTINCT one of few rows that stand in the order of all columns. What was read in other ways, or
    // belongs to a union that another was made from, is not used.
    std::shared_ptr<UnionKeys> keys;

    uint64_t size() const { return picked ? picks.size() : all; }
    template <typename Iterator>
    struct Members {
        Iterator first;
        Iterator last;
        Iterator begin() const { return first; }
        Iterator end() const { return last; }
    };
    Members<std::deque<Member>::iterator> members() { return {list->begin(), list->begin() + places()}; }
    Members<std::deque<Member>::const_iterator> members() const {
        return {list->cbegin(), list->cbegin() + places()};
    }
    uint32_t placeOf(uint64_t row) const { return picked ? picks[row] : static_cast<uint32_t>(row); }

private:
    std::ptrdiff_t places() const { return static_cast<std::ptrdiff_t>(count); }
};

}  // namespace wdb
