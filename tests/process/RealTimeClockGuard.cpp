// The ground of the clock's tests: what they run can reach no clock of the machine.
#include "CaughtCalls.h"
#include "GuardedClock.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <gtest/gtest.h>
#include <iostream>
#include <linux/capability.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/timex.h>
#include <unistd.h>

using namespace TestSupport;

namespace {

const std::string secondsOf2017 = "system clock 1499090709.";

} // namespace

TEST(GiveUpTheClock, MakesTheKernelRefuseEveryWayOfSettingIt) {
  const Ending_s ending = runInChild([] {
    giveUpTheClock();
    const timeval time = {1499090709, 0};
    const timespec preciseTime = {1499090709, 0};
    const struct timezone zone = {-120, 0};
    timex change = {};
    change.modes = ADJ_OFFSET;
    std::cout << (settimeofday(&time, nullptr) == -1 && errno == EPERM);
    std::cout << (settimeofday(nullptr, &zone) == -1 && errno == EPERM);
    std::cout << (clock_settime(CLOCK_REALTIME, &preciseTime) == -1 && errno == EPERM);
    std::cout << (adjtimex(&change) == -1 && errno == EPERM);
    std::cout << (syscall(SYS_settimeofday, &time, &zone) == -1 && errno == EPERM);
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("11111", ending.standardOutput);
}

TEST(GiveUpTheClock, LeavesNoProgramThatCouldTakeItBack) {
  const Ending_s ending = runInChild([] {
    giveUpTheClock();
    execl("/bin/sh", "sh", "-c", "while read -r name value; do echo \"$name $value\"; done </proc/self/status",
          nullptr);
  });
  const auto setOf = [&ending](const std::string& name) {
    const std::size_t place = ending.standardOutput.find("\n" + name + " ");
    return std::stoull(ending.standardOutput.substr(place + name.size() + 2), nullptr, 16);
  };
  constexpr uint64_t timeBit = uint64_t{1} << CAP_SYS_TIME;
  for (const char* name : {"CapInh:", "CapPrm:", "CapEff:", "CapAmb:"}) {
    EXPECT_EQ(0U, setOf(name) & timeBit) << name;
  }
  EXPECT_EQ(1U, setOf("NoNewPrivs:"));
  if (getuid() == 0) {
    EXPECT_EQ(0U, setOf("CapBnd:") & timeBit);
  }
}

// The counter-proof: the question that giveUpTheClock asks at its end is answered with yes where the time may be set.
TEST(GiveUpTheClock, IsWhatTakesThePermissionAway) {
  if (!maySetTheClock()) {
    GTEST_SKIP() << "this user may not set the time anyway";
  }
  EXPECT_EQ("10", runInChild([] {
                    std::cout << maySetTheClock();
                    giveUpTheClock();
                    std::cout << maySetTheClock();
                  }).standardOutput);
}

class GuardedClock : public testing::Test {
protected:
  void SetUp() override {
    if (!canGuardClock()) {
      GTEST_SKIP() << "no private mounts, or system calls cannot be caught";
    }
  }

  GuardedClock_s clock;
};

TEST_F(GuardedClock, CatchesTimeAndZoneHoweverTheyAreSet) {
  const GuardedRun_s run = runGuarded(clock, [] {
    const timeval time = {1499090709, 5};
    const timespec preciseTime = {1499090709, 7};
    const struct timezone zone = {-120, 1};
    settimeofday(&time, nullptr);
    settimeofday(nullptr, &zone);
    clock_settime(CLOCK_REALTIME, &preciseTime);
    syscall(SYS_settimeofday, &time, &zone);
    timex change = {};
    change.modes = ADJ_OFFSET;
    adjtimex(&change);
#ifdef SYS_stime
    const long seconds = 1499090709;
    syscall(SYS_stime, &seconds);
#endif
  });
  const std::string zoneText = " minutes west -120 type 1\n";
  std::string expected = secondsOf2017 + "000005000 no zone\n" + "no time" + zoneText + secondsOf2017 +
                         "000000007 no zone\n" + secondsOf2017 + "000005000" + zoneText;
  EXPECT_EQ(expected, run.calls.substr(0, expected.size()));
  EXPECT_EQ(0, run.ending.exitStatus);
  const std::string rest = run.calls.substr(std::min(expected.size(), run.calls.size()));
  EXPECT_NE(std::string::npos, rest.find("adj")) << rest;
#ifdef SYS_stime
  EXPECT_NE(std::string::npos, rest.find(secondsOf2017 + "000000000 no zone\n")) << rest;
#endif
}

TEST_F(GuardedClock, CatchesThePrograms) {
  const GuardedRun_s run = runGuarded(clock, [] { execl("/bin/sh", "sh", "-c", ": </dev/rtc0", nullptr); });
  EXPECT_EQ("open /dev/rtc0 O_RDONLY\n", run.calls.substr(0, run.calls.find('\n') + 1));
}

TEST_F(GuardedClock, MaySetNoClockBehindTheCatching) {
  const GuardedRun_s run = runGuarded(clock, [] {
    std::cout << (prctl(PR_CAPBSET_READ, CAP_SYS_TIME, 0, 0, 0) == 0);
    std::cout << (prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1);
  });
  EXPECT_EQ("11", run.ending.standardOutput);
}

TEST_F(GuardedClock, TellsHowTheFunctionEnded) {
  EXPECT_EQ(7, runGuarded(clock, [] { _exit(7); }).ending.exitStatus);
  EXPECT_EQ(SIGKILL, runGuarded(clock, [] { raise(SIGKILL); }).ending.signal);
  EXPECT_EQ(uncaughtException, runGuarded(clock, [] { throw std::runtime_error("out"); }).ending.exitStatus);
}
