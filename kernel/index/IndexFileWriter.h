#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/SpilledRun.h"

namespace wdb {

// The values of one field's column: (record, number), by ascending record.
using ColumnRun = std::vector<std::pair<RecordNumber, int64_t>>;

struct FieldColumn {
    FieldNumber field = 0;
    ColumnRun values;
};

// Make a whole index file in key order: everything is appended to full pages. The file must not exist; it is
// on the disk when WDB_OK is answered.
//
// Keys of `words` are field, term, 0; of `values` field, value key; of `sets` field, kind. Columns by
// ascending field.
Status writeWordFile(const std::string& path, RunMerger words, Position position);
Status writeValueFile(const std::string& path, RunMerger values, RunMerger sets,
                      const std::vector<FieldColumn>& columns, Position position);

}  // namespace wdb
