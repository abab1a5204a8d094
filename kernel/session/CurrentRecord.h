#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/record/ObjectSpool.h"
#include "kernel/record/RecordImage.h"
#include "kernel/rules/RecordChange.h"

namespace wdb {

// The record that a control holds: a copy of a stored one, decoded only when it is changed, or a new one.
class CurrentRecord {
public:
    bool any() const { return any_; }
    RecordNumber number() const { return number_; }  // 0: not stored yet
    uint64_t version() const { return version_; }    // highest commit number that the reader has seen
    uint64_t epoch() const { return epoch_; }        // moves when another record takes the place

    void clear();
    // The same, and gives the memory back.
    void release();
    void makeNew();
    // Copies a validated image. `version`: stored later than this means changed by somebody.
    void load(RecordNumber number, const RecordView& view, uint64_t version);
    // The record was stored as this image.
    void stored(RecordNumber number, std::string image, uint64_t commit);

    PartNumber partCount() const;
    // Appends an empty part; its number.
    PartNumber addPart();
    // Removes a part that is there; the numbers of those behind it go down by one.
    void removePart(PartNumber part);
    // Items of a field; the last one is not empty.
    uint32_t itemCount(PartNumber part, FieldNumber field) const;
    // An item from 1, empty behind the end. Valid until the record is changed.
    Slice item(PartNumber part, FieldNumber field, uint32_t position) const;
    // The one value of a TEXT or STRING field.
    Slice value(PartNumber part, FieldNumber field) const { return item(part, field, 1); }

    // For changes.
    FieldValues& change(PartNumber part, FieldNumber field);
    RecordData& data();

    // A large object that is being written: replaces the stored one when the record is put.
    ObjectSpool& startObject(PartNumber part, FieldNumber field);
    const ObjectSpool* pendingObject(PartNumber part, FieldNumber field) const;
    ObjectSpool* pendingObject(PartNumber part, FieldNumber field);
    void dropObject(PartNumber part, FieldNumber field);
    std::vector<PendingObject> pendingObjects() const;

private:
    struct Object {
        PartNumber part;
        FieldNumber field;
        ObjectSpool bytes;
    };
    const FieldsData* decoded(PartNumber part) const;
    void dropContent();

    bool any_ = false;
    RecordNumber number_ = 0;
    uint64_t version_ = 0;
    uint64_t epoch_ = 0;
    std::string image_;  // of view_
    RecordView view_;    // as long as data_ has not been made
    std::optional<RecordData> data_;
    std::vector<Object> objects_;
};

}  // namespace wdb
