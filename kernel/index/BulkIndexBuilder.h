#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Schema.h"

namespace wdb {

struct BulkIndexOptions {
    size_t memoryLimit = size_t{256} << 20;  // bytes of inverted records; beyond it sorted runs are spilled
    std::string spillDirectory;              // for runs (unlinked temporary files); empty: nothing is spilled
    unsigned threads = 2;                    // workers that invert
};

// Makes the index files of a base anew: records are inverted by worker threads while they are added, then
// both files are written in key order. Used by one thread.
class BulkIndexBuilder {
public:
    BulkIndexBuilder(std::shared_ptr<const Schema> schema, BulkIndexOptions options);
    ~BulkIndexBuilder();  // stops the workers; what was added is dropped
    BulkIndexBuilder(const BulkIndexBuilder&) = delete;
    BulkIndexBuilder& operator=(const BulkIndexBuilder&) = delete;

    // Takes a copy of a live record. Numbers must ascend (WDB_E_ARGUMENT). A failure of a worker is answered
    // here or by write().
    Status add(RecordNumber record, const RecordView& view);
    // Makes both files, which must not exist, with everything that was added, and brings them to the disk.
    // The files contain the base up to `position`. On an error what was made is removed. The builder is used
    // up.
    Status write(const std::string& wordPath, const std::string& valuePath, Position position);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Makes the two files of an empty base.
Status createIndexFiles(const std::string& wordPath, const std::string& valuePath);

}  // namespace wdb
