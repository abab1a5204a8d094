#pragma once

#include "kernel/rules/RuleContext.h"

namespace wdb {

class Session;

// A session's open unit or load, as rules see it.
class UnitRules final : public RuleContext {
public:
    explicit UnitRules(Session& session) : session_(&session) {}

    Result<std::shared_ptr<OpenBase>> find(Slice name) override;
    Result<std::vector<Referrer>> referrers(Slice name) override;
    UnitBase* joined(const OpenBase& base) const override;
    Result<UnitBase*> join(const std::shared_ptr<OpenBase>& base) override;
    bool mayChange(const BaseDefinition& base, FieldNumber field) const override;

private:
    Session* session_;
};

}  // namespace wdb
