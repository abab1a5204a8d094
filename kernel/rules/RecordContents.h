#pragma once

#include <functional>
#include <vector>

#include "kernel/common/Status.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Value.h"
#include "kernel/storage/BaseFile.h"

namespace wdb {

// What rules want to know of one record.

// A stored record that is not deleted: as BaseReader::image, and WDB_E_CORRUPT.
Result<RecordView> storedRecord(const BaseReader& reader, RecordNumber number);
// The large objects of a record, its parts included.
std::vector<ObjectReference> objectsOf(const Schema& schema, const RecordView& record);
std::vector<ObjectReference> objectsOf(const Schema& schema, const RecordData& record);
bool hasValue(const FieldsData& fields, FieldNumber field);
// Whether the head or a part has a value of the field.
bool hasValue(const RecordData& record, FieldNumber field);
// The items of a field in head and parts; empty ones too.
using ItemVisitor = std::function<void(PartNumber part, size_t place, std::string& item)>;
void forEachItem(RecordData& record, FieldNumber field, const ItemVisitor& visit);
// The fields whose values differ, in the head or a part, by number; empty items at the end count for nothing.
// With another number of parts every field of the parts differs.
std::vector<FieldNumber> changedFields(const Schema& schema, const RecordView& before,
                                       const RecordData& after);
// Tells the base of the highest serial number that it has seen.
void noteSerial(BaseWriter& writer, const Schema& schema, const RecordData& record);

}  // namespace wdb
