#include "host/text/FaultPlace.h"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(FaultPlace, MarksWhatTheMessageNames) {
    struct Row {
        const char* why;
        const char* message;
        const char* sql;
        const char* source;
        const char* place;
    };
    const Row rows[] = {
        {"a name in the message", "Column \"FOO\" is unknown.", "SELECT A,\n  foo FROM T", "",
         "    foo FROM T\n    ^\n"},
        {"as a whole word only", "Column \"FOO\" is unknown.", "SELECT FOOD, FOO", "",
         "  SELECT FOOD, FOO\n               ^\n"},
        {"the last part of a dotted name", "Column \"T.FOO\" is unknown.", "SELECT FOO FROM T", "",
         "  SELECT FOO FROM T\n         ^\n"},
        {"not in a comment", "Table \"T\" does not exist.", "SELECT 1 -- T\nFROM T", "",
         "  FROM T\n       ^\n"},
        {"a quote that is not closed", "syntax error", "SELECT 'a' FROM 't", "",
         "  this quote is not closed:\n  SELECT 'a' FROM 't\n                  ^\n"},
        {"nothing known", "syntax error", "SELECT FROM", "", ""},
        {"a name that is not there", "Column \"X\" is unknown.", "SELECT A", "", ""},
        {"the line in the script", "Column \"FOO\" is unknown.", "SELECT\nFOO", "a.sql",
         "  at a.sql:11\n  FOO\n  ^\n"},
        {"the statement's line when no place is known", "syntax error", "SELECT", "a.sql", "  at a.sql:10\n"},
        {"wide characters before it", "Column \"X\" is unknown.", "SELECT '日', X", "",
         "  SELECT '日', X\n               ^\n"},
    };
    for (const Row& row : rows) {
        Fault fault;
        fault.message = row.message;
        EXPECT_EQ(faultPlace(fault, Statement{row.sql, 10}, row.source), row.place) << row.why;
    }
}

TEST(FaultPlace, Text) {
    const Fault fault{610, "no base", "validation", "WSQLFilter::execSql"};
    EXPECT_EQ(faultText(fault, false), "fault 610: no base\n");
    EXPECT_EQ(faultText(fault, true),
              "fault 610: no base\n  source validation, context WSQLFilter::execSql\n");
}

}  // namespace
}  // namespace host
