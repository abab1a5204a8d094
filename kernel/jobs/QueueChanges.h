#pragma once

#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/Merger.h"
#include "kernel/storage/BaseFile.h"

namespace wdb {

// What the queue says about each record named by the entries behind `after` up to and with `upTo`, as a merge
// wants it: one change per record, by record number, with the image that an index file at `after` holds and
// the present one. `upTo` is the reader's last position. The images are borrowed from the reader's
// transaction. WDB_E_CORRUPT for an image that does not validate.
Result<std::vector<IndexChange>> readQueueChanges(const BaseReader& reader, Position after, Position upTo);

}  // namespace wdb
