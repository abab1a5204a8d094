#include <gtest/gtest.h>

#include <sstream>

#include "src/tree/DateForm.h"
#include "tests/tables/TableFile.h"

namespace wsql {
namespace {

/// "form | today | CMI | calendar year | text" to the rewritten text, or "no date".
std::string normalised(const std::string& input) {
    std::istringstream fields(input);
    std::string form, today, century, year, text;
    std::getline(fields, form, '|');
    std::getline(fields, today, '|');
    std::getline(fields, century, '|');
    std::getline(fields, year, '|');
    std::getline(fields, text);
    const auto result =
        normaliseDate(text, DateSettings{std::stoi(form), today, std::stoi(century), std::stoi(year)});
    return result ? *result : "no date";
}

TEST(DateForm, RewritesDates) {
    tables::check("sql/dates.tbl", normalised, [](const tables::Row& row, const std::string& actual) {
        EXPECT_EQ(actual, row.expected) << "line " << row.line << ": " << row.reason << "\n  " << row.input;
    });
}

TEST(DateForm, LongTextsAreKeptWhole) {
    const std::string month(100000, 'M');
    const auto result = normaliseDate("5-" + month + "-2024", DateSettings{14, "5-Jan-2024", 0, 2026});
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(*result, "5-" + month + "-2024");
}

}  // namespace
}  // namespace wsql
