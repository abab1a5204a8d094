#pragma once

#include "kernel/session/Session.h"

namespace wdb::api {

// What a cursor stands on.
struct Place {
    FieldCursor* cursor = nullptr;
    RecordControl* control = nullptr;
    const FieldDefinition* field = nullptr;

    CurrentRecord& record() const { return control->record; }
};

// Follows a cursor to its record and field. WDB_E_HANDLE for a dead one or one of a dead control,
// WDB_E_NO_RECORD, WDB_E_FIELD, WDB_E_RIGHT.
Status findPlace(Session& session, WdbCursor* handle, Place& place);
// The same for writing: WDB_E_READ_ONLY, WDB_E_RIGHT as well.
Status findWritablePlace(Session& session, WdbCursor* handle, Place& place);

// Data with a length of -1 (up to the NUL) or more; NULL is empty. WDB_E_ARGUMENT for other lengths.
Result<Slice> dataOf(const char* data, int32_t length);

}  // namespace wdb::api
