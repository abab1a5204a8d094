#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"

namespace wdb {

// The order of a base's records by the first item of one field, as the value file has it at one position.
struct Ranks {
    static constexpr uint32_t kUnknown = UINT32_MAX;
    static constexpr uint32_t kMarkStep = 32;

    FieldNumber field = 0;
    Position position = 0;  // of the value file
    uint32_t count = 0;     // ranks run from 1 to count, one for each key of the field
    std::vector<uint32_t>
        rankOf;  // by record number; 0: no first item; equal values have equal ranks; kUnknown: the value
                 // file alone cannot tell (cut keys; several items, changed since)
    std::vector<std::string> marks;  // keys of the ranks 1, 1 + kMarkStep, ...

    uint32_t of(RecordNumber record) const { return record < rankOf.size() ? rankOf[record] : 0; }
};

// Ranks of one base, shared by the sessions of the process: the newest of each field, dropped when the value
// file moves on.
class RankCache {
public:
    // Null when they are not there for this position.
    std::shared_ptr<const Ranks> find(FieldNumber field, Position position) const;
    // Keeps them unless newer ones of the field are there.
    void store(std::shared_ptr<const Ranks> ranks);
    void clear();

private:
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<const Ranks>> ranks_;  // one per field
};

}  // namespace wdb
