// Work on whole bases: index jobs, backup, compaction, and who is told how far they are.
#include <algorithm>
#include <thread>

#include "kernel/api/ApiCall.h"
#include "kernel/jobs/Backup.h"
#include "kernel/jobs/IndexJob.h"

namespace wdb::api {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kLockSlice{100};  // between two words to the progress function

// The base, when the session's user may work on it as a whole and nothing of the session is in the way: an
// open unit is committed first.
Result<std::shared_ptr<OpenBase>> ownBase(Session& session, std::string_view name) {
    auto base = session.findBase(trimName(name));
    if (!base) return base;
    if (session.writer.readOnly()) return WDB_E_READ_ONLY;
    if (!session.rights.owns(*(*base)->definition())) return session.fail(WDB_E_RIGHT, name);
    WDB_TRY(session.writer.commit());
    return base;
}

Status rebuild(Session& session, const char* baseName, const char* fieldName) {
    const InText name(session, baseName);
    const auto base = ownBase(session, name);
    if (!base) return base.status();
    if (fieldName != nullptr) {
        const InText field(session, fieldName);
        if ((*base)->definition()->schema->find(trimName(field)) == nullptr)
            return session.fail(WDB_E_FIELD, field);
    }
    const auto hold = session.directory->acquireWriter(session.writer.patience());
    if (!hold) return hold.status();
    Progress progress = session.progress();
    const Status status =
        rebuildIndex(*session.directory, *base, *hold, session.clock.nowMicros(), &progress);
    session.snapshots.dropAll();
    return status;
}

Status indexJob(Session& session, int32_t kind, const char* baseName) {
    if (kind != 1 && kind != 2) return WDB_E_ARGUMENT;
    if (kind == 1) return rebuild(session, baseName, nullptr);
    const auto base = session.findBase(trimName(InText(session, baseName)));
    if (!base) return base.status();
    if (session.asyncIndex || session.settings.find("SQL_BATCHINDEX", kAllLevels) == "1")
        return session.submitJob(*base);
    const bool mayMerge = !session.writer.readOnly() && !session.writer.hasWritten();
    return runIndexJob(*session.directory, *base, mayMerge, session.clock.nowMicros());
}

// One try at having nothing pending, for so long: WDB_OK, WDB_FAIL when that is for later.
Status indexAll(Session& session, const std::shared_ptr<OpenBase>& base, std::chrono::milliseconds patience) {
    const auto stamps = base->stamps();
    if (!stamps) return stamps.status();
    if (stamps->pending == 0) return base->catchUp(session.clock.nowMicros());
    // What a unit of the session's own wrote is not indexed before its end.
    if (session.writer.readOnly() || session.writer.hasWritten()) {
        std::this_thread::sleep_for(std::min(patience, std::chrono::milliseconds(10)));
        return WDB_FAIL;
    }
    const auto hold = session.directory->acquireWriter(patience);
    if (!hold) return hold.status() == WDB_E_LOCKED ? WDB_FAIL : hold.status();
    WDB_TRY(mergeQueue(*session.directory, base, *hold));
    return base->catchUp(session.clock.nowMicros());
}

Status waitIndex(Session& session, const char* baseName, int32_t milliseconds) {
    if (milliseconds < 0) return WDB_E_ARGUMENT;
    const auto base = session.findBase(trimName(InText(session, baseName)));
    if (!base) return base.status();
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    Progress progress = session.progress();
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        const Status status =
            indexAll(session, *base, std::clamp(left, std::chrono::milliseconds(0), kLockSlice));
        if (status != WDB_FAIL || left.count() <= 0) return status;
        WDB_TRY(progress.advanceSlowly(0));
    }
}

Status backup(Session& session, const char* baseName, const char* directory) {
    if (directory == nullptr || *directory == '\0') return WDB_E_ARGUMENT;
    Progress progress = session.progress();
    if (baseName == nullptr) {
        if (!session.rights.administrator()) return WDB_E_RIGHT;
        WDB_TRY(session.writer.commit());
        return backupHome(*session.directory, directory, session.writer.patience(), progress);
    }
    const InText name(session, baseName);
    const auto base = session.findBase(trimName(name));
    if (!base) return base.status();
    if (!session.rights.owns(*(*base)->definition())) return session.fail(WDB_E_RIGHT, name);
    WDB_TRY(session.writer.commit());
    return backupBase(**base, directory, progress);
}

Status compact(Session& session, const char* baseName) {
    const InText name(session, baseName);
    const auto base = ownBase(session, name);
    if (!base) return base.status();
    const auto hold = session.directory->acquireWriter(session.writer.patience());
    if (!hold) return hold.status();
    Progress progress = session.progress();
    const Status status = compactBase(*session.directory, *base, *hold, progress);
    if (!ok(status)) static_cast<void>(session.directory->removeLeftovers(*hold));
    session.snapshots.dropAll();
    return status;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbBatchLoadIndex(int32_t kind, const char* baseName, const char*) {
    return call(__func__, [&](Session& session) { return indexJob(session, kind, baseName); });
}

int32_t WdbRebuildIndex(const char* baseName, const char* fieldName) {
    return call(__func__, [&](Session& session) { return rebuild(session, baseName, fieldName); });
}

int32_t WdbWaitIndex(const char* baseName, int32_t milliseconds) {
    return call(__func__, [&](Session& session) { return waitIndex(session, baseName, milliseconds); });
}

int32_t WdbBackupBase(const char* baseName, const char* directory) {
    return call(__func__, [&](Session& session) { return backup(session, baseName, directory); });
}

int32_t WdbCompactBase(const char* baseName) {
    return call(__func__, [&](Session& session) { return compact(session, baseName); });
}

int32_t WdbSetProgress(WdbProgressFn progress, void* context) {
    return call(__func__, [&](Session& session) -> Status {
        session.hooks.progress = progress;
        session.hooks.progressContext = context;
        return WDB_OK;
    });
}
