#pragma once

#include <cstdint>

#include "include/wdb.h"
#include "kernel/common/Status.h"
#include "kernel/session/Session.h"

namespace wdb {

// The session bound to the calling thread, or null.
Session* boundSession();

// The sessions of the process, known by their handles, and which thread each is bound to. The one place where
// the process itself is the owner: no call of the API carries a session. Safe from all threads; nothing here
// is on the road of a statement but boundSession().
namespace session_registry {

WdbSession* add(std::unique_ptr<Session> session, uint64_t id);
// A number for the next session.
uint64_t nextId();
// Binds to the calling thread in place of the present session; null unbinds. WDB_E_SESSION_BUSY,
// WDB_E_HANDLE.
Status bind(WdbSession* session);
WdbSession* bound();
// WDB_E_SESSION_BUSY when another thread has it bound, WDB_E_HANDLE.
Status close(WdbSession* session);
// Frees memory of WdbGetRows, whichever session it is from unless that works on another thread. False when
// nobody knows it.
bool deallocate(void* memory);
void liveCounts(WdbLiveCounts& counts);

}  // namespace session_registry

}  // namespace wdb
