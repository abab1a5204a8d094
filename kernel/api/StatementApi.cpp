// Calls that do at once what a statement needs commands for.
#include "include/wdb_bulk.h"
#include "kernel/api/ApiCall.h"

namespace wdb::api {
namespace {

// Whoever looks on sees the commands.
bool watched(const Session& session) {
    return session.hooks.any || session.hooks.step != nullptr;
}

Status allowNoHits(Session& session) {
    if (watched(session)) return WDB_E_UNSUPPORTED;
    session.search.setFindMinimum(0);
    return WDB_OK;
}

// A state that is taken now tells as much as another look at the file, and the search that follows uses it.
// One that the session has kept is older.
Result<BaseStamps> newStamps(Session& session, const std::shared_ptr<OpenBase>& base) {
    if (session.snapshotsStay() && !session.snapshots.keeps(*base)) {
        const auto taken = session.snapshot(base);
        if (taken) return base->stamps((*taken)->meta());
    }
    return base->stamps(nullptr);
}

Result<bool> isBehind(Session& session, const std::shared_ptr<OpenBase>& base) {
    const UnitBase* own = session.writer.unitBase(*base);
    if (own == nullptr) own = session.writer.loadBase(*base);
    const auto stamps = own == nullptr ? newStamps(session, base) : base->stamps(own);
    if (!stamps) return stamps.status();
    return stamps->modified > stamps->indexed;
}

// What BAS leaves: no set is made before somebody asks for the result.
void open(Search& search, const std::shared_ptr<OpenBase>& base) {
    SearchState state = search.save();
    state.bases.assign(1, base);
    state.current = {true, 0};
    search.restore(state);
}

Status openIndexed(Session& session, const char* baseName, int32_t* behind) {
    if (behind == nullptr) return WDB_E_ARGUMENT;
    if (watched(session)) return WDB_E_UNSUPPORTED;
    const InText name(session, baseName);
    const auto base = session.findBase(trimName(name));
    if (!base) return base.status();
    const auto late = isBehind(session, *base);
    if (!late) return late.status();
    *behind = *late ? 1 : 0;
    if (!*late) open(session.search, *base);
    return WDB_OK;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbAllowNoHits(void) {
    return call(__func__, [](Session& session) { return allowNoHits(session); });
}

int32_t WdbOpenIndexed(const char* baseName, int32_t* behind) {
    return call(__func__, [&](Session& session) { return openIndexed(session, baseName, behind); });
}
