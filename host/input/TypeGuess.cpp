#include "host/input/TypeGuess.h"

#include <algorithm>

namespace host {

namespace {

constexpr std::size_t kLongestVarchar = 255;
constexpr std::size_t kDigitsOf64Bits = 18;

bool allDigits(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string_view withoutSign(std::string_view text) {
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    return text;
}

bool isInteger(std::string_view text) {
    text = withoutSign(text);
    return allDigits(text) && text.size() <= kDigitsOf64Bits && (text.size() == 1 || text.front() != '0');
}

bool isNumeric(std::string_view text) {
    text = withoutSign(text);
    const auto point = text.find('.');
    if (point == std::string_view::npos) return isInteger(text);
    const std::string_view whole = text.substr(0, point);
    return allDigits(whole) && (whole.size() == 1 || whole.front() != '0') &&
           allDigits(text.substr(point + 1));
}

int number(std::string_view digits) {
    int value = 0;
    for (const char c : digits) value = value * 10 + (c - '0');
    return value;
}

bool isDate(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return false;
    const std::string_view year = text.substr(0, 4), month = text.substr(5, 2), day = text.substr(8, 2);
    if (!allDigits(year) || !allDigits(month) || !allDigits(day)) return false;
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const int y = number(year), m = number(month), d = number(day);
    if (m < 1 || m > 12 || d < 1) return false;
    const bool leap = y % 4 == 0 && (y % 100 != 0 || y % 400 == 0);
    return d <= kDays[m - 1] + (leap && m == 2 ? 1 : 0);
}

bool isTime(std::string_view text) {
    if (text.size() != 5 && text.size() != 8) return false;
    constexpr int kLimits[] = {24, 60, 60};
    for (std::size_t i = 0, part = 0; i < text.size(); i += 3, ++part) {
        if (i > 0 && text[i - 1] != ':') return false;
        if (!allDigits(text.substr(i, 2)) || number(text.substr(i, 2)) >= kLimits[part]) return false;
    }
    return true;
}

}  // namespace

const char* sqlName(ColumnType type) {
    switch (type) {
        case ColumnType::varchar:
            return "VARCHAR";
        case ColumnType::text:
            return "LONG VARCHAR";
        case ColumnType::integer:
            return "INTEGER";
        case ColumnType::numeric:
            return "NUMERIC";
        case ColumnType::date:
            return "DATE";
        case ColumnType::time:
            return "TIME";
        case ColumnType::object:
            return "LONG VARBINARY";
    }
    return "VARCHAR";
}

void TypeGuess::see(std::string_view value) {
    any_ = true;
    longest_ = std::max(longest_, value.size());
    digits_ = digits_ && allDigits(value) && value.size() <= kDigitsOf64Bits;
    integer_ = integer_ && isInteger(value);
    numeric_ = numeric_ && isNumeric(value);
    date_ = date_ && isDate(value);
    time_ = time_ && isTime(value);
    lines_ = lines_ || value.find('\n') != std::string_view::npos;
}

ColumnType TypeGuess::type() const {
    if (!any_) return ColumnType::varchar;
    if (integer_) return ColumnType::integer;
    if (numeric_) return ColumnType::numeric;
    if (date_) return ColumnType::date;
    if (time_) return ColumnType::time;
    return lines_ || longest_ > kLongestVarchar ? ColumnType::text : ColumnType::varchar;
}

}  // namespace host
