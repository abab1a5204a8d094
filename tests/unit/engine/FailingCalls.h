// Statements with one call of the kernel failing.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "tests/unit/engine/Database.h"

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
inline std::string outcomeOf(const Answer& answer) {
    std::size_t at = answer.document.find("<Fault ");
    if (at == std::string::npos) return answer.status == 1 ? "rows" : "an odd answer: " + answer.document;
    EXPECT_EQ(answer.status & 1, 0) << answer.document;
    std::string outcome = between(answer.document, "faultCode=\"", "\"", at);
    outcome += " " + between(answer.document, "faultSource=\"", "\"", at);
    return outcome + " " + between(answer.document, "faultContext=\"", "\"", at);
}

/// What the statement answers when the function fails, for each of its calls; every outcome once, a line
/// each. The preparation runs in front of each statement.
inline std::string outcomes(Database& database, const char* function, const char* sql,
                            const std::vector<std::string>& preparation = {}) {
    database.prepare(preparation);
    int calls = 0;
    {
        const CallCount count(function);
        EXPECT_EQ(database.run(sql).status, 1) << sql;
        calls = count.calls();
    }
    EXPECT_GT(calls, 0) << function << " is not called: " << sql;
    std::vector<std::string> seen;
    for (int skip = 0; skip < calls; ++skip) {
        database.prepare(preparation);
        const Answer answer = database.runFailing(function, skip, WDB_E_STORAGE, sql);
        const std::string outcome = outcomeOf(answer);
        if (std::find(seen.begin(), seen.end(), outcome) == seen.end()) seen.push_back(outcome);
    }
    std::string lines;
    for (const std::string& outcome : seen) lines += (lines.empty() ? "" : "\n") + outcome;
    return lines;
}
