#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Schema.h"
#include "kernel/storage/Environment.h"

namespace wdb {

// What became of one record between the position that an index file contains and the one it is to contain.
struct IndexChange {
    RecordNumber record = 0;
    std::optional<RecordView>
        before;  // as the file has it: the previous image of the record's first entry behind the
                 // file's position; none when the record was not there or deleted
    std::optional<RecordView> after;  // none when it is deleted
};

// Takes changes into an index file, grouped by term and chunk, and notes the position; the caller commits. At
// most one change per record, in any order; the images are borrowed during the call. Taking the same changes
// in twice is harmless. On an error the transaction is to be dropped.
Status mergeWords(WriteTxn& words, const Schema& schema, const std::vector<IndexChange>& changes,
                  Position position);
Status mergeValues(WriteTxn& values, const Schema& schema, const std::vector<IndexChange>& changes,
                   Position position);

}  // namespace wdb
