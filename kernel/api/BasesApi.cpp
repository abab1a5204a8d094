// What is known of a base: information, the checked base and its rules.
#include <cstring>
#include <utility>

#include "include/wdb_bulk.h"
#include "kernel/api/ApiCall.h"
#include "kernel/common/Ascii.h"

namespace wdb::api {
namespace {

Status putInt(int32_t value, void* info, int32_t* length) {
    if (*length < static_cast<int32_t>(sizeof value)) {
        *length = sizeof value;
        return WDB_E_BUFFER;
    }
    std::memcpy(info, &value, sizeof value);
    *length = sizeof value;
    return WDB_OK;
}

Status countInfo(Session& session, std::string_view name, void* info, int32_t* length) {
    const auto base = session.findBase(name);
    if (!base) return base.status();
    const auto count = session.recordCount(*base);
    return count ? putInt(static_cast<int32_t>(*count), info, length) : count.status();
}

Status baseInfo(Session& session, const char* baseName, int32_t item, void* info, int32_t* length) {
    if (item < 1 || item > 7 || info == nullptr || length == nullptr || *length < 1) return WDB_E_ARGUMENT;
    const InText name(session, baseName);
    const auto definition = session.directory->definition(trimName(name));
    if (!definition) return session.fail(definition.status(), name);
    const BaseDefinition& base = **definition;
    auto* text = static_cast<char*>(info);
    if (item == 2) return putText(&session, base.baseFile, text, length);
    if (!session.rights.mayRead(base)) return session.fail(WDB_E_BASE, name);
    switch (item) {
        case 1:
            return putText(&session, base.comment, text, length);
        case 3: {
            const FieldDefinition* key = base.schema->find(base.uniqueKey);
            return key == nullptr ? WDB_FAIL : putText(&session, key->name, text, length);
        }
        case 4:
            return putInt(base.schema->highest(), info, length);
        case 5:
            return putText(&session, base.owner, text, length);
        case 6:
            return putText(&session, base.charset, text, length);
        default:
            return countInfo(session, name, info, length);
    }
}

Status baseFields(Session& session, const char* baseName, WdbFieldEntry* fields, int32_t* count) {
    if (count == nullptr || *count < 0 || (fields == nullptr && *count > 0)) return WDB_E_ARGUMENT;
    if (session.hooks.any) return WDB_E_UNSUPPORTED;
    const auto base = session.findBase(trimName(InText(session, baseName)));
    if (!base) return base.status();
    const auto definition = (*base)->definition();
    const std::vector<FieldDefinition>& all = definition->schema->fields();
    const int32_t room = std::exchange(*count, static_cast<int32_t>(all.size()));
    if (*count > room) return WDB_E_BUFFER;
    for (const FieldDefinition& field : all) {
        WdbFieldEntry& entry = *fields++;
        putName(session, field.name, entry.name, sizeof entry.name);
        entry.number = field.number;
        entry.type = static_cast<int32_t>(field.type);
        entry.flags = field.flags();
        entry.key = field.number == definition->uniqueKey ? 1 : 0;
    }
    return WDB_OK;
}

Status checkBase(Session& session, const char* baseName, int32_t mode) {
    session.checkedBase.reset();
    session.accessTarget.reset();
    if (mode != 1 && mode != 3) return WDB_E_ARGUMENT;
    const InText name(session, baseName);
    const auto base = session.findBase(trimName(name));
    if (!base) return base.status();
    auto definition = (*base)->definition();
    if (mode == 3 && !session.rights.owns(*definition)) return session.fail(WDB_E_RIGHT, name);
    session.checkedBase = std::move(definition);
    return WDB_OK;
}

WdbIntegrityRule ruleRecord(Session& session, int32_t kind, const BaseDefinition& base,
                            const ReferenceRule& rule) {
    WdbIntegrityRule record{};
    record.kind = kind;
    record.deleteAction = rule.deleteAction;
    record.updateAction = rule.updateAction;
    putName(session, base.name, record.fkTable, sizeof record.fkTable);
    if (const FieldDefinition* field = base.schema->find(rule.field)) {
        putName(session, field->name, record.fkColumn, sizeof record.fkColumn);
    }
    putName(session, rule.table, record.pkTable, sizeof record.pkTable);
    putName(session, rule.column, record.pkColumn, sizeof record.pkColumn);
    return record;
}

Status integrityRules(Session& session, WdbIntegrityRules** rules) {
    if (rules == nullptr) return WDB_E_ARGUMENT;
    if (session.checkedBase == nullptr) return WDB_E_NOT_CHECKED;
    const auto checked = session.directory->definition(session.checkedBase->name);
    if (!checked || (*checked)->id != session.checkedBase->id || !session.rights.mayRead(**checked)) {
        session.checkedBase.reset();  // it was dropped meanwhile, or taken away from the user
        return WDB_E_NOT_CHECKED;
    }
    const auto all = session.directory->definitions();
    if (!all) return all.status();
    auto list = std::make_unique<RuleList>();
    for (const ReferenceRule& rule : (*checked)->rules)
        list->rules.push_back(ruleRecord(session, 1, **checked, rule));
    for (const auto& other : *all) {
        for (const ReferenceRule& rule : other->rules) {
            if (equalsIgnoreCase(rule.table, (*checked)->name))
                list->rules.push_back(ruleRecord(session, 2, *other, rule));
        }
    }
    list->head.count = static_cast<int32_t>(list->rules.size());
    list->head.rule = list->rules.empty() ? nullptr : list->rules.data();
    session.ruleLists.push_back(std::move(list));
    *rules = &session.ruleLists.back()->head;
    return WDB_OK;
}

Status freeRules(Session& session, WdbIntegrityRules** rules) {
    const size_t freed =
        std::erase_if(session.ruleLists, [&](const auto& list) { return &list->head == *rules; });
    if (freed == 0) return WDB_E_HANDLE;
    *rules = nullptr;
    return WDB_OK;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbBaseFields(const char* baseName, WdbFieldEntry* fields, int32_t* count) {
    return call(__func__, [&](Session& session) { return baseFields(session, baseName, fields, count); });
}

int32_t WdbBaseInfo(const char* baseName, int32_t item, void* info, int32_t* length) {
    return call(__func__, [&](Session& session) { return baseInfo(session, baseName, item, info, length); });
}

int32_t WdbCheckBase(const char* baseName, int32_t mode) {
    return call(__func__, [&](Session& session) { return checkBase(session, baseName, mode); });
}

int32_t WdbGetIntegrityRules(WdbIntegrityRules** rules) {
    if (rules != nullptr) *rules = nullptr;
    return call(__func__, [&](Session& session) { return integrityRules(session, rules); });
}

int32_t WdbFreeIntegrityRules(WdbIntegrityRules** rules) {
    return call(__func__, [&](Session& session) -> Status {
        return rules == nullptr || *rules == nullptr ? WDB_OK : freeRules(session, rules);
    });
}
