#include "src/tree/DateForm.h"

#include <array>
#include <cstdio>

#include "src/support/text.h"

namespace wsql {
namespace {

/// How a date form writes its parts.
struct FormRule {
    int8_t yearPart, monthPart, dayPart;  ///< 0-based position of each in the text
    bool namedMonth;                      ///< the month is a word, passed through as typed
    int8_t yearDigits, monthDigits, dayDigits;
    bool fourDigitYear;  ///< a year below 100 may be widened
};

enum class Order { kYearMonthDay, kMonthDayYear, kDayMonthYear };

constexpr FormRule rule(Order order, bool named, int8_t y, int8_t m, int8_t d) {
    switch (order) {
        case Order::kMonthDayYear:
            return {2, 0, 1, named, y, m, d, y == 4};
        case Order::kDayMonthYear:
            return {2, 1, 0, named, y, m, d, y == 4};
        default:
            return {0, 1, 2, named, y, m, d, y == 4};
    }
}

/// Forms 1 to 17; digits are the least number that is written.
constexpr std::array<FormRule, 17> kForms = {{
    rule(Order::kYearMonthDay, false, 4, 2, 2),
    rule(Order::kYearMonthDay, false, 4, 1, 1),
    rule(Order::kYearMonthDay, false, 2, 1, 1),
    rule(Order::kYearMonthDay, true, 4, 0, 1),
    rule(Order::kYearMonthDay, true, 2, 0, 1),
    rule(Order::kMonthDayYear, false, 4, 2, 2),
    rule(Order::kMonthDayYear, false, 4, 1, 1),
    rule(Order::kMonthDayYear, false, 2, 1, 1),
    rule(Order::kMonthDayYear, true, 4, 0, 1),
    rule(Order::kMonthDayYear, true, 2, 0, 1),
    rule(Order::kDayMonthYear, false, 4, 2, 2),
    rule(Order::kDayMonthYear, false, 4, 1, 1),
    rule(Order::kDayMonthYear, false, 2, 1, 1),
    rule(Order::kDayMonthYear, true, 4, 0, 1),
    rule(Order::kDayMonthYear, true, 2, 0, 1),
    rule(Order::kYearMonthDay, false, 4, 2, 2),
    rule(Order::kYearMonthDay, false, 2, 2, 2),
}};
constexpr int32_t kCompactLong = 16;
constexpr int32_t kCompactShort = 17;

using Parts = std::array<std::string, 3>;

bool isWordByte(char c) {
    // Bytes from 128 up are letters of month names in every character set.
    return isDigit(c) || (asciiLower(c) >= 'a' && asciiLower(c) <= 'z') ||
           static_cast<unsigned char>(c) >= 128;
}

std::optional<Parts> splitCompact(std::string_view text, size_t yearLength) {
    if (text.size() != yearLength + 4) return std::nullopt;
    for (const char c : text) {
        if (!isDigit(c)) return std::nullopt;
    }
    return Parts{std::string(text.substr(0, yearLength)), std::string(text.substr(yearLength, 2)),
                 std::string(text.substr(yearLength + 2))};
}

std::optional<Parts> splitSeparated(std::string_view text) {
    Parts parts;
    size_t part = 0;
    for (const char c : text) {
        if (isWordByte(c)) {
            parts[part] += c;
        } else if (++part == parts.size()) {
            return std::nullopt;
        }
    }
    return parts;
}

std::optional<Parts> split(std::string_view text, int32_t form) {
    if (form == kCompactLong) return splitCompact(text, 4);
    if (form == kCompactShort) return splitCompact(text, 2);
    return splitSeparated(text);
}

std::array<char, 2> separators(std::string_view today) {
    std::array<char, 2> found = {'-', '-'};
    size_t count = 0;
    for (const char c : today) {
        if (count < found.size() && !isWordByte(c)) found[count++] = c;
    }
    return found;
}

int32_t widened(int32_t year, const DateSettings& settings) {
    if (settings.century >= 0) return year;
    const int64_t reach = static_cast<int64_t>(settings.currentYear) + settings.century;
    return reach > year + 1900 ? year + 2000 : year + 1900;
}

bool dayFits(int32_t month, int32_t day) {
    switch (month) {
        case 1:
        case 3:
        case 5:
        case 7:
        case 8:
        case 10:
        case 12:
            return day >= 1 && day <= 31;
        case 2:
            return day >= 1 && day <= 29;
        case 4:
        case 6:
        case 9:
        case 11:
            return day >= 1 && day <= 30;
        default:
            return true;
    }
}

std::string padded(int32_t number, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*d", digits, number);
    return text;
}

}  // namespace

std::optional<std::string> normaliseDate(std::string_view text, const DateSettings& settings) {
    const std::optional<Parts> parts = split(text, settings.form);
    if (!parts) return std::nullopt;
    const bool known = settings.form >= 1 && settings.form <= static_cast<int32_t>(kForms.size());
    const FormRule form =
        known ? kForms[static_cast<size_t>(settings.form - 1)] : rule(Order::kYearMonthDay, true, 0, 0, 0);
    const std::string& yearText = (*parts)[static_cast<size_t>(form.yearPart)];
    const std::string& monthText = (*parts)[static_cast<size_t>(form.monthPart)];
    const std::string& dayText = (*parts)[static_cast<size_t>(form.dayPart)];

    int32_t year = decimalPrefix(yearText);
    if (year == 0 && (yearText.empty() || !isDigit(yearText[0]))) return std::nullopt;
    if (form.fourDigitYear && year < 100) year = widened(year, settings);
    const int32_t day = decimalPrefix(dayText);
    if (day == 0 && !dayText.empty()) return std::nullopt;
    const int32_t month = form.namedMonth ? 0 : decimalPrefix(monthText);
    if (!dayFits(month, day)) return std::nullopt;

    const auto [first, second] = separators(settings.today);
    if (!known) return (*parts)[0] + first + (*parts)[1] + second + (*parts)[2];
    Parts written;
    written[static_cast<size_t>(form.yearPart)] = padded(year, form.yearDigits);
    written[static_cast<size_t>(form.monthPart)] =
        form.namedMonth ? monthText : padded(month, form.monthDigits);
    written[static_cast<size_t>(form.dayPart)] = padded(day, form.dayDigits);
    if (settings.form >= kCompactLong) return written[0] + written[1] + written[2];
    return written[0] + first + written[1] + second + written[2];
}

}  // namespace wsql
