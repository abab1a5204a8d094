#include "kernel/jobs/PublishIndex.h"

#include <algorithm>

#include "kernel/index/IndexFormat.h"

namespace wdb {

BulkIndexOptions bulkOptions(const BaseDefinition& definition) {
    BulkIndexOptions options;
    options.spillDirectory = definition.directory;
    return options;
}

Status trimQueue(const OpenBase& base) {
    const auto files = base.indexFiles();
    if (files == nullptr) return WDB_E_CORRUPT;
    // What leaves the queue is nowhere else: who merged it may have fallen before the sync.
    WDB_TRY(files->words->sync());
    WDB_TRY(files->values->sync());
    const auto words = files->words->read();
    const auto values = files->values->read();
    if (!words || !values) return WDB_E_STORAGE;
    const auto wordMeta = readWordMeta(*words);
    const auto valueMeta = readValueMeta(*values);
    if (!wordMeta || !valueMeta) return WDB_E_CORRUPT;
    auto writer = base.file()->write();
    if (!writer) return writer.status();
    const Position merged = std::min(wordMeta->position, valueMeta->position);
    if (merged == (*writer)->meta().trimmed) return WDB_OK;
    const int64_t modified = (*writer)->meta().modified;
    const bool whole = merged == (*writer)->meta().position();
    WDB_TRY((*writer)->trimQueue(merged, whole ? modified : (*writer)->meta().merged));
    return (*writer)->commit(modified);
}

}  // namespace wdb
