#include "GuardedClock.h"
#include "RealTimeClockApi.h"
#include "RealTimeClockZone.h"
#include "StandInClocks.h"

#include <cstdlib>
#include <ctime>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

using namespace TestSupport;

namespace {

// 14:05:09 of 3 July and of 3 January 2017; day of the week and of the year are not looked at.
const RtcRecord july = {9, 5, 14, 3, 6, 117, 0, 0, 0};
const RtcRecord january = {9, 5, 14, 3, 0, 117, 0, 0, 0};
constexpr long julyInUtc = 1499090709;
constexpr long januaryInUtc = 1483452309;
constexpr long hour = 3600;

RtcRecord withFlag(RtcRecord record, int32_t daylightSaving) {
  record.back() = daylightSaving;
  return record;
}

struct Reading_s {
  std::string name;
  std::string zone;
  int utc;
  RtcRecord record;
  long seconds;
};

void PrintTo(const Reading_s& row, std::ostream* stream) {
  *stream << row.zone;
}

const std::vector<Reading_s> readings = {
    {"UtcInUtc", Zones::utc, 1, july, julyInUtc},
    {"UtcInBerlin", Zones::berlin, 1, july, julyInUtc},
    {"UtcInBerlinInWinter", Zones::berlin, 1, january, januaryInUtc},
    {"UtcInDelhi", Zones::delhi, 1, july, julyInUtc},
    {"UtcByAnyValueButZero", Zones::berlin, -2, july, julyInUtc},
    {"UtcWithAFlag", Zones::berlin, 1, withFlag(july, 1), julyInUtc},
    {"LocalInUtc", Zones::utc, 0, july, julyInUtc},
    {"LocalInBerlin", Zones::berlin, 0, july, julyInUtc - 2 * hour},
    {"LocalInBerlinInWinter", Zones::berlin, 0, january, januaryInUtc - hour},
    {"LocalInBerlinWhateverTheFlag", Zones::berlin, 0, withFlag(january, 1), januaryInUtc - hour},
    {"LocalInBerlinWhateverTheOtherFlag", Zones::berlin, 0, withFlag(july, 0), julyInUtc - 2 * hour},
    {"LocalInLagos", Zones::lagos, 0, july, julyInUtc - hour},
    {"LocalInNewYork", Zones::newYork, 0, july, julyInUtc + 4 * hour},
    {"LocalInStJohns", Zones::stJohns, 0, july, julyInUtc + 5 * hour / 2},
    {"LocalInDelhi", Zones::delhi, 0, july, julyInUtc - 11 * hour / 2},
    {"LocalInSydneyInItsSummer", Zones::sydney, 0, january, januaryInUtc - 11 * hour},
};

struct Writing_s {
  std::string name;
  std::string zone;
  long seconds;
  int utc;
  std::string record;
};

void PrintTo(const Writing_s& row, std::ostream* stream) {
  *stream << row.zone;
}

const std::vector<Writing_s> writings = {
    {"UtcInUtc", Zones::utc, julyInUtc, 1, "9 5 14 3 6 117 1 183 0"},
    {"UtcInBerlin", Zones::berlin, julyInUtc, 1, "9 5 14 3 6 117 1 183 0"},
    {"UtcByAnyValueButZero", Zones::berlin, julyInUtc, 256, "9 5 14 3 6 117 1 183 0"},
    {"LocalInBerlin", Zones::berlin, julyInUtc, 0, "9 5 16 3 6 117 1 183 0"},
    {"LocalInBerlinInWinter", Zones::berlin, januaryInUtc, 0, "9 5 15 3 0 117 2 2 0"},
    {"LocalInLagos", Zones::lagos, julyInUtc, 0, "9 5 15 3 6 117 1 183 0"},
    {"LocalInNewYork", Zones::newYork, julyInUtc, 0, "9 5 10 3 6 117 1 183 0"},
    {"LocalInSydneyInItsSummer", Zones::sydney, januaryInUtc, 0, "9 5 1 4 0 117 3 3 0"},
    {"LocalOnTheNextDay", Zones::delhi, 1514764799, 0, "59 29 5 1 0 118 1 0 0"},
    {"TheBeginning", Zones::utc, 0, 1, "0 0 0 1 0 70 4 0 0"},
    {"TheLastSecondOf32Bits", Zones::utc, 2147483647, 1, "7 14 3 19 0 138 2 18 0"},
};

template <class Row_t>
class ConversionTest : public testing::TestWithParam<Row_t> {
protected:
  void SetUp() override {
    if (!canGuardClock()) {
      GTEST_SKIP() << "no private mounts, or system calls cannot be caught";
    }
  }
};

const auto nameOf = [](const auto& row) { return row.param.name; };

const char* orNothing(const char* text) {
  return text == nullptr ? "(unset)" : text;
}

void sayZone() {
  std::cout << orNothing(std::getenv("TZ")) << " " << tzname[0] << " " << timezone << " " << daylight << "\n";
}

} // namespace

class ReadRtcRecord : public ConversionTest<Reading_s> {};

INSTANTIATE_TEST_SUITE_P(Zones, ReadRtcRecord, testing::ValuesIn(readings), nameOf);

TEST_P(ReadRtcRecord, GivesItsSecondsAndLeavesTheZone) {
  GuardedClock_s clock;
  clock.record = GetParam().record;
  const GuardedRun_s run = runGuarded(clock, [] {
    Zones::enter(GetParam().zone);
    sayZone();
    std::cout << RealTimeClockApi::read_rtc(GetParam().utc) << "\n";
    sayZone();
  });
  const std::string& output = run.ending.standardOutput;
  const std::string zone = output.substr(0, output.find('\n') + 1);
  EXPECT_EQ(GetParam().zone + " ", zone.substr(0, GetParam().zone.size() + 1));
  EXPECT_EQ(zone + std::to_string(GetParam().seconds) + "\n" + zone, output);
  EXPECT_EQ("open /dev/rtc0 O_RDONLY\nRTC_RD_TIME /dev/rtc0 0 0 0 0 0 0 0 0 0\nclose /dev/rtc0\n", run.calls);
  EXPECT_EQ("", run.ending.standardError);
}

class ReadRtc : public ConversionTest<int> {
protected:
  // What the function says, with the clock at 14:05:09 of 3 July 2017.
  static std::string outputOf(const std::function<void()>& function) {
    GuardedClock_s clock;
    clock.record = july;
    return runGuarded(clock, function).ending.standardOutput;
  }
};

class WriteRtcRecord : public ConversionTest<Writing_s> {};

INSTANTIATE_TEST_SUITE_P(Zones, WriteRtcRecord, testing::ValuesIn(writings), nameOf);

TEST_P(WriteRtcRecord, IsTheBrokenDownTimeWithoutDaylightSaving) {
  const GuardedRun_s run = runGuarded({}, [] {
    Zones::enter(GetParam().zone);
    RealTimeClockApi::write_rtc(GetParam().seconds, GetParam().utc);
  });
  EXPECT_EQ("open /dev/rtc0 O_WRONLY\nRTC_SET_TIME /dev/rtc0 " + GetParam().record + "\nclose /dev/rtc0\n", run.calls);
  EXPECT_EQ(0, run.ending.exitStatus);
  EXPECT_EQ("", run.ending.standardOutput);
  EXPECT_EQ("", run.ending.standardError);
}

class RealTimeClockZone : public ReadRtc {};

TEST_F(RealTimeClockZone, StaysUnsetBehindAReadingOfUtc) {
  EXPECT_EQ("1499090709 (unset)", outputOf([] {
              unsetenv("TZ");
              std::cout << RealTimeClockApi::read_rtc(1) << " " << orNothing(std::getenv("TZ"));
            }));
}

TEST_F(RealTimeClockZone, StaysEmptyBehindAReadingOfUtc) {
  EXPECT_EQ("1499090709 ''", outputOf([] {
              Zones::enter("");
              std::cout << RealTimeClockApi::read_rtc(1) << " '" << orNothing(std::getenv("TZ")) << "'";
            }));
}

TEST_F(RealTimeClockZone, IsThatOfTheVariableAgainBehindAReadingOfUtc) {
  EXPECT_EQ("IST -19800", outputOf([] {
              Zones::enter(Zones::berlin);
              setenv("TZ", Zones::delhi.c_str(), 1);
              RealTimeClockApi::read_rtc(1);
              std::cout << tzname[0] << " " << timezone;
            }));
}

TEST_F(RealTimeClockZone, IsTheSystemsAgainBehindAReadingOfUtcWithoutTheVariable) {
  const std::string output = outputOf([] {
    unsetenv("TZ");
    tzset();
    sayZone();
    setenv("TZ", Zones::delhi.c_str(), 1);
    tzset();
    unsetenv("TZ");
    RealTimeClockApi::read_rtc(1);
    sayZone();
  });
  const std::string before = output.substr(0, output.find('\n') + 1);
  EXPECT_EQ("(unset) ", before.substr(0, 8));
  EXPECT_EQ(before + before, output);
}

TEST_F(RealTimeClockZone, IsUtcZeroWhileAReadingOfUtcIsConverted) {
  EXPECT_EQ("UTC 0, 0", outputOf([] {
              StandInClocks::watchConversions();
              Zones::enter(Zones::berlin);
              RealTimeClockApi::read_rtc(1);
              std::cout << StandInClocks::zoneOfConversion();
            }));
}

TEST_F(RealTimeClockZone, IsLeftAloneByAReadingOfLocalTime) {
  EXPECT_EQ(Zones::berlin + ", -3600; (unset), -3600", outputOf([] {
              StandInClocks::watchConversions();
              Zones::enter(Zones::berlin);
              RealTimeClockApi::read_rtc(0);
              std::cout << StandInClocks::zoneOfConversion() << "; ";
              unsetenv("TZ");
              RealTimeClockApi::read_rtc(0);
              std::cout << StandInClocks::zoneOfConversion();
            }));
}

TEST(RealTimeClockTime, IsThatOfTheSystem) {
  static_assert(std::is_same_v<decltype(RealTimeClockApi::time(nullptr)), long>);
  StandInClocks::setTime(1499090709);
  EXPECT_EQ(1499090709, RealTimeClockApi::time(nullptr));
}

TEST(RealTimeClockTime, IsStoredToo) {
  StandInClocks::setTime(1499090709);
  long stored = 5;
  EXPECT_EQ(1499090709, RealTimeClockApi::time(&stored));
  EXPECT_EQ(1499090709, stored);
}

TEST(RealTimeClockTime, GoesPast2038WhereALongDoes) {
  if (sizeof(long) == 4) {
    GTEST_SKIP() << "the result has 32 bits here";
  }
  StandInClocks::setTime(4102444800);
  EXPECT_EQ(static_cast<long>(4102444800), RealTimeClockApi::time(nullptr));
}
