#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "kernel/common/Ids.h"

namespace wdb {

// Where the values of one field stand in the order of another one, of any base: what joins by equal values
// read. Valid for one position of each value file.
struct RankMap {
    // Which two orders it connects.
    struct Key {
        FieldNumber field = 0;
        Position position = 0;
        uint64_t otherBase = 0;
        FieldNumber otherField = 0;
        Position otherPosition = 0;
        bool operator==(const Key&) const = default;
    };
    // The records with the same value, as places in the other field's Ranks::inOrder; none when end is begin.
    struct Stretch {
        uint32_t begin = 0;
        uint32_t end = 0;
    };

    Key key;
    std::vector<Stretch> stretches;  // by rank in the one field; 0 is empty

    size_t bytes() const { return stretches.capacity() * sizeof(Stretch); }
};

}  // namespace wdb
