#include "kernel/record/DateForm.h"

#include <gtest/gtest.h>

namespace wdb {
namespace {

constexpr DayNumber kToday = 20240615;

TEST(DateForm, EveryFormRendersAndReadsItsOwnText) {
    struct Row {
        uint8_t form;
        DateForm separators;
        DayNumber day;
        const char* text;
    };
    const DateForm dashes{1, '-', '-'}, mixed{1, '/', '.'};
    const Row rows[] = {
        {1, dashes, 20240105, "2024-01-05"}, {1, mixed, 20240105, "2024/01.05"},
        {2, dashes, 20240105, "2024-1-5"},   {2, dashes, 20241231, "2024-12-31"},
        {3, dashes, 20240105, "24-1-5"},     {4, mixed, 20240105, "2024/Jan.5"},
        {5, dashes, 19991005, "99-Oct-5"},   {6, dashes, 20240105, "01-05-2024"},
        {7, mixed, 20240105, "1/5.2024"},    {8, dashes, 20240105, "1-5-24"},
        {9, dashes, 20240505, "May-5-2024"}, {10, dashes, 20240905, "Sep-5-24"},
        {11, mixed, 20240105, "05/01.2024"}, {12, dashes, 20240105, "5-1-2024"},
        {13, dashes, 20240115, "15-1-24"},   {14, dashes, 20240105, "5-Jan-2024"},
        {15, mixed, 20241205, "5/Dec.24"},   {16, dashes, 20240105, "20240105"},
        {17, dashes, 20240105, "240105"},    {1, dashes, 105, "0000-01-05"},
        {16, dashes, 99991231, "99991231"},
    };
    for (const Row& row : rows) {
        const DateForm form{row.form, row.separators.first, row.separators.second};
        std::string text;
        renderDate(row.day, form, text);
        EXPECT_EQ(text, row.text) << "form " << int(row.form);
        EXPECT_EQ(parseDate(row.text, form, kToday), row.day) << row.text;
    }
}

TEST(DateForm, WhatIsReadAndWhatIsRefused) {
    struct Row {
        uint8_t form;
        const char* text;
        std::optional<DayNumber> day;
        const char* reason;
    };
    const Row rows[] = {
        {1, " 2024-01-05 ", 20240105, "blanks around do not count"},
        {1, "2024-1-5", 20240105, "leading zeros may be missing"},
        {1, "2023-02-29", 20230229, "a day that does not exist still has three numbers"},
        {1, "2024-13-45", 20241345, "so does this"},
        {1, "2024/01/05", {}, "other separator"},
        {1, "2024-01", {}, "day missing"},
        {1, "2024-01-05x", {}, "something behind"},
        {1, "2024-01-005", {}, "three digits"},
        {1, "20240-01-05", {}, "five digits"},
        {1, "", {}, "nothing"},
        {1, "2024-Jan-05", {}, "a name where a number belongs"},
        {4, "2024-JANUARY-5", 20240105, "full names in any case"},
        {4, "2024-may-5", 20240505, "short and full name are one"},
        {4, "2024-Janu-5", {}, "neither"},
        {4, "2024-01-5", {}, "a number where a name belongs"},
        {16, "2024015", {}, "a digit short"},
        {16, "202401055", {}, "a digit long"},
        {17, "440105", 20440105, "20 years ahead still belong to the hundred"},
        {17, "450105", 19450105, "21 do not"},
        {8, "1-5-99", 19990105, "two digits of the year"},
        {8, "1-5-1999", {}, "four digits where two belong"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(parseDate(row.text, DateForm{row.form, '-', '-'}, kToday), row.day)
            << row.text << ": " << row.reason;
    }
}

TEST(DateForm, CalendarKnowsLeapYears) {
    for (const DayNumber day : {20240229, 20000229, 19991231, 101, 229, 99991231})
        EXPECT_TRUE(isCalendarDay(day)) << day;
    for (const DayNumber day : {20230229, 19000229, 20240431, 20240100, 20240001, 20241301, -1, 100000101}) {
        EXPECT_FALSE(isCalendarDay(day)) << day;
    }
}

TEST(DateForm, Times) {
    struct Row {
        const char* text;
        std::optional<int32_t> seconds;
    };
    const Row rows[] = {{"0:00", 0},      {"9:30", 34200}, {"09:30:15", 34215}, {" 23:59:59 ", 86399},
                        {"24:00", {}},    {"9:60", {}},    {"9:30:60", {}},     {"9:3", {}},
                        {"9", {}},        {":30", {}},     {"009:30", {}},      {"9:30:", {}},
                        {"9:30:15.5", {}}};
    for (const Row& row : rows) EXPECT_EQ(parseTime(row.text), row.seconds) << row.text;
    std::string text;
    renderTime(34215, text);
    EXPECT_EQ(text, "09:30:15");
}

}  // namespace
}  // namespace wdb
