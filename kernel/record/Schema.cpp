#include "kernel/record/Schema.h"

#include <algorithm>
#include <array>
#include <utility>

#include "kernel/common/Ascii.h"

namespace wdb {

namespace {

constexpr std::array<std::pair<FieldType, std::string_view>, 7> kTypes{{{FieldType::Text, "TEXT"},
                                                                        {FieldType::Phrase, "PHRASE"},
                                                                        {FieldType::Integer, "INTEGER"},
                                                                        {FieldType::Number, "NUMBER"},
                                                                        {FieldType::Date, "DATE"},
                                                                        {FieldType::Time, "TIME"},
                                                                        {FieldType::String, "STRING"}}};

}  // namespace

std::string_view typeName(FieldType type) {
    for (const auto& [code, name] : kTypes) {
        if (code == type) return name;
    }
    return {};
}

std::optional<FieldType> typeOfName(std::string_view name) {
    for (const auto& [code, known] : kTypes) {
        if (equalsIgnoreCase(known, trimName(name))) return code;
    }
    return std::nullopt;
}

std::optional<FieldType> typeOfCode(int32_t code) {
    for (const auto& [type, name] : kTypes) {
        if (static_cast<int32_t>(type) == code) return type;
    }
    return std::nullopt;
}

uint32_t FieldDefinition::flags() const {
    return (indexed ? WDB_F_INDEXED : 0) | (serial ? WDB_F_SERIAL : 0) | (part ? WDB_F_PART : 0) |
           (key ? WDB_F_UNIQUE : 0) | (mandatory ? 0 : WDB_F_NULLABLE) | (plain ? WDB_F_PLAIN : 0);
}

std::string_view trimName(std::string_view name) {
    while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
    return name;
}

std::string foldName(std::string_view name) {
    std::string folded(trimName(name));
    for (char& c : folded) c = asciiUpper(c);
    return folded;
}

Schema::Schema(std::vector<FieldDefinition> fields, FieldNumber uniqueKey)
    : fields_(std::move(fields)), uniqueKey_(uniqueKey) {
    std::ranges::sort(fields_, {}, &FieldDefinition::number);
    slots_.resize(fields_.empty() ? 0 : fields_.back().number + size_t{1});
    for (size_t i = 0; i < fields_.size(); ++i) {
        slots_[fields_[i].number] = static_cast<uint16_t>(i + 1);
        byName_.emplace_back(foldName(fields_[i].name), static_cast<uint16_t>(i));
        if (fields_[i].serial) serial_ = fields_[i].number;
    }
    std::ranges::sort(byName_);
}

const FieldDefinition* Schema::find(std::string_view name) const {
    name = trimName(name);
    if (name.size() > WDB_FIELD_NAME_MAX) return nullptr;
    std::array<char, WDB_FIELD_NAME_MAX> folded;
    std::ranges::transform(name, folded.begin(), asciiUpper);
    const std::string_view wanted(folded.data(), name.size());
    const auto found = std::ranges::lower_bound(
        byName_, wanted, {}, [](const auto& entry) { return std::string_view(entry.first); });
    return found != byName_.end() && found->first == wanted ? &fields_[found->second] : nullptr;
}

}  // namespace wdb
