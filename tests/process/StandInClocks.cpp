#include "StandInClocks.h"

#include "ZemoExport.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <unistd.h>

// By their names in the C library, in 32 bit those for dates after 2038, and exported: the library finds them first.
#if defined(__x86_64__)
extern "C" ZEMO_EXPORT int standInTimeOfDay(void* time, void* zone) __asm__("gettimeofday");
extern "C" ZEMO_EXPORT int64_t standInTime(int64_t* time) __asm__("time");
extern "C" ZEMO_EXPORT int64_t standInConversion(std::tm* time) __asm__("mktime");
#else
extern "C" ZEMO_EXPORT int standInTimeOfDay(void* time, void* zone) __asm__("__gettimeofday64");
extern "C" ZEMO_EXPORT int64_t standInTime(int64_t* time) __asm__("__time64");
extern "C" ZEMO_EXPORT int64_t standInConversion(std::tm* time) __asm__("__mktime64");
#endif
extern "C" ZEMO_EXPORT int standInClock(clockid_t clock, timespec* time) __asm__("clock_gettime");

namespace {

struct State_s {
  bool hasReadings = false;
  std::vector<StandInClocks::Reading> readings;
  std::size_t next = 0;
  int lastClock = -1;
  bool hasTimeOfDay = false;
  StandInClocks::Reading timeOfDay;
  std::optional<int64_t> time;
  std::string zone;
};

State_s& state() {
  static State_s object;
  return object;
}

// Without a constructor: clocks are read before this program's own begin.
bool s_isSet = false;

template <class Function_t>
Function_t nextOf(const char* name) {
  return reinterpret_cast<Function_t>(dlsym(RTLD_NEXT, name));
}

constexpr bool isIn64Bit = sizeof(void*) == 8;

} // namespace

int standInClock(clockid_t clock, timespec* time) {
  static const auto next = nextOf<int (*)(clockid_t, timespec*)>("clock_gettime");
  if (!s_isSet || !state().hasReadings) {
    return next(clock, time);
  }
  State_s& now = state();
  now.lastClock = clock;
  if (now.next == now.readings.size()) {
    _exit(98);
  }
  const StandInClocks::Reading& reading = now.readings[now.next++];
  if (!reading) {
    errno = EINVAL;
    return -1;
  }
  time->tv_sec = static_cast<std::time_t>(reading->seconds);
  time->tv_nsec = static_cast<long>(reading->fraction);
  return 0;
}

int standInTimeOfDay(void* time, void* zone) {
  if (!s_isSet || !state().hasTimeOfDay) {
    static const auto next = nextOf<int (*)(void*, void*)>(isIn64Bit ? "gettimeofday" : "__gettimeofday64");
    return next(time, zone);
  }
  auto& words = *static_cast<std::array<int64_t, 2>*>(time);
  const auto* zoneWords = static_cast<const std::array<int32_t, 2>*>(zone);
  const bool isTimeCleared = words[0] == 0 && words[1] == 0;
  const bool isZoneCleared = zoneWords == nullptr || ((*zoneWords)[0] == 0 && (*zoneWords)[1] == 0);
  const StandInClocks::Reading& reading = state().timeOfDay;
  if (!reading || !isTimeCleared || !isZoneCleared) {
    errno = EFAULT;
    return -1;
  }
  words = {reading->seconds, reading->fraction};
  return 0;
}

int64_t standInTime(int64_t* time) {
  if (!s_isSet || !state().time) {
    static const auto next = nextOf<int64_t (*)(int64_t*)>(isIn64Bit ? "time" : "__time64");
    return next(time);
  }
  if (time != nullptr) {
    *time = *state().time;
  }
  return *state().time;
}

int64_t standInConversion(std::tm* time) {
  static const auto next = nextOf<int64_t (*)(std::tm*)>(isIn64Bit ? "mktime" : "__mktime64");
  if (s_isSet) {
    const char* zone = std::getenv("TZ");
    state().zone = std::string(zone == nullptr ? "(unset)" : zone) + ", " + std::to_string(timezone);
  }
  return next(time);
}

namespace StandInClocks {

void setReadings(const std::vector<Reading>& readings) {
  state().hasReadings = true;
  state().readings = readings;
  state().next = 0;
  s_isSet = true;
}

std::size_t readingsLeft() {
  return state().readings.size() - state().next;
}

void clearReadings() {
  state().hasReadings = false;
}

int lastClock() {
  return state().lastClock;
}

void setTimeOfDay(const Reading& reading) {
  state().hasTimeOfDay = true;
  state().timeOfDay = reading;
  s_isSet = true;
}

void setTime(int64_t seconds) {
  state().time = seconds;
  s_isSet = true;
}

void watchConversions() {
  s_isSet = true;
}

std::string zoneOfConversion() {
  return state().zone;
}

} // namespace StandInClocks
