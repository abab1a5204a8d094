#include "kernel/rules/RecordContents.h"

#include <algorithm>

namespace wdb {

namespace {

// `item(part, field)` hands out the one item of an object's field.
template <typename Item>
std::vector<ObjectReference> collectObjects(const Schema& schema, size_t parts, Item item) {
    std::vector<ObjectReference> objects;
    for (const FieldDefinition& field : schema.fields()) {
        if (field.type != FieldType::String) continue;
        for (PartNumber part = 0; part <= parts; ++part) {
            if (const auto reference = ObjectReference::decode(item(part, field.number)))
                objects.push_back(*reference);
        }
    }
    return objects;
}

const FieldsData& fieldsOf(const RecordData& record, PartNumber part) {
    return part == 0 ? record.head : record.parts[part - 1];
}

}  // namespace

Result<RecordView> storedRecord(const BaseReader& reader, RecordNumber number) {
    return reader.record(number);
}

std::vector<ObjectReference> objectsOf(const Schema& schema, const RecordView& record) {
    return collectObjects(schema, record.partCount(), [&](PartNumber part, FieldNumber field) {
        return record.items(part, field).first();
    });
}

std::vector<ObjectReference> objectsOf(const Schema& schema, const RecordData& record) {
    return collectObjects(schema, record.parts.size(), [&](PartNumber part, FieldNumber field) {
        const FieldValues* values = fieldsOf(record, part).find(field);
        return values == nullptr || values->items.empty() ? Slice() : Slice(values->items.front());
    });
}

bool hasValue(const FieldsData& fields, FieldNumber field) {
    const FieldValues* values = fields.find(field);
    return values != nullptr &&
           std::ranges::any_of(values->items, [](const std::string& item) { return !item.empty(); });
}

bool hasValue(const RecordData& record, FieldNumber field) {
    return hasValue(record.head, field) ||
           std::ranges::any_of(record.parts, [&](const FieldsData& part) { return hasValue(part, field); });
}

void forEachItem(RecordData& record, FieldNumber field, const ItemVisitor& visit) {
    for (PartNumber part = 0; part <= record.parts.size(); ++part) {
        FieldsData& fields = *record.fields(part);
        if (fields.find(field) == nullptr) continue;
        auto& items = fields.at(field).items;
        for (size_t place = 0; place < items.size(); ++place) visit(part, place, items[place]);
    }
}

std::vector<FieldNumber> changedFields(const Schema& schema, const RecordView& before,
                                       const RecordData& after) {
    const auto differs = [](const ItemList& was, const FieldValues* is) {
        const size_t now = is == nullptr ? 0 : is->items.size();
        const size_t items = std::max<size_t>(was.size(), now);
        for (size_t i = 0; i < items; ++i) {
            const Slice item = i < now ? Slice(is->items[i]) : Slice();
            if (was.at(static_cast<uint32_t>(i) + 1) != item) return true;
        }
        return false;
    };
    const auto changed = [&](const FieldDefinition& field) {
        if (!field.part) return differs(before.items(field.number), after.head.find(field.number));
        if (before.partCount() != after.parts.size()) return true;
        for (PartNumber part = 1; part <= before.partCount(); ++part) {
            if (differs(before.items(part, field.number), after.parts[part - 1].find(field.number)))
                return true;
        }
        return false;
    };
    std::vector<FieldNumber> fields;
    for (const FieldDefinition& field : schema.fields()) {
        if (changed(field)) fields.push_back(field.number);
    }
    return fields;
}

void noteSerial(BaseWriter& writer, const Schema& schema, const RecordData& record) {
    const FieldDefinition* serial = schema.serial();
    const FieldValues* values = serial == nullptr ? nullptr : record.head.find(serial->number);
    if (values == nullptr || values->items.empty() || values->items.front().size() != 8) return;
    writer.noteSerial(decodeInteger(values->items.front()));
}

}  // namespace wdb
