#include "HostClock.h"

#include <chrono>

namespace IsoBusHost::HostClock {

namespace {

template <typename Clock>
uint64_t readUs() {
  const auto now = Clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

// Hands_s: where the clock stands, and how far it is ahead of the machine's clock while it runs free.
struct Hands_s {
  bool turnedByHand = false;
  uint64_t stoodAtUs = 0;
  uint64_t aheadUs = 0;
  uint64_t wallClockMinusClockUs = 0;
};

Hands_s& hands() {
  static Hands_s instance{false, 0, 0, readUs<std::chrono::system_clock>() - readUs<std::chrono::steady_clock>()};
  return instance;
}

} // namespace

uint64_t nowUs() {
  const Hands_s& state = hands();
  return state.turnedByHand ? state.stoodAtUs : readUs<std::chrono::steady_clock>() + state.aheadUs;
}

uint64_t nowMs() {
  return nowUs() / 1000;
}

// Tied to nowUs() once, so that captures keep their order when somebody sets the machine's time of day.
uint64_t wallClockUs() {
  return nowUs() + hands().wallClockMinusClockUs;
}

void turnByHand() {
  hands().stoodAtUs = nowUs();
  hands().turnedByHand = true;
}

bool isTurnedByHand() {
  return hands().turnedByHand;
}

void advanceMs(uint64_t milliseconds) {
  if (hands().turnedByHand) {
    hands().stoodAtUs += milliseconds * 1000;
  }
}

void runFree() {
  Hands_s& state = hands();
  if (!state.turnedByHand) {
    return;
  }
  state.turnedByHand = false;
  // Wraps when the hands stand behind the machine's clock; the sum in nowUs() comes out right.
  state.aheadUs = state.stoodAtUs - readUs<std::chrono::steady_clock>();
}

} // namespace IsoBusHost::HostClock
