#pragma once

#include "kernel/catalog/OpenBase.h"
#include "kernel/common/Status.h"
#include "kernel/index/BulkIndexBuilder.h"

namespace wdb {

// How the index of a base is built in bulk: spills go beside its files.
BulkIndexOptions bulkOptions(const BaseDefinition& definition);

// Takes the entries that both index files hold on disk out of the queue, in a commit of its own. The writer's
// lock is held.
Status trimQueue(const OpenBase& base);

}  // namespace wdb
