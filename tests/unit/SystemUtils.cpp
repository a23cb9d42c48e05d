#include "SystemUtils.h"

#include <cstdint>
#include <ctime>
#include <gtest/gtest.h>
#include <type_traits>

namespace {

uint32_t monotonicMs() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000 + static_cast<uint64_t>(now.tv_nsec) / 1000000);
}

} // namespace

TEST(GetTimeMsRaw, LiesBetweenTwoReadingsOfTheMonotonicClock) {
  static_assert(std::is_same_v<decltype(SystemUtils::getTimeMsRaw()), int>);
  const uint32_t before = monotonicMs();
  const auto raw = static_cast<uint32_t>(SystemUtils::getTimeMsRaw());
  const uint32_t after = monotonicMs();
  EXPECT_LE(raw - before, after - before);
}

TEST(GetTimeMs, CountsFromItsFirstCall) {
  static_assert(std::is_same_v<decltype(SystemUtils::getTimeMs()), int>);
  const uint32_t before = monotonicMs();
  const int first = SystemUtils::getTimeMs();
  const uint32_t between = monotonicMs();
  const int second = SystemUtils::getTimeMs();
  const uint32_t after = monotonicMs();
  EXPECT_GE(first, 0);
  EXPECT_LE(static_cast<uint32_t>(first), between - before);
  EXPECT_GE(second, first);
  EXPECT_LE(static_cast<uint32_t>(second), after - before);
}

TEST(GetMinimumReservedFreeMemoryMB, Is30) {
  static_assert(std::is_same_v<decltype(SystemUtils::getMinimumReservedFreeMemoryMB()), float>);
  EXPECT_EQ(30.0F, SystemUtils::getMinimumReservedFreeMemoryMB());
  EXPECT_EQ(30.0F, SystemUtils::getMinimumReservedFreeMemoryMB());
}

TEST(GetSystemMemoryFreeMB, IsAFloat) {
  static_assert(std::is_same_v<decltype(SystemUtils::getSystemMemoryFreeMB()), float>);
  static_assert(std::is_same_v<decltype(SystemUtils::getSystemMemoryTotalMB()), float>);
  static_assert(std::is_same_v<decltype(SystemUtils::isSystemFreeMemoryBelowMinimum()), bool>);
  EXPECT_NE(0.0F, SystemUtils::getSystemMemoryFreeMB());
}
