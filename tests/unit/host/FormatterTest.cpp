#include "host/format/Formatter.h"

#include <gtest/gtest.h>

#include "host/format/JsonFormatter.h"
#include "host/format/TableFormatter.h"

namespace host {
namespace {

const std::vector<Column> kColumns = {{"NAME", "VARCHAR"}, {"SIZE", "INTEGER"}};

std::string formatted(Format format, const std::vector<Column>& columns, const std::vector<Row>& rows,
                      ResultEnd end, int width = 80) {
    const auto formatter = makeFormatter(format, width);
    std::string out;
    formatter->begin(columns, out);
    formatter->rows(rows, out);
    formatter->end(end, out);
    return out;
}

Cell null() {
    return {"", true};
}
Cell cell(const char* text) {
    return {text, false};
}

TEST(TableFormatter, AlignsAndCounts) {
    EXPECT_EQ(formatted(Format::table, kColumns, {{cell("日本"), cell("5")}, {cell("b"), null()}},
                        {1, 2, 2345, 12.34}),
              "┌──────┬──────┐\n"
              "│ NAME │ SIZE │\n"
              "├──────┼──────┤\n"
              "│ 日本 │    5 │\n"
              "│ b    │ NULL │\n"
              "└──────┴──────┘\n"
              "2 of 2,345 rows (12.3 ms)\n");
}

TEST(TableFormatter, WrapsToTheWidthAndRulesBetweenTallRows) {
    EXPECT_EQ(formatted(Format::table, {{"TEXT", "LONG VARCHAR"}, {"N", "INTEGER"}},
                        {{cell("one two three four"), cell("1")}, {cell("x"), cell("2")}}, {1, 2, 2, {}}, 16),
              "┌──────────┬───┐\n"
              "│ TEXT     │ N │\n"
              "├──────────┼───┤\n"
              "│ one two  │ 1 │\n"
              "│ three    │   │\n"
              "│ four     │   │\n"
              "├──────────┼───┤\n"
              "│ x        │ 2 │\n"
              "└──────────┴───┘\n"
              "2 rows\n");
}

TEST(TableFormatter, LaterBlocksKeepTheWidthsOfTheFirst) {
    TableFormatter table(80);
    std::string out;
    table.begin({{"A", "VARCHAR"}}, out);
    table.rows({{cell("abc")}}, out);
    table.rows({{cell("abcdef")}}, out);
    table.end({1, 2, 2, {}}, out);
    EXPECT_EQ(out, "┌─────┐\n│ A   │\n├─────┤\n│ abc │\n│ abc │\n│ def │\n└─────┘\n2 rows\n");
}

TEST(TableFormatter, Footers) {
    struct Case {
        const char* why;
        ResultEnd end;
        const char* footer;
    };
    const Case cases[] = {{"nothing", {1, 0, 0, {}}, "0 rows"},
                          {"one", {1, 1, 1, {}}, "1 row"},
                          {"a first block", {1, 20, 1234567, {}}, "20 of 1,234,567 rows"},
                          {"a later block", {41, 5, 45, {}}, "rows 41 to 45 of 45 rows"},
                          {"a block behind the end", {1, 0, 45, {}}, "0 of 45 rows"}};
    for (const Case& c : cases) {
        const std::string out = formatted(Format::table, kColumns, {}, c.end);
        EXPECT_NE(out.find("┘\n" + std::string(c.footer) + "\n"), std::string::npos) << c.why << "\n" << out;
    }
}

TEST(TableFormatter, WidestColumnsGiveWayFirst) {
    using Widths = std::vector<int>;
    EXPECT_EQ(fitWidths({5, 10}, 20, 8), (Widths{5, 10}));
    EXPECT_EQ(fitWidths({5, 100}, 25, 8), (Widths{5, 20}));
    EXPECT_EQ(fitWidths({50, 60, 5}, 45, 8), (Widths{20, 20, 5}));
    EXPECT_EQ(fitWidths({50, 50, 50}, 10, 8), (Widths{8, 8, 8}));
    EXPECT_EQ(fitWidths({}, 10, 8), (Widths{}));
}

TEST(CsvFormatter, QuotesWhatNeedsItAndTellsNullFromEmpty) {
    EXPECT_EQ(formatted(Format::csv, {{"A,B", "VARCHAR"}, {"C", "VARCHAR"}},
                        {{cell("say \"hi\""), null()}, {cell(""), cell("a\nb")}, {cell("plain"), cell(" x")}},
                        {1, 3, 3, {}}),
              "\"A,B\",C\r\n\"say \"\"hi\"\"\",\r\n\"\",\"a\nb\"\r\nplain,\" x\"\r\n");
}

TEST(JsonFormatter, KeepsNumbersAndTellsColumnsApart) {
    const std::vector<Column> columns = {{"N", "NUMERIC"}, {"N", "VARCHAR"}, {"N_2", "VARCHAR"}};
    EXPECT_EQ(formatted(Format::json, columns,
                        {{cell("1.50"), cell("a\"\n"), null()}, {cell("-x"), cell("\xFF"), cell("")}},
                        {1, 2, 2, {}}),
              "[\n  {\"N\": 1.50, \"N_2\": \"a\\\"\\n\", \"N_2_2\": null},\n"
              "  {\"N\": \"-x\", \"N_2\": \"\uFFFD\", \"N_2_2\": \"\"}\n]\n");
    EXPECT_EQ(formatted(Format::json, columns, {}, {1, 0, 0, {}}), "[]\n");
}

TEST(JsonFormatter, KnowsNumbers) {
    for (const char* good : {"0", "-1", "12.50", "9223372036854775807"})
        EXPECT_TRUE(isJsonNumber(good)) << good;
    for (const char* bad : {"", "-", "01", "1.", ".5", "+1", "1e5", "1 "})
        EXPECT_FALSE(isJsonNumber(bad)) << bad;
}

TEST(LineFormatter, OneLineAValue) {
    EXPECT_EQ(formatted(Format::line, {{"A", "VARCHAR"}, {"LONG", "LONG VARCHAR"}},
                        {{cell("x"), cell("l1\nl2")}, {null(), cell("y")}}, {1, 2, 2, {}}),
              "   A = x\nLONG = l1\n       l2\n\n   A = NULL\nLONG = y\n");
}

}  // namespace
}  // namespace host
