#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wdb {

// A day as the number year * 10000 + month * 100 + day: numbers order as days do. Also days that no calendar
// has.
using DayNumber = int32_t;

constexpr DayNumber dayNumber(int year, int month, int day) {
    return year * 10000 + month * 100 + day;
}

// How dates are written: a form of 1 to 17 and the two separators.
//
//    1 YYYY-MM-DD   2 YYYY-M-D    3 YY-M-D      4 YYYY-Mon-D   5 YY-Mon-D    6 MM-DD-YYYY
//    7 M-D-YYYY     8 M-D-YY      9 Mon-D-YYYY 10 Mon-D-YY    11 DD-MM-YYYY 12 D-M-YYYY
//   13 D-M-YY      14 D-Mon-YYYY 15 D-Mon-YY   16 YYYYMMDD    17 YYMMDD
struct DateForm {
    uint8_t number = 1;
    char first = '-';
    char second = '-';

    bool operator==(const DateForm&) const = default;
};

inline constexpr int kDateForms = 17;

// One of - / . :
bool isDateSeparator(char c);

// The day that a text names, blanks around it ignored; whether the calendar has it is not asked (month and
// day are at most 99). Month names in English, three letters or whole, in any case. Numbers may lack leading
// zeros except in forms 16 and
// 17. A two-digit year is the one of the hundred years that end 20 years after today. Nothing when the text
// has another form.
std::optional<DayNumber> parseDate(std::string_view text, const DateForm& form, DayNumber today);

// Gregorian, years 0 to 9999.
bool isCalendarDay(DayNumber day);

// Appends the day's text; for a month outside 1 to 12 a form with month names writes its number.
void renderDate(DayNumber day, const DateForm& form, std::string& out);

// Seconds of the day of H:MM or H:MM:SS, hours of one or two digits, 0:00:00 to 23:59:59.
std::optional<int32_t> parseTime(std::string_view text);
// Appends HH:MM:SS.
void renderTime(int32_t seconds, std::string& out);

}  // namespace wdb
