#include "src/FoundRecords.h"

#include "include/wdb.h"
#include "src/WSQLFilter.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {

bool searchRecords(WSQLFilter& filter, WSQLCondition* condition, const char* source, const char* logContext,
                   FoundRecords& found) {
    constexpr std::int32_t kLowestError = 2;  // below it the kernel has no text for a status
    constexpr const char* kPhase = "execution";
    std::int32_t status = WDB_OK;
    // A condition that was not searched for must never leave an earlier result to work on.
    if (!filter.TranslateCondition(condition, 0, &status, nullptr)) {
        if (!filter.answered() && status >= kLowestError)
            filter.ReportKernelError(status, "SQLFilter::TranslateCondition", kPhase);
        return false;
    }
    std::int32_t parts = 0;
    status = WdbGetSearch(&found.set, &found.count, &parts);
    if (!WDB_SUCCESS(status)) found.count = 0;
    if (!WDB_SUCCESS(status) && status >= kLowestError) {
        filter.ReportKernelError(status, source, kPhase);
        return false;
    }
    filter.debug(logContext, "Search yielded hits in %d records.\n", found.count);
    return true;
}

FoundRecord openFound(WSQLFilter& filter, WelkRecord& record, const FoundRecords& found, std::int32_t ordinal,
                      std::int32_t mode, std::int32_t* recordId) {
    record.reset();
    if (filter.GetRecordInSearch(record.slot(), found.set, ordinal, mode, recordId))
        return FoundRecord::kOpen;
    const std::int32_t status = filter.lastStatus();
    return status == WDB_FAIL || status == WDB_E_DELETED ? FoundRecord::kGone : FoundRecord::kFailed;
}

}  // namespace wsql
