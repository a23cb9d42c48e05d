#include "CaughtCalls.h"
#include "Files.h"
#include "PrivateMounts.h"
#include "SystemUtils.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <sstream>
#include <sys/sysinfo.h>
#include <vector>

using namespace TestSupport;

namespace {

const std::string table = "/proc/meminfo";

// Bit by bit: what a float cannot hold must have been cut off in the documented way.
std::string textOf(float megabytes, bool isBelow) {
  uint32_t bits = 0;
  std::memcpy(&bits, &megabytes, sizeof bits);
  return std::to_string(megabytes) + " (" + std::to_string(bits) + ")" + (isBelow ? " below\n" : "\n");
}

void printFreeMemory() {
  std::cout << textOf(SystemUtils::getSystemMemoryFreeMB(), SystemUtils::isSystemFreeMemoryBelowMinimum());
}

void printTotalMemory() {
  std::cout << textOf(SystemUtils::getSystemMemoryTotalMB(), false);
}

// What sysinfo gives; a value other than 0 instead of it is an error number.
struct Kernel_s {
  unsigned long total = 0;
  unsigned long free = 0;
  unsigned long shared = 0;
  unsigned long buffers = 0;
  unsigned long freeHigh = 0;
  unsigned int unit = 1;
  int error = 0;
};

void answerSysinfo(const Kernel_s& kernel, const CaughtCall_c& call) {
  struct sysinfo figures = {};
  figures.totalram = kernel.total;
  figures.freeram = kernel.free;
  figures.sharedram = kernel.shared;
  figures.bufferram = kernel.buffers;
  figures.freehigh = kernel.freeHigh;
  figures.mem_unit = kernel.unit;
  call.write(call.argument(0), &figures, sizeof figures);
}

// The watched calls: sysinfo as the kernel has it here, and the table opened and closed.
Watching_s watchingOf(const Kernel_s& kernel) {
  Watching_s watching;
  watching.names = {"sysinfo", "open", "openat", "close"};
  watching.answer = [kernel](const CaughtCall_c& call, std::string& notes) -> Answer {
    if (call.name() == "sysinfo") {
      notes += "sysinfo\n";
      answerSysinfo(kernel, call);
      return kernel.error;
    }
    if (call.name() == "close") {
      notes += call.pathOf(call.argument(0)) == table ? "close " + table + "\n" : "";
      return std::nullopt;
    }
    const std::string path = call.textAt(call.argument(call.name() == "open" ? 0 : 1));
    notes += path == table ? "open " + table + "\n" : "";
    return std::nullopt;
  };
  return watching;
}

} // namespace

class GetSystemMemoryFreeMB : public testing::Test {
protected:
  void SetUp() override {
    if (!havePrivateMounts() || !canCatchCalls()) {
      GTEST_SKIP() << "no private mounts, or system calls cannot be caught";
    }
  }

  // What the kernel's table is made to say, and the figures that come of it.
  WatchedEnding_s runWithTable(const std::string& text, const std::function<void()>& function) {
    Watching_s watching = watchingOf(kernel);
    watching.prepare = [this, &text] {
      writeFile(folder.path() + "/table", text);
      enterPrivateMounts();
      bindFile(folder.path() + "/table", table);
    };
    return runWatched(watching, function);
  }

  void expectOfTable(float megabytes, bool isBelow, const std::string& text) {
    const WatchedEnding_s run = runWithTable(text, printFreeMemory);
    EXPECT_EQ(0, run.ending.exitStatus);
    EXPECT_EQ(textOf(megabytes, isBelow), run.ending.standardOutput) << text;
    EXPECT_EQ("", run.ending.standardError);
    EXPECT_EQ("open " + table + "\nclose " + table + "\nopen " + table + "\nclose " + table + "\n", run.notes);
  }

  void expectOfSysinfo(float megabytes, bool isBelow) {
    const WatchedEnding_s run = runWithTable("MemTotal: 1000 kB\n", printFreeMemory);
    EXPECT_EQ(0, run.ending.exitStatus);
    EXPECT_EQ(textOf(megabytes, isBelow), run.ending.standardOutput);
  }

  TemporaryFolder_c folder;
  Kernel_s kernel;
};

class IsSystemFreeMemoryBelowMinimum : public GetSystemMemoryFreeMB {};

TEST_F(GetSystemMemoryFreeMB, IsFreeAndCachedOfTheTable) {
  expectOfTable(73.40032F, false, "MemTotal: 126000 kB\nMemFree: 51200 kB\nBuffers: 77 kB\nCached: 20480 kB\n");
}

TEST_F(GetSystemMemoryFreeMB, SkipsTheHeaderOfTheOlderTable) {
  expectOfTable(73.40032F, false,
                "        total:    used:    free:  shared: buffers:  cached:\nMem: 1 2 3 4 5 6\nSwap: 7 8 9\n"
                "MemTotal: 126000 kB\nMemFree: 51200 kB\nCached: 20480 kB\n");
}

TEST_F(IsSystemFreeMemoryBelowMinimum, DependsOnASingleKilobyte) {
  expectOfTable(29.999104F, true, "MemFree: 29296 kB\nCached: 0 kB\n");
  expectOfTable(30.000128F, false, "MemFree: 29297 kB\nCached: 0 kB\n");
}

TEST_F(GetSystemMemoryFreeMB, TurnsNegativeAtTwoGibibytes) {
  expectOfTable(2147.482624F, false, "MemFree: 2097151 kB\nCached: 0 kB\n");
  expectOfTable(-2147.483648F, true, "MemFree: 2097152 kB\nCached: 0 kB\n");
  expectOfTable(-0.001024F, true, "MemFree: 4000000 kB\nCached: 194303 kB\n");
}

TEST_F(GetSystemMemoryFreeMB, WrapsAtFourGibibytes) {
  expectOfTable(0.0F, true, "MemFree: 4194304 kB\nCached: 0 kB\n");
  expectOfTable(73.40032F, false, "MemFree: 4245504 kB\nCached: 20480 kB\n");
}

TEST_F(GetSystemMemoryFreeMB, ReadsTheTableAfreshAtEachCall) {
  const WatchedEnding_s run = runWithTable("MemFree: 51200 kB\nCached: 0 kB\n", [this] {
    printFreeMemory();
    writeFile(folder.path() + "/table", "MemFree: 20480 kB\nCached: 0 kB\n");
    printFreeMemory();
  });
  EXPECT_EQ(textOf(52.4288F, false) + textOf(20.97152F, true), run.ending.standardOutput);
}

TEST_F(GetSystemMemoryFreeMB, MatchesTheKernelsOwnTable) {
  const std::string text = readFile(table);
  int64_t kilobytes = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const bool isWanted = line.rfind("MemFree:", 0) == 0 || line.rfind("Cached:", 0) == 0;
    kilobytes += isWanted ? std::stoll(line.substr(line.find(':') + 1)) : 0;
  }
  const auto bytes = static_cast<int32_t>(static_cast<uint32_t>(kilobytes * 1024));
  const auto megabytes = static_cast<float>(bytes / 1000000.0);
  expectOfTable(megabytes, megabytes < 30.0F, text);
}

TEST_F(GetSystemMemoryFreeMB, IsThatOfSysinfoWithoutTheKeys) {
  kernel.free = 40000000;
  kernel.buffers = 2000001;
  kernel.shared = 500;
  kernel.total = 1000;
  kernel.freeHigh = 3000;
  kernel.unit = 1;
  const WatchedEnding_s run =
      runWithTable("MemTotal: 1000 kB\n", [] { std::cout << textOf(SystemUtils::getSystemMemoryFreeMB(), false); });
  EXPECT_EQ(textOf(42.000001F, false), run.ending.standardOutput);
  EXPECT_EQ("open " + table + "\nclose " + table + "\nsysinfo\n", run.notes);
}

TEST_F(GetSystemMemoryFreeMB, IsThatOfSysinfoWhereTheTableSaysZero) {
  kernel.free = 40000000;
  const WatchedEnding_s run = runWithTable("MemFree: 0 kB\nCached: 0 kB\n", printFreeMemory);
  EXPECT_EQ(textOf(40.0F, false), run.ending.standardOutput);
}

TEST_F(GetSystemMemoryFreeMB, IsThatOfSysinfoWithoutATable) {
  kernel.free = 40000000;
  Watching_s watching = watchingOf(kernel);
  watching.names = {"sysinfo"};
  const WatchedEnding_s run = runWatched(watching, [] {
    enterPrivateMounts();
    mountTmpfs("/proc");
    printFreeMemory();
  });
  EXPECT_EQ(0, run.ending.exitStatus);
  EXPECT_EQ(textOf(40.0F, false), run.ending.standardOutput);
  EXPECT_EQ("", run.ending.standardError);
}

TEST_F(GetSystemMemoryFreeMB, IsThatOfSysinfoWhereTheTableCannotBeRead) {
  kernel.free = 40000000;
  Watching_s watching = watchingOf(kernel);
  watching.names = {"sysinfo"};
  const WatchedEnding_s run = runWatched(watching, [] {
    enterPrivateMounts();
    mountTmpfs("/proc");
    makeDirectories(table);
    printFreeMemory();
  });
  EXPECT_EQ(textOf(40.0F, false), run.ending.standardOutput);
}

TEST_F(GetSystemMemoryFreeMB, DividesInDoublePrecision) {
  kernel.free = 40000002;
  expectOfSysinfo(40.000002F, false);
}

TEST_F(GetSystemMemoryFreeMB, IgnoresTheUnitOfSysinfo) {
  kernel.free = 50000000;
  kernel.unit = 4096;
  expectOfSysinfo(50.0F, false);
}

TEST_F(GetSystemMemoryFreeMB, AddsTheFiguresOfSysinfoInThirtyTwoBits) {
  kernel.free = 0xFFFFFFFF;
  kernel.buffers = 31000001;
  expectOfSysinfo(31.0F, false);
}

TEST_F(GetSystemMemoryFreeMB, TakesTheFiguresOfSysinfoWithoutASign) {
  kernel.free = 2147483648;
  kernel.buffers = 1000000000;
  expectOfSysinfo(3147.483648F, false);
}

TEST_F(GetSystemMemoryFreeMB, CutsTheFiguresOfSysinfoToThirtyTwoBits) {
  if (sizeof(kernel.free) == 4) {
    GTEST_SKIP() << "the figures have 32 bits here";
  }
  kernel.free = static_cast<unsigned long>((uint64_t{5} << 32U) + 35000000);
  kernel.buffers = static_cast<unsigned long>((uint64_t{7} << 32U) + 1000000);
  expectOfSysinfo(36.0F, false);
}

TEST_F(IsSystemFreeMemoryBelowMinimum, IsNotExactlyThirtyMegabytes) {
  kernel.free = 29000000;
  kernel.buffers = 1000000;
  expectOfSysinfo(30.0F, false);
}

TEST_F(IsSystemFreeMemoryBelowMinimum, IsJustUnderThirtyMegabytes) {
  kernel.free = 29990000;
  expectOfSysinfo(29.99F, true);
}

TEST_F(GetSystemMemoryFreeMB, Is4000WhereNothingCanBeMeasured) {
  kernel.free = 5;
  kernel.error = EFAULT;
  expectOfSysinfo(4000.0F, false);
}

class GetSystemMemoryTotalMB : public testing::Test {
protected:
  void SetUp() override {
    if (!canCatchCalls()) {
      GTEST_SKIP() << "system calls cannot be caught";
    }
  }

  // The C library counts pages by sysinfo; a page has 4096 bytes.
  static std::string textOfPages(unsigned long pages, std::string& notes) {
    Kernel_s kernel;
    kernel.total = pages;
    kernel.free = 1;
    kernel.unit = 4096;
    Watching_s watching = watchingOf(kernel);
    watching.names = {"sysinfo", "open", "openat"};
    const auto answer = watching.answer;
    watching.answer = [answer](const CaughtCall_c& call, std::string& lines) {
      lines += call.name() == "sysinfo" ? "" : "a file\n";
      return answer(call, lines);
    };
    const WatchedEnding_s run = runWatched(watching, printTotalMemory);
    notes = run.notes;
    return run.ending.standardOutput;
  }
};

TEST_F(GetSystemMemoryTotalMB, Is1073PointSomethingFor262144Pages) {
  std::string notes;
  EXPECT_EQ(textOf(1073.741824F, false), textOfPages(262144, notes));
}

TEST_F(GetSystemMemoryTotalMB, ReadsNoFile) {
  std::string notes;
  textOfPages(262144, notes);
  EXPECT_EQ("sysinfo\n", notes);
}

TEST_F(GetSystemMemoryTotalMB, IsMultipliedAndDividedInDoublePrecision) {
  std::string notes;
  EXPECT_EQ(textOf(409600.016384F, false), textOfPages(100000004, notes));
}

TEST_F(GetSystemMemoryTotalMB, GoesBeyondThirtyTwoBits) {
  std::string notes;
  EXPECT_EQ(textOf(4294.967296F, false), textOfPages(1048576, notes));
  EXPECT_EQ(textOf(137438.953472F, false), textOfPages(33554432, notes));
  EXPECT_EQ(textOf(8796093.018112F, false), textOfPages(2147483647, notes));
}
