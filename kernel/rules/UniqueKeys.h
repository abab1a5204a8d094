#pragma once

#include <string>
#include <vector>

#include "kernel/catalog/BaseDefinition.h"
#include "kernel/common/Status.h"
#include "kernel/record/RecordImage.h"
#include "kernel/storage/BaseFile.h"

namespace wdb {

// Whether values of the field must be unused by other records: the unique key, and fields marked as keys.
bool isUniqueField(const BaseDefinition& definition, const FieldDefinition& field);

// The entry of the table of keys that a value of a field makes; empty for a value that has none.
std::string keyOf(const FieldDefinition& field, Slice item);

// The entries of the table of keys that a record has: one per different value of its unique fields, compared
// as `=` compares (PHRASE normalised, numbers as numbers). Sorted, no key twice. Empty items have none.
std::vector<std::string> keysOf(const BaseDefinition& definition, const RecordView& record);
std::vector<std::string> keysOf(const BaseDefinition& definition, const RecordData& record);

// WDB_E_DUPLICATE when a record other than `self` (0: none) has one of the keys.
Status checkKeys(const BaseReader& reader, const std::vector<std::string>& keys, RecordNumber self);
// Takes away the keys that only `before` has and adds those that only `after` has.
Status storeKeys(BaseWriter& writer, const std::vector<std::string>& before,
                 const std::vector<std::string>& after, RecordNumber number);

}  // namespace wdb
