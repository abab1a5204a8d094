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

// Rights, users.
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
