#include "BoardClock.h"

#include "../process/RealTimeClockZone.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <linux/rtc.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace Board {

const char* const firstDevice = "/dev/rtc0";
const char* const secondDevice = "/dev/misc/rtc";

namespace {

const char* const hiddenDevice = "/dev/clock-put-away";

// The device lets one program in at a time.
int openDevice(int flags) {
  int descriptor = -1;
  waitUntil([&descriptor, flags] {
    descriptor = open(firstDevice, flags | O_CLOEXEC);
    if (descriptor < 0 && errno == ENOENT) {
      descriptor = open(secondDevice, flags | O_CLOEXEC);
    }
    return descriptor >= 0 || errno != EBUSY;
  });
  if (descriptor < 0) {
    throw std::runtime_error(std::string("no hardware clock: ") + std::strerror(errno));
  }
  return descriptor;
}

// Counted from the boot, with what the clocks are set to apart.
long secondsOfBoot() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<long>(now.tv_sec);
}

struct KernelTime_s {
  long seconds;
  long microseconds;
};

struct KernelZone_s {
  int minutesWest;
  int type;
};

void moveDevice(const std::string& from, const std::string& to) {
  std::filesystem::create_directories(std::filesystem::path(to).parent_path());
  std::filesystem::rename(from, to);
}

} // namespace

void setHardwareClock(long seconds) {
  const std::time_t time = seconds;
  const std::tm* parts = std::gmtime(&time);
  const rtc_time record = {parts->tm_sec,  parts->tm_min,  parts->tm_hour,
                           parts->tm_mday, parts->tm_mon,  parts->tm_year,
                           parts->tm_wday, parts->tm_yday, 0};
  const int descriptor = openDevice(O_WRONLY);
  const int result = ioctl(descriptor, RTC_SET_TIME, &record);
  close(descriptor);
  if (result != 0) {
    throw std::runtime_error("the hardware clock cannot be set");
  }
}

long hardwareClock() {
  rtc_time record = {};
  const int descriptor = openDevice(O_RDONLY);
  const int result = ioctl(descriptor, RTC_RD_TIME, &record);
  close(descriptor);
  if (result != 0) {
    throw std::runtime_error("the hardware clock cannot be read");
  }
  std::tm time = {};
  time.tm_sec = record.tm_sec;
  time.tm_min = record.tm_min;
  time.tm_hour = record.tm_hour;
  time.tm_mday = record.tm_mday;
  time.tm_mon = record.tm_mon;
  time.tm_year = record.tm_year;
  return static_cast<long>(timegm(&time));
}

void setSystemClock(long seconds, int minutesWest) {
  const KernelTime_s time = {seconds, 0};
  const KernelZone_s zone = {minutesWest, 0};
  if (syscall(SYS_settimeofday, &time, &zone) != 0) {
    throw std::runtime_error("the system clock cannot be set");
  }
}

long systemClock() {
  return static_cast<long>(std::time(nullptr));
}

int minutesWest() {
  KernelTime_s time = {};
  KernelZone_s zone = {};
  if (syscall(SYS_gettimeofday, &time, &zone) != 0) {
    throw std::runtime_error("the system clock cannot be read");
  }
  return zone.minutesWest;
}

void expectRunning(long setTo, long shown, const Stopwatch_c& watch) {
  EXPECT_GE(shown, setTo);
  EXPECT_LE(shown, setTo + static_cast<long>(std::ceil(watch.seconds())) + 1);
}

void OnBoardWithClock::SetUp() {
  OnBoard::SetUp();
  if (IsSkipped()) {
    return;
  }
  m_minutesWest = minutesWest();
  m_offsetOfSystem = systemClock() - secondsOfBoot();
  m_offsetOfHardware = hardwareClock() - secondsOfBoot();
}

void OnBoardWithClock::TearDown() {
  if (IsSkipped()) {
    return;
  }
  for (const char* place : {hiddenDevice, secondDevice}) {
    if (access(place, F_OK) == 0) {
      moveDevice(place, firstDevice);
    }
  }
  chmod(firstDevice, 0600);
  setSystemClock(m_offsetOfSystem + secondsOfBoot(), m_minutesWest);
  setHardwareClock(m_offsetOfHardware + secondsOfBoot());
}

TestSupport::Ending_s OnBoardWithClock::runTogether(const std::string& zone, const std::function<void()>& function) {
  return TestSupport::runInChild([&zone, &function] {
    Zones::enter(zone);
    function();
  });
}

void OnBoardWithClock::moveDeviceToSecondName() {
  moveDevice(firstDevice, secondDevice);
}

void OnBoardWithClock::hideDevice() {
  moveDevice(firstDevice, hiddenDevice);
}

} // namespace Board
