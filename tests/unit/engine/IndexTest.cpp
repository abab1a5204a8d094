// When index jobs are submitted, for which databases, and how long they are waited for.
#include <gtest/gtest.h>

#include <functional>

#include "src/WSQLFilter.h"
#include "tests/unit/engine/Articles.h"
#include "tests/unit/engine/Log.h"

namespace {

using Jobs = FakeKernel::IndexJobs;

constexpr const char* kFresh = "2024-11-21 10:00:00.000000";

/// A kernel whose databases have dates; the session writes them as day, month, year.
void loadDates() {
    loadArticles();
    fakeKernel().index.datesKnown = true;
    fakeKernel().dateForm = 11;
    fakeKernel().dateSeparators = "./";
    fakeKernel().messages[WDB_E_INDEX] = "the index cannot be written";
    fakeKernel().messages[WDB_E_BASE] = "no such base";
}

std::string calls() {
    std::string all;
    for (const std::string& call : fakeKernel().index.calls) all += (all.empty() ? "" : ", ") + call;
    return all;
}

/// The messages of the log, a line each, without what stands in front of them.
std::string messages(const std::string& log, const std::string& context) {
    std::string all;
    std::size_t at = 0;
    while ((at = log.find(context + ": ", at)) != std::string::npos) {
        at += context.size() + 2;
        const std::size_t end = log.find('\n', at);
        all += log.substr(at, end - at) + "\n";
    }
    return all;
}

}  // namespace

TEST(Index, JobsThatAreSubmitted) {
    const std::string dates = "form 1 --, status T, ", back = "form 11 ./";
    const struct {
        const char* name;
        bool wait;
        std::function<void(Jobs&)> change;
        std::string calls;
        std::int32_t status;
        const char* reason;
    } rows[] = {
        {"T", true, [](Jobs&) {}, dates + "job 2 T, " + back, WDB_OK, "changed since it was indexed"},
        {"T", false, [](Jobs&) {}, dates + "job 2 T, " + back, WDB_OK,
         "without a policy writes wait as well"},
        {"T", true, [](Jobs& jobs) { jobs.indexed = kFresh; }, dates + back, WDB_OK, "equal dates"},
        {"T", true, [](Jobs& jobs) { jobs.indexed = "2025"; }, dates + back, WDB_OK, "a later index"},
        {"T", true, [](Jobs& jobs) { jobs.asksUntilDone = 3; }, dates + "job 2 T, " + back, WDB_OK,
         "asked until it is done"},
        {"T", true, [](Jobs& jobs) { jobs.jobStatus = WDB_E_INDEX; }, dates + "job 2 T, " + back, WDB_E_INDEX,
         "the job is refused"},
        {"T", true, [](Jobs& jobs) { jobs.datesKnown = false; }, "form 1 --, " + back + ", job 2 T",
         WDB_E_UNSUPPORTED, "without dates the job is submitted, but not waited for"},
        {"X=T,,U", true, [](Jobs& jobs) { jobs.indexed = kFresh; },
         dates + back + ", form 1 --, status U, " + back, WDB_OK, "a list; its empty element is left out"},
        {"X=T,U", true, [](Jobs& jobs) { jobs.jobStatus = WDB_E_INDEX; }, dates + "job 2 T, " + back,
         WDB_E_INDEX, "a list ends at the first failure that is a fault"},
        {"X=", true, [](Jobs&) {}, "", WDB_OK, "an empty list"},
    };
    for (const auto& row : rows) {
        for (const bool raise : {true, false}) {
            if (!raise && std::string(row.name) == "X=T,U") continue;
            loadDates();
            row.change(fakeKernel().index);
            FilterData data{};
            {
                wsql::WSQLFilter filter(&data);
                EXPECT_EQ(filter.IndexDatabase(row.name, row.wait, raise), raise ? row.status : WDB_OK)
                    << row.name << "\n  " << row.reason;
                EXPECT_EQ(filter.answered(), raise && row.status != WDB_OK) << row.reason;
            }
            EXPECT_EQ(calls(), row.calls) << row.name << "\n  " << row.reason;
            EXPECT_EQ(fakeKernel().dateForm, 11) << row.reason;
            std::free(data.output);
        }
    }
}

TEST(Index, AListGoesOnBehindAFailureThatIsOnlyNoted) {
    loadDates();
    fakeKernel().index.jobStatus = WDB_E_INDEX;
    FilterData data{};
    wsql::WSQLFilter filter(&data);
    EXPECT_EQ(filter.IndexDatabase("X=T,U", true, false), WDB_OK);
    EXPECT_EQ(calls(), "form 1 --, status T, job 2 T, form 11 ./, form 1 --, status U, job 2 U, form 11 ./");
}

TEST(Index, Policies) {
    const struct {
        const char *lazy, *batch;
        bool wait;
        const char* calls;
        const char* reason;
    } rows[] = {
        {"1", "0", false, "", "writes leave the index to the next search"},
        {"1", "1", false, "", ""},
        {"1", "1", true, "form 1 --, status T, job 2 T, form 11 ./",
         "which waits, whatever the policies say"},
        {"0", "1", false, "job 2 T", "a job without a look at the dates"},
        {"", "yes", false, "form 1 --, status T, job 2 T, form 11 ./", "only 1 switches a policy on"},
    };
    for (const auto& row : rows) {
        loadDates();
        fakeKernel().settings["SQL_LAZYINDEX"] = row.lazy;
        fakeKernel().settings["SQL_BATCHINDEX"] = row.batch;
        FilterData data{};
        wsql::WSQLFilter filter(&data);
        EXPECT_EQ(filter.IndexDatabase("T", row.wait, true), WDB_OK);
        EXPECT_EQ(calls(), row.calls) << row.reason;
    }
}

TEST(Index, AnUnknownDateFormBecomesTheFirst) {
    loadDates();
    fakeKernel().dateFormKnown = false;
    FilterData data{};
    wsql::WSQLFilter filter(&data);
    EXPECT_EQ(filter.IndexDatabase("T", true, true), WDB_OK);
    EXPECT_EQ(calls(), "form 1 --, status T, job 2 T, form 1 ");
}

TEST(Index, TheLogTellsWhy) {
    const LogDirectory log;
    loadDates();
    fakeKernel().settings["WELKSQL_LOG"] = "5";
    {
        FilterData data{};
        wsql::WSQLFilter filter(&data);
        filter.IndexDatabase("T", true, false);
        filter.IndexDatabase("T", true, false);
    }
    std::string lines = messages(log.text(), "WSQLFilter::IndexDatabase");
    for (const char* start : {"time=", "took "}) {
        for (std::size_t at = 0; (at = lines.find(start, at)) != std::string::npos; ++at) {
            const std::size_t number = at + std::string(start).size();
            lines.replace(number, lines.find_first_not_of("0123456789", number) - number, "#");
        }
    }
    const std::string common =
        "Entered.\nGetting current date form.\nSetting date form to 1,--\nGetting base status for \"T\"\n";
    EXPECT_EQ(lines, common +
                         "Index date is \"2024-11-21 09:00:00.000000\"\n"
                         "Modification date is \"2024-11-21 10:00:00.000000\"\n"
                         "Submitting index job for database \"T\".\n"
                         "Waiting for index job to complete - time=#\n"
                         "New index date is \"2024-11-21 10:00:00.000000\".\n"
                         "Stopped waiting for index job - time=#\n"
                         "Indexing took # second(s)\n" +
                         common +
                         "Index date is \"2024-11-21 10:00:00.000000\"\n"
                         "Modification date is \"2024-11-21 10:00:00.000000\"\n"
                         "Indexing of database \"T\" is not required.\n"
                         "Indexing aborted - not required.\n");
}

TEST(Index, ReferredTables) {
    constexpr const char* kMethod = "WSQLFilter::IndexReferencedDatabases";
    const struct {
        std::int32_t checked, rules;
        std::vector<std::string> referred;
        std::string calls;
        std::string fault;  ///< when faults are raised
        const char* reason;
    } rows[] = {
        {WDB_OK, WDB_OK, {}, "", "", "no rules"},
        {WDB_OK,
         WDB_OK,
         {"U", "", "V"},
         "form 1 --, status U, form 11 ./, form 1 --, status V, form 11 ./",
         "",
         "the rules of tables that refer to this one are left out"},
        {WDB_E_BASE,
         WDB_OK,
         {"U"},
         "",
         faultDocument("610", "WdbPutDefaultValue", kMethod, "no such base"),
         ""},
        {WDB_OK,
         WDB_E_BASE,
         {"U"},
         "",
         faultDocument("610", "WdbGetIntegrityRules", kMethod, "no such base"),
         ""},
    };
    for (const auto& row : rows) {
        for (const bool raise : {true, false}) {
            loadDates();
            fakeKernel().index.indexed = kFresh;
            fakeKernel().index.checkStatus = row.checked;
            fakeKernel().index.rulesStatus = row.rules;
            fakeKernel().index.referred = row.referred;
            Request request("none");
            wsql::WSQLFilter filter(&request.data);
            const std::int32_t expected = row.checked != WDB_OK ? row.checked : row.rules;
            EXPECT_EQ(filter.IndexReferencedDatabases("T", raise), expected) << row.reason;
            EXPECT_EQ(calls(), row.calls) << row.reason;
            EXPECT_EQ(request.document(), raise && !row.fault.empty() ? row.fault : "(none)");
            EXPECT_EQ(fakeKernel().index.liveLists, 0);
        }
    }
}
