#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "kernel/common/Status.h"
#include "kernel/storage/BaseFile.h"
#include "kernel/storage/WriterLock.h"

namespace wdb {

// The writes of one statement (or load): the writer's lock and one transaction per base file, begun at the
// first write to that base. All calls come from one thread. Destroyed without commit() it leaves nothing
// behind. What a session adds to it (deltas, schemas) is in kernel/catalog/SessionUnit.h.
class WriteUnit {
public:
    explicit WriteUnit(WriterHold hold) : hold_(std::move(hold)) {}

    Result<BaseWriter*> writer(const std::shared_ptr<BaseFile>& file);
    // The writer of a base that the unit has written to, or null.
    BaseWriter* find(const BaseFile* file) const;
    bool empty() const;  // nothing was written
    size_t bases() const { return members_.size(); }

    // Writes what comes last in each base; only commit() may follow. `now` in microseconds since 1970 UTC.
    Status prepare(int64_t now);
    // Commits and syncs once per base, in the order in which the bases joined. On failure what is not
    // committed yet is dropped. The lock stays held.
    Status commit(int64_t now);
    // After commit(): a base was committed, whatever became of the others.
    bool anyCommitted() const { return anyCommitted_; }
    void drop();
    const WriterHold& hold() const { return hold_; }
    // Gives the lock back, or takes it out for work that follows the commit.
    void release() { hold_.release(); }
    WriterHold takeHold() { return std::move(hold_); }

private:
    struct Member {
        std::shared_ptr<BaseFile> file;
        std::unique_ptr<BaseWriter> writer;
    };
    WriterHold hold_;
    std::vector<Member> members_;
    bool anyCommitted_ = false;
};

}  // namespace wdb
