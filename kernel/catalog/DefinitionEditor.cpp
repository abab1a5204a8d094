#include "kernel/catalog/DefinitionEditor.h"

#include <algorithm>

#include "kernel/catalog/DefinitionRecords.h"
#include "kernel/catalog/Names.h"
#include "kernel/common/Ascii.h"

namespace wdb {

namespace {

bool sameName(Slice a, Slice b) {
    return equalsIgnoreCase(trimName(a), trimName(b));
}

bool isUnique(const BaseDefinition& definition, const FieldDefinition& field) {
    return field.key || field.number == definition.uniqueKey;
}

}  // namespace

FieldDefinition* DefinitionEditor::findField(Slice name) {
    const auto place =
        std::find_if(current_->fields.begin(), current_->fields.end(),
                     [name](const FieldDefinition& field) { return sameName(field.name, name); });
    return place == current_->fields.end() ? nullptr : &*place;
}

const FieldDefinition* DefinitionEditor::findField(Slice name) const {
    return const_cast<DefinitionEditor*>(this)->findField(name);
}

Status DefinitionEditor::getBaseDef(const Actor& actor, Slice name, WdbBaseDef* definition) {
    current_.reset();
    if (definition == nullptr) return WDB_E_ARGUMENT;
    name = trimName(name);
    if (!validBaseName(name)) return WDB_E_NAME;
    const auto stored = directory_->definition(name);
    if (!stored && stored.status() != WDB_E_BASE) return stored.status();
    Current current;
    if (stored) {
        if (!actor.owns(**stored)) return WDB_E_RIGHT;
        current.definition = **stored;
        current.fields = (*stored)->schema->fields();
        current.isNew = false;
    } else {
        if (!actor.administrator && !actor.mayCreate) return WDB_E_RIGHT;
        current.definition.name = name;
        current.definition.schema = std::make_shared<const Schema>();
    }
    fillRecord(current.definition, current.isNew, *definition);
    current_ = std::move(current);
    return WDB_OK;
}

bool Actor::owns(const BaseDefinition& base) const {
    return administrator || (!user.empty() && sameName(base.owner, user));
}

Status DefinitionEditor::deleteBaseDef(const Actor& actor, std::chrono::milliseconds patience) {
    if (!current_ || current_->isNew) return WDB_E_NO_DEFINITION;
    if (actor.readOnly) return WDB_E_READ_ONLY;
    const BaseId id = current_->definition.id;
    const std::string name = current_->definition.name;
    const auto hold = directory_->acquireWriter(patience);
    if (!hold) return hold.status();
    const auto stored = directory_->definition(name);
    // Dropped meanwhile, and perhaps another one made: not the base that was meant.
    if (!stored || (*stored)->id != id) return WDB_E_NO_DEFINITION;
    if (!actor.owns(**stored)) return WDB_E_RIGHT;
    WDB_TRY(directory_->dropBase(name, *hold));
    current_.reset();
    return WDB_OK;
}

Status DefinitionEditor::setBaseOwner(const Actor& actor, Slice name, Slice owner,
                                      std::chrono::milliseconds patience) {
    if (actor.readOnly) return WDB_E_READ_ONLY;
    const auto user = directory_->user(trimName(owner));
    if (!user) return user.status();
    const auto hold = directory_->acquireWriter(patience);
    if (!hold) return hold.status();
    const auto stored = directory_->definition(trimName(name));
    if (!stored) return stored.status();
    if (!actor.owns(**stored)) return WDB_E_RIGHT;
    BaseDefinition next = **stored;
    next.owner = user->name;
    WDB_TRY(directory_->storeBase(next, *hold));
    if (current_ && !current_->isNew && current_->definition.id == next.id)
        current_->definition.owner = next.owner;
    return WDB_OK;
}

Status DefinitionEditor::getFieldSpec(int32_t number, WdbFieldSpec* field,
                                      const RenderDefault& render) const {
    if (!current_) return WDB_E_NO_DEFINITION;
    if (field == nullptr || number < 1) return WDB_E_ARGUMENT;
    const auto found = std::ranges::find_if(
        current_->fields, [&](const FieldDefinition& present) { return present.number == number; });
    if (found == current_->fields.end()) return WDB_FAIL;
    fillRecord(*found, found->hasDefault ? render(*found) : std::string(), *field);
    return WDB_OK;
}

Status DefinitionEditor::deleteFieldSpec(Slice name) {
    if (!current_) return WDB_E_NO_DEFINITION;
    const FieldDefinition* field = findField(name);
    if (field == nullptr) return WDB_E_FIELD;
    const BaseDefinition& definition = current_->definition;
    if (field->number == definition.uniqueKey) return WDB_E_REFERENCED;
    for (const ReferenceRule& rule : definition.rules) {
        if (rule.field == field->number) return WDB_E_REFERENCED;
        if (sameName(rule.table, definition.name) && sameName(rule.column, field->name))
            return WDB_E_REFERENCED;
    }
    const auto referrers = directory_->referrers(definition.name);
    if (!referrers) return referrers.status();
    for (const Referrer& referrer : *referrers) {
        if (!current_->isNew && sameName(referrer.rule.column, field->name)) return WDB_E_REFERENCED;
    }
    std::erase_if(current_->fields,
                  [&](const FieldDefinition& present) { return present.number == field->number; });
    return WDB_OK;
}

Status DefinitionEditor::getFieldSpec(WdbFieldSpec* field, const RenderDefault& render) const {
    if (!current_) return WDB_E_NO_DEFINITION;
    if (field == nullptr) return WDB_E_ARGUMENT;
    const Slice name = textOf(field->name);
    if (!validFieldName(name)) return WDB_E_NAME;
    const FieldDefinition* found = findField(name);
    if (found == nullptr) return WDB_FAIL;
    fillRecord(*found, found->hasDefault ? render(*found) : std::string(), *field);
    return WDB_OK;
}

Status DefinitionEditor::checkFlags(const FieldDefinition& field) const {
    if (field.serial) {
        const auto other = std::find_if(
            current_->fields.begin(), current_->fields.end(),
            [&](const FieldDefinition& present) { return present.serial && present.number != field.number; });
        if (field.type != FieldType::Integer || other != current_->fields.end()) return WDB_E_DEFINITION;
    }
    const bool itemType = holdsItems(field.type);
    return (field.wholeValue || field.key) && !itemType ? WDB_E_DEFINITION : WDB_OK;
}

Status DefinitionEditor::putFieldSpec(const WdbFieldSpec& record) {
    if (!current_) return WDB_E_NO_DEFINITION;
    const Slice name = textOf(record.name);
    if (!validFieldName(name)) return WDB_E_NAME;
    FieldDefinition* present = findField(name);
    if (present != nullptr && current_->definition.schema->find(present->number) == nullptr)
        return WDB_E_EXISTS;
    FieldDefinition field;
    WDB_TRY(readRecord(record, field));
    if (present == nullptr) {
        if (current_->definition.highestField >= WDB_FIELD_NUMBER_MAX) return WDB_E_DEFINITION;
        field.number = static_cast<FieldNumber>(current_->definition.highestField + 1);
        WDB_TRY(checkFlags(field));
        current_->definition.highestField = field.number;
        current_->fields.push_back(std::move(field));
        return WDB_OK;
    }
    field.number = present->number;
    field.name = present->name;
    field.hasDefault = present->hasDefault && record.hasDefault != 0 && field.type == present->type;
    if (field.hasDefault) field.defaultValue = present->defaultValue;
    if (field.type != present->type) {
        const auto base = directory_->find(current_->definition.name);
        if (!base) return base.status();
        const auto state = (*base)->file()->read();
        const auto meta = state ? BaseReader(*state).meta() : Result<BaseMeta>(state.status());
        if (!meta) return meta.status();
        if (meta->nextRecord > 1) return WDB_E_TYPE;
    }
    WDB_TRY(checkFlags(field));
    *present = std::move(field);
    return WDB_OK;
}

Status DefinitionEditor::putDefaultValue(const WdbFieldSpec& record, const ParseDefault& parse) {
    if (!current_) return WDB_E_NO_DEFINITION;
    FieldDefinition* field = findField(textOf(record.name));
    if (field == nullptr) return WDB_E_FIELD;
    auto value = parse(*field);
    if (!value) return value.status();
    field->hasDefault = !value->empty();
    field->defaultValue = std::move(*value);
    return WDB_OK;
}

Status DefinitionEditor::setForeignKey(Slice column, Slice table, Slice referredColumn, int32_t updateAction,
                                       int32_t deleteAction) {
    if (!current_) return WDB_E_NO_DEFINITION;
    const FieldDefinition* field = findField(column);
    if (field == nullptr) return WDB_E_FIELD;
    const auto action = [](int32_t given) { return given == 0 ? int32_t{WDB_ACT_RESTRICT} : given; };
    ReferenceRule rule{field->number, std::string(trimName(table)), std::string(trimName(referredColumn)),
                       action(updateAction), action(deleteAction)};
    WDB_TRY(checkRule(rule));
    auto& rules = current_->definition.rules;
    std::erase_if(rules, [&](const ReferenceRule& present) { return present.field == rule.field; });
    rules.insert(
        std::upper_bound(rules.begin(), rules.end(), rule,
                         [](const ReferenceRule& a, const ReferenceRule& b) { return a.field < b.field; }),
        rule);
    return WDB_OK;
}

Status DefinitionEditor::deleteForeignKey(Slice column) {
    if (!current_) return WDB_E_NO_DEFINITION;
    const FieldDefinition* field = findField(column);
    if (field == nullptr) return WDB_E_FIELD;
    const size_t gone = std::erase_if(current_->definition.rules,
                                      [&](const ReferenceRule& rule) { return rule.field == field->number; });
    return gone == 0 ? WDB_FAIL : WDB_OK;
}

Status DefinitionEditor::checkReferrers(const BaseDefinition& next) const {
    if (current_->isNew) return WDB_OK;
    const auto referrers = directory_->referrers(next.name);
    if (!referrers) return referrers.status();
    for (const Referrer& referrer : *referrers) {
        if (referrer.base->id == next.id) continue;  // its own rules are looked at as they will be
        const FieldDefinition* key = next.schema->find(Slice(referrer.rule.column));
        const FieldDefinition* field = referrer.base->schema->find(referrer.rule.field);
        if (field == nullptr) continue;
        if (key == nullptr || !isUnique(next, *key) || key->type != field->type) return WDB_E_DEFINITION;
    }
    return WDB_OK;
}

// Whether the referred column of the base itself is its unique key is known when the definition is stored
// only, so uniqueness is left to that moment for a base that refers to itself.
Status DefinitionEditor::checkRule(ReferenceRule& rule) const {
    const auto place = std::find_if(current_->fields.begin(), current_->fields.end(),
                                    [&](const FieldDefinition& field) { return field.number == rule.field; });
    if (place == current_->fields.end()) return WDB_E_FIELD;
    const auto known = [](int32_t action) {
        return action >= WDB_ACT_RESTRICT && action <= WDB_ACT_SET_DEFAULT;
    };
    if (!known(rule.updateAction) || !known(rule.deleteAction)) return WDB_E_DEFINITION;
    const FieldDefinition* referred = nullptr;
    std::shared_ptr<const BaseDefinition> other;
    const bool self = sameName(rule.table, current_->definition.name);
    if (self) {
        referred = findField(rule.column);
    } else {
        const auto found = directory_->definition(rule.table);
        if (!found) return found.status();
        other = *found;
        referred = other->schema->find(trimName(rule.column));
    }
    if (referred == nullptr) return WDB_E_FIELD;
    if (referred->type != place->type) return WDB_E_TYPE;
    if (!self && !isUnique(*other, *referred)) return WDB_E_DEFINITION;
    const auto has = [&](int32_t action) {
        return rule.updateAction == action || rule.deleteAction == action;
    };
    if (has(WDB_ACT_SET_NULL) && place->mandatory) return WDB_E_DEFINITION;
    if (has(WDB_ACT_SET_DEFAULT) && !place->hasDefault) return WDB_E_DEFINITION;
    rule.table = self ? current_->definition.name : other->name;
    rule.column = referred->name;
    return WDB_OK;
}

}  // namespace wdb
