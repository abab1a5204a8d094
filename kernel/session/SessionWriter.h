#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>

#include "kernel/catalog/SessionUnit.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Status.h"
#include "kernel/jobs/LoadJob.h"
#include "kernel/session/OwnCommits.h"
#include "kernel/session/SessionClock.h"
#include "kernel/session/Settings.h"
#include "kernel/session/SnapshotCache.h"

namespace wdb {

// A session's side of writing: its open unit, to which saved status the unit belongs, and its load. One
// writer per home directory: begin() takes the lock with the first write, the end of the unit gives it back.
class SessionWriter {
public:
    SessionWriter(std::shared_ptr<SystemDirectory> directory, const Settings& settings,
                  const SessionClock& clock, SnapshotCache& snapshots, bool readOnly);
    ~SessionWriter() { drop(); }

    bool readOnly() const { return readOnly_; }
    // How long a write waits for the lock: the setting WDB_LOCK_WAIT in milliseconds.
    std::chrono::milliseconds patience() const;

    // Joins a base to the unit (opened when there is none) or to its load. `saved`: serial number of the
    // saved status on top, 0 for none: the write commits by itself in end(). WDB_E_READ_ONLY; WDB_E_LOCKED;
    // WDB_E_STORAGE when the unit failed before and waits for its end.
    Result<UnitBase*> begin(const std::shared_ptr<OpenBase>& base, uint64_t saved);
    // Ends one write begun with begin(). `torn`: it failed when something was written already, so the unit is
    // given up.
    Status end(Status status, bool torn);

    // Calls end() for a write that an exception (no memory) cuts short: nothing half-written stays.
    class Scope {
    public:
        explicit Scope(SessionWriter& writer) : writer_(&writer) {}
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope() {
            if (writer_ != nullptr) static_cast<void>(writer_->end(WDB_E_MEMORY, true));
        }
        Status end(Status status, bool torn) { return std::exchange(writer_, nullptr)->end(status, torn); }

    private:
        SessionWriter* writer_;
    };

    // For rules, between begin() and end(): the base's part of the unit or load, or null; a further base that
    // is to be written to; the lock.
    UnitBase* joined(const OpenBase& base) const;
    Result<UnitBase*> join(const std::shared_ptr<OpenBase>& base);
    const WriterHold* hold() const;

    // The session's uncommitted writes to a base that searches see, or null.
    UnitBase* unitBase(const OpenBase& base) const;
    // The load's writer of this base, or null.
    UnitBase* loadBase(const OpenBase& base) const;
    bool loading() const { return load_ != nullptr; }
    // A unit or load has written and binds the session to its thread.
    bool hasWritten() const;

    // A saved status goes: its unit is committed and synced, WDB_E_STORAGE when that failed.
    Status savedRemoved(uint64_t saved);
    // The oldest saved status fell off the stack: its unit passes to the next one.
    void savedDropped(uint64_t saved, uint64_t next);
    // Commits the open unit, whomever it belongs to: what definition calls begin with. WDB_E_LOCKED during a
    // load.
    Status commit();
    // Gives up everything that is not committed.
    void drop();

    Status beginLoad(const std::shared_ptr<OpenBase>& base, Progress::Listener listener);
    // After a failure gave the load up: that failure, unless it is not to be committed anyway.
    Status endLoad(const OpenBase& base, bool commit);

    bool isOwnCommit(BaseId base, uint64_t commit) const { return own_.contains(base, commit); }

private:
    SessionUnit* openUnit() const { return load_ != nullptr ? &load_->unit() : unit_.get(); }
    Status commitUnit();

    std::shared_ptr<SystemDirectory> directory_;
    const Settings* settings_;
    const SessionClock* clock_;
    SnapshotCache* snapshots_;
    bool readOnly_;
    std::unique_ptr<SessionUnit> unit_;
    uint64_t owner_ = 0;   // saved status that the unit (or its failure) belongs to
    bool failed_ = false;  // the owner's unit was given up
    std::unique_ptr<LoadJob> load_;
    std::shared_ptr<OpenBase> lostLoad_;  // of a load that was given up and not ended yet
    Status lostWith_ = WDB_OK;
    OwnCommits own_;
};

}  // namespace wdb
