#pragma once

#include <memory>
#include <string>

#include "kernel/common/Status.h"
#include "kernel/index/PostingTable.h"

namespace wdb {

// A run over a table in memory, which it borrows and which must be finished with the order given.
std::unique_ptr<PostingRun> memoryRun(const PostingTable& table, std::vector<uint32_t> order);

// Writes a finished table as a sorted run into an unlinked temporary file of the directory, and reads it
// back. WDB_E_STORAGE.
Result<std::unique_ptr<PostingRun>> spillRun(const PostingTable& table, const std::vector<uint32_t>& order,
                                             const std::string& directory);

// Several runs as one: keys ascending, the streams of a key in all runs merged by record.
class RunMerger {
public:
    RunMerger(std::vector<std::unique_ptr<PostingRun>> runs, Postings kind);

    // To the next key: false at the end.
    bool nextKey();
    Slice key() const { return key_; }
    // To the next posting of the key, by ascending record: false at the end of the key.
    bool nextPosting();
    RecordNumber record() const { return current_->record(); }
    Slice positions() const { return current_->positions(); }

private:
    struct Source {
        PostingRun* run;
        Slice key;
    };

    const Postings kind_;
    std::vector<std::unique_ptr<PostingRun>> runs_;  // the streams of a key point into them
    std::vector<Source> sources_;                    // that are not at their end
    std::vector<PostingStream> streams_;             // of the key, one for each source that has it
    size_t open_ = 0;                                // streams that stand on a posting; they come first
    PostingStream* current_ = nullptr;               // its posting was handed out
    std::string key_;
};

}  // namespace wdb
