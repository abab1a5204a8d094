// What INSERT, UPDATE and DELETE answer when a call of the kernel fails: every place that reports one is
// reached.
#include <gtest/gtest.h>

#include "tests/unit/engine/FailingCalls.h"

namespace {

struct Row {
    const char* function;
    std::string outcomes;
    const char* reason;
};

/// The statement runs on two rows of T, every time on the same ones.
void check(const char* sql, const std::vector<Row>& rows) {
    Database database;
    database.prepare({"CREATE TABLE U (K VARCHAR PRIMARY KEY, M INTEGER)",
                      "CREATE TABLE T (K VARCHAR, N INTEGER, X LONG VARCHAR, P VARCHAR REFERENCES U (K))",
                      "INSERT INTO U VALUES ('a', 10)", "INSERT INTO U VALUES ('b', 20)"});
    const std::vector<std::string> preparation = {"DELETE FROM T",
                                                  "INSERT INTO T (K, N, X) VALUES ('x', 1, 'text')",
                                                  "INSERT INTO T (K, N, P) VALUES ('y', 2, 'a')"};
    for (const Row& row : rows) {
        EXPECT_EQ(outcomes(database, row.function, sql, preparation), row.outcomes)
            << row.function << ": " << sql << "\n  " << row.reason;
    }
}

}  // namespace

TEST(ChangeFailure, Update) {
    check("UPDATE T SET N = 5, K = NULL, X = (SELECT K FROM U ORDER BY K) WHERE N > 0",
          {
              {"WdbCreateRecordControl",
               "16194 src/WSQLValidation Validation\nrows\n16194 WSQLValidation:248 "
               "WSQLFilter::ValidateScalar\n0 SQLFilter::ExecuteUpdate execution\n16194 "
               "WSQLFilter::CreateControl WdbCreateRecordControl",
               ""},
              {"WdbSetBase",
               "16194 src/WSQLValidation Validation\nrows\n16194 WSQLValidation:248 "
               "WSQLFilter::ValidateScalar\n0 SQLFilter::ExecuteUpdate execution\n16194 "
               "WSQLFilter::CreateControl WdbSetBase",
               ""},
              {"WdbCheckField",
               "rows\n16194 WSQLValidation:248 WSQLFilter::ValidateScalar\n0 SQLFilter::ExecuteUpdate "
               "execution",
               "a column that the field list misses is asked for again, or is none"},
              {"WdbBaseInfo", "rows", "with as many field numbers as a base can have"},
              {"WdbShellSymbol", "rows", "the canonical word stands for the session's"},
              {"WdbBaseStatus", "rows", "an index job is submitted without dates"},
              {"WdbCheckBase", "rows", "the referred table is not brought up to date"},
              {"WdbGetIntegrityRules", "rows", ""},
              {"WdbExecuteCcl",
               "16194 WSQLFilter UseZeroSearchSets\n16194 WSQLFilter::SearchOpenDB ExecuteCCL\n16194 "
               "SQLFilter::TranslateCondition execution\n16194 WSQLFilter::ExecuteSelect ExecuteCCL",
               ""},
              {"WdbSearchResult", "16194 WSQLFilter::ExecuteSelect WdbSearchResult", ""},
              {"WdbGetRows", "16194 WSQLFilter::GetNextJoinRow WdbGetRows", ""},
              {"WdbGetSearch", "16194 SQLFilter::ExecuteUpdate execution", ""},
              {"WdbGetRecordInSearchRis", "16194 WSQLFilter::CreateControl WdbGetRecordInSearchRis", ""},
              {"WdbSetCursor", "16194 SQLFilter::ExecuteUpdate execution", ""},
              {"WdbReplaceItem", "16194 SQLFilter::ExecuteUpdate execution", ""},
              {"WdbDeleteItem", "16194 SQLFilter::ExecuteUpdate execution", ""},
              {"WdbPutRecord", "16194 SQLFilter::ExecuteUpdate execution", ""},
              {"WdbSaveStatus", "rows", "each record is then committed by itself"},
              {"WdbLoadStatus",
               "16194 WdbLoadStatus WSQLFilter::ExecuteUpdate\n16194 WdbLoadStatus WSQLFilter::execSql",
               "the commit: of the statement's own unit, and of the call"},
          });
}

TEST(ChangeFailure, Delete) {
    check("DELETE FROM T WHERE N > 0",
          {
              {"WdbCreateRecordControl",
               "16194 src/WSQLValidation Validation\n16194 WSQLValidation:248 "
               "WSQLFilter::ValidateScalar\n16194 WSQLFilter::CreateControl WdbCreateRecordControl",
               ""},
              {"WdbSetBase",
               "16194 src/WSQLValidation Validation\n16194 WSQLValidation:248 "
               "WSQLFilter::ValidateScalar\n16194 WSQLFilter::CreateControl WdbSetBase",
               ""},
              {"WdbCheckField", "16194 WSQLValidation:248 WSQLFilter::ValidateScalar\nrows",
               "a column that the field list misses is asked for again, or is none"},
              {"WdbShellSymbol", "rows", "the canonical word stands for the session's"},
              {"WdbBaseStatus", "rows", "an index job is submitted without dates"},
              {"WdbBatchLoadIndex", "rows", "the index is left to the next search"},
              {"WdbExecuteCcl",
               "16194 WSQLFilter UseZeroSearchSets\n16194 WSQLFilter::SearchOpenDB ExecuteCCL\nrows\n16194 "
               "SQLFilter::TranslateCondition execution",
               ""},
              {"WdbGetSearch", "16194 SQLFilter::ExecuteDelete execution", ""},
              {"WdbGetRecordInSearchRis", "16194 WSQLFilter::CreateControl WdbGetRecordInSearchRis", ""},
              {"WdbDeleteRecordInBase", "16194 SQLFilter::ExecuteDelete execution", ""},
              {"WdbSaveStatus", "rows", "each record is then committed by itself"},
              {"WdbLoadStatus",
               "16194 WdbLoadStatus WSQLFilter::ExecuteDelete\n16194 WdbLoadStatus WSQLFilter::execSql",
               "the commit: of the statement's own unit, and of the call"},
          });
}

TEST(ChangeFailure, InsertOfValues) {
    check("INSERT INTO T (K, N, X, P) VALUES ('z', (SELECT M FROM U WHERE K = 'a'), 'text', 'b')",
          {
              {"WdbCreateRecordControl",
               "16194 validation SQLFilter::ValidateInsert\n1 validation "
               "SQLFilter::ValidateInsert\nrows\n16194 WSQLFilter::CreateControl WdbCreateRecordControl",
               ""},
              {"WdbSetBase",
               "16194 validation SQLFilter::ValidateInsert\n1 validation "
               "SQLFilter::ValidateInsert\nrows\n16194 WSQLFilter::CreateControl WdbSetBase",
               ""},
              {"WdbCheckField", "1 validation SQLFilter::ValidateInsert\nrows",
               "a column that the field list misses is asked for again, or is none"},
              {"WdbShellSymbol", "rows", "the canonical word stands for the session's"},
              {"WdbBaseStatus", "rows", "an index job is submitted without dates"},
              {"WdbBatchLoadIndex", "rows", "the index is left to the next search"},
              {"WdbCheckBase", "rows", "the referred table is not brought up to date"},
              {"WdbGetIntegrityRules", "rows", ""},
              {"WdbExecuteCcl",
               "16194 WSQLFilter UseZeroSearchSets\n16194 WSQLFilter::SearchOpenDB ExecuteCCL\n16194 "
               "WSQLFilter::ExecuteSelect ExecuteCCL",
               ""},
              {"WdbSearchResult", "16194 WSQLFilter::ExecuteSelect WdbSearchResult", ""},
              {"WdbGetRows", "16194 WSQLFilter::GetNextJoinRow WdbGetRows", ""},
              {"WdbSetCursor", "16194 SQLFilter::ExecuteInsert execution", ""},
              {"WdbReplaceItem", "16194 SQLFilter::ExecuteInsert execution", ""},
              {"WdbPutRecord", "16194 SQLFilter::ExecuteInsert execution", ""},
              {"WdbLoadStatus", "16194 WdbLoadStatus WSQLFilter::execSql",
               "the commit: of the statement's own unit, and of the call"},
          });
}

TEST(ChangeFailure, InsertOfRows) {
    check("INSERT INTO T (K, N) SELECT K, M FROM U",
          {
              {"WdbCreateRecordControl",
               "16194 validation SQLFilter::ValidateInsert\n1 validation "
               "SQLFilter::ValidateInsert\nrows\n16194 WSQLFilter::CreateControl WdbCreateRecordControl",
               ""},
              {"WdbSetBase",
               "16194 validation SQLFilter::ValidateInsert\n1 validation "
               "SQLFilter::ValidateInsert\nrows\n16194 WSQLFilter::CreateControl WdbSetBase",
               ""},
              {"WdbExecuteCcl",
               "16194 WSQLFilter UseZeroSearchSets\n16194 WSQLFilter::SearchOpenDB ExecuteCCL\n16194 "
               "WSQLFilter::ExecuteSelect ExecuteCCL",
               ""},
              {"WdbSearchResult", "16194 WSQLFilter::ExecuteSelect WdbSearchResult", ""},
              {"WdbGetRows", "16194 WSQLFilter::GetNextJoinRow WdbGetRows", ""},
              {"WdbSetCursor", "16194 SQLFilter::ExecuteInsert execution", ""},
              {"WdbReplaceItem", "16194 SQLFilter::ExecuteInsert execution", ""},
              {"WdbPutRecord", "16194 SQLFilter::ExecuteInsert execution", ""},
              {"WdbLoadStatus", "16194 WdbLoadStatus WSQLFilter::execSql",
               "the commit: of the statement's own unit, and of the call"},
          });
}
