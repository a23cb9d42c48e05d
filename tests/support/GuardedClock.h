// Runs clock functions where they cannot touch the machine's own clocks: in a child process that may not set them, with
// devices of its own, and with every call that would set or read a clock of the kernel answered here and written down.
//
//   Order of use: ask canGuardClock first.
//   Threads: the caller's process has one thread.
#pragma once

#include "ChildProcess.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace TestSupport {

// giveUpTheClock: this process and all that it starts cannot set the time any more.
//
//   Fails    throws where the kernel would still let it
void giveUpTheClock();

// maySetTheClock: asks the kernel, with a call that changes nothing either way.
bool maySetTheClock();

// RtcRecord: seconds, minutes, hours, day of the month, month (0 to 11), years since 1900, day of the week, day of the
// year, daylight-saving flag.
using RtcRecord = std::array<int32_t, 9>;

// GuardedClock_s: what the child finds.
struct GuardedClock_s {
  bool hasFirstDevice = true;   // "/dev/rtc0"
  bool hasSecondDevice = false; // "/dev/misc/rtc"
  RtcRecord record = {};        // what the hardware clock shows
  int readError = 0;            // the error number of RTC_RD_TIME
  int setError = 0;             // that of RTC_SET_TIME
  int systemClockError = 0;     // that of setting the system clock
  std::string hwclock;          // the text of a tool in place of the one that writes down its calls
};

// GuardedRun_s: how the child ended, and what it did.
//
//   calls    one line each, in order:
//              open /dev/rtc0 O_RDONLY           whether or not it is there
//              RTC_RD_TIME /dev/rtc0 0 0 0 0 0 0 0 0 0     with the record as it came
//              RTC_SET_TIME /dev/rtc0 9 5 14 3 6 117 1 183 0
//              close /dev/rtc0
//              system clock 1499090709.000000000 no zone
//              system clock 1499090709.000000000 minutes west -120 type 0
//   tools    one line for each command that the child ran, with its arguments
struct GuardedRun_s {
  Ending_s ending;
  std::string calls;
  std::string tools;
};

// canGuardClock: whether this machine lets tests have private mounts and catch system calls.
bool canGuardClock();

// runGuarded: runs the function as runWatched does; "hwclock" on its PATH only writes down how it was called.
GuardedRun_s runGuarded(const GuardedClock_s& clock, const std::function<void()>& function);

} // namespace TestSupport
