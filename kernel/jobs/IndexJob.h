#pragma once

#include <cstdint>
#include <memory>

#include "kernel/catalog/OpenBase.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Status.h"

namespace wdb {

// When a merge is worth its commits: the queue holds so many records, or so many bytes of images.
inline constexpr uint64_t kMergeRecords = 4096;
inline constexpr uint64_t kMergeBytes = uint64_t{8} << 20;
// In a large base a few thousand records have words in nearly every page, so that a merge writes the whole
// word file whatever it merges: both limits grow with the records from 262,144 on, up to those of a million.
inline constexpr uint64_t kMergeShare = 64;  // one of so many live records
inline constexpr uint64_t kMostMergeRecords = 16384;

// The limits of a base with so many live records.
struct MergeLimits {
    uint64_t records;
    uint64_t bytes;
};
MergeLimits mergeLimits(uint64_t liveCount);

// Work on the index files of a base. All functions may run on any thread.
//
// Job kind 2: brings the process's delta up to date and moves the index date; then merges the queue into the
// files when it has passed its limit and `mayMerge` (no unit is open, the session may write) and the writer's
// lock is free at once.
Status runIndexJob(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, bool mayMerge,
                   int64_t now);

// The merge alone, tried after a commit: WDB_OK also when it was left to a later try. The commit stands, so
// that nothing is thrown.
Status mergeIfDue(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base) noexcept;
// The same under a lock that the caller has.
Status mergeIfDue(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base,
                  const WriterHold& hold) noexcept;

// Merges whatever the queue holds, under a lock that the caller has. One commit per index file.
Status mergeQueue(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, const WriterHold& hold);

// Job kind 1: builds the index files anew from the records and publishes them.
Status rebuildIndex(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, const WriterHold& hold,
                    int64_t now, Progress* progress = nullptr);

}  // namespace wdb
