#include "kernel/catalog/DefinitionEditor.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "kernel/catalog/FieldSpecs.h"
#include "kernel/catalog/Names.h"

namespace wdb {
namespace {

constexpr size_t kFileNameMax = 132;

// "LOCATION:NAME.EXT" taken apart; false when it has another form or leads out of its directory.
bool splitFileName(const std::string& text, Slice extension, Slice& location, Slice& name) {
    const size_t colon = text.find(':');
    if (colon == std::string::npos || colon == 0 || text.size() > kFileNameMax) return false;
    location = Slice(text).substr(0, colon);
    name = Slice(text).substr(colon + 1);
    return name.size() > extension.size() && foldName(name.substr(name.size() - extension.size())) == extension &&
           validBaseName(name.substr(0, name.size() - extension.size()));
}

// The directory of a location, looked up as it is and then with its first "$" as "_".
std::optional<std::string> directoryOf(Slice location, const DefinitionEditor::Locations& locations) {
    std::optional<std::string> directory = locations(location);
    const size_t dollar = location.find('$');
    if (!directory && dollar != Slice::npos) {
        std::string name(location);
        name[dollar] = '_';
        directory = locations(name);
    }
    std::error_code ignored;
    if (!directory || !std::filesystem::is_directory(*directory, ignored)) return std::nullopt;
    return directory;
}

void fillBaseDef(const BaseDefinition& from, bool isNew, WdbBaseDef& to) {
    std::memset(&to, 0, sizeof to);
    setText(to.name, from.name);
    setText(to.baseFile, from.baseFile);
    setText(to.indexFile, from.indexFile);
    setText(to.valueFile, from.valueFile);
    setText(to.comment, from.comment);
    to.active = from.active;
    setText(to.charset, from.charset);
    to.charsetFlag = from.charsetFlag;
    const FieldDefinition* key = from.schema ? from.schema->find(from.uniqueKey) : nullptr;
    if (key != nullptr) setText(to.uniqueKey, key->name);
    setText(to.owner, from.owner);
    to.isNew = isNew ? 1 : 0;
    to.highestField = from.highestField;
}

bool mayEdit(const Actor& actor, const BaseDefinition& definition) {
    return actor.administrator || foldName(actor.user) == foldName(definition.owner);
}

}  // namespace

Status DefinitionEditor::getBaseDef(const Actor& actor, Slice name, WdbBaseDef* definition) {
    clear();
    if (definition == nullptr) return WDB_E_ARGUMENT;
    const Slice trimmed = trimName(name);
    if (!validBaseName(trimmed)) return WDB_E_NAME;
    Current current;
    const auto stored = directory_->definition(trimmed);
    if (stored) {
        if (!mayEdit(actor, **stored)) return WDB_E_RIGHT;
        current.definition = **stored;
        current.fields = current.definition.schema->fields();
        current.isNew = false;
    } else if (stored.status() != WDB_E_BASE) {
        return stored.status();
    } else if (!actor.administrator && !actor.mayCreate) {
        return WDB_E_RIGHT;
    } else {
        current.definition.name = std::string(trimmed);
        current.definition.owner = actor.user;
    }
    fillBaseDef(current.definition, current.isNew, *definition);
    current_ = std::move(current);
    return WDB_OK;
}

// The base-level values come from the caller's record, fields and rules from the edited copy. That copy is replaced only when
// everything is stored.
Status DefinitionEditor::putBaseDef(const Actor& actor, const WdbBaseDef& record, const Locations& locations,
                                    std::chrono::milliseconds patience, int64_t now) {
    if (!current_) return WDB_E_NO_DEFINITION;
    if (actor.readOnly) return WDB_E_READ_ONLY;
    Current next = *current_;
    BaseDefinition& definition = next.definition;
    if (foldName(textOf(record.name)) != foldName(definition.name) || next.fields.empty()) return WDB_E_DEFINITION;
    FieldNumber key = 0;
    if (const std::string name = textOf(record.uniqueKey); !trimName(name).empty()) {
        const FieldDefinition* field = findField(name);
        if (field == nullptr || !holdsItems(field->type)) return WDB_E_DEFINITION;
        key = field->number;
    }
    definition.comment = textOf(record.comment);
    definition.active = record.active;
    definition.charset = textOf(record.charset);
    definition.charsetFlag = record.charsetFlag;

    Result<WriterHold> hold = directory_->acquireWriter(patience);
    if (!hold) return hold.status();
    const bool newKey = key != definition.uniqueKey;
    definition.uniqueKey = key;
    definition.schema = std::make_shared<const Schema>(next.fields, key);
    Status status = WDB_OK;
    if (next.isNew) {
        definition.baseFile = textOf(record.baseFile);
        definition.indexFile = textOf(record.indexFile);
        definition.valueFile = textOf(record.valueFile);
        status = createNew(next, actor, locations, *hold, now);
    } else if (textOf(record.baseFile) != definition.baseFile || textOf(record.indexFile) != definition.indexFile ||
               textOf(record.valueFile) != definition.valueFile) {
        status = WDB_E_DEFINITION;
    } else if (newKey && hasRecords(next.definition)) {
        status = WDB_E_UNSUPPORTED;
    } else {
        status = changeStored(next, *hold);
    }
    if (ok(status)) current_ = std::move(next);
    return status;
}

Status DefinitionEditor::createNew(Current& current, const Actor& actor, const Locations& locations,
                                   const WriterHold& hold, int64_t now) {
    BaseDefinition& definition = current.definition;
    Slice location;
    Slice ignored;
    if (!splitFileName(definition.indexFile, ".BIF", ignored, ignored) ||
        !splitFileName(definition.valueFile, ".VIF", ignored, ignored)) {
        return WDB_E_DEFINITION;
    }
    Slice file;
    if (!splitFileName(definition.baseFile, ".BAF", location, file)) return WDB_E_DEFINITION;
    const auto directory = directoryOf(location, locations);
    if (!directory) return WDB_E_DEFINITION;
    if (directory_->definition(definition.name)) return WDB_E_EXISTS;
    definition.owner = actor.user;
    definition.directory = *directory;
    WDB_TRY(directory_->createBase(definition, now, hold));
    const auto stored = directory_->definition(definition.name);
    if (!stored) return stored.status();
    definition = **stored;
    current.isNew = false;
    return WDB_OK;
}

Status DefinitionEditor::changeStored(Current& current, const WriterHold& hold) {
    const auto stored = directory_->definition(current.definition.name);
    if (!stored) return stored.status();
    // A definition that was changed since it was read would be overwritten.
    if ((*stored)->version != current.definition.version) return WDB_E_CHANGED;
    WDB_TRY(directory_->storeBase(current.definition, hold));
    const auto now = directory_->definition(current.definition.name);
    if (!now) return now.status();
    current.definition = **now;
    return WDB_OK;
}

bool DefinitionEditor::hasRecords(const BaseDefinition& definition) const {
    const auto base = directory_->find(definition.name);
    if (!base) return true;
    const auto snapshot = (*base)->snapshot();
    return !snapshot || snapshot->liveCount() > 0;
}

FieldDefinition* DefinitionEditor::findField(Slice name) {
    const std::string folded = foldName(name);
    const auto place = std::find_if(current_->fields.begin(), current_->fields.end(),
                                    [&](const FieldDefinition& field) { return foldName(field.name) == folded; });
    return place == current_->fields.end() ? nullptr : &*place;
}

Status DefinitionEditor::getFieldSpec(WdbFieldSpec* field, const RenderDefault& render) {
    if (!current_) return WDB_E_NO_DEFINITION;
    if (field == nullptr) return WDB_E_ARGUMENT;
    const std::string name = textOf(field->name);
    if (!validFieldName(trimName(name))) return WDB_E_NAME;
    const FieldDefinition* found = findField(name);
    if (found == nullptr) return WDB_FAIL;
    fillFieldSpec(*found, found->hasDefault ? render(*found) : std::string(), *field);
    return WDB_OK;
}

Status DefinitionEditor::putFieldSpec(const WdbFieldSpec& record) {
    if (!current_) return WDB_E_NO_DEFINITION;
    const std::string name(trimName(textOf(record.name)));
    if (!validFieldName(name)) return WDB_E_NAME;
    const auto type = typeOfName(textOf(record.typeName));
    if (!type) return WDB_E_TYPE;
    FieldDefinition* old = findField(name);
    if (old != nullptr && current_->isNew) return WDB_E_EXISTS;
    FieldDefinition field = fieldOf(record, *type);
    field.name = name;
    const bool otherSerial = std::any_of(current_->fields.begin(), current_->fields.end(), [&](const FieldDefinition& other) {
        return other.serial && &other != old;
    });
    if (!flagsFit(field) || (field.serial && otherSerial)) return WDB_E_DEFINITION;
    if (old != nullptr) {
        if (old->type != field.type && hasRecords(current_->definition)) return WDB_E_TYPE;
        field.number = old->number;
        field.hasDefault = old->hasDefault && old->type == field.type;
        if (field.hasDefault) field.defaultValue = old->defaultValue;
        *old = std::move(field);
        return WDB_OK;
    }
    if (current_->definition.highestField >= WDB_FIELD_NUMBER_MAX) return WDB_E_DEFINITION;
    field.number = ++current_->definition.highestField;
    current_->fields.push_back(std::move(field));
    return WDB_OK;
}

Status DefinitionEditor::putDefaultValue(const WdbFieldSpec& record, const ParseDefault& parse) {
    if (!current_) return WDB_E_NO_DEFINITION;
    FieldDefinition* field = findField(textOf(record.name));
    if (field == nullptr) return WDB_E_FIELD;
    Result<std::string> value = parse(*field);
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
    const auto referred = directory_->definition(trimName(table));
    if (!referred) return WDB_E_BASE;
    const FieldDefinition* target = (*referred)->schema->find(referredColumn);
    if (target == nullptr) return WDB_E_FIELD;
    if (target->type != field->type) return WDB_E_TYPE;
    ReferenceRule rule{field->number, (*referred)->name, target->name, updateAction, deleteAction};
    for (int32_t* action : {&rule.updateAction, &rule.deleteAction}) {
        if (*action == 0) *action = WDB_ACT_RESTRICT;
        if (*action < WDB_ACT_RESTRICT || *action > WDB_ACT_SET_DEFAULT) return WDB_E_ARGUMENT;
        if (*action == WDB_ACT_SET_NULL && field->mandatory) return WDB_E_DEFINITION;
        if (*action == WDB_ACT_SET_DEFAULT && !field->hasDefault) return WDB_E_DEFINITION;
    }
    if (!target->key && target->number != (*referred)->uniqueKey) return WDB_E_DEFINITION;
    auto& rules = current_->definition.rules;
    const auto place = std::lower_bound(rules.begin(), rules.end(), rule.field, [](const ReferenceRule& other, FieldNumber number) {
        return other.field < number;
    });
    if (place != rules.end() && place->field == rule.field) *place = std::move(rule);
    else rules.insert(place, std::move(rule));
    return WDB_OK;
}

}  // namespace wdb
