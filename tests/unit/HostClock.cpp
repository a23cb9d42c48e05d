#include "HostClock.h"

#include <gtest/gtest.h>

using namespace IsoBusHost;

namespace {

TEST(HostClock, RunsFreeAtFirstAndNeverBackwards) {
  EXPECT_FALSE(HostClock::isTurnedByHand());
  uint64_t last = HostClock::nowUs();
  for (int i = 0; i < 1000; ++i) {
    const uint64_t now = HostClock::nowUs();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST(HostClock, StandsStillWhenTurnedByHand) {
  HostClock::turnByHand();
  EXPECT_TRUE(HostClock::isTurnedByHand());
  const uint64_t stood = HostClock::nowUs();
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(HostClock::nowUs(), stood);
  }
}

TEST(HostClock, IsMovedByWholeMilliseconds) {
  HostClock::turnByHand();
  const uint64_t us = HostClock::nowUs();
  const uint64_t ms = HostClock::nowMs();
  const uint64_t wallUs = HostClock::wallClockUs();
  HostClock::advanceMs(249);
  EXPECT_EQ(HostClock::nowUs(), us + 249000);
  EXPECT_EQ(HostClock::nowMs(), ms + 249);
  EXPECT_EQ(HostClock::wallClockUs(), wallUs + 249000);
}

TEST(HostClock, IsNotMovedWhileItRunsFree) {
  HostClock::runFree();
  const uint64_t before = HostClock::nowMs();
  HostClock::advanceMs(24ULL * 3600 * 1000);
  EXPECT_LT(HostClock::nowMs(), before + 3600ULL * 1000);
}

TEST(HostClock, GoesOnFromWhereTheHandsStand) {
  HostClock::turnByHand();
  HostClock::advanceMs(3600 * 1000);
  const uint64_t stood = HostClock::nowUs();
  HostClock::runFree();
  EXPECT_FALSE(HostClock::isTurnedByHand());
  EXPECT_GE(HostClock::nowUs(), stood);
  EXPECT_LT(HostClock::nowUs(), stood + 3600ULL * 1000 * 1000);
}

TEST(HostClock, TakenIntoTheHandsTwiceKeepsItsTime) {
  HostClock::turnByHand();
  HostClock::advanceMs(5000);
  const uint64_t stood = HostClock::nowUs();
  HostClock::turnByHand();
  EXPECT_EQ(HostClock::nowUs(), stood);
  HostClock::runFree();
  HostClock::runFree();
  EXPECT_GE(HostClock::nowUs(), stood);
}

} // namespace
