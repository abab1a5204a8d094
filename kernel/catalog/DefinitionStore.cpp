#include <algorithm>

#include "kernel/catalog/DefinitionEditor.h"
#include "kernel/catalog/DefinitionRecords.h"
#include "kernel/catalog/FileSystem.h"
#include "kernel/catalog/KeyBuilder.h"
#include "kernel/common/Ascii.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Value.h"

// The part of DefinitionEditor that stores what was edited.

namespace wdb {

namespace {

// A location by its name, or with its first `$` turned into `_`: callers write WELKSQL$BASES for
// WELKSQL_BASES.
std::optional<std::string> locate(const DefinitionEditor::Locations& locations, std::string name) {
    if (auto found = locations(name); found && !found->empty()) return found;
    const size_t dollar = name.find('$');
    if (dollar == std::string::npos) return std::nullopt;
    name[dollar] = '_';
    auto found = locations(name);
    return found && !found->empty() ? found : std::nullopt;
}

bool isUnique(const BaseDefinition& definition, FieldNumber number) {
    const FieldDefinition* field = definition.schema->find(number);
    return field != nullptr && (field->key || number == definition.uniqueKey);
}

// Whether the same records make another index under the changed field.
bool indexDiffers(const FieldDefinition& a, const FieldDefinition& b) {
    return a.type != b.type || a.indexed != b.indexed || a.wholeValue != b.wholeValue || a.part != b.part;
}

// Does `change(writer, field)` for each field that is unique in `in` and was not (is not any more) in
// `notIn`.
template <typename Change>
Status changeKeys(OpenBase& base, const BaseDefinition& in, const BaseDefinition& notIn, int64_t now,
                  Change change) {
    auto writer = base.file()->write();
    if (!writer) return writer.status();
    bool any = false;
    for (const FieldDefinition& field : in.schema->fields()) {
        if (!isUnique(in, field.number) || isUnique(notIn, field.number)) continue;
        WDB_TRY(change(**writer, field));
        any = true;
    }
    return any ? (*writer)->commit(now) : WDB_OK;
}

bool dropFrom(FieldsData& fields, const FieldDefinition& field, BaseWriter& writer, Status& status) {
    const FieldValues* values = fields.find(field.number);
    if (values == nullptr) return false;
    if (field.type == FieldType::String && !values->items.empty()) {
        const auto object = ObjectReference::decode(values->items.front());
        if (object && ok(status)) status = writer.dropObject(object->id);
    }
    fields.erase(field.number);
    return true;
}

// Takes the values of deleted fields out of the records. Their definition is gone before: values that a fall
// leaves behind belong to a number that is never given again.
Status dropValues(OpenBase& base, const BaseDefinition& before, const BaseDefinition& after, int64_t now) {
    std::vector<FieldDefinition> gone;
    for (const FieldDefinition& field : before.schema->fields()) {
        if (after.schema->find(field.number) == nullptr) gone.push_back(field);
    }
    if (gone.empty()) return WDB_OK;
    auto writer = base.file()->write();
    if (!writer) return writer.status();
    std::vector<RecordNumber> numbers;  // collected first: a walk does not go on behind a write
    WDB_TRY((*writer)->forEachRecord(1, [&](RecordNumber number, Slice) -> Status {
        numbers.push_back(number);
        return WDB_OK;
    }));
    for (const RecordNumber number : numbers) {
        const auto view = (*writer)->record(number);
        if (view.status() == WDB_E_CORRUPT) continue;  // damage is the verifier's to tell
        if (!view) return view.status();
        RecordData data = RecordData::from(*view);
        Status status = WDB_OK;
        bool any = false;
        for (const FieldDefinition& field : gone) {
            any = dropFrom(data.head, field, **writer, status) || any;
            for (FieldsData& part : data.parts) any = dropFrom(part, field, **writer, status) || any;
        }
        WDB_TRY(status);
        if (!any) continue;
        const auto changed = encodeRecord(data, (*writer)->commitNumber());
        if (!changed) return changed.status();
        const auto put = (*writer)->put(number, *changed);
        if (!put) return put.status();
    }
    return (*writer)->commit(now);
}

}  // namespace

Result<BaseDefinition> DefinitionEditor::assemble(const WdbBaseDef& record) const {
    const Current& current = *current_;
    if (!equalsIgnoreCase(textOf(record.name), current.definition.name) || current.fields.empty()) {
        return Status{WDB_E_DEFINITION};
    }
    BaseDefinition next = current.definition;
    next.comment = textOf(record.comment);
    next.active = record.active;
    next.charset = textOf(record.charset);
    next.charsetFlag = record.charsetFlag;
    next.uniqueKey = 0;
    if (const Slice key = textOf(record.uniqueKey); !key.empty()) {
        const FieldDefinition* field = findField(key);
        if (field == nullptr || !holdsItems(field->type)) return Status{WDB_E_DEFINITION};
        next.uniqueKey = field->number;
    }
    if (current.isNew) {
        next.baseFile = textOf(record.baseFile);
        next.indexFile = textOf(record.indexFile);
        next.valueFile = textOf(record.valueFile);
    } else if (textOf(record.baseFile) != next.baseFile || textOf(record.indexFile) != next.indexFile ||
               textOf(record.valueFile) != next.valueFile) {
        return Status{WDB_E_DEFINITION};
    }
    next.schema = std::make_shared<const Schema>(current.fields, next.uniqueKey);
    for (ReferenceRule& rule : next.rules) {
        WDB_TRY(checkRule(rule));
        if (!equalsIgnoreCase(rule.table, next.name)) continue;
        const FieldDefinition* referred = next.schema->find(trimName(rule.column));
        if (referred == nullptr || !isUnique(next, referred->number)) return Status{WDB_E_DEFINITION};
    }
    WDB_TRY(checkReferrers(next));
    return next;
}

Status DefinitionEditor::putBaseDef(const Actor& actor, const WdbBaseDef& record, const Locations& locations,
                                    std::chrono::milliseconds patience, int64_t now) {
    if (!current_) return WDB_E_NO_DEFINITION;
    if (actor.readOnly) return WDB_E_READ_ONLY;
    auto next = assemble(record);
    if (!next) return next.status();
    const std::string name = next->name;
    const auto hold = directory_->acquireWriter(patience);
    if (!hold) return hold.status();
    WDB_TRY(current_->isNew ? createNew(std::move(*next), actor, locations, *hold, now)
                            : changeStored(std::move(*next), actor, *hold, now));
    const auto stored = directory_->definition(name);
    if (!stored) return stored.status();
    current_->definition = **stored;
    current_->fields = (*stored)->schema->fields();
    current_->isNew = false;
    return WDB_OK;
}

Status DefinitionEditor::createNew(BaseDefinition next, const Actor& actor, const Locations& locations,
                                   const WriterHold& hold, int64_t now) {
    if (!actor.administrator && !actor.mayCreate) return WDB_E_RIGHT;
    std::optional<std::string> directory;
    const std::pair<const std::string*, Slice> files[] = {
        {&next.baseFile, ".BAF"}, {&next.indexFile, ".BIF"}, {&next.valueFile, ".VIF"}};
    for (const auto& [text, ending] : files) {
        const auto file = parseFileName(*text, ending);
        if (!file) return file.status();
        auto located = locate(locations, file->location);
        // The three files of a base stand in one directory.
        if (!located || (directory && *directory != *located)) return WDB_E_DEFINITION;
        directory = std::move(located);
    }
    next.directory = directory->starts_with('/') ? *directory : directory_->home() + "/" + *directory;
    if (!file_system::isDirectory(next.directory)) return WDB_E_DEFINITION;
    next.owner = actor.user;
    return directory_->createBase(std::move(next), now, hold);
}

Status DefinitionEditor::changeStored(BaseDefinition next, const Actor& actor, const WriterHold& hold,
                                      int64_t now) {
    const auto base = directory_->find(next.name, &hold);
    if (!base) return base.status();
    const auto before = directory_->definition(next.name);
    if (!before) return before.status();
    // An index job may have renamed files meanwhile; another session's fields would be lost.
    if ((*before)->id != next.id || (*before)->schema->fields() != current_->definition.schema->fields()) {
        return WDB_E_DEFINITION;
    }
    // Nor does who changes the fields give or take the base.
    if (!actor.owns(**before)) return WDB_E_RIGHT;
    next.owner = (*before)->owner;
    next.baseName = (*before)->baseName;
    next.wordName = (*before)->wordName;
    next.valueName = (*before)->valueName;
    next.generation = (*before)->generation;
    next.directory = (*before)->directory;
    WDB_TRY(changeKeys(**base, next, **before, now, buildKeys));
    WDB_TRY(directory_->storeBase(next, hold));
    // Keys that nobody looks at any more are no harm, so they go last and need not go at all.
    WDB_TRY(dropValues(**base, **before, next, now));
    static_cast<void>(changeKeys(
        **base, **before, next, now,
        [](BaseWriter& writer, const FieldDefinition& field) { return writer.dropKeysOf(field.number); }));
    const auto& old = (*before)->schema->fields();
    const bool rebuild = std::any_of(old.begin(), old.end(), [&](const FieldDefinition& field) {
        const FieldDefinition* after = next.schema->find(field.number);
        return after == nullptr || indexDiffers(field, *after);
    });
    return rebuild ? directory_->buildIndex(**base, hold) : WDB_OK;
}

}  // namespace wdb
