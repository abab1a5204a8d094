// Base definitions: reading, editing, storing.
#include <cstring>

#include "kernel/api/ApiCall.h"
#include "kernel/record/TextLines.h"
#include "kernel/record/Value.h"

namespace wdb::api {
namespace {

enum class Way { In, Out };

// A text of a record that is shared with the caller, from or into the session's character set; cut to its
// field, false then.
template <size_t N>
bool convertText(Session& session, Way way, char (&text)[N]) {
    const std::string_view before(text, strnlen(text, N));
    const std::string after =
        way == Way::In ? session.charset.toUtf8(before) : session.charset.fromUtf8(before);
    const std::string_view kept = std::string_view(after).substr(0, N - 1);
    const bool whole = kept.size() == after.size();
    std::memset(text, 0, N);
    const std::string_view characters = whole ? kept : Charset::dropIncompleteUtf8(kept);
    std::memcpy(text, characters.data(), characters.size());
    return whole;
}

template <size_t... N>
bool convertTexts(Session& session, Way way, char (&... texts)[N]) {
    bool whole = true;
    if (!session.charset.passes()) ((whole = convertText(session, way, texts) && whole), ...);
    return whole;
}

// False when a text was cut. What comes from a caller is refused then when it is to be stored.
bool convert(Session& session, Way way, WdbBaseDef& record) {
    return convertTexts(session, way, record.name, record.baseFile, record.indexFile, record.valueFile,
                        record.comment, record.uniqueKey, record.owner);
}

bool convert(Session& session, Way way, WdbFieldSpec& record) {
    return convertTexts(session, way, record.name, record.comment, record.reference, record.defaultValue);
}

template <size_t N>
std::string_view nameOf(const char (&text)[N]) {
    return trimName(std::string_view(text, strnlen(text, N)));
}

Status getBaseDef(Session& session, const char* name, WdbBaseDef* definition) {
    if (definition == nullptr) {
        session.editor.clear();
        return WDB_E_ARGUMENT;
    }
    const InText text(session, name);
    WdbBaseDef record{};
    const Status status = session.editor.getBaseDef(session.actor(), text, &record);
    if (!ok(status)) return session.fail(status, text);
    convert(session, Way::Out, record);
    *definition = record;
    return WDB_OK;
}

Status putBaseDef(Session& session, const WdbBaseDef* definition) {
    if (!session.editor.any()) return WDB_E_NO_DEFINITION;
    if (definition == nullptr) return WDB_E_ARGUMENT;
    if (session.writer.readOnly()) return WDB_E_READ_ONLY;
    WDB_TRY(session.writer.commit());
    WdbBaseDef record = *definition;
    if (!convert(session, Way::In, record)) return WDB_E_DEFINITION;
    const auto locations = [&](Slice name) { return session.settings.find(name, kAllLevels); };
    const Status status = session.editor.putBaseDef(session.actor(), record, locations,
                                                    session.writer.patience(), session.clock.nowMicros());
    session.snapshots.dropAll();
    return ok(status) ? status : session.fail(status, nameOf(record.name));
}

DefinitionEditor::RenderDefault defaultRenderer(Session& session) {
    return [&session](const FieldDefinition& definition) {
        std::string text;
        renderValue(definition.type, definition.defaultValue, session.dates, text);
        return text;
    };
}

Status getFieldSpec(Session& session, WdbFieldSpec* field) {
    if (field == nullptr) return WDB_E_ARGUMENT;
    WdbFieldSpec record = *field;
    convert(session, Way::In, record);
    WDB_TRY(session.editor.getFieldSpec(&record, defaultRenderer(session)));
    convert(session, Way::Out, record);
    *field = record;
    return WDB_OK;
}

Status getFieldSpecByNumber(Session& session, int32_t number, WdbFieldSpec* field) {
    if (field == nullptr) return WDB_E_ARGUMENT;
    WdbFieldSpec record{};
    WDB_TRY(session.editor.getFieldSpec(number, &record, defaultRenderer(session)));
    convert(session, Way::Out, record);
    *field = record;
    return WDB_OK;
}

Status putFieldSpec(Session& session, const WdbFieldSpec* field) {
    if (field == nullptr) return WDB_E_ARGUMENT;
    WdbFieldSpec record = *field;
    if (!convert(session, Way::In, record)) return WDB_E_DEFINITION;
    const Status status = session.editor.putFieldSpec(record);
    return ok(status) ? status : session.fail(status, nameOf(record.name));
}

Status putDefaultValue(Session& session, const WdbFieldSpec* field, const char* value) {
    if (field == nullptr) return WDB_E_ARGUMENT;
    WdbFieldSpec record = *field;
    convert(session, Way::In, record);
    const InText text(session, value);
    const auto parse = [&](const FieldDefinition& definition) -> Result<std::string> {
        if (definition.type == FieldType::String) return WDB_E_VALUE;
        if (definition.type == FieldType::Text) return linesFromData(text);
        return parseValue(definition.type, text, session.dates, session.clock.today());
    };
    const Status status = session.editor.putDefaultValue(record, parse);
    return ok(status) ? status : session.fail(status, nameOf(record.name));
}

// A rule tells of the values that it refers to; so they must be readable. (A new base may refer to itself.)
Status mayRefer(Session& session, std::string_view table, std::string_view column) {
    const auto base = session.directory->definition(trimName(table));
    if (!base) return WDB_OK;  // the editor knows what is wrong
    if (!session.rights.mayRead(**base)) return session.fail(WDB_E_BASE, table);
    const FieldDefinition* field = (*base)->schema->find(trimName(column));
    if (field == nullptr || session.rights.mayRead(**base, field->number)) return WDB_OK;
    return session.fail(WDB_E_RIGHT, column);
}

Status setForeignKey(Session& session, const char* column, const char* table, const char* referred,
                     int32_t updateAction, int32_t deleteAction) {
    const InText columnText(session, column), tableText(session, table), referredText(session, referred);
    WDB_TRY(mayRefer(session, tableText, referredText));
    const Status status =
        session.editor.setForeignKey(columnText, tableText, referredText, updateAction, deleteAction);
    return ok(status) ? status : session.fail(status, columnText);
}

// What a change of the catalogue begins with: the session's own writes are no part of it.
Status readyForCatalog(Session& session) {
    if (session.writer.readOnly()) return WDB_E_READ_ONLY;
    return session.writer.commit();
}

Status deleteBaseDef(Session& session) {
    if (!session.editor.any()) return WDB_E_NO_DEFINITION;
    WDB_TRY(readyForCatalog(session));
    session.snapshots.dropAll();
    return session.editor.deleteBaseDef(session.actor(), session.writer.patience());
}

Status setBaseOwner(Session& session, const char* baseName, const char* owner) {
    const InText name(session, baseName), user(session, owner);
    const auto base = session.directory->definition(trimName(name));
    if (!base || !session.rights.mayRead(**base)) return session.fail(WDB_E_BASE, name);
    if (!session.rights.owns(**base)) return session.fail(WDB_E_RIGHT, name);
    WDB_TRY(readyForCatalog(session));
    const Status status = session.editor.setBaseOwner(session.actor(), name, user, session.writer.patience());
    session.snapshots.dropAll();
    return ok(status) ? status : session.fail(status, status == WDB_E_USER ? user : name);
}

Status deleteFieldSpec(Session& session, const char* fieldName) {
    const InText name(session, fieldName);
    const Status status = session.editor.deleteFieldSpec(trimName(name));
    return ok(status) ? status : session.fail(status, name);
}

Status deleteForeignKey(Session& session, const char* column) {
    const InText name(session, column);
    const Status status = session.editor.deleteForeignKey(trimName(name));
    return ok(status) ? status : session.fail(status, name);
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbGetBaseDef(const char* baseName, WdbBaseDef* definition) {
    return call(__func__, [&](Session& session) { return getBaseDef(session, baseName, definition); });
}

int32_t WdbPutBaseDef(const WdbBaseDef* definition) {
    return call(__func__, [&](Session& session) { return putBaseDef(session, definition); });
}

int32_t WdbGetFieldSpec(WdbFieldSpec* field) {
    return call(__func__, [&](Session& session) { return getFieldSpec(session, field); });
}

int32_t WdbPutFieldSpec(const WdbFieldSpec* field) {
    return call(__func__, [&](Session& session) { return putFieldSpec(session, field); });
}

int32_t WdbPutDefaultValue(const WdbFieldSpec* field, const char* text) {
    return call(__func__, [&](Session& session) { return putDefaultValue(session, field, text); });
}

int32_t WdbSetForeignKey(const char* columnName, const char* referencedTable, const char* referencedColumn,
                         int32_t updateAction, int32_t deleteAction) {
    return call(__func__, [&](Session& session) {
        return setForeignKey(session, columnName, referencedTable, referencedColumn, updateAction,
                             deleteAction);
    });
}

int32_t WdbDeleteBaseDef(void) {
    return call(__func__, [](Session& session) { return deleteBaseDef(session); });
}

int32_t WdbGetFieldSpecByNumber(int32_t fieldNumber, WdbFieldSpec* field) {
    return call(__func__,
                [&](Session& session) { return getFieldSpecByNumber(session, fieldNumber, field); });
}

int32_t WdbDeleteFieldSpec(const char* fieldName) {
    return call(__func__, [&](Session& session) { return deleteFieldSpec(session, fieldName); });
}

int32_t WdbDeleteForeignKey(const char* columnName) {
    return call(__func__, [&](Session& session) { return deleteForeignKey(session, columnName); });
}

int32_t WdbSetBaseOwner(const char* baseName, const char* owner) {
    return call(__func__, [&](Session& session) { return setBaseOwner(session, baseName, owner); });
}
