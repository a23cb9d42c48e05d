// The board's hardware and system clock as the kernel has them, beside the library.
#pragma once

#include "Board.h"

#include "ChildProcess.h"

#include <functional>
#include <string>

namespace Board {

// A time that no run of the board begins near: 3 July 2017, 14:05:09, as UTC and as summer time of Berlin.
constexpr long july = 1499090709;
constexpr long julyOfBerlin = 1499083509;
// The same time of day on 3 January, as UTC and as winter time of Berlin.
constexpr long january = 1483452309;
constexpr long januaryOfBerlin = 1483448709;
// 14 July 2017, 02:40:00, in UTC.
constexpr long elsewhere = 1500000000;

extern const char* const firstDevice;
extern const char* const secondDevice;

// setHardwareClock, hardwareClock: what the device shows, counted as if it were UTC. They wait for a device that
// another program has open, and throw where there is none.
void setHardwareClock(long seconds);
long hardwareClock();

// setSystemClock, systemClock, minutesWest: the kernel's own, which the C library does not tell whole.
void setSystemClock(long seconds, int minutesWest = 0);
long systemClock();
int minutesWest();

// expectRunning: a clock that was set to a time when the stopwatch started shows it, and goes on.
void expectRunning(long setTo, long shown, const Stopwatch_c& watch);

// OnBoardWithClock: a case that changes clocks. Afterwards they are as if nobody had touched them, and the device is
// where it was.
class OnBoardWithClock : public OnBoard {
protected:
  void SetUp() override;
  void TearDown() override;

  // runTogether: runs the function in a child; comes back when the child and the tools that it has started have ended.
  static TestSupport::Ending_s runTogether(const std::string& zone, const std::function<void()>& function);

  // The device under its second name; under none that the library knows.
  static void moveDeviceToSecondName();
  static void hideDevice();

private:
  long m_offsetOfSystem = 0;
  long m_offsetOfHardware = 0;
  int m_minutesWest = 0;
};

} // namespace Board
