#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>

#include "kernel/ccl/Tree.h"
#include "kernel/record/Schema.h"
#include "kernel/search/DecimalNumber.h"

namespace wdb {

// What an aggregate has seen of one group.
class Accumulator {
public:
    Accumulator(ccl::Function function, FieldType type, bool distinct)
        : function_(function), type_(type), distinct_(distinct) {}

    // An item that is not empty.
    void add(Slice canonical);
    // INTEGER items by their sum, in place of add(); not with DISTINCT, MIN and MAX.
    void addIntegers(__int128 sum, uint64_t count) {
        count_ += count;
        whole_ += sum;
    }
    // Of the results: sums of whole numbers are whole numbers.
    FieldType type() const;
    // Canonical; empty: NULL.
    std::string result() const;

private:
    void addNumber(Slice canonical);
    DecimalNumber sum() const;

    ccl::Function function_;
    FieldType type_;
    bool distinct_;
    uint64_t count_ = 0;
    __int128 whole_ = 0;                                     // sum of INTEGER items
    std::shared_ptr<DecimalNumber> exact_;                   // sum of NUMBER items
    std::string best_;                                       // MIN, MAX: the item
    std::shared_ptr<std::unordered_set<std::string>> seen_;  // DISTINCT: keys
};

}  // namespace wdb
