#include "host/upkeep/Upkeep.h"

#include "host/Kernel.h"
#include "host/import/Progress.h"
#include "host/input/Interrupt.h"

namespace host {

namespace {

// While it lives the kernel's long jobs draw their progress and end when Ctrl-C is typed.
class Job {
public:
    explicit Job(const std::string& what) : what_(what) { check(WdbSetProgress(step, this)); }
    ~Job() { WdbSetProgress(nullptr, nullptr); }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;
    // Throws Interrupted or KernelError unless the job, which has this status, came to its end.
    void checkEnd(std::int32_t status) const {
        if (status == WDB_FAIL && interrupted())
            throw Interrupted(what_ + " was interrupted, nothing has changed");
        check(status);
    }

private:
    static std::int32_t step(void* context, std::int64_t done, std::int64_t total) {
        static_cast<Job*>(context)->progress_.draw(static_cast<Job*>(context)->what_, done, total);
        return interrupted() ? 0 : 1;
    }

    std::string what_;
    Progress progress_{1};
    InterruptGuard guard_;
};

struct Check {
    CheckReport& report;
    const std::string& table;
};

void addRow(CheckReport& report, const std::string& table, const char* severity, std::int32_t recordId,
            const std::string& text) {
    report.findings.rows.push_back({{table, false},
                                    {severity, false},
                                    {recordId > 0 ? std::to_string(recordId) : "", recordId <= 0},
                                    {text, false}});
}

std::int32_t addFinding(void* context, std::int32_t severity, std::int32_t recordId, const char* text) {
    const auto& [report, table] = *static_cast<Check*>(context);
    constexpr std::int32_t kNote = 1, kRepairable = 2;
    const char* word = severity <= kNote ? "note" : severity == kRepairable ? "repairable" : "damage";
    if (severity > kNote) ++report.damaged;
    if (severity == kRepairable) ++report.repairable;
    addRow(report, table, word, recordId, text);
    return interrupted() ? 0 : 1;
}

}  // namespace

CheckReport checkTables(const std::vector<std::string>& tables) {
    CheckReport report;
    report.findings.columns = {
        {"TABLE", "VARCHAR"}, {"SEVERITY", "VARCHAR"}, {"RECORD", "INTEGER"}, {"FINDING", "VARCHAR"}};
    for (const std::string& table : tables) {
        const Job job("checking " + table);
        Check context{report, table};
        const std::int64_t before = report.damaged;
        const std::int32_t status = WdbVerifyBase(table.c_str(), 0, addFinding, &context);
        if (status != WDB_E_CORRUPT && status != WDB_E_STORAGE) {
            job.checkEnd(status);
        } else if (report.damaged == before) {  // else the findings say how
            addRow(report, table, "damage", 0, "cannot be read: " + kernelMessage(status));
            ++report.damaged;
        }
    }
    report.findings.total = static_cast<std::int64_t>(report.findings.rows.size());
    return report;
}

void rebuildIndexes(const std::vector<std::string>& tables) {
    for (const std::string& table : tables) {
        const Job job("indexing " + table);
        job.checkEnd(WdbRebuildIndex(table.c_str(), nullptr));
    }
}

void compactTables(const std::vector<std::string>& tables) {
    for (const std::string& table : tables) {
        const Job job("compacting " + table);
        job.checkEnd(WdbCompactBase(table.c_str()));
    }
}

void backup(const std::string& directory) {
    const Job job("copying");
    job.checkEnd(WdbBackupBase(nullptr, directory.c_str()));
}

}  // namespace host
