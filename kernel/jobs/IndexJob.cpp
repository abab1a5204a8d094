#include "kernel/jobs/IndexJob.h"

#include <optional>

#include "kernel/index/BulkIndexBuilder.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/jobs/PublishIndex.h"
#include "kernel/jobs/QueueChanges.h"

namespace wdb {
namespace {

using Clock = std::chrono::milliseconds;

// A merge of so many changes, that are also at least half of the records, costs more than to build the files anew.
constexpr uint64_t kRebuildRecords = 16384;

// One index file: where it stands, how it takes changes in.
struct IndexFile {
    std::shared_ptr<Environment> environment;
    Position position = 0;
    Status (*merge)(WriteTxn&, const Schema&, const std::vector<IndexChange>&, Position) = nullptr;
};

Result<IndexFile> openIndexFile(const std::string& path, std::span<const TableSpec> tables,
                                Result<IndexMeta> (*readMeta)(const Txn&)) {
    Result<std::shared_ptr<Environment>> environment = Environment::open(path, tables, {});
    if (!environment) return environment.status();
    Result<ReadTxn> txn = (*environment)->read();
    if (!txn) return txn.status();
    const Result<IndexMeta> meta = readMeta(*txn);
    if (!meta) return meta.status();
    return IndexFile{*environment, meta->position, nullptr};
}

Status mergeInto(IndexFile& file, const BaseReader& reader, const Schema& schema, Position upTo) {
    if (file.position >= upTo) return file.position == upTo ? WDB_OK : WDB_E_CORRUPT;
    const auto changes = readQueueChanges(reader, file.position, upTo);
    if (!changes) return changes.status();
    Result<WriteTxn> txn = file.environment->write();
    if (!txn) return txn.status();
    WDB_TRY(file.merge(*txn, schema, *changes, upTo));
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

}  // namespace

Status runIndexJob(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, bool mayMerge, int64_t now) {
    WDB_TRY(base->catchUp(now));
    return mayMerge ? mergeIfDue(directory, base) : WDB_OK;
}

Status mergeIfDue(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base) {
    {
        const Result<QueueState> queue = readQueue(base);
        if (!queue) return queue.status();
        if (queue->meta.queueCount < kMergeRecords && queue->meta.queueBytes < kMergeBytes) return WDB_OK;
    }
    const Result<WriterHold> hold = directory.acquireWriter(Clock(0));
    if (!hold) return hold.status() == WDB_E_LOCKED ? WDB_OK : hold.status();
    return mergeQueue(directory, base, *hold);
}

Status mergeQueue(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, const WriterHold& hold) {
    const auto definition = base->definition();
    Result<QueueState> queue = readQueue(base);
    if (!queue) return queue.status();
    const Position upTo = queue->meta.position();
    Result<IndexFile> words = openIndexFile(definition->wordPath(), wordFileTables(), readWordMeta);
    if (!words) return words.status();
    Result<IndexFile> values = openIndexFile(definition->valuePath(), valueFileTables(), readValueMeta);
    if (!values) return values.status();
    words->merge = mergeWords;
    values->merge = mergeValues;
    const bool behind = words->position != upTo || values->position != upTo;
    if (behind && queue->meta.queueCount >= kRebuildRecords && queue->meta.queueCount >= queue->meta.liveCount / 2) {
        queue->txn.release();
        return rebuildIndex(directory, base, hold, 0);
    }
    const BaseReader reader(queue->txn);
    WDB_TRY(mergeInto(*words, reader, *definition->schema, upTo));
    WDB_TRY(mergeInto(*values, reader, *definition->schema, upTo));
    queue->txn.release();
    return trimQueue(*base, upTo);
}

Status rebuildIndex(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, const WriterHold& hold, int64_t now) {
    const auto definition = base->definition();
    BulkIndexBuilder builder(definition->schema, bulkOptions(*definition));
    Position upTo = 0;
    {
        const Result<QueueState> queue = readQueue(base);
        if (!queue) return queue.status();
        upTo = queue->meta.position();
        WDB_TRY(BaseReader(queue->txn).forEachRecord(1, [&](RecordNumber number, Slice image) -> Status {
            const Result<RecordView> view = RecordView::validate(image);
            if (!view) return view.status();
            return builder.add(number, *view);
        }));
    }
    WDB_TRY(publishIndex(directory, base, builder, upTo, hold));
    WDB_TRY(trimQueue(*base, upTo));
    return now > 0 ? base->catchUp(now) : WDB_OK;
}

}  // namespace wdb
