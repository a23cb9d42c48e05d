// What the system tests have in common: they change the clock, the mounts and the processes of the machine that they
// run on, and so do it on the emulated board only.
#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <string>

namespace Board {

// isHere: whether this machine is the emulated board.
bool isHere();

// hasFileSystem: whether the kernel knows a file system, by its name in /proc/filesystems.
bool hasFileSystem(const std::string& name);

// isMountPoint: whether something is mounted there, by the kernel's own table.
bool isMountPoint(const std::string& path);

// deviceOf: what is mounted there, by the kernel's own table; empty for nothing.
std::string deviceOf(const std::string& mountPoint);

// typeOf: the file system that is mounted there; empty for nothing.
std::string typeOf(const std::string& mountPoint);

// mountDisk, unmountDisk: throw where the kernel refuses.
void mountDisk(const std::string& device, const std::string& path, const std::string& type, unsigned long flags = 0,
               const std::string& options = {});
void unmountDisk(const std::string& path);

// fill: writes a file until the file system takes not one byte more. Gives the bytes that it took.
long long fill(const std::string& path);

// Stopwatch_c: real seconds since its construction, whatever becomes of the system clock.
class Stopwatch_c {
public:
  double seconds() const;

private:
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

void restABit();

// waitUntil: asks again and again, 20 s at the longest. Gives the last answer.
template <class Condition_t>
bool waitUntil(const Condition_t& condition) {
  constexpr double patienceSeconds = 20;
  const Stopwatch_c watch;
  while (!condition()) {
    if (watch.seconds() > patienceSeconds) {
      return condition();
    }
    restABit();
  }
  return true;
}

// OnBoard: the fixture of every case.
class OnBoard : public testing::Test {
protected:
  void SetUp() override;
};

} // namespace Board
