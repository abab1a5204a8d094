// Functions that are declared and not built yet; kernel/README.md lists them. They answer WDB_E_UNSUPPORTED
// and leave their outputs alone.
#include "kernel/api/ApiCall.h"

namespace wdb::api {
namespace {

Status later(const char* function) {
    return call(function, [](Session&) -> Status { return WDB_E_UNSUPPORTED; });
}

}  // namespace
}  // namespace wdb::api

using wdb::api::later;

// Loaders.
int32_t WdbInsertItem(WdbCursor*, const char*, int32_t) {
    return later(__func__);
}
int32_t WdbNextRecordInBase(WdbRecordControl*, int32_t*) {
    return later(__func__);
}
int32_t WdbPutRecordAs(WdbRecordControl*, int32_t) {
    return later(__func__);
}

// Indexes, upkeep, observation.
int32_t WdbRebuildIndex(const char*, const char*) {
    return later(__func__);
}
int32_t WdbWaitIndex(const char*, int32_t) {
    return later(__func__);
}
int32_t WdbBackupBase(const char*, const char*) {
    return later(__func__);
}
int32_t WdbCompactBase(const char*) {
    return later(__func__);
}
int32_t WdbSetProgress(WdbProgressFn, void*) {
    return later(__func__);
}

// Definitions, rights, users.
int32_t WdbDeleteBaseDef(void) {
    return later(__func__);
}
int32_t WdbGetFieldSpecByNumber(int32_t, WdbFieldSpec*) {
    return later(__func__);
}
int32_t WdbDeleteFieldSpec(const char*) {
    return later(__func__);
}
int32_t WdbDeleteForeignKey(const char*) {
    return later(__func__);
}
int32_t WdbSetBaseOwner(const char*, const char*) {
    return later(__func__);
}
int32_t WdbGetDbAccess(const char*, WdbAccessRecord*) {
    return later(__func__);
}
int32_t WdbPutDbAccess(const WdbAccessRecord*) {
    return later(__func__);
}
int32_t WdbPutUser(const char*, const char*, uint32_t) {
    return later(__func__);
}
int32_t WdbDeleteUser(const char*) {
    return later(__func__);
}
int32_t WdbNextUser(char*, int32_t*, uint32_t*) {
    return later(__func__);
}
