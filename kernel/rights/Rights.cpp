#include "kernel/rights/Rights.h"

#include "kernel/catalog/Names.h"
#include "kernel/common/Ascii.h"

namespace wdb {

namespace {

bool sameName(Slice a, Slice b) {
    return equalsIgnoreCase(trimName(a), trimName(b));
}

}  // namespace

void Rights::Granted::addAll(uint8_t rights) {
    all |= rights;
    for (uint8_t& one : field) one |= rights;
}

void Rights::Granted::add(const WdbAccessRecord& record) {
    addAll(record.baseRights & (kRead | kWrite));
    if (record.fieldwise == 0) return;
    for (size_t i = 0; i < field.size(); ++i) field[i] |= record.field[i] & (kRead | kWrite);
}

void Rights::makeCurrent() {
    // The version before what it stands for: what is read may be newer than it says, never older.
    const uint64_t version = directory_->version();
    if (version == version_ && SharedCounter::settled(version)) [[likely]]
        return;
    version_ = version;
    ++state_;
    bases_.clear();
    last_ = nullptr;
    const auto user = directory_->user(user_);
    known_ = static_cast<bool>(user);
    userRights_ = user ? user->rights : 0;
}

std::string Rights::owner() {
    makeCurrent();
    return known_ ? user_ : std::string();
}

bool Rights::administrator() {
    makeCurrent();
    return (userRights_ & WDB_USER_ADMIN) != 0;
}

bool Rights::mayCreate() {
    makeCurrent();
    return (userRights_ & (WDB_USER_ADMIN | WDB_USER_CREATE)) != 0;
}

const Rights::Granted& Rights::granted(const BaseDefinition& base) {
    makeCurrent();
    if (last_ != nullptr && lastBase_ == base.id) [[likely]]
        return *last_;
    auto place = bases_.find(base.id);
    if (place == bases_.end()) place = bases_.emplace(base.id, work(base)).first;
    lastBase_ = base.id;
    last_ = &place->second;
    return *last_;
}

Rights::Granted Rights::work(const BaseDefinition& base) {
    Granted rights;
    // Callers may hold a definition from before the base changed hands.
    const auto present = directory_->definition(base.name);
    const BaseDefinition& now = present && (*present)->id == base.id ? **present : base;
    rights.everything = (userRights_ & WDB_USER_ADMIN) != 0 || (known_ && sameName(now.owner, user_));
    if (rights.everything) {
        rights.addAll(kRead | kWrite);
        rights.readsSome = rights.writesSome = true;
        return rights;
    }
    const auto common = directory_->accessRecord(base.id, kPublic);
    if (common) rights.add(*common);
    if (known_) {
        const auto own = directory_->accessRecord(base.id, user_);
        if (own) rights.add(*own);
    }
    for (const FieldDefinition& field : now.schema->fields()) {
        rights.readsSome = rights.readsSome || (rights.on(field.number) & kRead) != 0;
        rights.writesSome = rights.writesSome || (rights.on(field.number) & kWrite) != 0;
    }
    return rights;
}

}  // namespace wdb
