// What a SELECT answers when a call of the kernel fails: every place that reports such a failure is reached.
#include <gtest/gtest.h>

#include "tests/unit/engine/FailingCalls.h"

namespace {

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
