// What a SELECT answers when a call of the kernel fails: every place that reports such a failure is reached.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/unit/engine/Database.h"

namespace {

/// The calls of one kernel function while it lives.
class CallCount {
public:
    explicit CallCount(const char* function) : function_(function) { WdbSetTrace(note, this); }
    CallCount(const CallCount&) = delete;
    CallCount& operator=(const CallCount&) = delete;
    ~CallCount() { WdbSetTrace(nullptr, nullptr); }
    int calls() const { return calls_; }

private:
    static void note(void* context, const char* function, std::int32_t /*status*/) {
        auto* self = static_cast<CallCount*>(context);
        if (self->function_ == function) ++self->calls_;
    }
    std::string function_;
    int calls_ = 0;
};

/// "code source context" of a fault, "rows" of an answer.
std::string outcomeOf(const Answer& answer) {
    std::size_t at = answer.document.find("<Fault ");
    if (at == std::string::npos) return answer.status == 1 ? "rows" : "an odd answer: " + answer.document;
    EXPECT_EQ(answer.status & 1, 0) << answer.document;
    std::string outcome = between(answer.document, "faultCode=\"", "\"", at);
    outcome += " " + between(answer.document, "faultSource=\"", "\"", at);
    return outcome + " " + between(answer.document, "faultContext=\"", "\"", at);
}

/// What the statement answers when the function fails, for each of its calls; every outcome once, a line
/// each.
std::string outcomes(Database& database, const char* function, const char* sql) {
    int calls = 0;
    {
        const CallCount count(function);
        EXPECT_EQ(database.run(sql).status, 1) << sql;
        calls = count.calls();
    }
    EXPECT_GT(calls, 0) << function << " is not called: " << sql;
    std::vector<std::string> seen;
    for (int skip = 0; skip < calls; ++skip) {
        const Answer answer = database.runFailing(function, skip, WDB_E_STORAGE, sql);
        const std::string outcome = outcomeOf(answer);
        if (std::find(seen.begin(), seen.end(), outcome) == seen.end()) seen.push_back(outcome);
    }
    std::string lines;
    for (const std::string& outcome : seen) lines += (lines.empty() ? "" : "\n") + outcome;
    return lines;
}

struct Row {
    const char* function;
    const char* sql;
    std::string outcomes;
    const char* reason;
};

}  // namespace

TEST(KernelFailure, OfASelect) {
    Database database;
    database.prepare({
        "CREATE TABLE T (K VARCHAR PRIMARY KEY, N INTEGER, NOTE LONG VARCHAR, B LONG VARBINARY)",
        "CREATE TABLE U (K VARCHAR, M INTEGER)",
        "INSERT INTO T (K, N, NOTE) VALUES ('a', 1, 'first\n\ntext')",
        "INSERT INTO T (K, N, NOTE) VALUES ('b', 2, 'second text')",
        "INSERT INTO U VALUES ('a', 10)",
    });
    ASSERT_EQ(UpdateRCS("SQL_SELECTTEXT", "1"), WDB_OK);
    const char* plain = "SELECT K, NOTE FROM T WHERE N > 0 ORDER BY K DESC";
    const char* join = "SELECT T.K, M FROM T JOIN U ON T.K = U.K";
    const char* nested = "SELECT K, (SELECT MAX(M) FROM U) FROM T WHERE N <> (SELECT M FROM U)";
    const char* united = "SELECT K FROM T UNION SELECT K FROM U ORDER BY 1";
    const char* self = "SELECT x.K FROM T x NATURAL JOIN T y";
    const char* zero = "16194 WSQLFilter UseZeroSearchSets";
    const std::string select = "\n16194 WSQLFilter::ExecuteSelect ExecuteCCL";
    const std::string open = "\n16194 WSQLFilter::SearchOpenDB ExecuteCCL";
    const char* result = "16194 WSQLFilter::ExecuteSelect WdbSearchResult";
    const char* fetch = "16194 WSQLFilter::GetNextJoinRow WdbGetRows";
    const char* restore =
        "16194 WdbLoadStatus WSQLFilter::ExecuteSelect\n16194 WdbLoadStatus WSQLFilter::execSql";
    const Row rows[] = {
        {"WdbCreateRecordControl", plain, "rows", "a column that the field list misses is asked for again"},
        {"WdbSetBase", plain, "rows", ""},
        {"WdbCheckField", plain, "rows", ""},
        {"WdbBaseInfo", plain, "rows", "with as many field numbers as a base can have"},
        {"WdbBaseInfo", self, "rows\n1 WSQLValidation:1796 WSQLFilter::ValidateSelect",
         "the key that joins a table with itself"},
        {"WdbShellSymbol", plain, "rows", "the canonical word stands for the session's"},
        {"WdbBaseStatus", plain, "rows", "an index job is submitted without dates"},
        {"WdbSessionInfo", plain, "rows", ""},
        {"WdbShellDefDateform", plain, "rows", ""},
        {"WdbSaveStatus", plain, "rows", ""},
        {"WdbExecuteCcl", plain, zero + open + select, "one of the three commands"},
        {"WdbSearchResult", plain, result, ""},
        {"WdbGetRows", plain, fetch, "the first row, and those fetched ahead"},
        {"WdbGetRecordInBase", plain, "rows", "a text that cannot be read is NULL"},
        {"WdbSetCursor", plain, "rows", ""},
        {"WdbParaCount", plain, "rows", ""},
        {"WdbGetLine", plain, "rows", ""},
        {"WdbLoadStatus", plain, restore, "of the SELECT and of the statement"},
        {"WdbExecuteCcl", join, zero + select, "no base is opened for a join"},
        {"WdbSearchResult", join, result, ""},
        {"WdbGetRows", join, fetch, ""},
        {"WdbExecuteCcl", nested, zero + open + select, "those of the sub-queries, too"},
        {"WdbSearchResult", nested, result, "no set number is guessed"},
        {"WdbGetRows", nested, fetch, ""},
        {"WdbLoadStatus", nested, restore, ""},
        {"WdbExecuteCcl", united, zero + open + select + "\n16194 WSQLFilter::ExecuteUnion ExecuteCCL",
         "the members and their union"},
        {"WdbSearchResult", united, std::string(result) + "\n16194 WSQLFilter::ExecuteUnion WdbSearchResult",
         ""},
        {"WdbGetRows", united, fetch, ""},
        {"WdbSaveStatus", united, "rows", ""},
        {"WdbLoadStatus", united,
         "16194 WdbLoadStatus WSQLFilter::ExecuteUnion\n16194 WdbLoadStatus WSQLFilter::execSql", ""},
    };
    ASSERT_EQ(WdbSaveStatus(), WDB_OK) << "the host's own, which no statement may restore";
    for (const Row& row : rows) {
        EXPECT_EQ(outcomes(database, row.function, row.sql), row.outcomes)
            << row.function << ": " << row.sql << "\n  " << row.reason;
    }
    EXPECT_EQ(WdbLoadStatus(3), WDB_OK);
}
