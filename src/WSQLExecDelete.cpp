// DELETE: every record that the condition finds.
#include <string>

#include "src/FoundRecords.h"
#include "src/RowCountDocument.h"
#include "src/StatusScope.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CommandWord.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr const char* kLog = "WSQLFilter::ExecuteDelete";
constexpr const char* kSource = "SQLFilter::ExecuteDelete";
constexpr const char* kPhase = "execution";

/// Finds all records; the condition's search, if there is one, follows and counts. A failure is only noted.
void findAllRecords(WSQLFilter& filter) {
    const CommandWord find(filter, "FIN"), record(filter, "RXX"), from(filter, "FRL");
    const std::int32_t status = filter.ExecuteCCL("%s %s=%s 1", find.text(), record.text(), from.text());
    if (WDB_SUCCESS(status)) return;
    filter.warning(kSource, status, "%s\n", kernelMessage(status, "SQLFilter::ExecuteCCL", kPhase).c_str());
}

bool deleteRecord(WSQLFilter& filter, const FoundRecords& found, std::int32_t ordinal) {
    WelkRecord record;
    std::int32_t id = 0;
    switch (openFound(filter, record, found, ordinal, WDB_MODE_DELETE, &id)) {
        case FoundRecord::kGone:
            return true;
        case FoundRecord::kFailed:
            return false;
        case FoundRecord::kOpen:
            break;
    }
    const std::int32_t status = WdbDeleteRecordInBase(record.get());
    if (!WDB_SUCCESS(status)) {
        filter.ReportKernelError(status, kSource, kPhase);
        return false;
    }
    filter.debug(kLog, "Deleted record %d of %d (rid=%d)\n", ordinal, found.count, id);
    return true;
}

}  // namespace

bool WSQLFilter::ExecuteDelete(WSQLStmtDelete* statement) {
    debug(kLog, "Entered.\n");
    const std::string& name = statement->table->table;
    StatusScope scope(*this, kLog);
    if (!UseZeroSearchSets()) return false;
    debug(kLog, "Opening database \"%s\"\n", name.c_str());
    if (!SearchOpenDB(name.c_str())) return false;
    findAllRecords(*this);
    FoundRecords found;
    if (!searchRecords(*this, statement->where.get(), kSource, kLog, found)) return false;
    for (std::int32_t k = 1; k <= found.count; ++k) {
        if (!deleteRecord(*this, found, k)) return false;
    }
    if (found.count > 0) IndexDatabase(name.c_str(), false, false);
    answerRowCount(*this, "DELETE", name, found.count);
    debug(kLog, "Completed.\n");
    scope.restore();  // a failure here replaces the answer
    return true;
}

}  // namespace wsql
