#include "kernel/catalog/BaseDefinition.h"

#include "kernel/common/ByteOrder.h"

namespace wdb {
namespace {

constexpr uint8_t kVersion = 1;

// Bits of a field's flags.
enum FieldBit : uint16_t {
    kIndexed = 1,
    kSerial = 2,
    kMandatory = 4,
    kWholeValue = 8,
    kPart = 16,
    kPlain = 32,
    kKey = 64,
    kHasDefault = 128,
    kHasReference = 256
};

uint16_t fieldBits(const FieldDefinition& field) {
    const auto bit = [](bool set, FieldBit value) { return set ? static_cast<unsigned>(value) : 0u; };
    return static_cast<uint16_t>(bit(field.indexed, kIndexed) | bit(field.serial, kSerial) |
                                 bit(field.mandatory, kMandatory) | bit(field.wholeValue, kWholeValue) |
                                 bit(field.part, kPart) | bit(field.plain, kPlain) | bit(field.key, kKey) |
                                 bit(field.hasDefault, kHasDefault) | bit(field.hasReference, kHasReference));
}

void setFieldBits(FieldDefinition& field, uint16_t bits) {
    field.indexed = (bits & kIndexed) != 0;
    field.serial = (bits & kSerial) != 0;
    field.mandatory = (bits & kMandatory) != 0;
    field.wholeValue = (bits & kWholeValue) != 0;
    field.part = (bits & kPart) != 0;
    field.plain = (bits & kPlain) != 0;
    field.key = (bits & kKey) != 0;
    field.hasDefault = (bits & kHasDefault) != 0;
    field.hasReference = (bits & kHasReference) != 0;
}

void appendText(std::string& out, const std::string& text) {
    appendLittle<uint32_t>(out, static_cast<uint32_t>(text.size()));
    out.append(text);
}

// Takes values from the front of stored bytes; once something did not fit, everything after is empty.
class Decoder {
public:
    explicit Decoder(Slice bytes) : left_(bytes) {}

    template <typename T>
    T number() {
        if (left_.size() < sizeof(T)) return fail(), T{};
        const T value = loadLittle<T>(left_.data());
        left_.remove_prefix(sizeof(T));
        return value;
    }
    std::string text() {
        const auto size = number<uint32_t>();
        if (left_.size() < size) return fail(), std::string();
        std::string value(left_.substr(0, size));
        left_.remove_prefix(size);
        return value;
    }
    void fail() {
        failed_ = true;
        left_ = {};
    }
    bool failed() const { return failed_; }
    bool atEnd() const { return !failed_ && left_.empty(); }

private:
    Slice left_;
    bool failed_ = false;
};

void appendField(std::string& out, const FieldDefinition& field) {
    appendLittle<uint16_t>(out, field.number);
    appendLittle<uint8_t>(out, static_cast<uint8_t>(field.type));
    appendLittle<uint16_t>(out, fieldBits(field));
    for (const std::string* text : {&field.name, &field.defaultValue, &field.comment, &field.reference}) {
        appendText(out, *text);
    }
}

FieldDefinition takeField(Decoder& in, FieldNumber after) {
    FieldDefinition field;
    field.number = in.number<uint16_t>();
    const auto type = typeOfCode(in.number<uint8_t>());
    setFieldBits(field, in.number<uint16_t>());
    for (std::string* text : {&field.name, &field.defaultValue, &field.comment, &field.reference}) *text = in.text();
    if (!type || field.number <= after || field.number > WDB_FIELD_NUMBER_MAX) in.fail();
    else field.type = *type;
    return field;
}

void appendRule(std::string& out, const ReferenceRule& rule) {
    appendLittle<uint16_t>(out, rule.field);
    appendLittle<uint8_t>(out, static_cast<uint8_t>(rule.updateAction));
    appendLittle<uint8_t>(out, static_cast<uint8_t>(rule.deleteAction));
    appendText(out, rule.table);
    appendText(out, rule.column);
}

ReferenceRule takeRule(Decoder& in) {
    ReferenceRule rule;
    rule.field = in.number<uint16_t>();
    rule.updateAction = in.number<uint8_t>();
    rule.deleteAction = in.number<uint8_t>();
    rule.table = in.text();
    rule.column = in.text();
    return rule;
}

}  // namespace

std::string encodeDefinition(const BaseDefinition& definition) {
    std::string out;
    appendLittle<uint8_t>(out, kVersion);
    appendLittle<uint32_t>(out, definition.id);
    appendLittle<uint64_t>(out, definition.version);
    appendLittle<uint32_t>(out, definition.generation);
    appendLittle<uint32_t>(out, static_cast<uint32_t>(definition.active));
    appendLittle<uint32_t>(out, static_cast<uint32_t>(definition.charsetFlag));
    appendLittle<uint16_t>(out, definition.uniqueKey);
    appendLittle<uint16_t>(out, definition.highestField);
    for (const std::string* text :
         {&definition.name, &definition.baseFile, &definition.indexFile, &definition.valueFile, &definition.comment,
          &definition.charset, &definition.owner, &definition.directory, &definition.baseName, &definition.wordName,
          &definition.valueName}) {
        appendText(out, *text);
    }
    const auto& fields = definition.schema->fields();
    appendLittle<uint16_t>(out, static_cast<uint16_t>(fields.size()));
    for (const FieldDefinition& field : fields) appendField(out, field);
    appendLittle<uint16_t>(out, static_cast<uint16_t>(definition.rules.size()));
    for (const ReferenceRule& rule : definition.rules) appendRule(out, rule);
    return out;
}

Result<BaseDefinition> decodeDefinition(Slice bytes) {
    Decoder in(bytes);
    BaseDefinition definition;
    if (in.number<uint8_t>() != kVersion) return WDB_E_CORRUPT;
    definition.id = in.number<uint32_t>();
    definition.version = in.number<uint64_t>();
    definition.generation = in.number<uint32_t>();
    definition.active = static_cast<int32_t>(in.number<uint32_t>());
    definition.charsetFlag = static_cast<int32_t>(in.number<uint32_t>());
    definition.uniqueKey = in.number<uint16_t>();
    definition.highestField = in.number<uint16_t>();
    for (std::string* text :
         {&definition.name, &definition.baseFile, &definition.indexFile, &definition.valueFile, &definition.comment,
          &definition.charset, &definition.owner, &definition.directory, &definition.baseName, &definition.wordName,
          &definition.valueName}) {
        *text = in.text();
    }
    std::vector<FieldDefinition> fields;
    for (auto count = in.number<uint16_t>(); count > 0 && !in.failed(); --count) {
        fields.push_back(takeField(in, fields.empty() ? FieldNumber{0} : fields.back().number));
    }
    for (auto count = in.number<uint16_t>(); count > 0 && !in.failed(); --count) {
        definition.rules.push_back(takeRule(in));
    }
    if (!in.atEnd()) return WDB_E_CORRUPT;
    definition.schema = std::make_shared<const Schema>(std::move(fields), definition.uniqueKey);
    return definition;
}

}  // namespace wdb
