#pragma once

#include <memory>

#include "kernel/catalog/OpenBase.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Status.h"
#include "kernel/index/BulkIndexBuilder.h"

namespace wdb {

// How the index of a base is built in bulk: spills go beside its files.
BulkIndexOptions bulkOptions(const BaseDefinition& definition);

// Writes what a builder collected into index files of a new generation, which hold the base up to `position`, and makes the
// catalogue name them: files and directory are on the disk before the one commit that publishes them. Without success the
// old files stay in use.
Status publishIndex(SystemDirectory& directory, const std::shared_ptr<OpenBase>& base, BulkIndexBuilder& builder,
                    Position position, const WriterHold& hold);

// Takes the entries that both index files hold on disk out of the queue, in a commit of its own. The writer's lock is held.
Status trimQueue(const OpenBase& base, Position upTo);

}  // namespace wdb
