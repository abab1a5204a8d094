#include "kernel/catalog/DefinitionRecords.h"

#include "kernel/catalog/Names.h"
#include "kernel/common/Ascii.h"

namespace wdb {

void fillRecord(const BaseDefinition& definition, bool isNew, WdbBaseDef& record) {
    record = WdbBaseDef{};
    setText(record.name, definition.name);
    setText(record.baseFile, definition.baseFile);
    setText(record.indexFile, definition.indexFile);
    setText(record.valueFile, definition.valueFile);
    setText(record.comment, definition.comment);
    record.active = definition.active;
    setText(record.charset, definition.charset);
    record.charsetFlag = definition.charsetFlag;
    if (definition.schema != nullptr) {
        if (const FieldDefinition* key = definition.schema->find(definition.uniqueKey))
            setText(record.uniqueKey, key->name);
    }
    setText(record.owner, definition.owner);
    record.isNew = isNew ? 1 : 0;
    record.highestField = definition.highestField;
}

void fillRecord(const FieldDefinition& field, Slice defaultText, WdbFieldSpec& record) {
    record = WdbFieldSpec{};
    setText(record.name, field.name);
    setText(record.typeName, typeName(field.type));
    setText(record.comment, field.comment);
    setText(record.reference, field.reference);
    setText(record.defaultValue, defaultText);
    record.number = field.number;
    record.typeCode = static_cast<int32_t>(field.type);
    record.indexed = field.indexed;
    record.serial = field.serial;
    record.mandatory = field.mandatory;
    record.wholeValue = field.wholeValue;
    record.hasDefault = field.hasDefault;
    record.hasReference = field.hasReference;
    record.key = field.key;
    record.part = field.part;
    record.plain = field.plain;
}

Status readRecord(const WdbFieldSpec& record, FieldDefinition& field) {
    const auto type = typeOfName(textOf(record.typeName));
    if (!type) return WDB_E_TYPE;
    field.name = textOf(record.name);
    field.type = *type;
    field.comment = textOf(record.comment);
    field.reference = textOf(record.reference);
    field.indexed = record.indexed != 0;
    field.serial = record.serial != 0;
    field.mandatory = record.mandatory != 0;
    field.wholeValue = record.wholeValue != 0;
    field.hasReference = record.hasReference != 0;
    field.key = record.key != 0;
    field.part = record.part != 0;
    field.plain = record.plain != 0;
    return WDB_OK;
}

Result<FileName> parseFileName(Slice text, Slice ending) {
    const size_t colon = text.find(':');
    if (colon == Slice::npos || colon == 0) return Status{WDB_E_DEFINITION};
    const Slice name = text.substr(colon + 1);
    if (name.size() <= ending.size() || !equalsIgnoreCase(name.substr(name.size() - ending.size()), ending) ||
        !validBaseName(name.substr(0, name.size() - ending.size()))) {
        return Status{WDB_E_DEFINITION};
    }
    return FileName{std::string(text.substr(0, colon)), std::string(name)};
}

}  // namespace wdb
