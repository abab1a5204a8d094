// Users, and who may do what with which base.
#include "kernel/api/ApiCall.h"
#include "kernel/catalog/Names.h"
#include "kernel/catalog/Passwords.h"
#include "kernel/common/Ascii.h"

namespace wdb::api {
namespace {

// What changes the catalogue begins so: the session's own unit is committed, then it is the writer.
Result<WriterHold> beginChange(Session& session) {
    if (session.writer.readOnly()) return Status{WDB_E_READ_ONLY};
    const Status status = session.writer.commit();
    if (!ok(status)) return status;
    return session.directory->acquireWriter(session.writer.patience());
}

Status getDbAccess(Session& session, const char* userName, WdbAccessRecord* record) {
    session.accessTarget.reset();
    if (session.checkedBase == nullptr) return WDB_E_NOT_CHECKED;
    const auto base = session.checkedBase;
    const auto present = session.directory->definition(base->name);
    if (!present || (*present)->id != base->id) return WDB_E_NOT_CHECKED;
    const InText text(session, userName);
    const std::string_view name = trimName(text);
    if (!validGrantee(name)) return session.fail(WDB_E_NAME, name.substr(0, WDB_BASE_NAME_MAX));
    if (!session.rights.owns(**present)) return session.fail(WDB_E_RIGHT, base->name);
    if (record == nullptr) return WDB_E_ARGUMENT;
    const auto found = session.directory->accessRecord(base->id, name);
    if (!found) return found.status();
    *record = *found;
    session.accessTarget = {base, std::string(name)};
    return WDB_OK;
}

Status putDbAccess(Session& session, const WdbAccessRecord* record) {
    if (!session.accessTarget) return WDB_E_NOT_CHECKED;
    if (record == nullptr) return WDB_E_ARGUMENT;
    const auto hold = beginChange(session);
    if (!hold) return hold.status();
    const auto present = session.directory->definition(session.accessTarget->base->name);
    if (!present || (*present)->id != session.accessTarget->base->id) return WDB_E_NOT_CHECKED;
    if (!session.rights.owns(**present)) return session.fail(WDB_E_RIGHT, (*present)->name);
    return session.directory->storeAccess(**present, session.accessTarget->user, *record, *hold);
}

Status putUser(Session& session, std::string_view given, const char* password, uint32_t rights) {
    const std::string_view name = trimName(given);
    if (!validUserName(name)) return session.fail(WDB_E_NAME, name.substr(0, WDB_BASE_NAME_MAX));
    if ((rights & ~(WDB_USER_ADMIN | WDB_USER_CREATE)) != 0) return WDB_E_ARGUMENT;
    const bool administrator = session.rights.administrator();
    if (!administrator && !equalsIgnoreCase(name, session.rights.user()))
        return session.fail(WDB_E_RIGHT, name);
    const InText text(session, password);
    const auto hash = hashPassword(text);  // takes its time, so before anybody has to wait
    if (!hash) return hash.status();
    const auto hold = beginChange(session);
    if (!hold) return hold.status();
    const auto before = session.directory->user(name);
    if (!before && (before.status() != WDB_E_USER || !administrator)) return before.status();
    UserRecord user = before ? *before : UserRecord{std::string(name), {}, 0};
    if (password != nullptr) user.passwordHash = *hash;
    // Nobody gives rights to himself; asking anew, for they may have been taken while the lock was waited
    // for.
    if (session.rights.administrator())
        user.rights = rights;
    else if (administrator)
        return session.fail(WDB_E_RIGHT, name);
    return session.directory->storeUser(user, *hold);
}

Status deleteUser(Session& session, std::string_view given) {
    const std::string_view name = trimName(given);
    if (!session.rights.administrator()) return session.fail(WDB_E_RIGHT, name);
    const auto hold = beginChange(session);
    if (!hold) return hold.status();
    if (!session.rights.administrator()) return session.fail(WDB_E_RIGHT, name);
    const Status status = session.directory->removeUser(name, *hold);
    return ok(status) ? status : session.fail(status, name.substr(0, WDB_BASE_NAME_MAX));
}

Status nextUser(Session& session, char* name, int32_t* length, uint32_t* rights) {
    if (!canPut(name, length)) return WDB_E_ARGUMENT;
    if (!session.rights.administrator()) return WDB_E_RIGHT;
    const InText from(session, std::string_view(name, strnlen(name, static_cast<size_t>(*length))));
    const auto user = session.directory->nextUser(from);
    if (!user) return user.status();
    WDB_TRY(putText(&session, user->name, name, length));
    if (rights != nullptr) *rights = user->rights;
    return WDB_OK;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbGetDbAccess(const char* userName, WdbAccessRecord* record) {
    return call(__func__, [&](Session& session) { return getDbAccess(session, userName, record); });
}

int32_t WdbPutDbAccess(const WdbAccessRecord* record) {
    return call(__func__, [&](Session& session) { return putDbAccess(session, record); });
}

int32_t WdbPutUser(const char* name, const char* password, uint32_t rights) {
    return call(__func__,
                [&](Session& session) { return putUser(session, InText(session, name), password, rights); });
}

int32_t WdbDeleteUser(const char* name) {
    return call(__func__, [&](Session& session) { return deleteUser(session, InText(session, name)); });
}

int32_t WdbNextUser(char* name, int32_t* length, uint32_t* rights) {
    return call(__func__, [&](Session& session) { return nextUser(session, name, length, rights); });
}
