#include "kernel/session/SessionWriter.h"

#include "kernel/jobs/IndexJob.h"

namespace wdb {

namespace {

constexpr int64_t kLockWait = 10000;  // milliseconds

struct Commit {
    BaseId base;
    uint64_t number;
};

// The commits that the end of a unit will make.
std::vector<Commit> commitsOf(const SessionUnit& unit) {
    std::vector<Commit> commits;
    for (const auto& base : unit.bases()) {
        if (base->writer != nullptr && base->writer->changed())
            commits.push_back({base->base->id(), base->writer->commitNumber()});
    }
    return commits;
}

}  // namespace

SessionWriter::SessionWriter(std::shared_ptr<SystemDirectory> directory, const Settings& settings,
                             const SessionClock& clock, SnapshotCache& snapshots, bool readOnly)
    : directory_(std::move(directory)),
      settings_(&settings),
      clock_(&clock),
      snapshots_(&snapshots),
      readOnly_(readOnly) {}

std::chrono::milliseconds SessionWriter::patience() const {
    return std::chrono::milliseconds(settings_->number("WDB_LOCK_WAIT", kLockWait));
}

Result<UnitBase*> SessionWriter::begin(const std::shared_ptr<OpenBase>& base, uint64_t saved) {
    if (readOnly_) return WDB_E_READ_ONLY;
    if (failed_) return WDB_E_STORAGE;
    if (lostLoad_ != nullptr) return lostLoad_ == base ? lostWith_ : WDB_E_LOCKED;
    if (load_ != nullptr) {
        if (load_->base() != base) return WDB_E_LOCKED;
        return &load_->unitBase();
    }
    snapshots_->change();  // those with the unit show the write
    if (unit_ == nullptr) {
        auto hold = directory_->acquireWriter(patience());
        if (!hold) return hold.status();
        unit_ = std::make_unique<SessionUnit>(std::move(*hold), directory_);
        owner_ = saved;
        snapshots_->dropAll();
    } else if (unit_->find(*base) == nullptr) {
        snapshots_->drop(*base);
    }
    auto joined = unit_->base(base);
    if (!joined && unit_->unit().empty()) unit_.reset();
    return joined;
}

Status SessionWriter::end(Status status, bool torn) {
    if (load_ != nullptr) {
        if (torn) {
            lostLoad_ = load_->base();
            lostWith_ = status;
            load_.reset();
        }
        return status;
    }
    if (unit_ == nullptr) return status;
    if (torn || (!ok(status) && owner_ == 0) || unit_->unit().empty()) {
        failed_ = torn && owner_ != 0;
        if (!failed_) owner_ = 0;
        snapshots_->dropAll();
        unit_.reset();
        return status;
    }
    return owner_ == 0 ? commitUnit() : status;
}

UnitBase* SessionWriter::joined(const OpenBase& base) const {
    const SessionUnit* unit = openUnit();
    return unit == nullptr ? nullptr : unit->find(base);
}

Result<UnitBase*> SessionWriter::join(const std::shared_ptr<OpenBase>& base) {
    SessionUnit* unit = openUnit();
    if (unit == nullptr) return WDB_E_STORAGE;
    if (unit->find(*base) == nullptr) snapshots_->drop(*base);
    return unit->base(base);
}

const WriterHold* SessionWriter::hold() const {
    SessionUnit* unit = openUnit();
    return unit == nullptr ? nullptr : &unit->unit().hold();
}

UnitBase* SessionWriter::unitBase(const OpenBase& base) const {
    return unit_ == nullptr ? nullptr : unit_->find(base);
}

UnitBase* SessionWriter::loadBase(const OpenBase& base) const {
    return load_ != nullptr && load_->base().get() == &base ? &load_->unitBase() : nullptr;
}

bool SessionWriter::hasWritten() const {
    return load_ != nullptr || failed_ || (unit_ != nullptr && !unit_->unit().empty());
}

Status SessionWriter::savedRemoved(uint64_t saved) {
    if (owner_ != saved) return WDB_OK;
    if (failed_) {
        failed_ = false;
        owner_ = 0;
        return WDB_E_STORAGE;
    }
    return ok(commitUnit()) ? WDB_OK : WDB_E_STORAGE;
}

void SessionWriter::savedDropped(uint64_t saved, uint64_t next) {
    if (owner_ == saved) owner_ = next;
}

Status SessionWriter::commit() {
    if (load_ != nullptr || lostLoad_ != nullptr) return WDB_E_LOCKED;
    if (failed_) return WDB_E_STORAGE;
    return commitUnit();
}

void SessionWriter::drop() {
    if (unit_ != nullptr || load_ != nullptr) snapshots_->dropAll();  // those with the unit
    // Whoever removes the saved status is told that the writes are not on the disk.
    failed_ = owner_ != 0 && (failed_ || (unit_ != nullptr && !unit_->unit().empty()));
    if (!failed_) owner_ = 0;
    unit_.reset();
    load_.reset();
    lostLoad_.reset();
}

Status SessionWriter::commitUnit() {
    owner_ = 0;
    if (unit_ == nullptr) return WDB_OK;
    snapshots_->dropAll();  // those with the unit may not outlive it
    const std::unique_ptr<SessionUnit> unit = std::move(unit_);
    const auto commits = commitsOf(*unit);
    std::vector<std::shared_ptr<OpenBase>> bases;
    for (const auto& base : unit->bases()) bases.push_back(base->base);
    WDB_TRY(unit->commit(clock_->nowMicros()));
    for (const Commit& made : commits) own_.add(made.base, made.number);
    // The writes are safe whatever becomes of a merge; one that fails is tried again after the next commit.
    for (const auto& base : bases) static_cast<void>(mergeIfDue(*directory_, base));
    return WDB_OK;
}

Status SessionWriter::beginLoad(const std::shared_ptr<OpenBase>& base, Progress::Listener listener) {
    if (readOnly_) return WDB_E_READ_ONLY;
    WDB_TRY(commit());
    auto hold = directory_->acquireWriter(patience());
    if (!hold) return hold.status();
    snapshots_->dropAll();
    auto load = LoadJob::begin(directory_, base, std::move(*hold), std::move(listener));
    if (!load) return load.status();
    load_ = std::move(*load);
    return WDB_OK;
}

Status SessionWriter::endLoad(const OpenBase& base, bool commit) {
    if (lostLoad_.get() == &base) {
        lostLoad_.reset();
        return commit ? lostWith_ : WDB_OK;
    }
    if (load_ == nullptr || load_->base().get() != &base) return WDB_E_ARGUMENT;
    snapshots_->dropAll();
    const auto commits = commitsOf(load_->unit());
    const Status status = load_->end(commit, clock_->nowMicros());
    load_.reset();
    if (!ok(status) || !commit) return status;
    for (const Commit& made : commits) own_.add(made.base, made.number);
    return status;
}

}  // namespace wdb
