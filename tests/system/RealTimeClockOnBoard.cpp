// The hardware clock, the system clock and the zone, set and copied for real.
#include "RealTimeClockApi.h"

#include "../process/RealTimeClockZone.h"
#include "BoardClock.h"
#include "Files.h"
#include "PrivateMounts.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <ostream>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

using namespace Board;
using namespace TestSupport;

namespace {

class BoardReadRtc : public OnBoardWithClock {};
class BoardWriteRtc : public OnBoardWithClock {};
class BoardToSysClock : public OnBoardWithClock {};
class BoardFromSysClock : public OnBoardWithClock {};
class BoardSetRtcTime : public OnBoardWithClock {};
class BoardTime : public OnBoardWithClock {};

long numberIn(const Ending_s& ending) {
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("", ending.standardError);
  return std::stol("0" + ending.standardOutput);
}

struct Reading_s {
  std::string name;
  std::string zone;
  int utc;
  long device; // what it shows
  long seconds;
};

void PrintTo(const Reading_s& row, std::ostream* stream) {
  *stream << row.name;
}

const auto nameOf = [](const auto& row) { return row.param.name; };

const Reading_s readings[] = {
    {"UtcInUtc", Zones::utc, 1, july, july},
    {"UtcInBerlin", Zones::berlin, 1, july, july},
    {"UtcInNewYorkInWinter", Zones::newYork, 1, january, january},
    {"LocalTimeInUtc", Zones::utc, 0, july, july},
    {"LocalTimeOfSummerInBerlin", Zones::berlin, 0, july, julyOfBerlin},
    {"LocalTimeOfWinterInBerlin", Zones::berlin, 0, january, januaryOfBerlin},
    {"LocalTimeOfSummerInNewYork", Zones::newYork, 0, july, july + 4 * 3600},
    {"LocalTimeInDelhi", Zones::delhi, 0, july, july - 19800},
};

class BoardClockBothWays : public OnBoardWithClock, public testing::WithParamInterface<Reading_s> {};

INSTANTIATE_TEST_SUITE_P(Zones, BoardClockBothWays, testing::ValuesIn(readings), nameOf);

struct KernelZone_s {
  std::string name;
  std::string zone;
  int minutesWest;
};

void PrintTo(const KernelZone_s& row, std::ostream* stream) {
  *stream << row.name;
}

// An hour is taken off where the zone has rules, in summer and in winter.
const KernelZone_s kernelZones[] = {
    {"Utc", Zones::utc, 0},           {"Berlin", Zones::berlin, -120}, {"Lagos", Zones::lagos, -60},
    {"NewYork", Zones::newYork, 240}, {"Delhi", Zones::delhi, -330},   {"StJohns", Zones::stJohns, 150},
};

class BoardKernelZone : public OnBoardWithClock, public testing::WithParamInterface<KernelZone_s> {};

INSTANTIATE_TEST_SUITE_P(Zones, BoardKernelZone, testing::ValuesIn(kernelZones), nameOf);

// What the tool keeps between its runs.
const std::string toolFile = "/etc/adjtime";

void removeToolFile() {
  std::filesystem::remove(toolFile);
}

// The time at which the tool has last set the hardware clock, by its own record.
long timeOfTool() {
  std::ifstream file(toolFile);
  std::string drift;
  long seconds = -1;
  file >> drift >> seconds;
  return seconds;
}

void setTimeOfJuly() {
  RealTimeClockApi::setRtcTime(117, 6, 3, 14, 5, 9);
}

} // namespace

TEST_P(BoardClockBothWays, AreRead) {
  setHardwareClock(GetParam().device);
  const Stopwatch_c watch;
  const long seconds =
      numberIn(runTogether(GetParam().zone, [] { std::cout << RealTimeClockApi::read_rtc(GetParam().utc); }));
  expectRunning(GetParam().seconds, seconds, watch);
}

TEST_P(BoardClockBothWays, AreWritten) {
  setHardwareClock(elsewhere);
  const Stopwatch_c watch;
  const Ending_s ending =
      runTogether(GetParam().zone, [] { RealTimeClockApi::write_rtc(GetParam().seconds, GetParam().utc); });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("", ending.standardOutput + ending.standardError);
  expectRunning(GetParam().device, hardwareClock(), watch);
}

TEST_P(BoardClockBothWays, AreCopiedFromHardwareToSystem) {
  setHardwareClock(GetParam().device);
  setSystemClock(elsewhere);
  const Stopwatch_c watch;
  EXPECT_EQ(
      0, numberIn(runTogether(GetParam().zone, [] { std::cout << RealTimeClockApi::to_sys_clock(GetParam().utc); })));
  expectRunning(GetParam().seconds, systemClock(), watch);
  expectRunning(GetParam().device, hardwareClock(), watch);
}

TEST_P(BoardClockBothWays, AreCopiedFromSystemToHardware) {
  setHardwareClock(elsewhere);
  setSystemClock(GetParam().seconds);
  const Stopwatch_c watch;
  EXPECT_EQ(
      0, numberIn(runTogether(GetParam().zone, [] { std::cout << RealTimeClockApi::from_sys_clock(GetParam().utc); })));
  expectRunning(GetParam().device, hardwareClock(), watch);
  expectRunning(GetParam().seconds, systemClock(), watch);
}

TEST_F(BoardReadRtc, FollowsAClockThatGoesOn) {
  setHardwareClock(july);
  const Stopwatch_c watch;
  const long first = RealTimeClockApi::read_rtc(1);
  EXPECT_TRUE(waitUntil([first] { return RealTimeClockApi::read_rtc(1) >= first + 2; }));
  // Two seconds on the clock are more than one on the stopwatch.
  EXPECT_GT(watch.seconds(), 1);
}

TEST_F(BoardReadRtc, NeedsNoRightToWrite) {
  constexpr uid_t nobody = 65534;
  setHardwareClock(july);
  const Stopwatch_c watch;
  ASSERT_EQ(0, chmod(firstDevice, 0444));
  const long seconds = numberIn(runTogether(Zones::utc, [] {
    if (setgid(nobody) != 0 || setuid(nobody) != 0) {
      throw std::runtime_error("root cannot become another user");
    }
    std::cout << RealTimeClockApi::read_rtc(1);
  }));
  expectRunning(july, seconds, watch);
}

TEST_F(BoardReadRtc, LeavesTheSystemClockAlone) {
  setHardwareClock(july);
  setSystemClock(elsewhere, 60);
  const Stopwatch_c watch;
  RealTimeClockApi::read_rtc(1);
  RealTimeClockApi::read_rtc(0);
  expectRunning(elsewhere, systemClock(), watch);
  EXPECT_EQ(60, minutesWest());
}

TEST_F(BoardWriteRtc, CarriesTheLastSecondOfAYearIntoTheNext) {
  constexpr long lastOf2027 = 1830297599;
  RealTimeClockApi::write_rtc(lastOf2027, 1);
  const Stopwatch_c watch;
  EXPECT_TRUE(waitUntil([] { return hardwareClock() > lastOf2027; }));
  expectRunning(lastOf2027, hardwareClock(), watch);
}

TEST_F(BoardWriteRtc, KeepsTheDayThatALeapYearHasMore) {
  constexpr long lastOfFebruary2028 = 1835481599; // the 29th, 23:59:59
  RealTimeClockApi::write_rtc(lastOfFebruary2028 - 86400, 1);
  const Stopwatch_c watch;
  EXPECT_TRUE(waitUntil([] { return hardwareClock() > lastOfFebruary2028 - 86400; }));
  // A day further is the 29th, not the 1st of March.
  expectRunning(lastOfFebruary2028 - 86400, hardwareClock(), watch);
}

TEST_P(BoardKernelZone, IsSetInSummer) {
  setHardwareClock(july);
  EXPECT_EQ(0, numberIn(runTogether(GetParam().zone, [] { std::cout << RealTimeClockApi::to_sys_clock(1); })));
  EXPECT_EQ(GetParam().minutesWest, minutesWest());
}

TEST_P(BoardKernelZone, IsSetInWinter) {
  setHardwareClock(january);
  EXPECT_EQ(0, numberIn(runTogether(GetParam().zone, [] { std::cout << RealTimeClockApi::to_sys_clock(1); })));
  EXPECT_EQ(GetParam().minutesWest, minutesWest());
}

// Every call after the first: the kernel turns the clock only by the first zone that it is told.
TEST_F(BoardToSysClock, DoesNotTurnTheClockByTheZone) {
  setHardwareClock(july);
  const Stopwatch_c watch;
  for (const std::string& zone : {Zones::berlin, Zones::newYork, Zones::utc, Zones::delhi}) {
    runTogether(zone, [] { RealTimeClockApi::to_sys_clock(1); });
    expectRunning(july, systemClock(), watch);
  }
}

TEST_F(BoardToSysClock, StartsTheSecondAtItsBeginning) {
  setHardwareClock(july);
  setSystemClock(elsewhere);
  const Stopwatch_c watch;
  const long before = RealTimeClockApi::read_rtc(1);
  RealTimeClockApi::to_sys_clock(1);
  timeval now = {};
  gettimeofday(&now, nullptr);
  const double shown = static_cast<double>(now.tv_sec - before) + static_cast<double>(now.tv_usec) / 1e6;
  // No more than the watch has counted and the second that may have begun between the two readings.
  EXPECT_LE(shown, watch.seconds() + 1);
  EXPECT_GE(shown, 0);
}

TEST_F(BoardFromSysClock, LeavesTheKernelsZoneAlone) {
  setSystemClock(july, 60);
  EXPECT_EQ(0, numberIn(runTogether(Zones::berlin, [] { std::cout << RealTimeClockApi::from_sys_clock(1); })));
  EXPECT_EQ(60, minutesWest());
}

TEST_F(BoardSetRtcTime, SetsHardwareAndSystemClock) {
  setHardwareClock(elsewhere);
  setSystemClock(elsewhere);
  const Stopwatch_c watch;
  const Ending_s ending = runTogether(Zones::berlin, setTimeOfJuly);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("Setting hwclock from system clock\n", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
  expectRunning(julyOfBerlin, systemClock(), watch);
  expectRunning(julyOfBerlin, hardwareClock(), watch);
}

TEST_F(BoardSetRtcTime, TakesTheOperatorsTimeInWinter) {
  const Stopwatch_c watch;
  runTogether(Zones::berlin, [] { RealTimeClockApi::setRtcTime(117, 0, 3, 14, 5, 9); });
  expectRunning(januaryOfBerlin, systemClock(), watch);
  expectRunning(januaryOfBerlin, hardwareClock(), watch);
}

TEST_F(BoardSetRtcTime, LeavesTheKernelsZoneAlone) {
  setSystemClock(elsewhere, 60);
  runTogether(Zones::berlin, setTimeOfJuly);
  EXPECT_EQ(60, minutesWest());
}

TEST_F(BoardSetRtcTime, ReallyRunsTheTool) {
  removeToolFile();
  const Stopwatch_c watch;
  runTogether(Zones::utc, setTimeOfJuly);
  ASSERT_TRUE(waitUntil([] { return timeOfTool() > 0; }));
  expectRunning(july, timeOfTool(), watch);
}

// A tool that keeps local time, as its own file says, leaves local time; the first writing is always of UTC.
TEST_F(BoardSetRtcTime, WritesTheHardwareClockASecondTimeByTheTool) {
  writeFile(toolFile, "0.0 0 0.0\n0\nLOCAL\n");
  const Stopwatch_c watch;
  const Ending_s ending = runTogether(Zones::berlin, [] {
    setTimeOfJuly();
    std::cout << hardwareClock(); // waits for the tool
  });
  expectRunning(july, hardwareClock(), watch);
  expectRunning(julyOfBerlin, systemClock(), watch);
  removeToolFile();
}

// The tool is held back until the function has returned.
TEST_F(BoardSetRtcTime, DoesNotWaitForTheTool) {
  constexpr unsigned int longestSeconds = 20;
  const TemporaryFolder_c folder;
  const std::string gate = folder.path() + "/gate";
  const std::string tool = folder.path() + "/hwclock";
  ASSERT_EQ(0, mkfifo(gate.c_str(), 0600));
  writeFile(tool, "#!/bin/sh\nread -r line <" + gate + "\nexec /sbin/hwclock \"$@\"\n");
  ASSERT_EQ(0, chmod(tool.c_str(), 0755));
  removeToolFile();
  const Stopwatch_c watch;
  const Ending_s ending = runTogether(Zones::utc, [&folder, &gate] {
    setenv("PATH", (folder.path() + ":" + std::getenv("PATH")).c_str(), 1);
    alarm(longestSeconds);
    setTimeOfJuly();
    std::cout << (timeOfTool() > 0 ? "waited" : "returned");
    std::ofstream(gate) << "go on\n";
  });
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ("Setting hwclock from system clock\nreturned", ending.standardOutput);
  expectRunning(july, timeOfTool(), watch);
}

TEST_F(BoardSetRtcTime, HasSetTheHardwareClockAlreadyWhereThereIsNoTool) {
  const Stopwatch_c watch;
  const Ending_s ending = runTogether(Zones::berlin, [] {
    setenv("PATH", "/nowhere", 1);
    setTimeOfJuly();
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("Setting hwclock from system clock\n", ending.standardOutput);
  EXPECT_NE(std::string::npos, ending.standardError.find("hwclock"));
  expectRunning(julyOfBerlin, hardwareClock(), watch);
  expectRunning(julyOfBerlin, systemClock(), watch);
}

TEST_F(BoardTime, IsTheSystemClocks) {
  setSystemClock(july);
  const Stopwatch_c watch;
  long seconds = 0;
  const long result = RealTimeClockApi::time(&seconds);
  EXPECT_EQ(result, seconds);
  expectRunning(july, result, watch);
}
