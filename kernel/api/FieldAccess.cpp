#include "kernel/api/FieldAccess.h"

namespace wdb::api {

namespace {

Status locate(Session& session, WdbCursor* handle, Place& place) {
    place.cursor = session.cursor(handle);
    if (place.cursor == nullptr) return WDB_E_HANDLE;
    place.control = session.controls.find(place.cursor->control);
    if (place.control == nullptr) return WDB_E_HANDLE;
    if (!place.control->attached() || !place.control->record.any()) return WDB_E_NO_RECORD;
    place.field = place.control->schema().find(place.cursor->field);
    return place.field == nullptr ? WDB_E_FIELD : WDB_OK;
}

}  // namespace

Status findPlace(Session& session, WdbCursor* handle, Place& place) {
    WDB_TRY(locate(session, handle, place));
    const RecordControl& control = *place.control;
    if (!control.listed && !session.rights.mayRead(*control.definition, place.field->number))
        return WDB_E_RIGHT;
    place.cursor->follow(place.control->record);
    return WDB_OK;
}

Status findWritablePlace(Session& session, WdbCursor* handle, Place& place) {
    WDB_TRY(locate(session, handle, place));
    if (place.control->listed || !place.control->writable || session.writer.readOnly())
        return WDB_E_READ_ONLY;
    if (!session.rights.mayWrite(*place.control->definition, place.field->number)) return WDB_E_RIGHT;
    place.cursor->follow(place.control->record);
    return WDB_OK;
}

Result<Slice> dataOf(const char* data, int32_t length) {
    if (length < -1) return WDB_E_ARGUMENT;
    if (data == nullptr) return Slice();
    return length == -1 ? Slice(data) : Slice(data, static_cast<size_t>(length));
}

}  // namespace wdb::api
