#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/index/RankMap.h"
#include "kernel/index/Spellings.h"
#include "kernel/index/Vocabulary.h"

namespace wdb {

// The order of a base's records by the first item of one field, as the value file has it at one position.
// Eight bytes for each record of the base.
struct Ranks {
    static constexpr uint32_t kUnknown = UINT32_MAX;
    static constexpr uint32_t kMarkStep = 32;

    FieldNumber field = 0;
    Position position = 0;  // of the value file
    uint32_t count = 0;     // ranks run from 1 to count, one for each key of the field
    bool cut = false;       // some keys are cut: their records' ranks are unknown
    std::vector<uint32_t>
        rankOf;  // by record number; 0: no first item; equal values have equal ranks; kUnknown: the value
                 // file alone cannot tell (cut keys; several items, changed since)
    std::vector<RecordNumber> inOrder;  // the records whose rank is known, by rank, equal ones by number
    std::vector<std::string> marks;     // keys of the ranks 1, 1 + kMarkStep, ...

    uint32_t of(RecordNumber record) const { return record < rankOf.size() ? rankOf[record] : 0; }
    size_t bytes() const;
};

// What searches derive from the index files of one base and keep, shared by the sessions of the process:
// ranks, vocabularies and spellings, the newest of each field. Nothing is kept beyond kMaxBytes: what was not
// used for the longest time goes first. Those who hold something keep it alive.
class RankCache {
public:
    static constexpr size_t kMaxBytes = size_t{256} << 20;

    // Null when they are not there for this position.
    std::shared_ptr<const Ranks> find(FieldNumber field, Position position) const;
    std::shared_ptr<const Vocabulary> vocabulary(Vocabulary::Table table, FieldNumber field,
                                                 Position position) const;
    std::shared_ptr<const Spellings> spellings(FieldNumber field, Position position) const;
    // Keeps them unless newer ones of the field are there.
    void store(std::shared_ptr<const Ranks> ranks);
    void store(std::shared_ptr<const Spellings> spellings);
    void store(std::shared_ptr<const Vocabulary> vocabulary);

    // The latest kMaxMaps maps between orders, which joins made; null when there is none.
    static constexpr size_t kMaxMaps = 8;
    std::shared_ptr<const RankMap> map(const RankMap::Key& key) const;
    void store(std::shared_ptr<const RankMap> map);

    // Notes that a search walked through so many entries for want of the field's ranks. True once the walks
    // have cost as much as making the ranks does, which is a walk through `all` entries.
    bool walked(FieldNumber field, Position position, uint64_t entries, uint64_t all);

    void clear();

private:
    struct Kept {
        std::shared_ptr<const Ranks> ranks;            // or
        std::shared_ptr<const Vocabulary> vocabulary;  // or
        std::shared_ptr<const Spellings> spellings;
        mutable uint64_t used = 0;
        size_t bytes() const {
            return ranks ? ranks->bytes() : vocabulary ? vocabulary->bytes() : spellings->bytes();
        }
    };
    struct Walked {
        FieldNumber field;
        Position position;
        uint64_t entries;
    };
    template <typename Same>
    void keep(Kept fresh, Position position, Same&& same);
    static Position positionOf(const Kept& kept) {
        return kept.ranks        ? kept.ranks->position
               : kept.vocabulary ? kept.vocabulary->position()
                                 : kept.spellings->position;
    }

    mutable std::mutex mutex_;
    mutable uint64_t clock_ = 0;
    std::vector<Kept> kept_;
    std::vector<Walked> walked_;                        // one per field
    std::vector<std::shared_ptr<const RankMap>> maps_;  // the latest last
};

}  // namespace wdb
