// Fields by name and number, cursors, items.
#include <cstring>

#include "kernel/api/ApiCall.h"
#include "kernel/api/FieldAccess.h"
#include "kernel/record/TextLines.h"
#include "kernel/record/Value.h"

namespace wdb::api {
namespace {

Status checkField(Session& session, WdbRecordControl* handle, char* name, int32_t* number, int32_t* type,
                  uint32_t* flags) {
    const RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    if (!control->attached()) return WDB_E_NO_RECORD;
    if (name == nullptr) return WDB_E_ARGUMENT;
    const std::string_view given = trimName(std::string_view(name, strnlen(name, WDB_FIELD_NAME_SIZE)));
    const FieldDefinition* field = nullptr;
    if (!given.empty()) {
        field = control->schema().find(InText(session, given).view());
    } else {
        if (number == nullptr || *number < 1) return WDB_E_ARGUMENT;
        if (*number <= WDB_FIELD_NUMBER_MAX)
            field = control->schema().find(static_cast<FieldNumber>(*number));
    }
    if (field == nullptr) return session.fail(WDB_E_FIELD, given);
    putName(session, field->name, name, WDB_FIELD_NAME_SIZE);
    putNumber(number, field->number);
    putNumber(type, static_cast<int32_t>(field->type));
    if (flags != nullptr) *flags = field->flags();
    return WDB_OK;
}

struct Position {
    int32_t paragraph;
    int32_t item;
};

// Whether a position can be read: the whole field always, an item or paragraph up to the last one.
bool isThere(const RecordControl& control, const FieldDefinition& field, Position position) {
    if (position.paragraph == 0 && position.item == 0) return true;
    const CurrentRecord& record = control.record;
    if (field.type == FieldType::Text && position.paragraph > 0) {
        return static_cast<uint32_t>(position.paragraph) <=
               paragraphCount(record.value(control.partOf(field), field.number));
    }
    if (!holdsItems(field.type)) return position.item == 1;
    return static_cast<uint32_t>(position.item) <= record.itemCount(control.partOf(field), field.number);
}

// A field is for those who may read it and, in a control with write access, for those who may write it.
bool mayPlace(Session& session, const RecordControl& control, FieldNumber field) {
    if (control.listed || session.rights.mayRead(*control.definition, field)) return true;
    return control.writable && session.rights.mayWrite(*control.definition, field);
}

Status checkPosition(Session& session, RecordControl& control, int32_t number, Position position,
                     const FieldDefinition*& field) {
    if (!control.attached()) return WDB_E_NO_RECORD;
    field = number < 1 || number > WDB_FIELD_NUMBER_MAX
                ? nullptr
                : control.schema().find(static_cast<FieldNumber>(number));
    if (field == nullptr) return WDB_E_FIELD;
    if (!mayPlace(session, control, field->number)) return WDB_E_RIGHT;
    const auto [paragraph, item] = position;
    if (paragraph < 0 || item < 0 || (paragraph > 0 && item > 0)) return WDB_E_ARGUMENT;
    if (paragraph > 0 && field->type != FieldType::Text) return WDB_E_ARGUMENT;
    if (!control.record.any()) {
        if (!control.writable || control.listed) return WDB_E_NO_RECORD;
        if (paragraph > kMaxPosition || item > kMaxPosition) return WDB_E_ARGUMENT;
        control.dropRecord();
        control.record.makeNew();
        return WDB_OK;
    }
    if (!control.writable) return isThere(control, *field, position) ? WDB_OK : WDB_FAIL;
    return paragraph > kMaxPosition || item > kMaxPosition ? WDB_E_ARGUMENT : WDB_OK;
}

Status setCursor(Session& session, WdbCursor** cursor, WdbRecordControl* handle, int32_t number,
                 Position position) {
    FieldCursor* live = session.cursor(*cursor);
    if (*cursor != nullptr && live == nullptr) {
        *cursor = nullptr;
        return WDB_E_HANDLE;
    }
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    const FieldDefinition* field = nullptr;
    WDB_TRY(checkPosition(session, *control, number, position, field));
    if (live == nullptr) {
        const uint64_t made = session.cursors.add();
        live = &session.cursors.object(made);
        *cursor = handlePointer<WdbCursor>(made);
    } else if (RecordControl* before = session.controls.find(live->control)) {
        --before->cursors;
    }
    ++control->cursors;
    live->reset();
    live->control = handleOf(handle);
    live->field = field->number;
    live->part = control->partOf(*field);
    live->paragraph = static_cast<uint32_t>(position.paragraph);
    live->item = holdsItems(field->type) ? static_cast<uint32_t>(position.item) : 0;
    live->epoch = control->record.epoch();
    return WDB_OK;
}

Status deleteCursor(Session& session, WdbCursor** cursor) {
    const uint64_t handle = handleOf(*cursor);
    if (session.cursors.find(handle) != nullptr)
        session.removeCursor(handle);
    else if (!session.cursors.wasAlive(handle))
        return WDB_E_HANDLE;
    *cursor = nullptr;
    return WDB_OK;
}

Status itemCount(Session& session, WdbCursor* handle, int32_t* count) {
    Place place;
    WDB_TRY(findPlace(session, handle, place));
    if (!holdsItems(place.field->type)) return WDB_E_TYPE;
    putNumber(count, place.record().itemCount(place.cursor->part, place.field->number));
    return WDB_OK;
}

Status getItem(Session& session, WdbCursor* handle, char* text, int32_t* length) {
    Place place;
    WDB_TRY(findPlace(session, handle, place));
    if (!holdsItems(place.field->type)) return WDB_E_TYPE;
    if (!canPut(text, length)) return WDB_E_ARGUMENT;
    const uint32_t position = place.cursor->item == 0 ? 1 : place.cursor->item;
    const Slice item = place.record().item(place.cursor->part, place.field->number, position);
    if (item.empty()) return WDB_FAIL;
    if (place.field->type == FieldType::Phrase) return putText(&session, item, text, length, Overflow::Cut);
    std::string rendered;
    renderValue(place.field->type, item, session.dates, rendered);
    return putText(&session, rendered, text, length, Overflow::Cut);
}

// Data as UTF-8 without an incomplete character at the end.
std::string_view wholeCharacters(const Session& session, const InText& text) {
    return session.charset.passes() ? Charset::dropIncompleteUtf8(text.view()) : text.view();
}

Status replaceItem(Session& session, WdbCursor* handle, const char* bytes, int32_t length) {
    Place place;
    WDB_TRY(findWritablePlace(session, handle, place));
    const auto data = dataOf(bytes, length);
    if (!data) return data.status();
    if (data->empty()) {
        clearPosition(place.record(), *place.cursor, *place.field);
        return WDB_OK;
    }
    if (place.field->type == FieldType::String) {
        return place.record().startObject(place.cursor->part, place.field->number).append(*data);
    }
    const InText text(session, *data);
    const std::string_view whole = wholeCharacters(session, text);
    if (place.field->type == FieldType::Text) return replaceText(place.record(), *place.cursor, whole);
    const DayNumber today = place.field->type == FieldType::Date ? session.clock.today() : 0;
    auto value = parseValue(place.field->type, whole, session.dates, today);
    if (!value) return session.fail(value.status(), whole.substr(0, kMaxSetting));
    if (value->empty())
        clearPosition(place.record(), *place.cursor, *place.field);
    else
        setItem(place.record(), *place.cursor, std::move(*value));
    return WDB_OK;
}

Status insertItem(Session& session, WdbCursor* handle, const char* bytes, int32_t length) {
    Place place;
    WDB_TRY(findWritablePlace(session, handle, place));
    if (place.field->type == FieldType::String) return WDB_E_TYPE;
    const auto data = dataOf(bytes, length);
    if (!data) return data.status();
    const InText text(session, *data);
    const std::string_view whole = wholeCharacters(session, text);
    if (place.field->type == FieldType::Text) return insertText(place.record(), *place.cursor, whole);
    const DayNumber today = place.field->type == FieldType::Date ? session.clock.today() : 0;
    auto value = parseValue(place.field->type, whole, session.dates, today);
    if (!value) return session.fail(value.status(), whole.substr(0, kMaxSetting));
    return insertItem(place.record(), *place.cursor, std::move(*value));
}

Status deleteItem(Session& session, WdbCursor* handle) {
    Place place;
    WDB_TRY(findWritablePlace(session, handle, place));
    clearPosition(place.record(), *place.cursor, *place.field);
    return WDB_OK;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbCheckField(WdbRecordControl* control, char* name, int32_t* number, int32_t* type,
                      uint32_t* flags) {
    return call(__func__,
                [&](Session& session) { return checkField(session, control, name, number, type, flags); });
}

int32_t WdbSetCursor(WdbCursor** cursor, WdbRecordControl* control, int32_t fieldNumber, int32_t paragraph,
                     int32_t item) {
    return call(__func__, [&](Session& session) -> Status {
        if (cursor == nullptr) return WDB_E_ARGUMENT;
        return setCursor(session, cursor, control, fieldNumber, {paragraph, item});
    });
}

int32_t WdbDeleteCursor(WdbCursor** cursor) {
    return call(__func__, [&](Session& session) -> Status {
        return cursor == nullptr || *cursor == nullptr ? WDB_OK : deleteCursor(session, cursor);
    });
}

int32_t WdbItemCount(WdbCursor* cursor, int32_t* count) {
    return call(__func__, [&](Session& session) { return itemCount(session, cursor, count); });
}

int32_t WdbGetItem(WdbCursor* cursor, char* text, int32_t* length) {
    return call(__func__, [&](Session& session) { return getItem(session, cursor, text, length); });
}

int32_t WdbReplaceItem(WdbCursor* cursor, const char* data, int32_t length) {
    return call(__func__, [&](Session& session) { return replaceItem(session, cursor, data, length); });
}

int32_t WdbInsertItem(WdbCursor* cursor, const char* data, int32_t length) {
    return call(__func__, [&](Session& session) { return insertItem(session, cursor, data, length); });
}

int32_t WdbDeleteItem(WdbCursor* cursor) {
    return call(__func__, [&](Session& session) { return deleteItem(session, cursor); });
}
