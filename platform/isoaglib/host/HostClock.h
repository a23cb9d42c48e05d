// The clock of the host stack. It runs with the machine's monotonic clock until a test takes it into its own hands.
//
//   Threads: the thread that drives the stack.
#pragma once

#include <cstdint>

namespace IsoBusHost::HostClock {

// The time since an arbitrary start, in microseconds and in milliseconds. Never runs backwards.
uint64_t nowUs();
uint64_t nowMs();

// wallClockUs: returns the time of day in microseconds since 1970 that belongs to nowUs().
uint64_t wallClockUs();

// turnByHand: stops the clock where it is; only advanceMs moves it from now on. A clock that runs free is not moved by
// advanceMs.
void turnByHand();
bool isTurnedByHand();
void advanceMs(uint64_t milliseconds);

// runFree: goes on with the machine's clock from where the hands stand.
void runFree();

} // namespace IsoBusHost::HostClock
