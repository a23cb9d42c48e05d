// Keeps the battery-backed hardware clock and the system clock in step: copies one to the other, and sets both.
//
//   Order of use: any; usually to_sys_clock once at start-up and setRtcTime when the operator sets the time.
//   Threads: one thread. read_rtc for a clock in UTC changes "TZ" for the process while it converts: other threads that
//            convert times at that moment see UTC.
//   State: none. The device, "/dev/rtc0" or else "/dev/misc/rtc", is opened for each operation and closed at once.
//   Prints failures on standard output. Those that say so end the process: "RTC ERROR " and the text, then exit.
//
//   Kept     the exit status of a fatal failure is 0: a supervisor sees a clean end
//
//   utc: not 0 where the hardware clock keeps UTC, 0 where it keeps local time.
//   Seconds are counted from 1970-01-01 00:00:00 UTC. The record of the hardware clock is that of rtc(4).
#pragma once

#include "ZemoExport.h"

namespace RealTimeClockApi {

// time: returns the current time of the system in seconds and stores it where seconds is not null.
ZEMO_EXPORT long time(long* seconds);

// read_rtc: returns the time of the hardware clock in seconds.
//
//   Fails    fatal: "Could not access RTC", "Could not read time from RTC"
//   Effects  "TZ" is as it was, set or not, when the call returns
ZEMO_EXPORT long read_rtc(int utc);

// write_rtc: sets the hardware clock.
//
//   Fails    fatal: "Could not access RTC", "Could not set the RTC time"
ZEMO_EXPORT void write_rtc(long seconds, int utc);

// to_sys_clock: sets the system clock, and the time zone of the kernel, from the hardware clock; returns 0.
//
//   Fails    fatal: those of read_rtc, "settimeofday() failed" (the process may not set the time)
//   Kept     minutes west of UTC are those of the zone's standard time less 60 wherever the zone has daylight-saving
//            rules, whether or not they apply now: -120 in a zone one hour east of UTC with such rules.
//            The zone is that of the last tzset.
ZEMO_EXPORT int to_sys_clock(int utc);

// from_sys_clock: sets the hardware clock from the system clock; returns 0.
//
//   Fails    fatal: those of write_rtc, "gettimeofday() failed"
ZEMO_EXPORT int from_sys_clock(int utc);

// setRtcTime: sets the hardware clock, in UTC, and the system clock to a local time.
//
//   Takes    year: since 1900; month: 0 to 11; day: 1 to 31; hour: 0 to 23; minute, second: 0 to 59.
//            (117, 6, 3, 14, 5, 9) is 3 July 2017, 14:05:09. The zone's rules decide on daylight saving.
//   Fails    fatal: those of write_rtc. Where the system clock cannot be set: "Call to reset time failed!", and it
//            returns with the hardware clock set.
//   Effects  prints "Setting hwclock from system clock" and runs "hwclock --systohc &", which has the device to itself
//            for up to a second: until it has ended, another call that needs the hardware clock is fatal
//   Kept     the hardware clock is written twice, here and by the tool, whose end nobody waits for
ZEMO_EXPORT void setRtcTime(int year, int month, int day, int hour, int minute, int second);

} // namespace RealTimeClockApi
