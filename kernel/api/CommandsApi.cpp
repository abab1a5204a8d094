// Commands: given at once, or through the command object; extension routines.
#include <chrono>

#include "kernel/api/ApiCall.h"
#include "kernel/session/Routines.h"

namespace wdb::api {
namespace {

// Runs a command and tells the profile function of it, behind its steps.
Status profiled(Session& session, std::string_view text) {
    const int32_t newest = session.search.save().counter;
    const auto begin = std::chrono::steady_clock::now();
    const Status status = session.search.execute(text);
    const std::chrono::nanoseconds spent = std::chrono::steady_clock::now() - begin;
    SearchCounts counts;
    const int32_t now = session.search.save().counter;
    const bool made = now > newest && ok(session.search.counts(now, counts));
    session.step(0, std::string(text), made ? static_cast<uint64_t>(counts.rows) : 0, spent);
    return status;
}

Status execute(Session& session, const char* command) {
    const InText text(session, command);
    const Status status =
        session.hooks.step == nullptr ? session.search.execute(text) : profiled(session, text);
    session.searched();
    if (ok(status)) return status;
    const CommandError& error = session.search.error();
    return session.fail(status, error.subject, positionIn(session, text, error.position));
}

Status order(Session& session) {
    const auto command = session.commandObject.order();
    return command ? execute(session, command->c_str()) : session.fail(WDB_E_CCL_SYNTAX, {});
}

// The routine's own status is the answer. It may call the kernel, but not take the session away meanwhile.
Status callRoutine(Session& session, const WdbAse* handle, const char* argument, char* result,
                   int32_t* length) {
    const auto routine = routines::find(handle);
    if (!routine) return routine.status();
    const Hooks::Callback running(session.hooks);
    return routine->function(routine->context, argument == nullptr ? "" : argument, result, length);
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbExecuteCcl(const char* command, int32_t* statusOut) {
    const Status status = call(__func__, [&](Session& session) { return execute(session, command); });
    putNumber(statusOut, status);
    return status;
}

int32_t WdbShellDaoPtr(WdbCommandObject** object, const char*, ...) {
    if (object != nullptr) *object = nullptr;
    return call(__func__, [&](Session& session) -> Status {
        if (object == nullptr) return WDB_E_ARGUMENT;
        *object = session.commandObject.cleared();
        return WDB_OK;
    });
}

int32_t WdbShellToDao(WdbCommandObject* object) {
    return call(__func__, [&](Session& session) { return session.commandObject.take(object); });
}

int32_t WdbDaoOrder(int32_t* statusOut) {
    const Status status = call(__func__, order);
    if (Session* session = boundSession()) session->commandObject.answered(status);
    putNumber(statusOut, status);
    return status;
}

int32_t WdbLoadAse(const char* name, WdbAse** routine) {
    if (routine != nullptr) *routine = nullptr;
    return call(__func__, [&](Session& session) -> Status {
        if (routine == nullptr) return WDB_E_ARGUMENT;
        const InText text(session, name);
        const auto found = routines::load(text);
        if (!found) return session.fail(found.status(), text);
        *routine = *found;
        return WDB_OK;
    });
}

int32_t WdbCallAse(WdbAse* routine, const char* argument, char* result, int32_t* length) {
    return call(__func__,
                [&](Session& session) { return callRoutine(session, routine, argument, result, length); });
}

int32_t WdbRegisterAse(const char* name, WdbAseFn function, void* context) {
    return call(__func__, [&](Session& session) {
        return routines::add(InText(session, name), {function, context});
    });
}

int32_t WdbUnregisterAse(const char* name) {
    return call(__func__, [&](Session& session) { return routines::remove(InText(session, name)); });
}
