// Bringing the indexes of databases up to date: before a search, and after rows were written.
#include <algorithm>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/welkhelp/KernelExtras.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::IndexDatabase";
constexpr std::int32_t kIndexChangedRecords = 2;  ///< kind of index job
constexpr double kLongestWait = 10;               ///< seconds
constexpr int kPoll = 10;                         ///< milliseconds
constexpr std::int32_t kElementSize = 64;

/// The two dates of a base, as texts that compare in time order under date form 1 with "-".
struct BaseDates {
    char modified[64] = {};
    char indexed[64] = {};
    bool read(const char* base) {
        std::int32_t modifiedSize = sizeof modified, indexedSize = sizeof indexed;
        return WDB_SUCCESS(
            WdbBaseStatus(base, modified, &modifiedSize, indexed, &indexedSize, nullptr, nullptr));
    }
};

/// Puts the session into date form 1 with "-" and back again.
class DateFormScope {
public:
    explicit DateFormScope(WSQLFilter& filter) {
        filter.debug(kContext, "Getting current date form.\n");
        std::int32_t size = sizeof separators_;
        if (!WDB_SUCCESS(WdbSessionInfo(2, &form_, separators_, &size))) {
            form_ = 1;
            separators_[0] = '\0';
        }
        filter.debug(kContext, "Setting date form to 1,--\n");
        WdbShellDefDateform(1, "--");
    }
    DateFormScope(const DateFormScope&) = delete;
    DateFormScope& operator=(const DateFormScope&) = delete;
    ~DateFormScope() { WdbShellDefDateform(form_, separators_); }

private:
    std::int32_t form_ = 1;
    char separators_[16] = {};
};

struct RuleList {
    WdbIntegrityRules* list = nullptr;
    RuleList() = default;
    RuleList(const RuleList&) = delete;
    RuleList& operator=(const RuleList&) = delete;
    ~RuleList() { WdbFreeIntegrityRules(&list); }
};

void waitForJob(WSQLFilter& filter, const char* name, const BaseDates& before) {
    const auto startTime = static_cast<std::int32_t>(std::time(nullptr));
    filter.debug(kContext, "Waiting for index job to complete - time=%d\n", startTime);
    const double start = platform::monotonicSeconds();
    const auto startSecond = static_cast<std::int64_t>(start);
    double now = start;
    for (bool waiting = true; waiting && now - start < kLongestWait;) {
        // Most jobs are done within the first second: ask at once then, without sleeping.
        if (static_cast<std::int64_t>(now) > startSecond) platform::sleepMilliseconds(kPoll);
        BaseDates dates;
        if (!dates.read(name)) {
            filter.warning(kContext, 0, "Could not get base status for \"%s\".", name);
            waiting = false;
        } else if (std::strcmp(dates.indexed, before.indexed) != 0) {
            filter.debug(kContext, "New index date is \"%s\".", dates.indexed);
            waiting = false;
        }
        now = platform::monotonicSeconds();
    }
    filter.debug(kContext, "Stopped waiting for index job - time=%d\n",
                 static_cast<std::int32_t>(std::time(nullptr)));
    filter.debug(kContext, "Indexing took %d second(s)\n", static_cast<std::int32_t>(now - start));
}

/// Submits the job. With dates, the caller waits for it afterwards. The status is what IndexDatabase answers.
std::int32_t submitJob(WSQLFilter& filter, const char* name, bool raiseFaults, const BaseDates* dates) {
    filter.debug(kContext, "Submitting index job for database \"%s\".\n", name);
    const std::int32_t status = WdbBatchLoadIndex(kIndexChangedRecords, name, "");
    if (!WDB_SUCCESS(status)) {
        filter.messageToStatus(status, "WdbBatchLoadIndex");
        filter.warning(kContext, status, "Index job submission failed.\n");
        if (!raiseFaults) return WDB_OK;
        filter.ReportKernelError(status, "WdbBatchLoadIndex", kContext);
        return status;
    }
    if (dates != nullptr) waitForJob(filter, name, *dates);
    return WDB_OK;
}

/// Whether the kernel says so in a word. A log wants to see the dates.
bool isUpToDate(const WSQLFilter& filter, const char* name) {
    if (WdbIndexBehind == nullptr || filter.logs(kLogWarning)) return false;
    std::int32_t behind = 1;
    return WDB_SUCCESS(WdbIndexBehind(name, &behind)) && behind == 0;
}

std::int32_t indexWhenOutdated(WSQLFilter& filter, const char* name, bool raiseFaults) {
    if (isUpToDate(filter, name)) return WDB_OK;
    BaseDates dates;
    std::optional<DateFormScope> form(std::in_place, filter);
    filter.debug(kContext, "Getting base status for \"%s\"\n", name);
    if (!dates.read(name)) {
        filter.warning(kContext, 0, "Could not get base status for \"%s\".\n", name);
        form.reset();
        return submitJob(filter, name, raiseFaults, nullptr);
    }
    filter.debug(kContext, "Index date is \"%s\"\n", dates.indexed);
    filter.debug(kContext, "Modification date is \"%s\"\n", dates.modified);
    if (std::strcmp(dates.modified, dates.indexed) <= 0) {
        filter.debug(kContext, "Indexing of database \"%s\" is not required.\n", name);
        form.reset();
        filter.debug(kContext, "Indexing aborted - not required.\n");
        return WDB_OK;
    }
    return submitJob(filter, name, raiseFaults, &dates);
}

}  // namespace

std::int32_t WSQLFilter::IndexDatabase(const char* databaseName, bool wait, bool raiseFaults) {
    std::string_view names(databaseName);
    const std::size_t equals = names.find('=');
    if (equals != std::string_view::npos) {
        std::int32_t status = WDB_OK;
        names.remove_prefix(equals + 1);
        while (!names.empty()) {
            const std::size_t comma = std::min(names.find(','), names.size());
            const std::string element(names.substr(0, std::min<std::size_t>(comma, kElementSize - 1)));
            names.remove_prefix(std::min(comma + 1, names.size()));
            if (element.empty()) continue;
            status = IndexDatabase(element.c_str(), wait, raiseFaults);
            if (!WDB_SUCCESS(status) && raiseFaults) return status;
        }
        return status;
    }
    debug(kContext, "Entered.\n");
    if (!wait) {
        if (lazyIndex()) {
            debug(kContext, "Lazy indexing policy is enabled - skipping immediate indexing.\n");
            return WDB_OK;
        }
        debug(kContext, "Lazy indexing is disabled.\n");
        if (batchIndex()) {
            debug(kContext, "Batch indexing is enabled.\n");
            return submitJob(*this, databaseName, raiseFaults, nullptr);
        }
        debug(kContext, "Batch indexing is disabled.\n");
    }
    return indexWhenOutdated(*this, databaseName, raiseFaults);
}

std::int32_t WSQLFilter::IndexReferencedDatabases(const char* databaseName, bool raiseFaults) {
    constexpr const char* kMethod = "WSQLFilter::IndexReferencedDatabases";
    constexpr std::int32_t kReferentialRule = 1;
    debug(kMethod, "Entered.\n");
    std::int32_t status = WdbCheckBase(databaseName, 1);
    if (!WDB_SUCCESS(status)) {
        if (raiseFaults) {
            ReportKernelError(status, "WdbPutDefaultValue", kMethod);
        } else {
            messageToStatus(status, "WdbGetBaseDef");
            warning(kMethod, status, "Could not obtain database specification record for %s\n", databaseName);
        }
        return status;
    }
    RuleList rules;
    status = WdbGetIntegrityRules(&rules.list);
    if (!WDB_SUCCESS(status)) {
        if (raiseFaults) {
            ReportKernelError(status, "WdbGetIntegrityRules", kMethod);
        } else {
            messageToStatus(status, "WdbGetIntegrityRules");
            warning(kMethod, status, "Could not obtain integrity rules for database %s\n", databaseName);
        }
        return status;
    }
    debug(kMethod, "There are %d rules registered for %s\n", rules.list->count, databaseName);
    for (std::int32_t i = 0; i < rules.list->count; ++i) {
        const WdbIntegrityRule& rule = rules.list->rule[i];
        if (rule.kind != kReferentialRule) {
            debug(kMethod, "Rule %d is a source rule - skipping.\n", i + 1);
            continue;
        }
        debug(kMethod, "Indexing database %s...\n", rule.pkTable);
        IndexDatabase(rule.pkTable, true, false);
    }
    debug(kMethod, "Done.\n");
    return WDB_OK;
}

}  // namespace wsql
