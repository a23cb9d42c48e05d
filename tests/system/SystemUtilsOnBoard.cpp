// Time and memory against the kernel's own figures.
#include "SystemUtils.h"

#include "Board.h"
#include "ChildProcess.h"
#include "PrivateMounts.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <list>
#include <sstream>
#include <sys/mount.h>
#include <sys/sysinfo.h>
#include <unistd.h>

using namespace Board;
using namespace TestSupport;

namespace {

class BoardMemory : public OnBoard {};
class BoardUptime : public OnBoard {};

// What else is going on in the machine between two looks at it.
constexpr double commonMegabytes = 1;

long kilobytesOf(const std::string& key) {
  std::ifstream table("/proc/meminfo");
  std::string word;
  while (table >> word) {
    if (word == key) {
      long kilobytes = -1;
      table >> kilobytes;
      return kilobytes;
    }
  }
  throw std::runtime_error("the kernel's table has no " + key);
}

// The two figures of the kernel in megabytes of a million bytes, in 32 bits with their sign.
double freeByTheTable() {
  const auto kilobytes = static_cast<uint32_t>(kilobytesOf("MemFree:") + kilobytesOf("Cached:"));
  return static_cast<int32_t>(kilobytes * 1024U) / 1e6;
}

double freeBySysinfo() {
  struct sysinfo figures = {};
  if (sysinfo(&figures) != 0) {
    throw std::runtime_error("no sysinfo");
  }
  return static_cast<uint32_t>(figures.freeram + figures.bufferram) / 1e6;
}

template <class Figure_t>
void expectBetween(Figure_t figure, double (*measure)(), const std::string& what) {
  const double before = measure();
  const double shown = figure();
  const double after = measure();
  EXPECT_GE(shown, std::min(before, after) - commonMegabytes) << what;
  EXPECT_LE(shown, std::max(before, after) + commonMegabytes) << what;
}

double uptimeMs() {
  std::ifstream file("/proc/uptime");
  double seconds = 0;
  file >> seconds;
  return seconds * 1000;
}

// Takes memory from the machine until the kernel has no more than this left; it is given back with the process.
void takeMemoryUntil(double megabytes) {
  constexpr std::size_t blockSize = 256 * 1024;
  static std::list<std::string> taken;
  while (freeByTheTable() > megabytes) {
    taken.emplace_back(blockSize, 'x');
  }
}

// What is read from a disk as such becomes buffers.
void fillBuffers() {
  constexpr std::size_t megabytes = 6;
  std::ifstream disk(deviceOf("/mnt/usb1"), std::ios::binary);
  std::string bytes(megabytes * 1000000, ' ');
  if (!disk.read(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
    throw std::runtime_error("the disk cannot be read");
  }
}

} // namespace

TEST_F(BoardMemory, FreeIsFreeAndCachedOfTheKernelsTable) {
  expectBetween(SystemUtils::getSystemMemoryFreeMB, freeByTheTable, "free memory");
}

TEST_F(BoardMemory, TotalIsTheKernelsTotal) {
  const auto expected = static_cast<float>(static_cast<double>(kilobytesOf("MemTotal:")) * 1024 / 1e6);
  EXPECT_FLOAT_EQ(expected, SystemUtils::getSystemMemoryTotalMB());
  struct sysinfo figures = {};
  ASSERT_EQ(0, sysinfo(&figures));
  EXPECT_FLOAT_EQ(static_cast<float>(static_cast<double>(figures.totalram) * figures.mem_unit / 1e6),
                  SystemUtils::getSystemMemoryTotalMB());
}

TEST_F(BoardMemory, FreeIsFreeAndBuffersOfSysinfoWhereThereIsNoTable) {
  fillBuffers();
  ASSERT_GT(kilobytesOf("Buffers:"), 5000);
  const Ending_s ending = runInChild([] {
    enterPrivateMounts();
    if (umount2("/proc", MNT_DETACH) != 0 || std::ifstream("/proc/meminfo")) {
      throw std::runtime_error("the kernel's table is still there");
    }
    expectBetween(SystemUtils::getSystemMemoryFreeMB, freeBySysinfo, "free memory");
    if (HasFailure()) {
      throw std::runtime_error("an expectation failed");
    }
  });
  EXPECT_EQ(0, ending.exitStatus) << ending.standardOutput << ending.standardError;
}

TEST_F(BoardMemory, OfAFileThatIsReadIsStillFree) {
  const double before = SystemUtils::getSystemMemoryFreeMB();
  constexpr int megabytes = 8;
  const std::string path = "/mnt/nand/cached.bin";
  std::ofstream(path) << std::string(megabytes * 1000000, 'x');
  sync();
  const double after = SystemUtils::getSystemMemoryFreeMB();
  std::remove(path.c_str());
  EXPECT_GE(after, before - 3);
}

TEST_F(BoardMemory, BelowTheReserveIsToldAndOnceMoreEnoughIsToo) {
  if (SystemUtils::getSystemMemoryTotalMB() > 600) {
    GTEST_SKIP() << "the board has too much memory to take it all";
  }
  const Ending_s ending = runInChild([] {
    takeMemoryUntil(32);
    std::cout << SystemUtils::isSystemFreeMemoryBelowMinimum();
    takeMemoryUntil(28);
    std::cout << SystemUtils::isSystemFreeMemoryBelowMinimum();
  });
  EXPECT_EQ(0, ending.exitStatus) << ending.signal;
  EXPECT_EQ("01", ending.standardOutput);
  EXPECT_EQ(SystemUtils::getSystemMemoryFreeMB() < 30.0F, SystemUtils::isSystemFreeMemoryBelowMinimum());
}

TEST_F(BoardUptime, IsTheRawClock) {
  const double before = uptimeMs();
  const int shown = SystemUtils::getTimeMsRaw();
  const double after = uptimeMs();
  EXPECT_GE(shown, before - 10); // the kernel's file has hundredths
  EXPECT_LE(shown, after + 10);
}

TEST_F(BoardUptime, IsCountedFromTheFirstCall) {
  const int first = SystemUtils::getTimeMs();
  const Stopwatch_c watch;
  EXPECT_GE(first, 0);
  EXPECT_LE(first, 1000);
  EXPECT_TRUE(waitUntil([first] { return SystemUtils::getTimeMs() >= first + 100; }));
  EXPECT_LE(SystemUtils::getTimeMs() - first, static_cast<int>(std::ceil(watch.seconds() * 1000)) + 1);
}
