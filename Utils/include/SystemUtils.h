// A millisecond clock for measuring intervals, and the console's main memory: how much is free, how much there is, and
// whether the free amount has fallen below the reserve that applications leave untouched.
//
//   Order of use: any.
//   Threads: one thread. The clock reads into one structure and keeps one start value for the process, without a lock:
//            two threads that ask at the same moment may see a reading mixed from both.
//   State: the clock's last reading and the start value of getTimeMs.
//   Prints nothing.
//
//   Units: a megabyte is 1000000 bytes; a kilobyte of the kernel is 1024 bytes.
#pragma once

#include "ZemoExport.h"

namespace SystemUtils {

// getTimeMsRaw: returns the milliseconds of the monotonic clock, counted from the start of the system.
//
//   Fails    a clock that cannot be read gives its last reading once more
//   Kept     32 bits that wrap: negative after about 24.8 days, through zero after about 49.7 days; measure differences
//   Source   POSIX, CLOCK_MONOTONIC
ZEMO_EXPORT int getTimeMsRaw();

// getTimeMs: returns the milliseconds since its first call in this process, wrapping as getTimeMsRaw does.
//
//   Kept     a start value of 0 counts as not taken yet: a raw reading of exactly 0 is taken again at the next call
ZEMO_EXPORT int getTimeMs();

// getMinimumReservedFreeMemoryMB: returns the reserve in megabytes, always 30.
ZEMO_EXPORT float getMinimumReservedFreeMemoryMB();

// getSystemMemoryFreeMB: returns the free memory in megabytes, the page cache counted as free.
//
//   Gives    "MemFree:" and the first key with "Cached:" in "/proc/meminfo"; without them what sysinfo calls free and
//            buffers; without that 4000, so that memory which cannot be measured never counts as short
//   Effects  opens and reads "/proc/meminfo" at each call
//   Kept     the sum of kilobytes is multiplied in 32 bits: 2 GiB or more turn the result negative or wrap.
//            Keys match where they contain the text. sysinfo's figures are taken without its memory unit, and count
//            buffers where the table counts the page cache.
//   Source   proc(5), sysinfo(2)
//
//   /proc/meminfo                                result
//   MemFree: 51200 kB, Cached: 20480 kB          73.40032
//   MemFree: 2097152 kB, Cached: 0 kB            -2147.483648
//   neither                                      sysinfo
ZEMO_EXPORT float getSystemMemoryFreeMB();

// getSystemMemoryTotalMB: returns the physical memory in megabytes; 262144 pages of 4096 bytes give 1073.741824.
ZEMO_EXPORT float getSystemMemoryTotalMB();

// isSystemFreeMemoryBelowMinimum: true where the free memory is less than the reserve; equal is not below.
ZEMO_EXPORT bool isSystemFreeMemoryBelowMinimum();

} // namespace SystemUtils
