// GetDateTimeStamp at times that the tests choose.
#include "DebugLog.h"

#include "LibraryCalls.h"

#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <ostream>

using namespace TestSupport;

namespace {

int64_t s_seconds = 0;
int s_milliseconds = 0;
bool s_isOutputAsked = false;

int64_t chosenTime(int64_t* output) {
  s_isOutputAsked = output != nullptr;
  return s_seconds;
}

int chosenMilliseconds() {
  return s_milliseconds;
}

// In 32 bit the library asks for a time of 64 bits.
const char* timeAsTheLibraryCallsIt() {
  return sizeof(void*) == 8 ? "time" : "__time64";
}

struct Moment_s {
  const char* name;
  int64_t seconds; // since the beginning of 1970 in UTC
  const char* zone;
  int milliseconds;
  const char* stamp;
};

void PrintTo(const Moment_s& row, std::ostream* stream) {
  *stream << row.seconds << " s in " << row.zone;
}

constexpr int64_t july3 = 1499040000; // midnight in UTC
constexpr int64_t afternoon = july3 + 14 * 3600 + 5 * 60 + 9;
constexpr const char* centralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

const Moment_s moments[] = {
    {"InTheAfternoon", afternoon, "UTC0", 7, "07-03-17-02:05:09:007 "},
    {"AtMidnight", july3, "UTC0", 0, "07-03-17-12:00:00:000 "},
    {"BehindMidnight", july3 + 5 * 60 + 9, "UTC0", 123456, "07-03-17-12:05:09:123456 "},
    {"AtOne", july3 + 3600, "UTC0", 12, "07-03-17-01:00:00:012 "},
    {"BeforeNoon", july3 + 12 * 3600 - 1, "UTC0", 999, "07-03-17-11:59:59:999 "},
    {"AtNoon", july3 + 12 * 3600, "UTC0", 1000, "07-03-17-12:00:00:1000 "},
    {"BeforeMidnight", july3 + 86399, "UTC0", 2147483647, "07-03-17-11:59:59:2147483647 "},
    {"WithTheCounterBelowZero", afternoon, "UTC0", -5, "07-03-17-02:05:09:-005 "},
    {"InCentralEuropeInSummer", afternoon - 2 * 3600, centralEurope, 7, "07-03-17-02:05:09:007 "},
    {"InCentralEuropeInWinter", 1483225200, centralEurope, 7, "01-01-17-12:00:00:007 "},
    {"WestOfGreenwichOnTheDayBefore", july3, "XXX8", 7, "07-02-17-04:00:00:007 "},
    {"WithHalfAnHourOfOffset", july3, "XXX-5:30", 7, "07-03-17-05:30:00:007 "},
    {"In1970", 0, "UTC0", 7, "01-01-70-12:00:00:007 "},
    {"InTheLastSecondOf32Bits", 2147483647, "UTC0", 7, "01-19-38-03:14:07:007 "},
    {"OneSecondLater", 2147483648, "UTC0", 7, "01-19-38-03:14:08:007 "},
    {"In2100", 4102444800, "UTC0", 7, "01-01-00-12:00:00:007 "},
};

class GetDateTimeStampAt : public testing::TestWithParam<Moment_s> {
protected:
  const LibraryCall_c m_time{timeAsTheLibraryCallsIt(), &chosenTime};
  const LibraryCall_c m_milliseconds{"_ZN11SystemUtils9getTimeMsEv", &chosenMilliseconds};
};

TEST_P(GetDateTimeStampAt, ShowsTheLocalTimeOn12HoursAndTheCounterAndABlank) {
  setenv("TZ", GetParam().zone, 1);
  s_seconds = GetParam().seconds;
  s_milliseconds = GetParam().milliseconds;
  s_isOutputAsked = true;
  EXPECT_EQ(GetParam().stamp, GetDateTimeStamp());
  EXPECT_FALSE(s_isOutputAsked);
}

INSTANTIATE_TEST_SUITE_P(DebugLog, GetDateTimeStampAt, testing::ValuesIn(moments),
                         [](const auto& row) { return row.param.name; });

TEST(GetDateTimeStampOfOneMoment, FollowsTheZoneThatIsSetAtThatMoment) {
  const LibraryCall_c time(timeAsTheLibraryCallsIt(), &chosenTime);
  const LibraryCall_c milliseconds("_ZN11SystemUtils9getTimeMsEv", &chosenMilliseconds);
  s_seconds = afternoon;
  s_milliseconds = 7;
  setenv("TZ", "XXX-2", 1);
  EXPECT_EQ("07-03-17-04:05:09:007 ", GetDateTimeStamp());
  setenv("TZ", "XXX2", 1);
  EXPECT_EQ("07-03-17-12:05:09:007 ", GetDateTimeStamp());
  setenv("TZ", "", 1);
  EXPECT_EQ("07-03-17-02:05:09:007 ", GetDateTimeStamp());
}

} // namespace
