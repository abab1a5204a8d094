#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "kernel/common/Status.h"
#include "kernel/record/DateForm.h"

namespace wdb {

// An instant of the local calendar.
struct LocalTime {
    DayNumber day = 0;
    int32_t second = 0;  // of the day
    int32_t micro = 0;
};

// Microseconds that a local calendar clock has counted since 1970-01-01 00:00: what base files stamp their
// changes with, so that a stamp reads back as the local time without asking for zones again. When the clock
// steps back, storage keeps its stamps increasing by itself.
using LocalMicros = int64_t;
LocalMicros toMicros(const LocalTime& time);
LocalTime toLocalTime(LocalMicros micros);

// The session's clock: the system's local time, or an instant that a test has fixed.
class SessionClock {
public:
    LocalTime now() const;
    LocalMicros nowMicros() const { return toMicros(now()); }
    DayNumber today() const { return now().day; }

    // Now, kept so that a time of day asked for within a second belongs to the same instant.
    LocalTime dateCall();
    LocalTime timeCall();

    // "YYYY-MM-DD HH:MM:SS"; WDB_E_ARGUMENT for anything else.
    Status fix(std::string_view isoInstant);
    void run() { fixed_.reset(); }

private:
    std::optional<LocalTime> fixed_;
    std::optional<LocalTime> lastDate_;
};

}  // namespace wdb
