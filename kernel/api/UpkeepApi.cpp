// Index dates, loads, verification.
#include <array>

#include "include/wdb_bulk.h"
#include "kernel/api/ApiCall.h"
#include "kernel/check/ReferenceVerifier.h"

namespace wdb::api {
namespace {

// Date in the session's form, a blank, HH:MM:SS and six digits of microseconds: equal lengths order as text
// under form 1.
std::string stampText(const Session& session, LocalMicros stamp) {
    const LocalTime time = toLocalTime(stamp);
    std::string text;
    renderDate(time.day, session.dates, text);
    text.push_back(' ');
    renderTime(time.second, text);
    const std::string micros = std::to_string(time.micro);
    text.append(1, '.').append(6 - std::min<size_t>(micros.size(), 6), '0').append(micros);
    return text;
}

// A text that the caller may leave out altogether.
struct OptionalText {
    char* text;
    int32_t* length;

    bool wanted() const { return text != nullptr || length != nullptr; }
    bool fits(const std::string& value) const {
        return !wanted() || (canPut(text, length) && value.size() < static_cast<size_t>(*length));
    }
    Status put(Session& session, const std::string& value) const {
        return wanted() ? putText(&session, value, text, length) : WDB_OK;
    }
};

struct StatusOut {
    OptionalText modified;
    OptionalText indexed;
    int32_t* records;
    int32_t* pending;
};

Result<BaseStamps> stampsOf(Session& session, const char* baseName) {
    const auto base = session.findBase(trimName(InText(session, baseName)));
    if (!base) return base.status();
    const UnitBase* own = session.writer.unitBase(**base);
    if (own == nullptr) own = session.writer.loadBase(**base);
    return (*base)->stamps(own);
}

Status indexBehind(Session& session, const char* baseName, int32_t* behind) {
    if (behind == nullptr) return WDB_E_ARGUMENT;
    if (session.hooks.any) return WDB_E_UNSUPPORTED;
    const auto stamps = stampsOf(session, baseName);
    if (!stamps) return stamps.status();
    *behind = stamps->modified > stamps->indexed ? 1 : 0;
    return WDB_OK;
}

Status baseStatus(Session& session, const char* baseName, const StatusOut& out) {
    const auto stamps = stampsOf(session, baseName);
    if (!stamps) return stamps.status();
    const std::string modified = stampText(session, stamps->modified);
    const std::string indexed = stampText(session, stamps->indexed);
    // The one that fits is left alone when the other does not.
    if (out.modified.fits(modified)) WDB_TRY(out.indexed.put(session, indexed));
    WDB_TRY(out.modified.put(session, modified));
    putNumber(out.records, static_cast<int64_t>(stamps->liveCount));
    putNumber(out.pending, static_cast<int64_t>(stamps->pending));
    return WDB_OK;
}

Status beginLoad(Session& session, const char* baseName) {
    const auto base = session.findBase(trimName(InText(session, baseName)));
    if (!base) return base.status();
    if (!session.rights.mayMakeRecords(*(*base)->definition())) return WDB_E_RIGHT;
    return session.writer.beginLoad(
        *base, [&session](uint64_t done, uint64_t total) { return session.progressed(done, total); });
}

Status endLoad(Session& session, const char* baseName, int32_t commit) {
    const auto base = session.findBase(trimName(InText(session, baseName)));
    if (!base) return base.status();
    return session.writer.endLoad(**base, commit != 0);
}

Status verify(Session& session, const char* baseName, uint32_t options, WdbReportFn report, void* context) {
    if ((options & ~3u) != 0) return WDB_E_ARGUMENT;
    const auto base = session.findBase(trimName(InText(session, baseName)));
    if (!base) return base.status();
    if (!session.rights.owns(*(*base)->definition())) return WDB_E_RIGHT;
    if (session.writer.loadBase(**base) != nullptr) return WDB_E_LOCKED;
    const auto sink = [&](Severity severity, RecordNumber record, const std::string& text) {
        if (report != nullptr) {
            const std::string out = session.charset.fromUtf8(text);
            const Hooks::Callback running(session.hooks, Hooks::Calls::Refused);  // the snapshot has to stay
            static_cast<void>(
                report(context, static_cast<int32_t>(severity), static_cast<int32_t>(record), out.c_str()));
        }
        return true;
    };
    Progress progress = session.progress();
    VerifyOptions wanted{
        .skipIndex = (options & 1) != 0, .stopAtFirst = (options & 2) != 0, .progress = &progress};
    bool indexDamaged = false;
    WDB_TRY(verifyFiles(**base, wanted, sink, indexDamaged));
    if (indexDamaged && wanted.stopAtFirst) return WDB_E_CORRUPT;
    wanted.skipIndex |= indexDamaged;
    const auto state = session.snapshot(*base);
    if (!state) return state.status();
    const Status records = verifyBase(**state, wanted, sink);
    if ((!ok(records) && records != WDB_E_CORRUPT) || (!ok(records) && wanted.stopAtFirst)) return records;
    const auto snapshot = [&](const std::shared_ptr<OpenBase>& other) {
        return other->snapshot(session.writer.joined(*other));
    };
    const ReferenceCheck check{*session.directory, snapshot, session.writer.hold() != nullptr,
                               session.writer.patience()};
    const Status references = verifyReferences(*base, check, wanted, sink);
    if (!ok(references)) return references;
    return indexDamaged ? WDB_E_CORRUPT : records;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbIndexBehind(const char* baseName, int32_t* behind) {
    return call(__func__, [&](Session& session) { return indexBehind(session, baseName, behind); });
}

int32_t WdbBaseStatus(const char* baseName, char* modificationDate, int32_t* modificationLength,
                      char* indexDate, int32_t* indexLength, int32_t* recordCount, int32_t* pendingCount) {
    return call(__func__, [&](Session& session) {
        return baseStatus(
            session, baseName,
            {{modificationDate, modificationLength}, {indexDate, indexLength}, recordCount, pendingCount});
    });
}

int32_t WdbBeginLoad(const char* baseName, uint32_t) {
    return call(__func__, [&](Session& session) { return beginLoad(session, baseName); });
}

int32_t WdbEndLoad(const char* baseName, int32_t commit) {
    return call(__func__, [&](Session& session) { return endLoad(session, baseName, commit); });
}

int32_t WdbVerifyBase(const char* baseName, uint32_t options, WdbReportFn report, void* context) {
    return call(__func__,
                [&](Session& session) { return verify(session, baseName, options, report, context); });
}
