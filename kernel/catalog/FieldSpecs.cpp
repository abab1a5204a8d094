#include "kernel/catalog/FieldSpecs.h"

namespace wdb {

FieldDefinition fieldOf(const WdbFieldSpec& record, FieldType type) {
    FieldDefinition field;
    field.type = type;
    field.indexed = record.indexed != 0;
    field.serial = record.serial != 0;
    field.mandatory = record.mandatory != 0;
    field.wholeValue = record.wholeValue != 0;
    field.part = record.part != 0;
    field.plain = record.plain != 0;
    field.key = record.key != 0;
    field.comment = textOf(record.comment);
    field.hasReference = record.hasReference != 0;
    if (field.hasReference) field.reference = textOf(record.reference);
    return field;
}

bool flagsFit(const FieldDefinition& field) {
    if (field.serial && field.type != FieldType::Integer) return false;
    return holdsItems(field.type) || (!field.wholeValue && !field.key);
}

void fillFieldSpec(const FieldDefinition& field, const std::string& defaultText, WdbFieldSpec& record) {
    std::memset(&record, 0, sizeof record);
    setText(record.name, field.name);
    setText(record.typeName, std::string(typeName(field.type)));
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

}  // namespace wdb
