#include "kernel/record/DateForm.h"

#include <algorithm>
#include <array>

#include "kernel/common/Ascii.h"

namespace wdb {

namespace {

constexpr std::array<std::string_view, 12> kMonths{"January",   "February", "March",    "April",
                                                   "May",       "June",     "July",     "August",
                                                   "September", "October",  "November", "December"};

// The parts of a form in order: Y four digits, y two, M and D padded to two, m and d not, N month name.
constexpr std::array<std::string_view, kDateForms + 1> kLayouts{"",    "YMD", "Ymd", "ymd", "YNd", "yNd",
                                                                "MDY", "mdY", "mdy", "NdY", "Ndy", "DMY",
                                                                "dmY", "dmy", "dNY", "dNy", "YMD", "yMD"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

std::string_view trimBlanks(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

// Takes between least and most digits off the front of the text.
std::optional<int> takeNumber(std::string_view& text, size_t least, size_t most) {
    size_t n = 0;
    int value = 0;
    while (n < text.size() && n < most && isDigit(text[n])) value = value * 10 + (text[n++] - '0');
    if (n < least) return std::nullopt;
    text.remove_prefix(n);
    return value;
}

std::optional<int> takeMonthName(std::string_view& text) {
    size_t n = 0;
    while (n < text.size() && isLetter(text[n])) ++n;
    const std::string_view word = text.substr(0, n);
    text.remove_prefix(n);
    for (size_t month = 0; month < kMonths.size(); ++month) {
        if (equalsIgnoreCase(word, kMonths[month]) || equalsIgnoreCase(word, kMonths[month].substr(0, 3))) {
            return static_cast<int>(month + 1);
        }
    }
    return std::nullopt;
}

// The year with these last two digits in the hundred years that end 20 years after today's.
int fullYear(int twoDigits, DayNumber today) {
    const int last = today / 10000 + 20;
    const int year = last - last % 100 + twoDigits;
    return std::max(year > last ? year - 100 : year, 0);
}

void appendPadded(std::string& out, int value, int width) {
    std::array<char, 4> digits{};
    for (int i = width - 1; i >= 0; --i, value /= 10)
        digits[static_cast<size_t>(i)] = static_cast<char>('0' + value % 10);
    out.append(digits.data(), static_cast<size_t>(width));
}

void appendShort(std::string& out, int value) {
    if (value > 9) out.push_back(static_cast<char>('0' + value / 10 % 10));
    out.push_back(static_cast<char>('0' + value % 10));
}

struct Day {
    int year = 0;
    int month = 0;
    int day = 0;
};

// One part of a layout; packed forms have all digits of every part.
bool takePart(char part, bool packed, DayNumber today, std::string_view& text, Day& day) {
    std::optional<int> value;
    switch (part) {
        case 'Y':
            value = takeNumber(text, packed ? 4 : 1, 4);
            break;
        case 'N':
            value = takeMonthName(text);
            break;
        default:
            value = takeNumber(text, packed ? 2 : 1, 2);
            break;
    }
    if (!value) return false;
    if (part == 'Y')
        day.year = *value;
    else if (part == 'y')
        day.year = fullYear(*value, today);
    else if (part == 'D' || part == 'd')
        day.day = *value;
    else
        day.month = *value;
    return true;
}

}  // namespace

bool isDateSeparator(char c) {
    return c == '-' || c == '/' || c == '.' || c == ':';
}

std::optional<DayNumber> parseDate(std::string_view text, const DateForm& form, DayNumber today) {
    text = trimBlanks(text);
    const bool packed = form.number > 15;
    const std::string_view layout = kLayouts[form.number <= kDateForms ? form.number : 0];
    Day day;
    for (size_t i = 0; i < layout.size(); ++i) {
        if (i > 0 && !packed) {
            if (text.empty() || text.front() != (i == 1 ? form.first : form.second)) return std::nullopt;
            text.remove_prefix(1);
        }
        if (!takePart(layout[i], packed, today, text, day)) return std::nullopt;
    }
    if (!text.empty() || layout.empty()) return std::nullopt;
    return dayNumber(day.year, day.month, day.day);
}

bool isCalendarDay(DayNumber day) {
    constexpr std::array<int, 13> kDays{0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (day < 0 || day > 99991231) return false;
    const int year = day / 10000, month = day / 100 % 100, dayOfMonth = day % 100;
    if (month < 1 || month > 12 || dayOfMonth < 1) return false;
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return dayOfMonth <= kDays[static_cast<size_t>(month)] + (month == 2 && leap ? 1 : 0);
}

void renderDate(DayNumber day, const DateForm& form, std::string& out) {
    const bool packed = form.number > 15;
    const std::string_view layout = kLayouts[form.number <= kDateForms ? form.number : 1];
    const int year = day / 10000, month = day / 100 % 100, dayOfMonth = day % 100;
    for (size_t i = 0; i < layout.size(); ++i) {
        if (i > 0 && !packed) out.push_back(i == 1 ? form.first : form.second);
        switch (layout[i]) {
            case 'Y':
                appendPadded(out, year, 4);
                break;
            case 'y':
                appendPadded(out, year % 100, 2);
                break;
            case 'M':
                appendPadded(out, month, 2);
                break;
            case 'm':
                appendShort(out, month);
                break;
            case 'D':
                appendPadded(out, dayOfMonth, 2);
                break;
            case 'd':
                appendShort(out, dayOfMonth);
                break;
            default:
                if (month >= 1 && month <= 12)
                    out.append(kMonths[static_cast<size_t>(month - 1)].substr(0, 3));
                else
                    appendShort(out, month);
        }
    }
}

std::optional<int32_t> parseTime(std::string_view text) {
    text = trimBlanks(text);
    const auto hours = takeNumber(text, 1, 2);
    if (!hours || text.empty() || text.front() != ':') return std::nullopt;
    text.remove_prefix(1);
    const auto minutes = takeNumber(text, 2, 2);
    std::optional<int> seconds = 0;
    if (!text.empty() && text.front() == ':') {
        text.remove_prefix(1);
        seconds = takeNumber(text, 2, 2);
    }
    if (!minutes || !seconds || !text.empty() || *hours > 23 || *minutes > 59 || *seconds > 59)
        return std::nullopt;
    return *hours * 3600 + *minutes * 60 + *seconds;
}

void renderTime(int32_t seconds, std::string& out) {
    appendPadded(out, seconds / 3600, 2);
    out.push_back(':');
    appendPadded(out, seconds / 60 % 60, 2);
    out.push_back(':');
    appendPadded(out, seconds % 60, 2);
}

}  // namespace wdb
