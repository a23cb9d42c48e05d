#include "StandInClocks.h"
#include "SystemUtils.h"

#include <climits>
#include <ctime>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using StandInClocks::Reading;

// Also GoogleTest reads clocks: the readings are there for the calls alone.
std::vector<int> callsWith(const std::vector<Reading>& readings, const std::vector<std::function<int()>>& calls) {
  StandInClocks::setReadings(readings);
  std::vector<int> results;
  for (const auto& call : calls) {
    results.push_back(call());
  }
  StandInClocks::clearReadings();
  return results;
}

Reading at(int64_t milliseconds) {
  return StandInClocks::Instant_s{milliseconds / 1000, milliseconds % 1000 * 1000000};
}

int rawAt(int64_t seconds, int64_t nanoseconds) {
  return callsWith({StandInClocks::Instant_s{seconds, nanoseconds}}, {SystemUtils::getTimeMsRaw}).front();
}

const auto raw = SystemUtils::getTimeMsRaw;
const auto sinceStart = SystemUtils::getTimeMs;

// onAnotherThread: the call made on a thread that has ended when it returns.
std::function<int()> onAnotherThread(int (*call)()) {
  return [call] {
    int result = -1;
    std::thread([call, &result] { result = call(); }).join();
    return result;
  };
}

} // namespace

TEST(GetTimeMsRaw, ReadsTheMonotonicClockOnce) {
  EXPECT_EQ(std::vector<int>({12345}), callsWith({at(12345), at(99999)}, {raw}));
  EXPECT_EQ(CLOCK_MONOTONIC, StandInClocks::lastClock());
  EXPECT_EQ(1U, StandInClocks::readingsLeft());
}

TEST(GetTimeMsRaw, CutsOffPartsOfAMillisecond) {
  EXPECT_EQ(1000, rawAt(1, 999999));
  EXPECT_EQ(1001, rawAt(1, 1000000));
  EXPECT_EQ(1001, rawAt(1, 1999999));
  EXPECT_EQ(1999, rawAt(1, 999999999));
}

TEST(GetTimeMsRaw, TurnsNegativeAfterAbout24Days) {
  EXPECT_EQ(INT_MAX, rawAt(2147483, 647999999));
  EXPECT_EQ(INT_MIN, rawAt(2147483, 648000000));
}

TEST(GetTimeMsRaw, RunsThroughZeroAfterAbout49Days) {
  EXPECT_EQ(-1, rawAt(4294967, 295999999));
  EXPECT_EQ(0, rawAt(4294967, 296000000));
  EXPECT_EQ(705032704, rawAt(5000000, 0));
}

TEST(GetTimeMsRaw, GivesTheLastReadingWhereTheClockFails) {
  EXPECT_EQ(std::vector<int>({77, 77, 78}), callsWith({at(77), std::nullopt, at(78)}, {raw, raw, raw}));
}

TEST(GetTimeMsRaw, GivesZeroWhereTheClockHasNeverBeenRead) {
  EXPECT_EQ(std::vector<int>({0}), callsWith({std::nullopt}, {raw}));
}

TEST(GetTimeMsRaw, LeavesTheStartOfGetTimeMsAlone) {
  EXPECT_EQ(std::vector<int>({100, 0}), callsWith({at(100), at(500), at(500)}, {raw, sinceStart}));
}

TEST(GetTimeMsRaw, GivesTheReadingOfAnotherThreadWhereTheClockFails) {
  EXPECT_EQ(std::vector<int>({77, 77}), callsWith({at(77), std::nullopt}, {onAnotherThread(raw), raw}));
}

TEST(GetTimeMs, CountsFromTheFirstCallOfAnyThread) {
  EXPECT_EQ(std::vector<int>({0, 7, 9}),
            callsWith({at(50), at(50), at(57), at(59)},
                      {onAnotherThread(sinceStart), sinceStart, onAnotherThread(sinceStart)}));
}

TEST(GetTimeMs, GivesZeroAtItsFirstCallAndThenWhatHasElapsed) {
  EXPECT_EQ(std::vector<int>({0, 1, 2500}),
            callsWith({at(5000), at(5000), at(5001), at(7500)}, {sinceStart, sinceStart, sinceStart}));
}

TEST(GetTimeMs, ReadsTheClockAgainBehindTheStart) {
  EXPECT_EQ(std::vector<int>({3}), callsWith({at(5000), at(5003)}, {sinceStart}));
}

TEST(GetTimeMs, ReadsTheClockOnceAtLaterCalls) {
  EXPECT_EQ(std::vector<int>({0, 10, 20}),
            callsWith({at(1), at(1), at(11), at(21), at(99)}, {sinceStart, sinceStart, sinceStart}));
  EXPECT_EQ(1U, StandInClocks::readingsLeft());
}

TEST(GetTimeMs, CountsOnWhereTheRawClockRunsThroughZero) {
  EXPECT_EQ(std::vector<int>({0, 496}),
            callsWith({at(4294966996), at(4294966996), at(4294967492)}, {sinceStart, sinceStart}));
}

TEST(GetTimeMs, CountsOnWhereTheRawClockTurnsNegative) {
  EXPECT_EQ(std::vector<int>({0, 20}),
            callsWith({at(2147483640), at(2147483640), at(2147483660)}, {sinceStart, sinceStart}));
}

TEST(GetTimeMs, TakesAStartOfZeroAgainAtTheNextCall) {
  EXPECT_EQ(std::vector<int>({4, 0, 15}),
            callsWith({at(0), at(4), at(10), at(10), at(25)}, {sinceStart, sinceStart, sinceStart}));
}

TEST(GetTimeMs, GivesTheLastReadingWhereTheClockFails) {
  EXPECT_EQ(std::vector<int>({0, 7, 7}),
            callsWith({at(50), at(50), at(57), std::nullopt}, {sinceStart, sinceStart, sinceStart}));
}
