#pragma once

#include <memory>

#include "kernel/catalog/SessionUnit.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Status.h"

namespace wdb {

// What rules that reach beyond one base ask of the unit and the session in which a record changes. The
// writer's lock is held as long as it is in use, so that definitions and records of all bases stand still.
class RuleContext {
public:
    virtual ~RuleContext() = default;
    // The open base of that name. WDB_E_BASE.
    virtual Result<std::shared_ptr<OpenBase>> find(Slice name) = 0;
    // The rules whose values are keys of the base of that name.
    virtual Result<std::vector<Referrer>> referrers(Slice name) = 0;
    // The base's part of the unit, or null when the unit has not written to it.
    virtual UnitBase* joined(const OpenBase& base) const = 0;
    virtual Result<UnitBase*> join(const std::shared_ptr<OpenBase>& base) = 0;
    // Whether the session's user may write a field of a base, or (field 0) make and delete its records.
    virtual bool mayChange(const BaseDefinition& base, FieldNumber field) const = 0;
};

}  // namespace wdb
