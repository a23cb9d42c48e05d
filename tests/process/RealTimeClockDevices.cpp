#include "GuardedClock.h"
#include "RealTimeClockApi.h"
#include "RealTimeClockZone.h"
#include "StandInClocks.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>
#include <ostream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace TestSupport;

namespace {

struct Operation_s {
  std::string name;
  std::function<void()> call;
  bool isWriting;
};

void PrintTo(const Operation_s& operation, std::ostream* stream) {
  *stream << operation.name;
}

const std::vector<Operation_s> operations = {
    {"ReadRtc", [] { RealTimeClockApi::read_rtc(1); }, false},
    {"ReadRtcOfLocalTime", [] { RealTimeClockApi::read_rtc(0); }, false},
    {"WriteRtc", [] { RealTimeClockApi::write_rtc(0, 1); }, true},
    {"WriteRtcOfLocalTime", [] { RealTimeClockApi::write_rtc(0, 0); }, true},
    {"ToSysClock", [] { RealTimeClockApi::to_sys_clock(1); }, false},
    {"FromSysClock", [] { RealTimeClockApi::from_sys_clock(1); }, true},
    {"SetRtcTime", [] { RealTimeClockApi::setRtcTime(117, 6, 3, 14, 5, 9); }, true},
};

// Straight to the descriptor: it comes behind what the library has flushed.
void sayGoodbye() {
  static_cast<void>(!write(STDOUT_FILENO, "goodbye", 7));
}

void callAndSay(const Operation_s& operation) {
  std::atexit(sayGoodbye);
  Zones::enter(Zones::utc);
  operation.call();
  std::cout << "returned";
}

std::string callsOn(const std::string& calls, const std::string& device) {
  std::string lines;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = calls.find('\n', begin)) != std::string::npos; begin = end + 1) {
    const std::string line = calls.substr(begin, end - begin);
    lines += line.find(device) != std::string::npos ? line.substr(0, line.find(' ')) + " " : "";
  }
  return lines;
}

void expectFatal(const GuardedRun_s& run, const std::string& situation) {
  EXPECT_EQ(0, run.ending.exitStatus);
  EXPECT_EQ("RTC ERROR " + situation + "\ngoodbye", run.ending.standardOutput);
  EXPECT_EQ("", run.ending.standardError);
  EXPECT_EQ("", run.tools);
}

} // namespace

class RtcDevice : public testing::TestWithParam<Operation_s> {
protected:
  void SetUp() override {
    if (!canGuardClock()) {
      GTEST_SKIP() << "no private mounts, or system calls cannot be caught";
    }
    clock.record = {9, 5, 14, 3, 6, 117, 1, 183, 0};
  }

  GuardedRun_s run() const {
    return runGuarded(clock, [] { callAndSay(GetParam()); });
  }

  static std::string access() { return GetParam().isWriting ? "O_WRONLY" : "O_RDONLY"; }
  static std::string request() { return GetParam().isWriting ? "RTC_SET_TIME" : "RTC_RD_TIME"; }

  GuardedClock_s clock;
};

INSTANTIATE_TEST_SUITE_P(Operations, RtcDevice, testing::ValuesIn(operations),
                         [](const auto& row) { return row.param.name; });

TEST_P(RtcDevice, IsTheFirstOneAndClosedBeforeAnythingElse) {
  clock.hasSecondDevice = true;
  const GuardedRun_s result = run();
  EXPECT_EQ("open " + request() + " close ", callsOn(result.calls, "/dev/rtc0"));
  EXPECT_EQ("", callsOn(result.calls, "/dev/misc/rtc"));
  EXPECT_EQ(0U, result.calls.find("open /dev/rtc0 " + access() + "\n" + request()));
  EXPECT_GE(result.calls.find("system clock"), result.calls.find("close"));
}

TEST_P(RtcDevice, IsTheSecondOneWhereTheFirstIsMissing) {
  clock.hasFirstDevice = false;
  clock.hasSecondDevice = true;
  const GuardedRun_s result = run();
  EXPECT_EQ("open ", callsOn(result.calls, "/dev/rtc0"));
  EXPECT_EQ("open " + request() + " close ", callsOn(result.calls, "/dev/misc/rtc"));
  EXPECT_EQ(0U, result.calls.find("open /dev/rtc0 " + access() + "\nopen /dev/misc/rtc " + access() + "\n"));
}

TEST_P(RtcDevice, EndsTheProcessWithStatusZeroWhereThereIsNone) {
  clock.hasFirstDevice = false;
  const GuardedRun_s result = run();
  expectFatal(result, "Could not access RTC");
  EXPECT_EQ("open /dev/rtc0 " + access() + "\nopen /dev/misc/rtc " + access() + "\n", result.calls);
}

TEST_P(RtcDevice, EndsTheProcessWithStatusZeroWhereItRefuses) {
  clock.readError = EINVAL;
  clock.setError = EINVAL;
  const GuardedRun_s result = run();
  expectFatal(result, GetParam().isWriting ? "Could not set the RTC time" : "Could not read time from RTC");
  EXPECT_EQ(std::string::npos, result.calls.find("system clock"));
}

TEST_P(RtcDevice, LeavesNoDescriptor) {
  const GuardedRun_s result = runGuarded(clock, [] {
    const auto count = [] {
      return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
    };
    const auto before = count();
    GetParam().call();
    std::cout << "\n" << count() - before;
  });
  const std::string& output = result.ending.standardOutput;
  EXPECT_EQ("\n0", output.substr(output.size() - std::min<std::size_t>(2, output.size())));
}

class FatalClock : public testing::Test {
protected:
  void SetUp() override {
    if (!canGuardClock()) {
      GTEST_SKIP() << "no private mounts, or system calls cannot be caught";
    }
    clock.record = {9, 5, 14, 3, 6, 117, 1, 183, 0};
  }

  GuardedClock_s clock;
};

TEST_F(FatalClock, EndsToSysClockWhereTheSystemClockCannotBeSet) {
  clock.systemClockError = EPERM;
  const GuardedRun_s run = runGuarded(clock, [] { callAndSay(operations[4]); });
  expectFatal(run, "settimeofday() failed");
  EXPECT_NE(std::string::npos, run.calls.find("close /dev/rtc0\nsystem clock 1499090709.000000000 "));
}

TEST_F(FatalClock, EndsFromSysClockWhereTheSystemClockCannotBeRead) {
  const GuardedRun_s run = runGuarded(clock, [] {
    StandInClocks::setTimeOfDay(std::nullopt);
    callAndSay(operations[5]);
  });
  expectFatal(run, "gettimeofday() failed");
  EXPECT_EQ("", run.calls);
}
