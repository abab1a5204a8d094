#include "kernel/catalog/CatalogLayout.h"
#include "kernel/catalog/Passwords.h"
#include "kernel/catalog/SystemDirectory.h"

// The part of SystemDirectory that knows who may log on and what was granted to whom.

namespace wdb {

using namespace catalog_layout;

namespace {

Result<UserRecord> userIn(const Txn& txn, Slice name) {
    Slice bytes;
    const Status status = txn.get(kUsers, foldName(name), bytes);
    if (!ok(status)) return status == WDB_FAIL ? Status{WDB_E_USER} : status;
    return decodeUser(bytes);
}

// Is there an administrator but the one of this name?
Result<bool> otherAdministrator(const Txn& txn, Slice name) {
    const std::string key = foldName(name);
    Cursor cursor = txn.cursor(kUsers);
    Status status = cursor.first();
    for (; ok(status); status = cursor.next()) {
        const auto user = decodeUser(cursor.value());
        if (!user) return user.status();
        if (cursor.key() != key && (user->rights & WDB_USER_ADMIN) != 0) return true;
    }
    return status == WDB_FAIL ? Result<bool>(false) : Result<bool>(status);
}

// A home directory without an administrator could not be kept in order by anybody.
Status keepsAdministrator(const Txn& txn, Slice name) {
    const auto other = otherAdministrator(txn, name);
    if (!other) return other.status();
    return *other ? WDB_OK : WDB_E_RIGHT;
}

}  // namespace

Result<UserRecord> SystemDirectory::user(Slice name) const {
    const auto txn = catalog_->read();
    if (!txn) return txn.status();
    return userIn(*txn, name);
}

Result<UserRecord> SystemDirectory::authenticate(Slice name, Slice password) const {
    auto found = user(name);
    if (!found && found.status() != WDB_E_USER) return found;
    const std::string hash = found ? found->passwordHash : std::string();
    if (found && hash.empty() && password.empty()) return found;
    if (hash.empty() || password.empty()) {
        // Refused anyway: what it takes must not tell which names are users.
        static_cast<void>(hashPassword(password.empty() ? Slice("?") : password));
        return Status{WDB_E_USER};
    }
    if (!passwordMatches(hash, password)) return Status{WDB_E_USER};
    return found;
}

Result<UserRecord> SystemDirectory::nextUser(Slice name) const {
    const auto txn = catalog_->read();
    if (!txn) return txn.status();
    const std::string key = foldName(name);
    Cursor cursor = txn->cursor(kUsers);
    Status status = key.empty() ? cursor.first() : cursor.seek(key);
    if (ok(status) && cursor.key() == key) status = cursor.next();
    if (!ok(status)) return status;
    return decodeUser(cursor.value());
}

Status SystemDirectory::storeUser(const UserRecord& user, const WriterHold&) {
    return publish([&](WriteTxn& txn) -> Status {
        if ((user.rights & WDB_USER_ADMIN) == 0) WDB_TRY(keepsAdministrator(txn, user.name));
        return txn.put(kUsers, foldName(user.name), encodeUser(user));
    });
}

Status SystemDirectory::removeUser(Slice name, const WriterHold&) {
    return publish([&](WriteTxn& txn) -> Status {
        const auto found = userIn(txn, name);
        if (!found) return found.status();
        if ((found->rights & WDB_USER_ADMIN) != 0) WDB_TRY(keepsAdministrator(txn, name));
        WDB_TRY(txn.remove(kUsers, foldName(name)));
        Cursor cursor = txn.cursor(kAccess);
        Status status = cursor.first();
        for (; ok(status); status = cursor.next()) {
            if (cursor.key().substr(sizeof(BaseId)) == foldName(name)) WDB_TRY(cursor.remove());
        }
        return status == WDB_FAIL ? WDB_OK : status;
    });
}

Result<WdbAccessRecord> SystemDirectory::accessRecord(BaseId base, Slice name) const {
    const auto txn = catalog_->read();
    if (!txn) return txn.status();
    Slice bytes;
    const Status status = txn->get(kAccess, accessKey(base, name), bytes);
    if (status == WDB_FAIL) return WdbAccessRecord{};
    if (!ok(status)) return status;
    return decodeAccess(bytes);
}

Status SystemDirectory::storeAccess(const BaseDefinition& base, Slice name, const WdbAccessRecord& record,
                                    const WriterHold&) {
    return publish([&](WriteTxn& txn) -> Status {
        Slice bytes;
        const Status found = txn.get(kBases, foldName(base.name), bytes);
        if (!ok(found)) return found == WDB_FAIL ? Status{WDB_E_BASE} : found;
        const auto present = decodeDefinition(bytes);
        if (!present) return present.status();
        if (present->id != base.id) return WDB_E_BASE;
        const std::string granted = encodeAccess(record);
        if (!granted.empty()) return txn.put(kAccess, accessKey(base.id, name), granted);
        const Status status = txn.remove(kAccess, accessKey(base.id, name));
        return status == WDB_FAIL ? WDB_OK : status;
    });
}

}  // namespace wdb
