#include "kernel/rules/RecordChange.h"

#include <algorithm>

#include "kernel/rules/UniqueKeys.h"

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

std::vector<ObjectReference> objectsOf(const Schema& schema, const RecordView& record) {
    return collectObjects(schema, record.partCount(), [&](PartNumber part, FieldNumber field) {
        return record.items(part, field).first();
    });
}

std::vector<ObjectReference> objectsOf(const Schema& schema, RecordData& record) {
    return collectObjects(schema, record.parts.size(), [&](PartNumber part, FieldNumber field) {
        const FieldValues* values = record.fields(part)->find(field);
        return values == nullptr || values->items.empty() ? Slice() : Slice(values->items.front());
    });
}

bool hasValue(const FieldsData& fields, FieldNumber field) {
    const FieldValues* values = fields.find(field);
    return values != nullptr &&
           std::ranges::any_of(values->items, [](const std::string& item) { return !item.empty(); });
}

// In the head or in a part.
bool hasValue(const RecordData& record, FieldNumber field) {
    return hasValue(record.head, field) ||
           std::ranges::any_of(record.parts, [&](const FieldsData& part) { return hasValue(part, field); });
}

Result<RecordView> storedRecord(const BaseReader& reader, RecordNumber number) {
    const auto image = reader.image(number);
    if (!image) return image.status();
    return RecordView::validate(*image);
}

Status storeObject(BaseWriter& writer, const ObjectSpool& bytes, ObjectReference& reference) {
    reference = {writer.newObject(), bytes.size(), static_cast<uint32_t>(kObjectChunk)};
    std::string chunk(kObjectChunk, '\0');
    for (uint32_t i = 0; i < reference.chunks(); ++i) {
        const auto size = bytes.read(uint64_t{i} * kObjectChunk, chunk.data(), chunk.size());
        if (!size) return size.status();
        WDB_TRY(writer.putObjectChunk(reference.id, i, Slice(chunk.data(), *size)));
    }
    return WDB_OK;
}

}  // namespace

RecordPut::RecordPut(UnitBase& base, RecordData& record, RecordNumber number,
                     std::span<const PendingObject> objects)
    : base_(&base), record_(&record), number_(number), objects_(objects) {}

Status RecordPut::check(const ChangedByOthers& changed) {
    Status status = number_ == 0 ? fillDefaults() : readStored(changed);
    if (ok(status)) {
        record_->trim();
        status = checkMandatory();
    }
    if (ok(status)) {
        keysAfter_ = keysOf(*base_->definition, *record_);
        status = checkKeys(*base_->writer, keysAfter_, number_);
    }
    if (!ok(status)) undoDefaults();
    return status;
}

Status RecordPut::readStored(const ChangedByOthers& changed) {
    const auto stored = storedRecord(*base_->writer, number_);
    if (!stored) return stored.status();
    if (changed(stored->commit())) return WDB_E_CHANGED;
    keysBefore_ = keysOf(*base_->definition, *stored);
    objectsBefore_ = objectsOf(*base_->definition->schema, *stored);
    return WDB_OK;
}

Status RecordPut::fillDefaults() {
    for (const FieldDefinition& field : base_->definition->schema->fields()) {
        if ((!field.hasDefault && !field.serial) || hasValue(*record_, field.number)) continue;
        if (field.serial && base_->writer->serialHigh() == INT64_MAX) return WDB_E_VALUE;
        record_->head.at(field.number).items = {field.serial ? encodeInteger(base_->writer->serialHigh() + 1)
                                                             : field.defaultValue};
        filled_.push_back(field.number);
    }
    return WDB_OK;
}

void RecordPut::undoDefaults() {
    for (const FieldNumber field : filled_) record_->head.erase(field);
    filled_.clear();
}

Status RecordPut::checkMandatory() const {
    for (const FieldDefinition& field : base_->definition->schema->fields()) {
        if (!field.mandatory || hasValue(*record_, field.number)) continue;
        const bool pending = std::ranges::any_of(objects_, [&](const PendingObject& object) {
            return object.field == field.number && object.bytes->size() > 0;
        });
        if (!pending) return WDB_E_MANDATORY;
    }
    return WDB_OK;
}

Status RecordPut::storeObjects() {
    for (const PendingObject& object : objects_) {
        FieldsData* fields = record_->fields(object.part);
        if (fields == nullptr) continue;
        if (object.bytes->size() == 0) {
            fields->erase(object.field);
            continue;
        }
        ObjectReference reference;
        WDB_TRY(storeObject(*base_->writer, *object.bytes, reference));
        fields->at(object.field).items = {reference.encode()};
    }
    if (objectsBefore_.empty()) return WDB_OK;
    const auto after = objectsOf(*base_->definition->schema, *record_);
    for (const ObjectReference& before : objectsBefore_) {
        if (std::ranges::find(after, before) == after.end()) WDB_TRY(base_->writer->dropObject(before.id));
    }
    return WDB_OK;
}

Status RecordPut::write() {
    WDB_TRY(storeObjects());
    commit_ = base_->writer->commitNumber();
    auto image = encodeRecord(*record_, commit_);
    if (!image) return image.status();
    if (number_ == 0) {
        const auto number = base_->writer->newRecord();
        if (!number) return number.status();
        number_ = *number;
    }
    WDB_TRY(storeKeys(*base_->writer, keysBefore_, keysAfter_, number_));
    if (const FieldDefinition* serial = base_->definition->schema->serial()) {
        const FieldValues* values = record_->head.find(serial->number);
        if (values != nullptr && !values->items.empty() && values->items.front().size() == 8) {
            base_->writer->noteSerial(decodeInteger(values->items.front()));
        }
    }
    WDB_TRY(base_->put(number_, *image));
    image_ = std::move(*image);
    return WDB_OK;
}

Status RecordDelete::check() {
    const auto stored = storedRecord(*base_->writer, number_);
    if (!stored) return stored.status();
    keys_ = keysOf(*base_->definition, *stored);
    objects_ = objectsOf(*base_->definition->schema, *stored);
    return WDB_OK;
}

Status RecordDelete::write() {
    WDB_TRY(storeKeys(*base_->writer, keys_, {}, number_));
    for (const ObjectReference& object : objects_) WDB_TRY(base_->writer->dropObject(object.id));
    return base_->remove(number_);
}

}  // namespace wdb
