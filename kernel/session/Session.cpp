#include "kernel/session/Session.h"

#include <algorithm>
#include <new>

#include "kernel/jobs/IndexJob.h"
#include "kernel/rules/RecordChange.h"
#include "kernel/session/UnitRules.h"

namespace wdb {

namespace {

constexpr int64_t kSnapshotMax = 60;  // seconds
constexpr std::chrono::seconds kSnapshotYoung(1);
constexpr PartNumber kMaxParts = 65535;  // of a record

// Tags of the handles of a session's controls and cursors.
uint16_t controlTag(uint16_t number) {
    return static_cast<uint16_t>(number << 1);
}
uint16_t cursorTag(uint16_t number) {
    return static_cast<uint16_t>((number << 1) | 1);
}

}  // namespace

Result<std::unique_ptr<Session>> Session::open(const std::string& home, std::string_view user,
                                               std::string_view password, uint32_t options, uint16_t number) {
    DirectoryOptions directoryOptions;
    directoryOptions.create = (options & WDB_OPEN_CREATE) != 0;
    directoryOptions.readOnly = (options & WDB_OPEN_READ_ONLY) != 0;
    directoryOptions.owner = std::string(trimName(user));
    directoryOptions.password = std::string(password);
    auto directory = SystemDirectory::open(home, directoryOptions);
    if (!directory) return directory.status();
    auto who = (*directory)->authenticate(trimName(user), password);
    if (!who) return who.status();
    return std::make_unique<Session>(std::move(*directory), who->name, options, number);
}

Session::Session(std::shared_ptr<SystemDirectory> home, const std::string& who, uint32_t options,
                 uint16_t number)
    : directory(std::move(home)),
      rights(directory, who),
      asyncIndex((options & WDB_OPEN_ASYNC_INDEX) != 0),
      settings(*directory),
      writer(directory, settings, clock, snapshots, (options & WDB_OPEN_READ_ONLY) != 0),
      search(*this),
      editor(directory),
      controls(controlTag(number)),
      cursors(cursorTag(number)),
      jobs_(directory) {
    snapshots.onChange([this] { search.keepValues(); });
}

Session::~Session() {
    snapshots.onChange({});
    writer.drop();
}

Actor Session::actor() {
    return {rights.owner(), rights.administrator(), rights.mayCreate(), writer.readOnly()};
}

bool Session::mayRead(const BaseDefinition& base, FieldNumber field) {
    if (!rights.mayRead(base, field)) return false;
    fieldUse_.note(base.id, rights.owns(base) ? kEveryField : field);
    return true;
}

bool Session::mayStillRead(const FieldUse& use) {
    const auto all = directory->definitions();
    return all && std::ranges::all_of(use.fields(), [&](const FieldUse::Field& field) {
               const auto base =
                   std::ranges::find(*all, field.first, [](const auto& one) { return one->id; });
               if (base == all->end()) return false;
               return field.second == kEveryField ? rights.owns(**base)
                                                  : rights.mayRead(**base, field.second);
           });
}

Result<std::shared_ptr<OpenBase>> Session::findBase(Slice name) {
    auto base = directory->find(name);
    if (!base) {
        fail(base.status(), name);
        return base.status();
    }
    if (!rights.mayRead(*(*base)->definition())) return fail(WDB_E_BASE, name);
    return base;
}

Result<const BaseSnapshot*> Session::snapshot(const std::shared_ptr<OpenBase>& base) {
    if (!rights.mayRead(base->id(), [&] { return base->definition(); })) return WDB_E_BASE;
    if (!statuses.empty() && !search.keepsValues() && snapshots.age(*base) > kSnapshotYoung &&
        snapshots.age(*base).count() >= settings.number("WDB_SNAPSHOT_MAX", kSnapshotMax)) {
        search.snapshotGivenUp(*base);
        snapshots.drop(*base);
    }
    return snapshots.get(base, writer.unitBase(*base), statuses.top());
}

Result<uint64_t> Session::recordCount(const std::shared_ptr<OpenBase>& base) {
    if (const UnitBase* load = writer.loadBase(*base)) return load->writer->meta().liveCount;
    const auto found = snapshot(base);
    if (!found) return found.status();
    return (*found)->liveCount();
}

void Session::attach(RecordControl& control, const std::shared_ptr<OpenBase>& base) {
    if (control.base != base) {
        dropCursors(control);
        control.dropRecord();
        control.base = base;
    }
    control.definition = base->definition();
}

Status Session::loadRecord(RecordControl& control, const std::shared_ptr<OpenBase>& base, RecordNumber number,
                           uint64_t version) {
    if (!rights.mayRead(*base->definition())) return WDB_E_BASE;
    if (const UnitBase* load = writer.loadBase(*base)) {
        const auto view = load->writer->record(number);
        if (!view) return view.status();
        takeRecord(control, base, number, *view, version);
        return WDB_OK;
    }
    const auto found = snapshot(base);
    if (!found) return found.status();
    const auto view = (*found)->record(number);
    if (!view) return view.status();
    takeRecord(control, base, number, *view, version);
    return WDB_OK;
}

Status Session::loadNext(RecordControl& control, RecordNumber after) {
    const auto base = control.base;
    const auto first = [&](const BaseReader& reader) -> Status {
        Status taken = WDB_FAIL;
        const auto take = [&](RecordNumber number, Slice image) -> Status {
            const auto view =
                number > after ? RecordView::validate(image) : Result<RecordView>(WDB_E_CORRUPT);
            taken = view.status();
            if (view) takeRecord(control, base, number, *view, 0);
            return WDB_FAIL;  // the walk ends
        };
        const Status walked = reader.forEachRecord(after + 1, take);
        return ok(walked) || walked == WDB_FAIL ? taken : walked;
    };
    if (!rights.mayRead(*base->definition())) return WDB_E_BASE;
    if (const UnitBase* load = writer.loadBase(*base)) return first(*load->writer);
    const auto found = snapshot(base);
    return found ? first((*found)->reader()) : found.status();
}

void Session::takeRecord(RecordControl& control, const std::shared_ptr<OpenBase>& base, RecordNumber number,
                         const RecordView& view, uint64_t version) {
    attach(control, base);
    control.dropRecord();
    control.record.load(number, view, version == 0 ? view.commit() : version);
}

Status Session::mayChange(const RecordControl& control) {
    if (!control.attached()) return WDB_E_NO_RECORD;
    if (control.listed || !control.writable || writer.readOnly()) return WDB_E_READ_ONLY;
    return rights.mayWrite(*control.definition) ? WDB_OK : WDB_E_RIGHT;
}

Status Session::selectPart(RecordControl& control, int32_t part) {
    if (!control.attached() || !control.record.any()) return WDB_E_NO_RECORD;
    if (!control.listed && !rights.mayRead(*control.definition)) return WDB_E_BASE;
    if (part < 0 || static_cast<PartNumber>(part) > control.record.partCount()) return WDB_E_PART;
    control.part = static_cast<PartNumber>(part);
    return WDB_OK;
}

Status Session::addPart(RecordControl& control) {
    WDB_TRY(mayChange(control));
    if (!control.record.any()) {
        control.dropRecord();
        control.record.makeNew();
    }
    if (control.record.partCount() >= kMaxParts) return WDB_E_PART;
    control.part = control.record.addPart();
    return WDB_OK;
}

Status Session::removePart(RecordControl& control, int32_t part) {
    WDB_TRY(mayChange(control));
    if (!control.record.any()) return WDB_E_NO_RECORD;
    if (part < 1 || static_cast<PartNumber>(part) > control.record.partCount()) return WDB_E_PART;
    const auto removed = static_cast<PartNumber>(part);
    control.record.removePart(removed);
    if (control.part == removed)
        control.part = 0;
    else if (control.part > removed)
        --control.part;
    cursors.each([&](uint64_t handle, FieldCursor& placed) {
        if (controls.find(placed.control) != &control || placed.part < removed) return;
        if (placed.part == removed)
            removeCursor(handle);
        else
            --placed.part;
    });
    return WDB_OK;
}

Status Session::putRecord(RecordControl& control, RecordNumber wanted) {
    if (!control.attached() || control.deleted) return WDB_E_NO_RECORD;
    if (control.listed || !control.writable) return WDB_E_READ_ONLY;
    if (!rights.mayWrite(*control.definition)) return WDB_E_RIGHT;
    if (wanted != 0 && control.record.number() != 0) return WDB_E_ARGUMENT;
    if (!control.record.any()) control.record.makeNew();
    const auto base = writer.begin(control.base, statuses.top());
    if (!base) return base.status();
    SessionWriter::Scope write(writer);
    const auto objects = control.record.pendingObjects();
    UnitRules rules(*this);
    RecordPut put(**base, control.record.data(), control.record.number(), objects, rules);
    put.under(wanted);
    const auto changed = [&](uint64_t commit) {
        return commit > control.record.version() && commit != (*base)->writer->commitNumber() &&
               !writer.isOwnCommit(control.base->id(), commit);
    };
    Status status = put.check(changed);
    const bool writing = ok(status);
    if (writing) status = put.write();
    const bool torn = writing && !ok(status);
    status = write.end(status, torn);
    if (ok(status)) control.record.stored(put.number(), put.takeImage(), put.commit());
    return status;
}

Status Session::deleteRecord(RecordControl& control) {
    if (control.listed) return WDB_E_READ_ONLY;
    if (!control.attached() || !control.record.any() || control.record.number() == 0) return WDB_E_NO_RECORD;
    if (!control.writable) return WDB_E_READ_ONLY;
    if (!rights.mayMakeRecords(*control.definition)) return WDB_E_RIGHT;
    const auto base = writer.begin(control.base, statuses.top());
    if (!base) return base.status();
    SessionWriter::Scope write(writer);
    UnitRules rules(*this);
    RecordDelete removal(**base, control.record.number(), rules);
    Status status = removal.check();
    const bool writing = ok(status);
    if (writing) status = removal.write();
    const bool torn = writing && !ok(status);
    status = write.end(status, torn);
    if (!ok(status)) return status;
    control.dropRecord();
    control.record.release();  // callers leave such controls behind
    control.deleted = true;
    return WDB_OK;
}

void Session::dropCursors(RecordControl& control) {
    if (control.cursors == 0) return;
    cursors.each([&](uint64_t cursor, const FieldCursor& placed) {
        if (controls.find(placed.control) == &control) cursors.remove(cursor);
    });
    control.cursors = 0;
}

void Session::removeControl(uint64_t handle) {
    dropCursors(controls.object(handle));
    controls.remove(handle);
}

void Session::removeCursor(uint64_t handle) {
    if (RecordControl* owner = controls.find(cursors.object(handle).control)) --owner->cursors;
    cursors.remove(handle);
}

void Session::dropListEntry() {
    if (controlList.handle == 0) return;
    removeControl(controlList.handle);
    controlList.handle = 0;
}

void Session::saveStatus() {
    statuses.push(search.save(), controlList.state());
    if (!statuses.tooMany()) return;
    const uint64_t dropped = statuses.dropOldest();
    writer.savedDropped(dropped, statuses.oldest());
    snapshots.passOn(dropped, statuses.oldest());
}

Status Session::loadStatus(bool restore, bool remove) {
    if (statuses.empty()) return WDB_E_NO_STATUS;
    dropListEntry();
    if (restore) {
        search.restore(statuses.back().search);
        searched();
        controlList.restore(statuses.back().controls);
    }
    if (!remove) return WDB_OK;
    const uint64_t serial = statuses.top();
    statuses.pop();
    snapshots.dropTakenUnder(serial);
    return writer.savedRemoved(serial);
}

Progress Session::progress() {
    return Progress([this](uint64_t done, uint64_t total) { return progressed(done, total); });
}

Status Session::progressed(uint64_t done, uint64_t total) {
    if (hooks.progress == nullptr) return WDB_OK;
    const Hooks::Callback running(hooks, Hooks::Calls::Refused);
    const int32_t answer =
        hooks.progress(hooks.progressContext, static_cast<int64_t>(done), static_cast<int64_t>(total));
    if (answer % 2 != 0) return WDB_OK;
    return answer > 0 ? answer : WDB_FAIL;
}

Status Session::submitJob(const std::shared_ptr<OpenBase>& base) {
    if (!writer.hasWritten()) return jobs_.submit(base, !writer.readOnly(), clock.nowMicros());
    // A job that ran now would not see what the unit has written, and its date would say that it has.
    if (std::ranges::find(putOff_, base) == putOff_.end()) putOff_.push_back(base);
    return WDB_OK;
}

void Session::submitPutOff() noexcept {
    try {
        for (const auto& base : std::exchange(putOff_, {})) static_cast<void>(submitJob(base));
    } catch (const std::bad_alloc&) {
        // Whoever asks whether the index is behind asks for the job again.
    }
}

Status Session::fail(Status status, std::string_view subject, int32_t position) {
    lastError.position = position;
    lastError.subject.assign(subject);
    lastError.fresh = true;
    return status;
}

void Session::endCall(Status status) {
    snapshots.callEnded();
    if (statuses.empty()) snapshots.dropTemporary();
    if (!putOff_.empty() && !writer.hasWritten()) submitPutOff();
    publishCounts();
    if (ok(status) || status == WDB_FAIL) {
        lastError.fresh = false;
        return;
    }
    lastError.code = status;
    if (!lastError.fresh) {
        lastError.position = 0;
        lastError.subject.clear();
    }
    lastError.fresh = false;
}

void Session::step(int32_t depth, const std::string& what, uint64_t count, std::chrono::nanoseconds time) {
    if (hooks.step == nullptr) return;  // the function before took itself away
    const std::string text = charset.fromUtf8(what);
    const Hooks::Callback running(hooks, Hooks::Calls::Refused);
    hooks.step(hooks.stepContext, depth, text.c_str(), static_cast<int64_t>(count), time.count());
}

void Session::publishCounts() {
    const auto publish = [](std::atomic<int32_t>& count, size_t value) {
        count.store(static_cast<int32_t>(value), std::memory_order_relaxed);
    };
    publish(counts_.controls, controls.size());
    publish(counts_.cursors, cursors.size());
    publish(counts_.rowBuffers, rowBuffers.size());
    publish(counts_.ruleLists, ruleLists.size());
    publish(counts_.savedStatuses, statuses.size());
    publish(counts_.snapshots, snapshots.size());
}

void Session::searched() {
    counts_.sets.store(search.liveSets(), std::memory_order_relaxed);
}

}  // namespace wdb
