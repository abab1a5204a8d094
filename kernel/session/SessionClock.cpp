#include "kernel/session/SessionClock.h"

#include <ctime>

namespace wdb {

namespace {

// Days since 1970-01-01 of a Gregorian day and back, after Howard Hinnant's "chrono-compatible low-level date
// algorithms".
int64_t daysFromCivil(int64_t year, int64_t month, int64_t day) {
    year -= month <= 2;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t ofEra = year - era * 400;
    const int64_t ofYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    return era * 146097 + ofEra * 365 + ofEra / 4 - ofEra / 100 + ofYear - 719468;
}

DayNumber civilFromDays(int64_t days) {
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const int64_t ofEra = days - era * 146097;
    const int64_t year = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
    const int64_t ofYear = ofEra - (365 * year + year / 4 - year / 100);
    const int64_t shifted = (5 * ofYear + 2) / 153;
    const int64_t month = shifted < 10 ? shifted + 3 : shifted - 9;
    return dayNumber(static_cast<int>(year + era * 400 + (month <= 2)), static_cast<int>(month),
                     static_cast<int>(ofYear - (153 * shifted + 2) / 5 + 1));
}

constexpr int64_t kSecond = 1000000;
constexpr int64_t kDay = 86400 * kSecond;

}  // namespace

LocalMicros toMicros(const LocalTime& time) {
    return daysFromCivil(time.day / 10000, time.day / 100 % 100, time.day % 100) * kDay +
           time.second * kSecond + time.micro;
}

LocalTime toLocalTime(LocalMicros micros) {
    const int64_t days = (micros >= 0 ? micros : micros - kDay + 1) / kDay;
    const int64_t rest = micros - days * kDay;
    return {civilFromDays(days), static_cast<int32_t>(rest / kSecond), static_cast<int32_t>(rest % kSecond)};
}

LocalTime SessionClock::now() const {
    if (fixed_) return *fixed_;
    timespec instant{};
    std::timespec_get(&instant, TIME_UTC);
    std::tm parts{};
    localtime_r(&instant.tv_sec, &parts);
    return {dayNumber(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday),
            parts.tm_hour * 3600 + parts.tm_min * 60 + (parts.tm_sec > 59 ? 59 : parts.tm_sec),
            static_cast<int32_t>(instant.tv_nsec / 1000)};
}

LocalTime SessionClock::dateCall() {
    lastDate_ = now();
    return *lastDate_;
}

LocalTime SessionClock::timeCall() {
    const LocalTime time = now();
    if (!lastDate_) return time;
    const int64_t passed = toMicros(time) - toMicros(*lastDate_);
    return passed >= 0 && passed < kSecond ? *lastDate_ : time;
}

Status SessionClock::fix(std::string_view isoInstant) {
    if (isoInstant.size() != 19 || isoInstant[10] != ' ') return WDB_E_ARGUMENT;
    const auto day = parseDate(isoInstant.substr(0, 10), DateForm{}, 0);
    const auto second = parseTime(isoInstant.substr(11));
    if (!day || !isCalendarDay(*day) || !second) return WDB_E_ARGUMENT;
    fixed_ = LocalTime{*day, *second, 0};
    lastDate_.reset();
    return WDB_OK;
}

}  // namespace wdb
