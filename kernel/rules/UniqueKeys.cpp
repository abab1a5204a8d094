#include "kernel/rules/UniqueKeys.h"

#include <algorithm>

#include "kernel/record/ValueKey.h"

namespace wdb {

namespace {

// `items(part, field, visit)` hands out the items of a field of a part.
template <typename Items>
std::vector<std::string> collect(const BaseDefinition& definition, PartNumber parts, Items items) {
    std::vector<std::string> keys;
    for (const FieldDefinition& field : definition.schema->fields()) {
        if (!isUniqueField(definition, field)) continue;
        for (PartNumber part = 0; part <= parts; ++part) {
            items(part, field.number, [&](Slice item) {
                if (std::string key = keyOf(field, item); !key.empty()) keys.push_back(std::move(key));
            });
        }
    }
    std::ranges::sort(keys);
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    return keys;
}

}  // namespace

bool isUniqueField(const BaseDefinition& definition, const FieldDefinition& field) {
    return field.key || field.number == definition.uniqueKey;
}

std::string keyOf(const FieldDefinition& field, Slice item) {
    if (item.empty()) return {};
    const ValueKey key = valueKey(field.type, item);
    if (key.bytes.empty()) return {};
    return uniqueKey(field.number, key.bytes, key.cut,
                     key.cut ? wholeValueKey(field.type, item) : std::string());
}

std::vector<std::string> keysOf(const BaseDefinition& definition, const RecordView& record) {
    return collect(definition, record.partCount(), [&](PartNumber part, FieldNumber field, auto visit) {
        for (const Slice item : record.items(part, field)) visit(item);
    });
}

std::vector<std::string> keysOf(const BaseDefinition& definition, const RecordData& record) {
    const auto parts = static_cast<PartNumber>(record.parts.size());
    return collect(definition, parts, [&](PartNumber part, FieldNumber field, auto visit) {
        const FieldsData& fields = part == 0 ? record.head : record.parts[part - 1];
        const FieldValues* values = fields.find(field);
        if (values == nullptr) return;
        for (const std::string& item : values->items) visit(item);
    });
}

Status checkKeys(const BaseReader& reader, const std::vector<std::string>& keys, RecordNumber self) {
    for (const std::string& key : keys) {
        const auto holder = reader.findKey(key);
        if (holder && *holder != self) return WDB_E_DUPLICATE;
        if (!holder && holder.status() != WDB_FAIL) return holder.status();
    }
    return WDB_OK;
}

Status storeKeys(BaseWriter& writer, const std::vector<std::string>& before,
                 const std::vector<std::string>& after, RecordNumber number) {
    for (const std::string& key : before) {
        if (!std::ranges::binary_search(after, key)) WDB_TRY(writer.dropKey(key));
    }
    for (const std::string& key : after) {
        if (!std::ranges::binary_search(before, key)) WDB_TRY(writer.setKey(key, number));
    }
    return WDB_OK;
}

}  // namespace wdb
