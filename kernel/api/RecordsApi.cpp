// Record controls, records, the control list.
#include <algorithm>
#include <charconv>

#include "kernel/api/ApiCall.h"
#include "kernel/common/Ascii.h"

namespace wdb::api {
namespace {

Status setBase(Session& session, WdbRecordControl* handle, const char* baseName, int32_t mode) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    const InText text(session, baseName);
    const std::string_view name = trimName(text);
    if (name.empty() || name.size() > WDB_BASE_NAME_MAX) return WDB_E_NAME;
    if (control->listed) return WDB_E_READ_ONLY;
    const auto base = session.findBase(name);
    if (!base) return base.status();
    const bool write = mode != WDB_MODE_READ;
    if (write && !session.rights.mayWrite(*(*base)->definition())) return session.fail(WDB_E_RIGHT, name);
    session.attach(*control, *base);
    control->writable = write;
    return WDB_OK;
}

Status getRecordInSearch(Session& session, WdbRecordControl* handle, int32_t set, int32_t ordinal,
                         int32_t* recordId, char* baseName) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    if (control->listed) return WDB_E_READ_ONLY;
    if (set == 0) {
        SearchCounts counts;
        const Status status = session.search.currentResult(counts);
        session.searched();
        if (!ok(status)) return status;
        set = counts.set;
    }
    FoundRecord found;
    WDB_TRY(session.search.recordAt(set, ordinal, found));
    WDB_TRY(session.loadRecord(*control, found.base, found.record, found.commit));
    control->writable = false;
    control->origin = {found.set, ordinal};
    putNumber(recordId, found.record);
    if (baseName != nullptr) putName(session, control->definition->name, baseName, WDB_BASE_NAME_SIZE);
    return WDB_OK;
}

Status getRecordInBase(Session& session, WdbRecordControl* handle, int32_t recordId) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    if (control->base == nullptr) return WDB_E_NO_RECORD;
    if (recordId < 1) return WDB_FAIL;
    return session.loadRecord(*control, control->base, static_cast<RecordNumber>(recordId));
}

Status putRecord(Session& session, WdbRecordControl* handle, int32_t* recordId) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    WDB_TRY(session.putRecord(*control));
    putNumber(recordId, control->record.number());
    return WDB_OK;
}

Status newRecord(Session& session, WdbRecordControl* handle) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    if (!control->attached()) return WDB_E_NO_RECORD;
    if (control->listed || !control->writable) return WDB_E_READ_ONLY;
    control->dropRecord();
    control->record.makeNew();
    return WDB_OK;
}

Status putRecordAs(Session& session, WdbRecordControl* handle, int32_t recordId) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    if (recordId < 1) return WDB_E_ARGUMENT;
    return session.putRecord(*control, static_cast<RecordNumber>(recordId));
}

Status nextRecord(Session& session, WdbRecordControl* handle, int32_t* recordId) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    if (control->base == nullptr) return WDB_E_NO_RECORD;
    if (recordId == nullptr || *recordId < 0) return WDB_E_ARGUMENT;
    WDB_TRY(session.loadNext(*control, static_cast<RecordNumber>(*recordId)));
    putNumber(recordId, control->record.number());
    return WDB_OK;
}

// An ordinal as text; empty is 0.
Result<uint64_t> ordinal(std::string_view text) {
    uint64_t number = 0;
    text = trimName(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (!text.empty() && (error != std::errc() || end != text.data() + text.size())) return WDB_E_ARGUMENT;
    return number;
}

Status showControl(Session& session, int32_t kind, int32_t option, const char* first, const char* last) {
    const auto from = ordinal(first == nullptr ? "" : first), to = ordinal(last == nullptr ? "" : last);
    if (kind != 1 || option != 0 || !from || !to) return WDB_E_ARGUMENT;
    auto bases = session.directory->definitions();
    if (!bases) return bases.status();
    std::erase_if(*bases, [&](const auto& base) { return !session.rights.mayUse(*base); });
    session.dropListEntry();
    session.controlList.open(std::move(*bases), *from, *to);
    return WDB_OK;
}

// The number of records as text; empty when the base cannot, or may not, be read.
std::string countText(Session& session, const BaseDefinition& definition) {
    const auto base = session.directory->find(definition.name);
    if (!base) return {};
    const auto count = session.recordCount(*base);
    return count ? std::to_string(*count) : std::string();
}

Status nextControl(Session& session, WdbRecordControl** control) {
    if (control == nullptr) return WDB_E_ARGUMENT;
    session.dropListEntry();
    const auto base = session.controlList.next();
    if (base == nullptr) return WDB_FAIL;
    const uint64_t handle = session.controls.add();
    fillListEntry(session.controls.object(handle), *base, countText(session, *base));
    session.controlList.handle = handle;
    *control = handlePointer<WdbRecordControl>(handle);
    return WDB_OK;
}

Status deleteControl(Session& session, WdbRecordControl** control) {
    RecordControl* live = session.control(*control);
    if (live == nullptr) return WDB_E_HANDLE;
    if (!live->listed) session.removeControl(handleOf(*control));
    *control = nullptr;
    return WDB_OK;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbCreateRecordControl(WdbRecordControl** control) {
    if (control != nullptr) *control = nullptr;
    return call(__func__, [&](Session& session) -> Status {
        if (control == nullptr) return WDB_E_ARGUMENT;
        *control = handlePointer<WdbRecordControl>(session.controls.add());
        return WDB_OK;
    });
}

int32_t WdbDeleteRecordControl(WdbRecordControl** control) {
    return call(__func__, [&](Session& session) -> Status {
        return control == nullptr || *control == nullptr ? WDB_OK : deleteControl(session, control);
    });
}

int32_t WdbSetBase(WdbRecordControl* control, const char* baseName, int32_t mode) {
    return call(__func__, [&](Session& session) { return setBase(session, control, baseName, mode); });
}

int32_t WdbGetRecordInSearchRis(WdbRecordControl* control, int32_t searchNumber, int32_t recordNumber,
                                int32_t* recordId, char* baseName) {
    return call(__func__, [&](Session& session) {
        return getRecordInSearch(session, control, searchNumber, recordNumber, recordId, baseName);
    });
}

int32_t WdbGetRecordInBase(WdbRecordControl* control, int32_t recordId) {
    return call(__func__, [&](Session& session) { return getRecordInBase(session, control, recordId); });
}

int32_t WdbPutRecord(WdbRecordControl* control, int32_t* recordId) {
    return call(__func__, [&](Session& session) { return putRecord(session, control, recordId); });
}

int32_t WdbPutRecordAs(WdbRecordControl* control, int32_t recordId) {
    return call(__func__, [&](Session& session) { return putRecordAs(session, control, recordId); });
}

int32_t WdbNextRecordInBase(WdbRecordControl* control, int32_t* recordId) {
    return call(__func__, [&](Session& session) { return nextRecord(session, control, recordId); });
}

int32_t WdbDeleteRecordInBase(WdbRecordControl* control) {
    return call(__func__, [&](Session& session) {
        RecordControl* live = session.control(control);
        return live == nullptr ? WDB_E_HANDLE : session.deleteRecord(*live);
    });
}

int32_t WdbNewRecord(WdbRecordControl* control) {
    return call(__func__, [&](Session& session) { return newRecord(session, control); });
}

int32_t WdbShowControl(int32_t kind, int32_t option, const char* first, const char* last) {
    return call(__func__, [&](Session& session) { return showControl(session, kind, option, first, last); });
}

int32_t WdbNextControl(WdbRecordControl** control) {
    if (control != nullptr) *control = nullptr;
    return call(__func__, [&](Session& session) { return nextControl(session, control); });
}
