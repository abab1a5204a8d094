#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "include/wdb.h"
#include "kernel/common/Ids.h"

namespace wdb {

// Codes of the field types as the API names them.
enum class FieldType : uint8_t {
    Text = WDB_T_TEXT,
    Phrase = WDB_T_PHRASE,
    Integer = WDB_T_INTEGER,
    Number = WDB_T_NUMBER,
    Date = WDB_T_DATE,
    Time = WDB_T_TIME,
    String = WDB_T_STRING  // one binary large object
};

// Fields of these types hold a list of items; TEXT and STRING hold one value.
constexpr bool holdsItems(FieldType type) {
    return type != FieldType::Text && type != FieldType::String;
}
// "PHRASE", "TEXT", ...
std::string_view typeName(FieldType type);
// By name without regard to case, trailing blanks dropped; by code.
std::optional<FieldType> typeOfName(std::string_view name);
std::optional<FieldType> typeOfCode(int32_t code);

struct FieldDefinition {
    FieldNumber number = 0;
    std::string name;  // as given at creation, at most WDB_FIELD_NAME_MAX bytes
    FieldType type = FieldType::Phrase;
    bool indexed = false;
    bool serial = false;  // INTEGER only, at most one field of a base
    bool mandatory = false;
    bool wholeValue = false;
    bool part = false;
    bool plain = false;
    bool key = false;  // values are unique in the base
    bool hasDefault = false;
    bool hasReference = false;  // kept as information, see reference
    std::string defaultValue;   // canonical (Value.h)
    std::string comment;        // UTF-8, at most 127 bytes
    std::string reference;      // "table.column"

    // WDB_F_ bits as WdbCheckField gives them.
    uint32_t flags() const;
    bool operator==(const FieldDefinition&) const = default;
};

// A name without its trailing blanks: how names arrive from callers that pad them.
std::string_view trimName(std::string_view name);
// ASCII upper case of a trimmed name: what names of bases and fields, users, settings and symbols compare by.
std::string foldName(std::string_view name);

// The fields of a base: an immutable value, shared as shared_ptr<const Schema>.
class Schema {
public:
    Schema() = default;
    // Field numbers must differ and lie in 1..WDB_FIELD_NUMBER_MAX; the fields are sorted by number here.
    // uniqueKey 0: none.
    explicit Schema(std::vector<FieldDefinition> fields, FieldNumber uniqueKey = 0);

    const std::vector<FieldDefinition>& fields() const { return fields_; }  // by ascending number
    // Null when there is none. The pointers live as long as the schema.
    const FieldDefinition* find(FieldNumber number) const {
        return number < slots_.size() && slots_[number] != 0 ? &fields_[slots_[number] - 1u] : nullptr;
    }
    const FieldDefinition* find(std::string_view name) const;
    const FieldDefinition* uniqueKey() const { return find(uniqueKey_); }
    const FieldDefinition* serial() const { return find(serial_); }
    FieldNumber highest() const { return fields_.empty() ? FieldNumber{0} : fields_.back().number; }

private:
    std::vector<FieldDefinition> fields_;
    std::vector<uint16_t> slots_;                           // by number: 1 + place in fields_, 0 for a gap
    std::vector<std::pair<std::string, uint16_t>> byName_;  // folded names, sorted, with the place in fields_
    FieldNumber uniqueKey_ = 0;
    FieldNumber serial_ = 0;
};

}  // namespace wdb
