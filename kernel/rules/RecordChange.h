#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kernel/catalog/SessionUnit.h"
#include "kernel/common/Status.h"
#include "kernel/record/ObjectSpool.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Value.h"
#include "kernel/rules/ReferentialActions.h"

namespace wdb {

// A large object that a record is to get.
struct PendingObject {
    PartNumber part = 0;
    FieldNumber field = 0;
    const ObjectSpool* bytes = nullptr;
};

// Tells whether a record's commit number means that somebody else stored it since the caller read it.
using ChangedByOthers = std::function<bool(uint64_t commit)>;

// Stores one record in a write unit: first everything that can refuse it (check), then everything that writes
// (write). A refused put leaves base, unit and record as they were; a failed write leaves the unit torn, to
// be dropped as a whole.
//
// check, in this order: the stored record is still the one that was read; the right to write what changes;
// defaults and serial numbers of a new record; empty items at the end dropped; mandatory fields; unique keys;
// the rules that lead to other records; a number for it and the size of its image. write: large objects,
// keys, the image with its queue entry, the records that rules change.
class RecordPut {
public:
    // `number` 0 stores a new record. All arguments outlive the put.
    RecordPut(UnitBase& base, RecordData& record, RecordNumber number, std::span<const PendingObject> objects,
              RuleContext& context);
    // Stores a new record under this number instead of the next one: WDB_E_DUPLICATE when it was used before.
    void under(RecordNumber number) { wanted_ = number; }

    // WDB_E_CHANGED, WDB_E_DELETED, WDB_E_RIGHT, WDB_E_MANDATORY, WDB_E_DUPLICATE, WDB_E_VALUE (serial
    // numbers used up, an image beyond its limits), WDB_E_STORAGE (record numbers used up), what
    // ReferentialActions::plan answers, storage errors.
    Status check(const ChangedByOthers& changed);
    Status write();

    // After write():
    RecordNumber number() const { return number_; }
    uint64_t commit() const { return commit_; }
    std::string takeImage() { return std::move(image_); }

private:
    Status checkWanted() const;
    void dropUnknownFields();
    Status checkSize() const;
    Status readStored(const ChangedByOthers& changed);
    Status checkRights(const RecordView& stored) const;
    Status fillDefaults();
    bool holdsValue(FieldNumber field) const;
    Status checkMandatory() const;
    Status checkRules();
    Status storeObjects();
    void undo();

    UnitBase* base_;
    RecordData* record_;
    RecordNumber number_;
    std::span<const PendingObject> objects_;
    RuleContext* context_;
    RecordNumber wanted_ = 0;
    std::vector<FieldNumber> filled_;       // fields that got a default or a serial number
    std::optional<RecordData> asHandedIn_;  // when rules may change the record itself
    std::optional<ReferentialActions> actions_;
    std::vector<std::string> keysBefore_;
    std::vector<std::string> keysAfter_;
    std::vector<ObjectReference> objectsBefore_;  // of the stored record
    uint64_t commit_ = 0;
    std::string image_;
};

// Deletes one record with its keys and objects in a write unit; check and write as above.
class RecordDelete {
public:
    RecordDelete(UnitBase& base, RecordNumber number, RuleContext& context)
        : base_(&base), number_(number), context_(&context) {}
    // WDB_FAIL, WDB_E_DELETED when there is nothing to delete; what ReferentialActions::plan answers.
    Status check();
    Status write();

private:
    UnitBase* base_;
    RecordNumber number_;
    RuleContext* context_;
    std::optional<ReferentialActions> actions_;
    std::vector<std::string> keys_;
    std::vector<ObjectReference> objects_;
};

}  // namespace wdb
