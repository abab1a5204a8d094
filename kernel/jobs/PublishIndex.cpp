#include "kernel/jobs/PublishIndex.h"

namespace wdb {

BulkIndexOptions bulkOptions(const BaseDefinition& definition) {
    BulkIndexOptions options;
    options.spillDirectory = definition.directory;
    return options;
}

Status publishIndex(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, BulkIndexBuilder& builder,
                    Position position, const WriterHold& hold) {
    BaseDefinition next = *base->definition();
    WDB_TRY(directory.planIndexFiles(next, hold));
    WDB_TRY(builder.write(next.wordPath(), next.valuePath(), position));
    WDB_TRY(directory.storeBase(next, hold));
    const auto published = directory.definition(next.name);
    if (!published) return published.status();
    return base->refresh(*published);
}

Status trimQueue(const OpenBase& base, Position upTo) {
    auto writer = base.file()->write();
    if (!writer) return writer.status();
    WDB_TRY((*writer)->trimQueue(upTo));
    return (*writer)->commit(0);
}

}  // namespace wdb
