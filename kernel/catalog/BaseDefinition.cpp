#include "kernel/catalog/BaseDefinition.h"

#include "kernel/common/ByteReader.h"

namespace wdb {

namespace {

constexpr uint32_t kDefinitionFormat = 1;

uint16_t fieldFlags(const FieldDefinition& field) {
    const bool bits[] = {field.indexed, field.serial, field.mandatory,  field.wholeValue,  field.part,
                         field.plain,   field.key,    field.hasDefault, field.hasReference};
    uint16_t flags = 0;
    for (size_t i = 0; i < std::size(bits); ++i)
        flags = static_cast<uint16_t>(flags | (bits[i] ? 1u << i : 0u));
    return flags;
}

void setFieldFlags(FieldDefinition& field, uint16_t flags) {
    bool* bits[] = {&field.indexed, &field.serial, &field.mandatory,  &field.wholeValue,  &field.part,
                    &field.plain,   &field.key,    &field.hasDefault, &field.hasReference};
    for (size_t i = 0; i < std::size(bits); ++i) *bits[i] = (flags >> i & 1) != 0;
}

void encodeField(std::string& out, const FieldDefinition& field) {
    appendLittle(out, field.number);
    appendLittle(out, static_cast<uint16_t>(field.type));
    appendLittle(out, fieldFlags(field));
    appendText(out, field.name);
    appendText(out, field.defaultValue);
    appendText(out, field.comment);
    appendText(out, field.reference);
}

Status decodeField(ByteReader& in, FieldDefinition& field) {
    field.number = in.number<uint16_t>();
    const auto type = typeOfCode(in.number<uint16_t>());
    setFieldFlags(field, in.number<uint16_t>());
    field.name = in.text();
    field.defaultValue = in.text();
    field.comment = in.text();
    field.reference = in.text();
    if (in.failed() || !type || field.number == 0 || field.number > WDB_FIELD_NUMBER_MAX)
        return WDB_E_CORRUPT;
    field.type = *type;
    return WDB_OK;
}

void encodeRule(std::string& out, const ReferenceRule& rule) {
    appendLittle(out, rule.field);
    appendLittle(out, static_cast<uint16_t>(rule.updateAction));
    appendLittle(out, static_cast<uint16_t>(rule.deleteAction));
    appendText(out, rule.table);
    appendText(out, rule.column);
}

Status decodeFields(ByteReader& in, BaseDefinition& definition) {
    const auto count = in.number<uint32_t>();
    if (count > WDB_FIELD_NUMBER_MAX) return WDB_E_CORRUPT;
    std::vector<FieldDefinition> fields(count);
    FieldNumber last = 0;
    for (FieldDefinition& field : fields) {
        WDB_TRY(decodeField(in, field));
        if (field.number <= last) return WDB_E_CORRUPT;
        last = field.number;
    }
    if (last > definition.highestField) return WDB_E_CORRUPT;
    definition.schema = std::make_shared<const Schema>(std::move(fields), definition.uniqueKey);
    return WDB_OK;
}

Status decodeRules(ByteReader& in, BaseDefinition& definition) {
    const auto count = in.number<uint32_t>();
    if (count > WDB_FIELD_NUMBER_MAX) return WDB_E_CORRUPT;
    for (uint32_t i = 0; i < count; ++i) {
        ReferenceRule rule;
        rule.field = in.number<uint16_t>();
        rule.updateAction = in.number<uint16_t>();
        rule.deleteAction = in.number<uint16_t>();
        rule.table = in.text();
        rule.column = in.text();
        definition.rules.push_back(std::move(rule));
    }
    return WDB_OK;
}

}  // namespace

std::string encodeDefinition(const BaseDefinition& definition) {
    std::string out;
    appendLittle(out, kDefinitionFormat);
    appendLittle(out, definition.id);
    appendLittle(out, definition.version);
    appendLittle(out, definition.generation);
    appendLittle(out, static_cast<uint32_t>(definition.active));
    appendLittle(out, static_cast<uint32_t>(definition.charsetFlag));
    appendLittle(out, definition.uniqueKey);
    appendLittle(out, definition.highestField);
    for (const std::string* text :
         {&definition.name, &definition.baseFile, &definition.indexFile, &definition.valueFile,
          &definition.comment, &definition.charset, &definition.owner, &definition.directory,
          &definition.baseName, &definition.wordName, &definition.valueName}) {
        appendText(out, *text);
    }
    const auto& fields = definition.schema->fields();
    appendLittle(out, static_cast<uint32_t>(fields.size()));
    for (const FieldDefinition& field : fields) encodeField(out, field);
    appendLittle(out, static_cast<uint32_t>(definition.rules.size()));
    for (const ReferenceRule& rule : definition.rules) encodeRule(out, rule);
    return out;
}

Result<BaseDefinition> decodeDefinition(Slice bytes) {
    ByteReader in(bytes);
    if (in.number<uint32_t>() != kDefinitionFormat) return Status{WDB_E_CORRUPT};
    BaseDefinition definition;
    definition.id = in.number<uint32_t>();
    definition.version = in.number<uint64_t>();
    definition.generation = in.number<uint32_t>();
    definition.active = static_cast<int32_t>(in.number<uint32_t>());
    definition.charsetFlag = static_cast<int32_t>(in.number<uint32_t>());
    definition.uniqueKey = in.number<uint16_t>();
    definition.highestField = in.number<uint16_t>();
    for (std::string* text :
         {&definition.name, &definition.baseFile, &definition.indexFile, &definition.valueFile,
          &definition.comment, &definition.charset, &definition.owner, &definition.directory,
          &definition.baseName, &definition.wordName, &definition.valueName}) {
        *text = in.text();
    }
    WDB_TRY(decodeFields(in, definition));
    WDB_TRY(decodeRules(in, definition));
    if (!in.atEnd()) return Status{WDB_E_CORRUPT};
    return definition;
}

}  // namespace wdb
