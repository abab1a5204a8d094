#include "kernel/session/UnitRules.h"

#include "kernel/session/Session.h"

namespace wdb {

Result<std::shared_ptr<OpenBase>> UnitRules::find(Slice name) {
    return session_->directory->find(name, session_->writer.hold());
}

Result<std::vector<Referrer>> UnitRules::referrers(Slice name) {
    return session_->directory->referrers(name);
}

UnitBase* UnitRules::joined(const OpenBase& base) const {
    return session_->writer.joined(base);
}

Result<UnitBase*> UnitRules::join(const std::shared_ptr<OpenBase>& base) {
    return session_->writer.join(base);
}

bool UnitRules::mayChange(const BaseDefinition& base, FieldNumber field) const {
    return field == 0 ? session_->rights.mayMakeRecords(base) : session_->rights.mayWrite(base, field);
}

}  // namespace wdb
