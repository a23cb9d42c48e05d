#include "GuardedClock.h"
#include "RealTimeClockApi.h"
#include "RealTimeClockZone.h"
#include "StandInClocks.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <iostream>
#include <ostream>
#include <string>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>
#include <vector>

using namespace TestSupport;

namespace {

const RtcRecord july = {9, 5, 14, 3, 6, 117, 0, 0, 0};
const RtcRecord january = {9, 5, 14, 3, 0, 117, 0, 0, 0};

// The kernel's part of a run that reads the hardware clock and sets the system clock.
std::string readingAndSetting(const std::string& setting) {
  return "open /dev/rtc0 O_RDONLY\nRTC_RD_TIME /dev/rtc0 0 0 0 0 0 0 0 0 0\nclose /dev/rtc0\nsystem clock " + setting +
         "\n";
}

std::string writing(const std::string& record) {
  return "open /dev/rtc0 O_WRONLY\nRTC_SET_TIME /dev/rtc0 " + record + "\nclose /dev/rtc0\n";
}

struct ToSystem_s {
  std::string name;
  std::string zone;
  int utc;
  RtcRecord record;
  std::string setting;
};

void PrintTo(const ToSystem_s& row, std::ostream* stream) {
  *stream << row.zone;
}

const std::vector<ToSystem_s> toSystem = {
    {"InUtc", Zones::utc, 1, july, "1499090709.000000000 minutes west 0 type 0"},
    {"InBerlin", Zones::berlin, 1, july, "1499090709.000000000 minutes west -120 type 0"},
    {"InBerlinInWinter", Zones::berlin, 1, january, "1483452309.000000000 minutes west -120 type 0"},
    {"InBerlinOfLocalTime", Zones::berlin, 0, july, "1499083509.000000000 minutes west -120 type 0"},
    {"InBerlinOfLocalTimeInWinter", Zones::berlin, 0, january, "1483448709.000000000 minutes west -120 type 0"},
    {"InLagos", Zones::lagos, 1, july, "1499090709.000000000 minutes west -60 type 0"},
    {"InNewYork", Zones::newYork, 1, july, "1499090709.000000000 minutes west 240 type 0"},
    {"InStJohns", Zones::stJohns, 1, july, "1499090709.000000000 minutes west 150 type 0"},
    {"InDelhi", Zones::delhi, 1, july, "1499090709.000000000 minutes west -330 type 0"},
    {"SecondsWestAreCutOff", "XXX0:59:59", 1, july, "1499090709.000000000 minutes west 59 type 0"},
    {"SecondsEastAreCutOff", "XXX-0:59:59", 1, july, "1499090709.000000000 minutes west -59 type 0"},
};

struct FromOperator_s {
  std::string name;
  std::string zone;
  std::array<int, 6> time;
  std::string record;
  std::string seconds;
};

void PrintTo(const FromOperator_s& row, std::ostream* stream) {
  *stream << row.zone;
}

constexpr std::array<int, 6> julyOfOperator = {117, 6, 3, 14, 5, 9};

const std::vector<FromOperator_s> fromOperator = {
    {"InUtc", Zones::utc, julyOfOperator, "9 5 14 3 6 117 1 183 0", "1499090709"},
    {"InBerlin", Zones::berlin, julyOfOperator, "9 5 12 3 6 117 1 183 0", "1499083509"},
    {"InBerlinInWinter", Zones::berlin, {117, 0, 3, 14, 5, 9}, "9 5 13 3 0 117 2 2 0", "1483448709"},
    {"InLagos", Zones::lagos, julyOfOperator, "9 5 13 3 6 117 1 183 0", "1499087109"},
    {"InNewYork", Zones::newYork, julyOfOperator, "9 5 18 3 6 117 1 183 0", "1499105109"},
    {"InStJohns", Zones::stJohns, julyOfOperator, "9 35 16 3 6 117 1 183 0", "1499099709"},
    {"InDelhi", Zones::delhi, julyOfOperator, "9 35 8 3 6 117 1 183 0", "1499070909"},
    {"OnTheDayBefore", Zones::berlin, {117, 6, 3, 0, 30, 0}, "0 30 22 2 6 117 0 182 0", "1499034600"},
    {"OnTheFirstSecondPast32Bits", Zones::utc, {138, 0, 19, 3, 14, 8}, "8 14 3 19 0 138 2 18 0", "2147483648"},
    {"In2040", Zones::utc, {140, 0, 1, 0, 0, 0}, "0 0 0 1 0 140 0 0 0", "2208988800"},
    {"In2100", Zones::utc, {200, 0, 1, 0, 0, 0}, "0 0 0 1 0 200 5 0 0", "4102444800"},
};

template <class Row_t>
class SystemClockTest : public testing::TestWithParam<Row_t> {
protected:
  void SetUp() override {
    if (!canGuardClock()) {
      GTEST_SKIP() << "no private mounts, or system calls cannot be caught";
    }
  }

  GuardedClock_s clock;
};

const auto nameOf = [](const auto& row) { return row.param.name; };

void setTime(const std::array<int, 6>& time) {
  RealTimeClockApi::setRtcTime(time[0], time[1], time[2], time[3], time[4], time[5]);
}

} // namespace

class ToSysClockFromRecord : public SystemClockTest<ToSystem_s> {};

INSTANTIATE_TEST_SUITE_P(Zones, ToSysClockFromRecord, testing::ValuesIn(toSystem), nameOf);

TEST_P(ToSysClockFromRecord, SetsTimeAndZoneInOneCall) {
  clock.record = GetParam().record;
  const GuardedRun_s run = runGuarded(clock, [] {
    Zones::enter(GetParam().zone);
    std::cout << RealTimeClockApi::to_sys_clock(GetParam().utc);
  });
  EXPECT_EQ(readingAndSetting(GetParam().setting), run.calls);
  EXPECT_EQ("0", run.ending.standardOutput);
  EXPECT_EQ("", run.ending.standardError);
  EXPECT_EQ(0, run.ending.exitStatus);
  EXPECT_EQ("", run.tools);
}

class ToSysClock : public SystemClockTest<int> {};

TEST_F(ToSysClock, TakesTheZoneOfTheLastTzset) {
  clock.record = july;
  const GuardedRun_s run = runGuarded(clock, [] {
    Zones::enter(Zones::berlin);
    setenv("TZ", Zones::newYork.c_str(), 1);
    RealTimeClockApi::to_sys_clock(1);
  });
  EXPECT_EQ(readingAndSetting("1499090709.000000000 minutes west -120 type 0"), run.calls);
}

TEST_F(ToSysClock, TakesTheZoneBeforeTheConversionOfLocalTimeChangesIt) {
  clock.record = july;
  const GuardedRun_s run = runGuarded(clock, [] {
    Zones::enter(Zones::berlin);
    setenv("TZ", Zones::newYork.c_str(), 1);
    RealTimeClockApi::to_sys_clock(0);
  });
  EXPECT_EQ(readingAndSetting("1499105109.000000000 minutes west -120 type 0"), run.calls);
}

TEST_F(ToSysClock, TakesTheWholeHourOffInWinterAndInSummer) {
  clock.record = july;
  for (const int64_t now : {1483452309, 1499090709}) {
    const GuardedRun_s run = runGuarded(clock, [now] {
      StandInClocks::setTime(now);
      Zones::enter(Zones::berlin);
      RealTimeClockApi::to_sys_clock(1);
    });
    EXPECT_EQ(readingAndSetting("1499090709.000000000 minutes west -120 type 0"), run.calls);
  }
}

class FromSysClock : public SystemClockTest<int> {
protected:
  static GuardedRun_s runAt(int64_t seconds, const std::string& zone, int utc) {
    return runGuarded({}, [seconds, zone, utc] {
      StandInClocks::setTimeOfDay(StandInClocks::Instant_s{seconds, 999999});
      Zones::enter(zone);
      std::cout << RealTimeClockApi::from_sys_clock(utc);
    });
  }
};

TEST_F(FromSysClock, WritesTheSecondsInUtc) {
  const GuardedRun_s run = runAt(1499090709, Zones::berlin, 1);
  EXPECT_EQ(writing("9 5 14 3 6 117 1 183 0"), run.calls);
  EXPECT_EQ("0", run.ending.standardOutput);
  EXPECT_EQ("", run.ending.standardError);
  EXPECT_EQ("", run.tools);
}

TEST_F(FromSysClock, WritesTheSecondsInLocalTime) {
  EXPECT_EQ(writing("9 5 16 3 6 117 1 183 0"), runAt(1499090709, Zones::berlin, 0).calls);
  EXPECT_EQ(writing("9 5 10 3 6 117 1 183 0"), runAt(1499090709, Zones::newYork, 0).calls);
}

TEST_F(FromSysClock, WritesDatesPast2038) {
  EXPECT_EQ(writing("8 14 3 19 0 138 2 18 0"), runAt(2147483648, Zones::utc, 1).calls);
  EXPECT_EQ(writing("0 0 0 1 0 200 5 0 0"), runAt(4102444800, Zones::utc, 1).calls);
  EXPECT_EQ(writing("0 0 1 1 0 200 5 0 0"), runAt(4102444800, Zones::lagos, 0).calls);
}

TEST_F(FromSysClock, CopiesTheSystemsOwnClock) {
  const GuardedRun_s run = runGuarded({}, [] { std::cout << RealTimeClockApi::from_sys_clock(1); });
  EXPECT_EQ(0U, run.calls.find("open /dev/rtc0 O_WRONLY\nRTC_SET_TIME /dev/rtc0 "));
  EXPECT_EQ("0", run.ending.standardOutput);
}

class SetRtcTimeOfOperator : public SystemClockTest<FromOperator_s> {};

INSTANTIATE_TEST_SUITE_P(Zones, SetRtcTimeOfOperator, testing::ValuesIn(fromOperator), nameOf);

TEST_P(SetRtcTimeOfOperator, SetsBothClocksAndRunsTheTool) {
  const GuardedRun_s run = runGuarded(clock, [] {
    Zones::enter(GetParam().zone);
    setTime(GetParam().time);
  });
  EXPECT_EQ(writing(GetParam().record) + "system clock " + GetParam().seconds + ".000000000 no zone\n", run.calls);
  EXPECT_EQ("Setting hwclock from system clock\n", run.ending.standardOutput);
  EXPECT_EQ("", run.ending.standardError);
  EXPECT_EQ(0, run.ending.exitStatus);
  EXPECT_EQ("hwclock --systohc\n", run.tools);
}

class SetRtcTime : public SystemClockTest<int> {};

TEST_F(SetRtcTime, ReturnsWithTheHardwareClockWrittenWhereTheSystemClockCannotBeSet) {
  clock.systemClockError = EPERM;
  const GuardedRun_s run = runGuarded(clock, [] {
    Zones::enter(Zones::utc);
    setTime(julyOfOperator);
    std::cout << "returned";
  });
  EXPECT_EQ(writing("9 5 14 3 6 117 1 183 0") + "system clock 1499090709.000000000 no zone\n", run.calls);
  EXPECT_EQ("Call to reset time failed!\nreturned", run.ending.standardOutput);
  EXPECT_EQ("", run.ending.standardError);
  EXPECT_EQ("", run.tools);
}

// The tool waits for what the caller does behind the call: a caller that waited for the tool would never come to it.
TEST_F(SetRtcTime, DoesNotWaitForTheTool) {
  clock.hwclock = "#!/bin/sh\nread word <\"${0%/*}/gate\"\necho \"$word $*\" >\"${0%/*}/calls\"\n";
  const GuardedRun_s run = runGuarded(clock, [] {
    Zones::enter(Zones::utc);
    const std::string gate = std::string(std::getenv("PATH")) + "/gate";
    mkfifo(gate.c_str(), 0600);
    setTime(julyOfOperator);
    const int end = open(gate.c_str(), O_WRONLY | O_CLOEXEC);
    static_cast<void>(!write(end, "behind\n", 7));
    close(end);
  });
  EXPECT_EQ("behind --systohc\n", run.tools);
}

TEST_F(SetRtcTime, DoesNotLookAtTheResultOfTheTool) {
  clock.hwclock = "#!/bin/sh\nexit 1\n";
  const GuardedRun_s run = runGuarded(clock, [] {
    Zones::enter(Zones::utc);
    setTime(julyOfOperator);
    std::cout << "returned";
  });
  EXPECT_EQ("Setting hwclock from system clock\nreturned", run.ending.standardOutput);
  EXPECT_EQ(0, run.ending.exitStatus);
}
