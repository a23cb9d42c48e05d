// The hardware clock under its second name, under none, in use by another program, and where it or the kernel refuses.
#include "RealTimeClockApi.h"

#include "../process/RealTimeClockZone.h"
#include "BoardClock.h"

#include <fcntl.h>
#include <functional>
#include <iostream>
#include <ostream>
#include <sys/io.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Board;
using namespace TestSupport;

namespace {

struct Operation_s {
  std::string name;
  std::function<void()> call;
  long system; // what the clocks show afterwards, where hardware showed july and system elsewhere
  long hardware;
};

void PrintTo(const Operation_s& operation, std::ostream* stream) {
  *stream << operation.name;
}

constexpr long entered = 1546300800; // 1 January 2019

const Operation_s operations[] = {
    {"ReadRtc", [] { std::cout << (RealTimeClockApi::read_rtc(1) >= july ? "" : "wrong\n"); }, elsewhere, july},
    {"WriteRtc", [] { RealTimeClockApi::write_rtc(entered, 1); }, elsewhere, entered},
    {"ToSysClock", [] { RealTimeClockApi::to_sys_clock(1); }, july, july},
    {"FromSysClock", [] { RealTimeClockApi::from_sys_clock(1); }, elsewhere, elsewhere},
    {"SetRtcTime", [] { RealTimeClockApi::setRtcTime(119, 0, 1, 0, 0, 0); }, entered, entered},
};

class BoardRtcDevice : public OnBoardWithClock, public testing::WithParamInterface<Operation_s> {
protected:
  void SetUp() override {
    OnBoardWithClock::SetUp();
    if (IsSkipped()) {
      return;
    }
    setHardwareClock(july);
    setSystemClock(elsewhere);
  }

  static Ending_s run() {
    return runTogether(Zones::utc, [] {
      GetParam().call();
      std::cout << "returned";
    });
  }

  // Neither clock has been touched.
  void expectUntouched() const {
    expectRunning(july, hardwareClock(), m_watch);
    expectRunning(elsewhere, systemClock(), m_watch);
  }

  void expectEnded(const Ending_s& ending, const std::string& situation) const {
    EXPECT_EQ(0, ending.exitStatus);
    EXPECT_EQ(0, ending.signal);
    EXPECT_EQ("RTC ERROR " + situation + "\n", ending.standardOutput);
    EXPECT_EQ("", ending.standardError);
  }

  void expectDone(const Ending_s& ending) const {
    EXPECT_EQ(0, ending.exitStatus);
    EXPECT_EQ(GetParam().name == "SetRtcTime" ? "Setting hwclock from system clock\nreturned" : "returned",
              ending.standardOutput);
    EXPECT_EQ("", ending.standardError);
    expectRunning(GetParam().hardware, hardwareClock(), m_watch);
    expectRunning(GetParam().system, systemClock(), m_watch);
  }

private:
  Stopwatch_c m_watch;
};

INSTANTIATE_TEST_SUITE_P(Operations, BoardRtcDevice, testing::ValuesIn(operations),
                         [](const auto& row) { return row.param.name; });

class BoardRtcRefusal : public OnBoardWithClock {
protected:
  static void expectFatal(const Ending_s& ending, const std::string& situation) {
    EXPECT_EQ(0, ending.exitStatus);
    EXPECT_EQ("RTC ERROR " + situation + "\n", ending.standardOutput);
    EXPECT_EQ("", ending.standardError);
  }
};

void becomeOrdinaryUser() {
  constexpr uid_t nobody = 65534;
  if (setgid(nobody) != 0 || setuid(nobody) != 0) {
    throw std::runtime_error("root cannot become another user");
  }
}

// The registers of the clock's chip, behind the kernel's back.
constexpr unsigned short indexPort = 0x70;
constexpr unsigned short valuePort = 0x71;
constexpr unsigned char monthRegister = 8;
constexpr unsigned char controlRegister = 11;
constexpr unsigned char holdsStill = 0x80;

unsigned char readChip(unsigned char index) {
  outb(index, indexPort);
  return inb(valuePort);
}

void writeChip(unsigned char index, unsigned char value) {
  outb(index, indexPort);
  outb(value, valuePort);
}

// The clock stands, in a month that there is not.
class BrokenMonth_c {
public:
  BrokenMonth_c() {
    if (ioperm(indexPort, 2, 1) != 0) {
      throw std::runtime_error("the clock's chip cannot be reached");
    }
    m_control = readChip(controlRegister);
    writeChip(controlRegister, m_control | holdsStill);
    m_month = readChip(monthRegister);
    writeChip(monthRegister, 0x19);
  }
  ~BrokenMonth_c() {
    writeChip(monthRegister, m_month);
    writeChip(controlRegister, m_control);
  }
  BrokenMonth_c(const BrokenMonth_c&) = delete;
  BrokenMonth_c& operator=(const BrokenMonth_c&) = delete;

private:
  unsigned char m_control;
  unsigned char m_month;
};

} // namespace

TEST_P(BoardRtcDevice, IsFoundUnderItsFirstName) {
  expectDone(run());
}

TEST_P(BoardRtcDevice, IsFoundUnderItsSecondName) {
  moveDeviceToSecondName();
  ASSERT_NE(0, access(firstDevice, F_OK));
  expectDone(run());
}

TEST_P(BoardRtcDevice, ThatIsNotThereEndsTheProcessWithStatusZero) {
  hideDevice();
  const Ending_s ending = run();
  expectEnded(ending, "Could not access RTC");
  EXPECT_EQ("", ending.standardError);
}

// The kernel lets one program in at a time: so it is while the tool that setRtcTime has left behind is at work.
TEST_P(BoardRtcDevice, ThatAnotherProgramHasOpenEndsTheProcessWithStatusZero) {
  const int held = open(firstDevice, O_RDONLY | O_CLOEXEC);
  ASSERT_GE(held, 0);
  const Ending_s ending = run();
  close(held);
  expectEnded(ending, "Could not access RTC");
  expectUntouched();
}

TEST_P(BoardRtcDevice, ThatAnOrdinaryUserMayNotOpenEndsTheProcessWithStatusZero) {
  const Ending_s ending = runTogether(Zones::utc, [] {
    becomeOrdinaryUser();
    GetParam().call();
    std::cout << "returned";
  });
  expectEnded(ending, "Could not access RTC");
  expectUntouched();
}

TEST_F(BoardRtcRefusal, OfATimeBefore1970EndsTheProcess) {
  setHardwareClock(july);
  const Stopwatch_c watch;
  expectFatal(runTogether(Zones::utc, [] { RealTimeClockApi::write_rtc(-1, 1); }), "Could not set the RTC time");
  expectFatal(runTogether(Zones::utc, [] { RealTimeClockApi::setRtcTime(69, 11, 31, 23, 59, 59); }),
              "Could not set the RTC time");
  expectRunning(july, hardwareClock(), watch);
}

TEST_F(BoardRtcRefusal, OfAClockThatHoldsNoDateEndsTheProcess) {
  Ending_s reading;
  Ending_s copying;
  {
    const BrokenMonth_c month;
    reading = runTogether(Zones::utc, [] { RealTimeClockApi::read_rtc(1); });
    copying = runTogether(Zones::utc, [] { RealTimeClockApi::to_sys_clock(1); });
  }
  expectFatal(reading, "Could not read time from RTC");
  expectFatal(copying, "Could not read time from RTC");
}

TEST_F(BoardRtcRefusal, OfTheHardwareClockToAnOrdinaryUserEndsTheProcess) {
  setHardwareClock(july);
  const Stopwatch_c watch;
  ASSERT_EQ(0, chmod(firstDevice, 0666));
  expectFatal(runTogether(Zones::utc,
                          [] {
                            becomeOrdinaryUser();
                            RealTimeClockApi::setRtcTime(119, 0, 1, 0, 0, 0);
                          }),
              "Could not set the RTC time");
  expectRunning(july, hardwareClock(), watch);
}

TEST_F(BoardRtcRefusal, OfTheSystemClockToAnOrdinaryUserEndsTheProcess) {
  setHardwareClock(july);
  setSystemClock(elsewhere);
  const Stopwatch_c watch;
  ASSERT_EQ(0, chmod(firstDevice, 0666));
  expectFatal(runTogether(Zones::utc,
                          [] {
                            becomeOrdinaryUser();
                            RealTimeClockApi::to_sys_clock(1);
                          }),
              "settimeofday() failed");
  expectRunning(elsewhere, systemClock(), watch);
}

// The kernel keeps the system clock after the moment of its start, which lies later than the first second of 1970.
TEST_F(BoardRtcRefusal, OfTheSystemClockIsToldBySetRtcTimeWhichReturns) {
  setSystemClock(elsewhere);
  const Stopwatch_c watch;
  const Ending_s ending = runTogether(Zones::utc, [] {
    RealTimeClockApi::setRtcTime(70, 0, 1, 0, 0, 0);
    std::cout << "returned";
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("Call to reset time failed!\nreturned", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
  expectRunning(0, hardwareClock(), watch);
  expectRunning(elsewhere, systemClock(), watch);
}

TEST_F(BoardRtcRefusal, OfASystemClockBeforeTheStartEndsToSysClock) {
  setHardwareClock(0);
  setSystemClock(elsewhere);
  const Stopwatch_c watch;
  expectFatal(runTogether(Zones::utc, [] { RealTimeClockApi::to_sys_clock(1); }), "settimeofday() failed");
  expectRunning(elsewhere, systemClock(), watch);
}
