#include "host/upkeep/Upkeep.h"

#include <csignal>

#include "host/Kernel.h"
#include "host/import/Progress.h"

namespace host {

namespace {

volatile std::sig_atomic_t interrupted = 0;
void interrupt(int) {
    interrupted = 1;
}

// While it lives the kernel's long jobs draw their progress and end when Ctrl-C is typed.
class Job {
public:
    explicit Job(const std::string& what) : what_(what) {
        interrupted = 0;
        struct sigaction action {};
        action.sa_handler = interrupt;
        sigaction(SIGINT, &action, &before_);
        check(WdbSetProgress(step, this));
    }
    ~Job() {
        WdbSetProgress(nullptr, nullptr);
        sigaction(SIGINT, &before_, nullptr);
    }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

private:
    static std::int32_t step(void* context, std::int64_t done, std::int64_t total) {
        static_cast<Job*>(context)->progress_.draw(static_cast<Job*>(context)->what_, done, total);
        return interrupted == 0 ? 1 : 0;
    }

    std::string what_;
    Progress progress_{1};
    struct sigaction before_ {};
};

struct Check {
    ResultSet& findings;
    const std::string& table;
    std::int64_t& damaged;
};

std::int32_t addFinding(void* context, std::int32_t severity, std::int32_t recordId, const char* text) {
    const auto& check = *static_cast<Check*>(context);
    constexpr std::int32_t kNote = 1, kRepairable = 2;
    const char* word = severity <= kNote ? "note" : severity == kRepairable ? "repairable" : "damage";
    if (severity > kNote) ++check.damaged;
    check.findings.rows.push_back({{check.table, false},
                                   {word, false},
                                   {recordId > 0 ? std::to_string(recordId) : "", recordId <= 0},
                                   {text, false}});
    return interrupted == 0 ? 1 : 0;
}

}  // namespace

CheckReport checkTables(const std::vector<std::string>& tables) {
    CheckReport report;
    report.findings.columns = {
        {"TABLE", "VARCHAR"}, {"SEVERITY", "VARCHAR"}, {"RECORD", "INTEGER"}, {"FINDING", "VARCHAR"}};
    for (const std::string& table : tables) {
        const Job job("checking " + table);
        Check context{report.findings, table, report.damaged};
        const std::int64_t before = report.damaged;
        const std::int32_t status = WdbVerifyBase(table.c_str(), 0, addFinding, &context);
        // Unsound, and the findings say how.
        if (status == WDB_E_CORRUPT && report.damaged > before) continue;
        check(status);
    }
    report.findings.total = static_cast<std::int64_t>(report.findings.rows.size());
    return report;
}

void rebuildIndexes(const std::vector<std::string>& tables) {
    for (const std::string& table : tables) {
        const Job job("indexing " + table);
        check(WdbRebuildIndex(table.c_str(), nullptr));
    }
}

void compactTables(const std::vector<std::string>& tables) {
    for (const std::string& table : tables) {
        const Job job("compacting " + table);
        check(WdbCompactBase(table.c_str()));
    }
}

void backup(const std::string& directory) {
    const Job job("copying");
    check(WdbBackupBase(nullptr, directory.c_str()));
}

}  // namespace host
