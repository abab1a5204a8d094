// Parts of records.
#include <algorithm>

#include "kernel/api/ApiCall.h"

namespace wdb::api {
namespace {

struct HitsOut {
    int32_t* part;
    int32_t* count;
    int32_t* head;
};

struct HitParts {
    std::vector<PartNumber> parts;
    bool head = false;
};

// The parts through which a record came into the set that it was loaded from. A set that is gone by now says
// nothing about the record; a record without parts came with its head.
Result<HitParts> hitPartsOf(Session& session, const RecordControl& control) {
    HitParts hits;
    if (control.origin.set == 0) return hits;
    const Status status = session.search.hitParts(control.origin.set, *control.base, control.record.number(),
                                                  hits.parts, hits.head);
    if (!ok(status) && status != WDB_FAIL && status != WDB_E_CCL_SET) return status;
    const auto& fields = control.schema().fields();
    if (std::ranges::none_of(fields, [](const FieldDefinition& field) { return field.part; }))
        hits.head = status != WDB_E_CCL_SET;
    return hits;
}

Status hitParts(Session& session, WdbRecordControl* handle, int32_t ordinal, const HitsOut& out) {
    const RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    if (!control->attached() || !control->record.any()) return WDB_E_NO_RECORD;
    if (!control->listed && !session.rights.mayRead(*control->definition)) return WDB_E_BASE;
    const auto hits = hitPartsOf(session, *control);
    if (!hits) return hits.status();
    putNumber(out.count, static_cast<int64_t>(hits->parts.size()));
    putNumber(out.head, hits->head ? 1 : 0);
    if (ordinal < 1 || static_cast<size_t>(ordinal) > hits->parts.size()) return WDB_FAIL;
    putNumber(out.part, hits->parts[static_cast<size_t>(ordinal) - 1]);
    return WDB_OK;
}

Status partCount(Session& session, WdbRecordControl* handle, int32_t* count) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    if (!control->attached() || !control->record.any()) return WDB_E_NO_RECORD;
    if (!control->listed && !session.rights.mayRead(*control->definition)) return WDB_E_BASE;
    putNumber(count, control->record.partCount());
    return WDB_OK;
}

// The cursor, when there is one, goes to the part with its control.
Status setRecordPart(Session& session, WdbCursor* cursor, WdbRecordControl* handle, int32_t part) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    FieldCursor* placed = session.cursor(cursor);
    if (cursor != nullptr && (placed == nullptr || placed->control != handleOf(handle))) return WDB_E_HANDLE;
    WDB_TRY(session.selectPart(*control, part));
    if (placed == nullptr) return WDB_OK;
    const FieldDefinition* field = control->schema().find(placed->field);
    if (field != nullptr) placed->moveTo(control->partOf(*field));
    return WDB_OK;
}

Status addRecordPart(Session& session, WdbRecordControl* handle, int32_t* part) {
    RecordControl* control = session.control(handle);
    if (control == nullptr) return WDB_E_HANDLE;
    WDB_TRY(session.addPart(*control));
    putNumber(part, control->part);
    return WDB_OK;
}

Status deleteRecordPart(Session& session, WdbRecordControl* handle, int32_t part) {
    RecordControl* control = session.control(handle);
    return control == nullptr ? WDB_E_HANDLE : session.removePart(*control, part);
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbHitParts(WdbRecordControl* control, int32_t ordinal, int32_t* partNumber, int32_t* hitCount,
                    int32_t* headHit) {
    return call(__func__, [&](Session& session) {
        return hitParts(session, control, ordinal, {partNumber, hitCount, headHit});
    });
}

int32_t WdbPartCount(WdbRecordControl* control, int32_t* count) {
    return call(__func__, [&](Session& session) { return partCount(session, control, count); });
}

int32_t WdbSetRecordPart(WdbCursor* cursor, WdbRecordControl* control, int32_t partNumber) {
    return call(__func__,
                [&](Session& session) { return setRecordPart(session, cursor, control, partNumber); });
}

int32_t WdbAddRecordPart(WdbRecordControl* control, int32_t* partNumber) {
    return call(__func__, [&](Session& session) { return addRecordPart(session, control, partNumber); });
}

int32_t WdbDeleteRecordPart(WdbRecordControl* control, int32_t partNumber) {
    return call(__func__, [&](Session& session) { return deleteRecordPart(session, control, partNumber); });
}
