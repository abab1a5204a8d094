#include "kernel/rules/RecordChange.h"

#include <algorithm>

#include "kernel/rules/RecordContents.h"
#include "kernel/rules/UniqueKeys.h"

namespace wdb {

namespace {

Status storeObject(BaseWriter& writer, const ObjectSpool& bytes, ObjectReference& reference) {
    reference = {writer.newObject(), bytes.size(), static_cast<uint32_t>(kObjectChunk)};
    std::string chunk(kObjectChunk, '\0'), sums;
    for (uint32_t i = 0; i < reference.chunks(); ++i) {
        const auto size = bytes.read(uint64_t{i} * kObjectChunk, chunk.data(), chunk.size());
        if (!size) return size.status();
        WDB_TRY(writer.putObjectChunk(reference.id, i, Slice(chunk.data(), *size)));
        appendLittle(sums, objectSum(Slice(chunk.data(), *size)));
    }
    return writer.putObjectSums(reference.id, sums);
}

}  // namespace

RecordPut::RecordPut(UnitBase& base, RecordData& record, RecordNumber number,
                     std::span<const PendingObject> objects, RuleContext& context)
    : base_(&base), record_(&record), number_(number), objects_(objects), context_(&context) {}

Status RecordPut::check(const ChangedByOthers& changed) {
    Status status = number_ == 0 ? checkWanted() : readStored(changed);
    if (ok(status) && number_ == 0) status = fillDefaults();
    if (ok(status)) {
        dropUnknownFields();
        record_->trim();
        status = checkMandatory();
    }
    if (ok(status)) {
        keysAfter_ = keysOf(*base_->definition, *record_);
        status = checkKeys(*base_->writer, keysAfter_, number_);
    }
    if (ok(status)) status = checkRules();
    if (ok(status)) status = checkSize();
    if (!ok(status)) undo();
    return status;
}

// The control was filled before somebody deleted a field.
void RecordPut::dropUnknownFields() {
    const Schema& schema = *base_->definition->schema;
    for (PartNumber part = 0; part <= record_->parts.size(); ++part) {
        FieldsData& fields = *record_->fields(part);
        for (size_t i = fields.fields().size(); i-- > 0;) {
            const FieldNumber field = fields.fields()[i].field;
            if (schema.find(field) == nullptr) fields.erase(field);
        }
    }
}

Status RecordPut::checkWanted() const {
    if (!context_->mayChange(*base_->definition, 0)) return WDB_E_RIGHT;
    if (wanted_ == 0) return WDB_OK;
    const Status used = base_->writer->image(wanted_).status();
    return used == WDB_OK || used == WDB_E_DELETED ? WDB_E_DUPLICATE : used == WDB_FAIL ? WDB_OK : used;
}

// What write() could refuse only when some of it is written.
Status RecordPut::checkSize() const {
    constexpr size_t kForObject = 64;  // its place in the image and the reference
    if (number_ == 0 && !base_->writer->hasRoom(wanted_)) return WDB_E_STORAGE;
    return checkImageSize(*record_, objects_.size() * kForObject);
}

Status RecordPut::readStored(const ChangedByOthers& changed) {
    const auto stored = storedRecord(*base_->writer, number_);
    if (!stored) return stored.status();
    if (changed(stored->commit())) return WDB_E_CHANGED;
    WDB_TRY(checkRights(*stored));
    keysBefore_ = keysOf(*base_->definition, *stored);
    objectsBefore_ = objectsOf(*base_->definition->schema, *stored);
    return WDB_OK;
}

// Who may not write all fields may write some: what counts is what the stored record would lose or get.
Status RecordPut::checkRights(const RecordView& stored) const {
    if (context_->mayChange(*base_->definition, 0)) return WDB_OK;
    std::vector<FieldNumber> fields = changedFields(*base_->definition->schema, stored, *record_);
    for (const PendingObject& object : objects_) fields.push_back(object.field);
    const bool may = std::ranges::all_of(
        fields, [&](FieldNumber field) { return context_->mayChange(*base_->definition, field); });
    return may ? WDB_OK : WDB_E_RIGHT;
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

Status RecordPut::checkRules() {
    const auto concern = ReferentialActions::concern(*context_, *base_->definition);
    if (!concern || !*concern) return concern.status();
    actions_.emplace(*context_);
    if (number_ == 0) return actions_->plan(*base_, 0, {}, record_, {}, keysAfter_);
    const auto stored = storedRecord(*base_->writer, number_);
    if (!stored) return stored.status();
    asHandedIn_ = *record_;
    return actions_->plan(*base_, number_, stored->image(), record_, keysBefore_, keysAfter_);
}

void RecordPut::undo() {
    if (asHandedIn_) *record_ = std::move(*asHandedIn_);
    for (const FieldNumber field : filled_) record_->head.erase(field);
    filled_.clear();
}

// An object that is handed in decides for its place alone: what was stored there goes, also for an empty one.
bool RecordPut::holdsValue(FieldNumber field) const {
    for (PartNumber part = 0; part <= record_->parts.size(); ++part) {
        const auto pending = std::ranges::find_if(objects_, [&](const PendingObject& object) {
            return object.part == part && object.field == field;
        });
        if (pending == objects_.end() ? hasValue(*record_->fields(part), field) : pending->bytes->size() > 0)
            return true;
    }
    return false;
}

Status RecordPut::checkMandatory() const {
    for (const FieldDefinition& field : base_->definition->schema->fields()) {
        if (field.mandatory && !holdsValue(field.number)) return WDB_E_MANDATORY;
    }
    return WDB_OK;
}

Status RecordPut::storeObjects() {
    for (const PendingObject& object : objects_) {
        FieldsData* fields = record_->fields(object.part);
        if (fields == nullptr || base_->definition->schema->find(object.field) == nullptr) continue;
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
        const auto number = base_->writer->newRecord(wanted_);
        if (!number) return number.status();
        number_ = *number;
    }
    if (actions_) {
        WDB_TRY(actions_->dropKeys());
        keysAfter_ = actions_->keys();
    }
    WDB_TRY(storeKeys(*base_->writer, keysBefore_, keysAfter_, number_));
    noteSerial(*base_->writer, *base_->definition->schema, *record_);
    WDB_TRY(base_->put(number_, *image));
    if (actions_) WDB_TRY(actions_->write());
    image_ = std::move(*image);
    return WDB_OK;
}

Status RecordDelete::check() {
    const auto stored = storedRecord(*base_->writer, number_);
    if (!stored) return stored.status();
    keys_ = keysOf(*base_->definition, *stored);
    objects_ = objectsOf(*base_->definition->schema, *stored);
    const auto concern = ReferentialActions::concern(*context_, *base_->definition);
    if (!concern || !*concern) return concern.status();
    return actions_.emplace(*context_).plan(*base_, number_, stored->image(), nullptr, keys_, {});
}

Status RecordDelete::write() {
    if (actions_) WDB_TRY(actions_->dropKeys());
    WDB_TRY(storeKeys(*base_->writer, keys_, {}, number_));
    for (const ObjectReference& object : objects_) WDB_TRY(base_->writer->dropObject(object.id));
    WDB_TRY(base_->remove(number_));
    return actions_ ? actions_->write() : WDB_OK;
}

}  // namespace wdb
