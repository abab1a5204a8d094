// Opening, binding, closing; saved statuses; hooks; what the process holds.
#include "kernel/api/ApiCall.h"

namespace wdb::api {
namespace {

Status openSession(const char* home, const char* user, const char* password, uint32_t options,
                   WdbSession** session) {
    constexpr uint32_t kOptions = WDB_OPEN_CREATE | WDB_OPEN_READ_ONLY | WDB_OPEN_ASYNC_INDEX;
    if (home == nullptr || *home == '\0' || (options & ~kOptions) != 0) return WDB_E_ARGUMENT;
    const uint64_t id = session_registry::nextId();
    auto opened = Session::open(home, user == nullptr ? "" : user, password == nullptr ? "" : password,
                                options, static_cast<uint16_t>(id & 0x3FFF));
    if (!opened) return opened.status();
    *session = session_registry::add(std::move(*opened), id);
    return WDB_OK;
}

Status lastError(Session& session, int32_t* code, int32_t* position, char* text, int32_t* length) {
    const LastError& error = session.lastError;
    if (text != nullptr || length != nullptr) {
        std::string explanation(statusMessage(error.code == WDB_OK ? WDB_FAIL : error.code));
        if (!error.subject.empty()) {
            if (explanation.ends_with('.')) explanation.pop_back();
            explanation.append(": ").append(error.subject);
        }
        WDB_TRY(putText(&session, explanation, text, length, Overflow::Cut));
    }
    putNumber(code, error.code);
    putNumber(position, error.position);
    return WDB_OK;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbOpenSession(const char* home, const char* user, const char* password, uint32_t options,
                       WdbSession** session) {
    if (session == nullptr) return WDB_E_ARGUMENT;
    *session = nullptr;
    return contained([&] { return openSession(home, user, password, options, session); });
}

int32_t WdbCloseSession(WdbSession** session) {
    if (session == nullptr || *session == nullptr) return WDB_OK;
    return contained([&] {
        const Status status = session_registry::close(*session);
        if (ok(status)) *session = nullptr;
        return status;
    });
}

int32_t WdbBindSession(WdbSession* session) {
    return contained([&] { return session_registry::bind(session); });
}

WdbSession* WdbBoundSession(void) {
    return session_registry::bound();
}

int32_t WdbSaveStatus(void) {
    return call(__func__, [](Session& session) -> Status {
        session.saveStatus();
        return WDB_OK;
    });
}

int32_t WdbLoadStatus(int32_t mode) {
    return call(__func__, [&](Session& session) -> Status {
        if (mode < 1 || mode > 3) return WDB_E_ARGUMENT;
        return session.loadStatus((mode & 1) != 0, (mode & 2) != 0);
    });
}

int32_t WdbLastError(int32_t* code, int32_t* position, char* text, int32_t* length) {
    return call(__func__, [&](Session& session) { return lastError(session, code, position, text, length); });
}

int32_t WdbLiveHandles(WdbLiveCounts* counts) {
    return call(__func__, [&](Session&) -> Status {
        if (counts == nullptr) return WDB_E_ARGUMENT;
        session_registry::liveCounts(*counts);
        return WDB_OK;
    });
}

// The hooks are set outside their own reach: a trace does not see the call that sets it.
int32_t WdbSetTrace(WdbTraceFn trace, void* context) {
    Session* session = boundSession();
    if (session == nullptr) return WDB_E_NO_SESSION;
    session->hooks.trace = trace;
    session->hooks.traceContext = context;
    session->hooks.update();
    return WDB_OK;
}

int32_t WdbSetProfile(WdbStepFn step, void* context) {
    return call(__func__, [&](Session& session) -> Status {
        session.hooks.step = step;
        session.hooks.stepContext = context;
        return WDB_OK;
    });
}

int32_t WdbInjectFailure(const char* function, int32_t skip, int32_t status) {
    Session* session = boundSession();
    if (session == nullptr) return WDB_E_NO_SESSION;
    if (skip < 0 || status < 0) return WDB_E_ARGUMENT;
    return contained([&]() -> Status {
        session->hooks.function = function == nullptr ? "" : function;
        session->hooks.skip = skip;
        session->hooks.failure = status;
        session->hooks.update();
        return WDB_OK;
    });
}
