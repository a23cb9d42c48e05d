// The clock functions of the C library that do not go into the kernel, or not always: this program has its own, which
// stand in front of the C library's. They do what the C library does until a test sets them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace StandInClocks {

// Instant_s: what a clock shows.
struct Instant_s {
  int64_t seconds = 0;
  int64_t fraction = 0; // nanoseconds of clock_gettime, microseconds of gettimeofday
};

// A reading without a value fails.
using Reading = std::optional<Instant_s>;

// clock_gettime gives these readings, one a call; it ends the process with status 98 when none is left.
void setReadings(const std::vector<Reading>& readings);
std::size_t readingsLeft();
void clearReadings();

// lastClock: the clock that was last asked for.
int lastClock();

// gettimeofday gives this. A zone that it is handed must have been cleared, and the time too: else it fails.
void setTimeOfDay(const Reading& reading);

// time gives this.
void setTime(int64_t seconds);

// zoneOfConversion: the zone as it was when mktime was last called after watchConversions: "TZ" ("(unset)" without
// one), and the seconds west of UTC of the last tzset, for example "CET-1, -3600".
void watchConversions();
std::string zoneOfConversion();

} // namespace StandInClocks
