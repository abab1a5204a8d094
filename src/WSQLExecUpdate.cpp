// UPDATE: the same values for every record that the condition finds.
#include <string>
#include <vector>

#include "src/ElementAt.h"
#include "src/FoundRecords.h"
#include "src/InsertColumns.h"
#include "src/RowCountDocument.h"
#include "src/ScalarSubselects.h"
#include "src/StatusScope.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr const char* kLog = "WSQLFilter::ExecuteUpdate";
constexpr const char* kSource = "SQLFilter::ExecuteUpdate";
constexpr const char* kPhase = "execution";

/// One assignment; its value is worked out when the first record asks for it, and kept.
struct Assigned {
    const WELKFieldInfo* field;
    std::int32_t position;  ///< 1-based value of the field; 0: all of it
    WSQLScalar* expression;
    bool known = false;
    bool null = false;
    std::string text;
};

class RecordUpdate {
public:
    explicit RecordUpdate(WSQLFilter& filter) : filter_(filter) {}

    /// Finds the fields that the statement assigns to. False after a fault.
    bool resolve(const WSQLStmtUpdate& update) {
        filter_.debug(kLog, "Validating assignment lists.\n");
        for (std::int32_t i = 0; i < count(update.assignments); ++i) {
            const WSQLAssignment& assignment = elementAt(*update.assignments, i);
            const WELKFieldInfo* field = fieldNamed(*update.table->fields, assignment.column->column);
            if (field == nullptr) {
                return fault("Column \"" + assignment.column->column +
                             "\" does not exist or is not writable.");
            }
            assigned_.push_back(
                {field, assignment.column->subscript, assignment.value.get(), false, false, {}});
            partMode_ = partMode_ || field->partField;
        }
        return true;
    }

    bool change(const FoundRecords& found, std::int32_t ordinal) {
        WelkRecord record;
        std::int32_t id = 0;
        switch (openFound(filter_, record, found, ordinal, WDB_MODE_WRITE, &id)) {
            case FoundRecord::kGone:
                return true;
            case FoundRecord::kFailed:
                return false;
            case FoundRecord::kOpen:
                break;
        }
        filter_.debug(kLog, "Updating record %d of %d (rid=%d)\n", ordinal, found.count, id);
        if (!assign(record, 0) || (partMode_ && !assignForParts(record))) return false;
        filter_.debug(kLog, "Storing changes to record #%d\n", id);
        const std::int32_t status = WdbPutRecord(record.get(), &id);
        return WDB_SUCCESS(status) || kernelFault(status);
    }

private:
    bool fault(const std::string& text) {
        filter_.WriteFaultDocument(0, text.c_str(), static_cast<std::int32_t>(text.size()), kSource, kPhase);
        return false;
    }

    bool kernelFault(std::int32_t status) {
        filter_.ReportKernelError(status, kSource, kPhase);
        return false;
    }

    /// Fields of part records are not written: a part only has the head's assignments made once more.
    bool assignForParts(WelkRecord& record) {
        record.findParts();
        for (const WelkEntity& entity : record.parts()) {
            filter_.debug(kLog, "Updating part #%d\n", entity.part);
            if (!assign(record, entity.part)) return false;
        }
        return true;
    }

    bool assign(const WelkRecord& record, std::int32_t part) {
        std::int32_t number = 0;
        for (Assigned& assigned : assigned_) {
            ++number;
            if (assigned.field->partField) continue;
            if (!assigned.known && !evaluate(assigned, number)) return false;
            filter_.debug(kLog, "Updating assignment #%d: %s=\"%s\"\n", number, assigned.field->name.c_str(),
                          assigned.text.c_str());
            const std::int32_t status =
                assigned.null
                    ? filter_.RemoveFieldValue(record.get(), assigned.field, part, assigned.position)
                    : filter_.SetFieldValue(record.get(), assigned.field, part, assigned.text.c_str(),
                                            static_cast<std::int32_t>(assigned.text.size()),
                                            assigned.position);
            if (!WDB_SUCCESS(status)) return kernelFault(status);
        }
        return true;
    }

    bool evaluate(Assigned& assigned, std::int32_t number) {
        assigned.known = true;
        auto* query = dynamic_cast<WSQLLiteralSelect*>(assigned.expression);
        if (query == nullptr) {
            assigned.null = isNullValue(*assigned.expression);
            CStringBuffer text(64);
            assigned.expression->toText(text);
            assigned.text = text.view();
            return true;
        }
        SubselectValue value;
        if (!fetchSubselect(filter_, *query, value)) return false;
        if (!value.hasRow)
            return fault("Internal error: NULL pointer for column " + std::to_string(number) + ".");
        assigned.null = value.null;
        assigned.text = std::move(value.text);
        return true;
    }

    WSQLFilter& filter_;
    std::vector<Assigned> assigned_;
    bool partMode_ = false;
};

}  // namespace

bool WSQLFilter::ExecuteUpdate(WSQLStmtUpdate* update) {
    debug(kLog, "Entered.\n");
    const std::string& name = update->table->table;
    LoadFields(update->table.get());
    RecordUpdate records(*this);
    if (!records.resolve(*update)) return false;
    StatusScope scope(*this, kLog);
    if (!UseZeroSearchSets()) return false;
    IndexReferencedDatabases(name.c_str(), false);
    debug(kLog, "Opening database \"%s\"\n", name.c_str());
    FoundRecords found;
    if (!SearchOpenDB(name.c_str()) || !searchRecords(*this, update->where.get(), kSource, kLog, found))
        return false;
    for (std::int32_t k = 1; k <= found.count; ++k) {
        if (!records.change(found, k)) return false;
    }
    if (found.count > 0) IndexDatabase(name.c_str(), false, false);
    answerRowCount(*this, "UPDATE", name, found.count);
    debug(kLog, "Completed.\n");
    scope.restore();  // a failure here replaces the answer
    return true;
}

}  // namespace wsql
