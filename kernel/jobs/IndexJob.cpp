#include "kernel/jobs/IndexJob.h"

#include <algorithm>
#include <chrono>

#include "kernel/common/Contained.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/jobs/IndexShrink.h"
#include "kernel/jobs/PublishIndex.h"
#include "kernel/jobs/QueueChanges.h"

namespace wdb {
namespace {

// A merge of so many changes, that are also at least half of the records, costs more than to build the files
// anew.
constexpr uint64_t kRebuildRecords = 16384;

Status mergeInto(Environment& file, Result<IndexMeta> (*readMeta)(const Txn&),
                 Status (*merge)(WriteTxn&, const Schema&, const std::vector<IndexChange>&, Position),
                 const BaseReader& reader, const Schema& schema, Position upTo) {
    auto txn = file.write();
    if (!txn) return txn.status();
    const auto meta = readMeta(*txn);
    if (!meta) return meta.status();
    if (meta->position >= upTo) return meta->position == upTo ? WDB_OK : WDB_E_CORRUPT;
    const auto changes = readQueueChanges(reader, meta->position, upTo);
    if (!changes) return changes.status();
    WDB_TRY(merge(*txn, schema, *changes, upTo));
    return txn->commit();
}

struct QueueState {
    ReadTxn txn;
    BaseMeta meta;
};

Result<QueueState> readQueue(const std::shared_ptr<OpenBase>& base) {
    Result<ReadTxn> txn = base->file()->read();
    if (!txn) return txn.status();
    const Result<BaseMeta> meta = BaseReader(*txn).meta();
    if (!meta) return meta.status();
    return QueueState{std::move(*txn), *meta};
}

Result<bool> mergeIsDue(const std::shared_ptr<OpenBase>& base) {
    const Result<QueueState> queue = readQueue(base);
    if (!queue) return queue.status();
    const MergeLimits limits = mergeLimits(queue->meta.liveCount);
    return queue->meta.queueCount >= limits.records || queue->meta.queueBytes >= limits.bytes;
}

}  // namespace

MergeLimits mergeLimits(uint64_t liveCount) {
    const uint64_t records = std::clamp(liveCount / kMergeShare, kMergeRecords, kMostMergeRecords);
    return {records, kMergeBytes / kMergeRecords * records};
}

Status runIndexJob(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, bool mayMerge,
                   int64_t now) {
    WDB_TRY(base->catchUp(now));
    return mayMerge ? mergeIfDue(directory, base) : WDB_OK;
}

Status mergeIfDue(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base) noexcept {
    return contained([&]() -> Status {
        const Result<bool> due = mergeIsDue(base);
        if (!due || !*due) return due.status();
        const Result<WriterHold> hold = directory.acquireWriter(std::chrono::milliseconds(0));
        if (!hold) return hold.status() == WDB_E_LOCKED ? WDB_OK : hold.status();
        return mergeQueue(directory, base, *hold);
    });
}

Status mergeIfDue(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base,
                  const WriterHold& hold) noexcept {
    return contained([&]() -> Status {
        const Result<bool> due = mergeIsDue(base);
        if (!due || !*due) return due.status();
        return mergeQueue(directory, base, hold);
    });
}

Status mergeQueue(SystemDirectory& directory, const std::shared_ptr<OpenBase>& given,
                  const WriterHold& hold) {
    // Under the lock nobody renames index files any more; take the names that hold now.
    const auto found = directory.find(given->definition()->name, &hold);
    if (!found) return found.status();
    const auto& base = *found;
    const auto definition = base->definition();
    const auto files = base->indexFiles();
    if (files == nullptr) return WDB_E_CORRUPT;
    WDB_TRY(base->file()->environment().sync());
    const Result<QueueState> queue = readQueue(base);
    if (!queue) return queue.status();
    if (queue->meta.queueCount >= kRebuildRecords && queue->meta.queueCount >= queue->meta.liveCount / 2) {
        return directory.buildIndex(*base, hold);
    }
    const Position upTo = queue->meta.position();
    const BaseReader reader(queue->txn);
    WDB_TRY(mergeInto(*files->words, readWordMeta, mergeWords, reader, *definition->schema, upTo));
    WDB_TRY(mergeInto(*files->values, readValueMeta, mergeValues, reader, *definition->schema, upTo));
    WDB_TRY(trimQueue(*base));
    // The merge is done; files that stay large only take room.
    if (!ok(shrinkIndexIfDue(directory, *base, hold))) static_cast<void>(directory.removeLeftovers(hold));
    return WDB_OK;
}

Status rebuildIndex(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, const WriterHold& hold,
                    int64_t now, Progress* progress) {
    const Status status = directory.buildIndex(*base, hold, progress);
    if (!ok(status)) {
        static_cast<void>(directory.removeLeftovers(hold));
        return status;
    }
    return base->catchUp(now);
}

}  // namespace wdb
