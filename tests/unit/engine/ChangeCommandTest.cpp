// The commands that UPDATE and DELETE send, in their order.
#include <gtest/gtest.h>

#include "tests/unit/engine/Articles.h"

TEST(ChangeCommands, FindTheRecords) {
    const std::string minimum = "wDEF wFIN wMIN=0\n";
    const struct {
        const char* sql;
        std::string commands;
        const char* reason;
    } rows[] = {
        {"UPDATE T SET A = 1", "wBAS T\n", "no search: the result is the table that was opened"},
        {"UPDATE T SET A = 1 WHERE P = 2.5", "wBAS T\nwFIN T.P=2.50\n", ""},
        {"UPDATE T x SET x.A = 1 WHERE x.A = 2 AND (T.A = 3 OR x.NAME LIKE 'a%')",
         "wBAS T\nwFIN (T.A=2) wAND ((T.A=3) wORX (T.NAME=a$))\n",
         "a search knows no correlation names, at no depth"},
        {"UPDATE T SET A = 1 WHERE A IN (SELECT ID FROM U WHERE TID = 4)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.ID)  WHERE(U.TID=4)\nwBAS T\nwFIN T.A=3.ID\n",
         "the sub-query opens its own table"},
        {"UPDATE T SET A = 1 WHERE CCL('T.A=5')", "", "no syntax of this dialect"},
        {"DELETE FROM T", "wBAS T\nwFIN wRXX=wFRL 1\n", "all records"},
        {"DELETE FROM T x WHERE x.A BETWEEN 1 AND 2", "wBAS T\nwFIN wRXX=wFRL 1\nwFIN T.A=1 wFTL 2\n",
         "the condition replaces their set"},
        {"DELETE FROM T WHERE A <= (SELECT MAX(ID) FROM U)",
         "wBAS T\nwFIN wRXX=wFRL 1\nwBAS U\nwSEL wSFX wFRL(U) FIELD(MAX(U.ID)) \nwBAS T\n"
         "wFIN T.A<3.\"MAX(ID)\"\n",
         ""},
    };
    for (const auto& row : rows) {
        loadArticles();
        fakeKernel().searches = true;
        Request request(row.sql, 36);
        runSql(request);
        std::string commands;
        for (const std::string& command : fakeKernel().commands) commands += command + "\n";
        EXPECT_EQ(commands, row.commands.empty() ? "" : minimum + row.commands)
            << row.sql << "\n  " << row.reason;
        EXPECT_EQ(fakeKernel().saves, fakeKernel().loads) << row.sql;
    }
}
