#pragma once

#include "kernel/common/Status.h"
#include "kernel/record/Schema.h"
#include "kernel/storage/BaseFile.h"

namespace wdb {

// Fills the table of unique keys for a field that becomes unique, from the records of the base.
// WDB_E_DUPLICATE when two records have the same value.
Status buildKeys(BaseWriter& writer, const FieldDefinition& field);

}  // namespace wdb
