#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/RecordSet.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Schema.h"

namespace wdb {

class DeltaEntries;
class UnitDelta;

// The changes of a base that its index files do not hold yet, inverted in memory: one per base and process,
// shared by its sessions. Entries are only ever appended, each with its position in the queue; a reader at
// position q sees, of each record, the newest entry not behind q. Safe for all threads.
class Delta {
public:
    // Will hold the changes behind `start`.
    Delta(std::shared_ptr<const Schema> schema, Position start);
    ~Delta();
    Delta(const Delta&) = delete;
    Delta& operator=(const Delta&) = delete;

    Position start() const { return start_; }
    // Changes up to and with this one are in it.
    Position caughtUpTo() const { return caughtUpTo_.load(std::memory_order_acquire); }
    size_t entries() const;
    size_t bytes() const;  // memory, roughly

    // The one way to add; holds the delta exclusively while it lives.
    class Appender {
    public:
        Position caughtUpTo() const { return delta_->caughtUpTo(); }
        // The image that a record has since the change at `position`; null or a tombstone when it was
        // deleted. Positions must ascend (the records of one Range entry share its position), else
        // WDB_E_ARGUMENT. What is there already is ignored, so that a catch-up that failed half way may be
        // tried again. Readers see the entry once advance() passed its position.
        Status add(Position position, RecordNumber record, const RecordView* image);
        // Everything up to `position` has been added.
        void advance(Position position);
        // Adds the entries of a committed unit and advances to its last position. Ignored when somebody
        // caught up from the queue first. The delta must have caught up to the position before the unit's
        // first one, and the unit be settled, else nothing happens and WDB_FAIL is answered: catch up from
        // the queue then.
        Status fold(const UnitDelta& unit);

    private:
        friend class Delta;
        explicit Appender(Delta& delta) : lock_(delta.mutex_), delta_(&delta) {}
        std::unique_lock<std::shared_mutex> lock_;
        Delta* delta_;
    };
    Appender append() { return Appender(*this); }

    // A new delta with the entries behind `merged` only: the next generation after the index files took the
    // others in.
    std::shared_ptr<Delta> successor(Position merged) const;

    // Read access for IndexView; holds the delta shared while it lives, never across calls of the kernel.
    class Reader {
    public:
        const DeltaEntries& entries() const { return *entries_; }

    private:
        friend class Delta;
        explicit Reader(const Delta& delta) : lock_(delta.mutex_), entries_(delta.entries_.get()) {}
        std::shared_lock<std::shared_mutex> lock_;
        const DeltaEntries* entries_;
    };
    Reader read() const { return Reader(*this); }

private:
    const std::shared_ptr<const Schema> schema_;
    const Position start_;
    std::atomic<Position> caughtUpTo_;
    mutable std::shared_mutex mutex_;
    std::unique_ptr<DeltaEntries> entries_;  // guarded by mutex_
};

// The changes of a session's open write unit on one base, laid over the process's delta and seen by that
// session only. Used by one thread at a time. The first changes are inverted at once; a unit with many keeps
// the images of the others until somebody looks at its entries, which mostly nobody does before it is
// committed.
class UnitDelta {
public:
    explicit UnitDelta(std::shared_ptr<const Schema> schema);
    ~UnitDelta();
    UnitDelta(UnitDelta&&) noexcept;
    UnitDelta& operator=(UnitDelta&&) noexcept;

    // As Delta::Appender::add, at the positions that the base file gave.
    Status add(Position position, RecordNumber record, const RecordView* image);
    bool empty() const;
    Position first() const;  // 0 when empty
    Position last() const;
    // Whether every change is inverted.
    bool settled() const { return waiting_.empty(); }
    // Inverts what is not yet. std::bad_alloc leaves the rest for the next call.
    const DeltaEntries& entries() const;

private:
    struct Waiting {
        Position position;
        RecordNumber record;
        std::string image;  // valid; empty: deleted
    };

    std::unique_ptr<DeltaEntries> entries_;
    mutable std::deque<Waiting> waiting_;  // in the order of their positions, behind all entries
    mutable size_t waitingBytes_ = 0;
};

}  // namespace wdb
