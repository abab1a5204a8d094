#pragma once

#include <cstdint>
#include <memory>

#include "kernel/catalog/BaseDefinition.h"
#include "kernel/catalog/OpenBase.h"
#include "kernel/session/CurrentRecord.h"

namespace wdb {

// What a WdbRecordControl stands for.
struct RecordControl {
    // Where its record came from, when a search gave it.
    struct Origin {
        uint64_t set = 0;     // serial number; 0: not from a search
        int32_t ordinal = 0;  // from 1
    };

    std::shared_ptr<OpenBase> base;  // null: none attached, or an entry of the control list
    std::shared_ptr<const BaseDefinition> definition;
    bool writable = false;
    bool listed = false;   // belongs to the control list, not to the caller; can be read only
    bool deleted = false;  // its record was just deleted through it
    PartNumber part = 0;
    Origin origin;
    CurrentRecord record;
    uint32_t cursors = 0;  // alive on it

    bool attached() const { return definition != nullptr; }
    const Schema& schema() const { return *definition->schema; }
    // Where the values of a field are as long as the current part stays: in it, or in the head.
    PartNumber partOf(const FieldDefinition& field) const { return field.part ? part : 0; }
    // Drops the record and what belongs to it.
    void dropRecord() {
        record.clear();
        part = 0;
        origin = {};
        deleted = false;
    }
    void reset() {
        base.reset();
        definition.reset();
        writable = listed = false;
        dropRecord();
        cursors = 0;
    }
};

}  // namespace wdb
