// Holds chosen system calls of a child process before the kernel carries them out, and answers them in its place.
// Every way into the kernel is held, whatever function of the C library it starts from, also those of the programs that
// the child starts, in 64 and 32 bit.
//
//   Order of use: ask canCatchCalls first.
//   Threads: the caller's process has one thread.
#pragma once

#include "ChildProcess.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace TestSupport {

// CaughtCall_c: a call that waits for its answer.
class CaughtCall_c {
public:
  CaughtCall_c(pid_t caller, bool isOf32Bit, std::string name, const std::array<uint64_t, 6>& arguments);

  const std::string& name() const { return m_name; }
  uint64_t argument(std::size_t index) const { return m_arguments.at(index); }
  bool isOf32Bit() const { return m_isOf32Bit; }

  // The caller's memory. Each throws where it cannot be reached.
  std::string textAt(uint64_t address) const;
  void read(uint64_t address, void* bytes, std::size_t size) const;
  void write(uint64_t address, const void* bytes, std::size_t size) const;

  // pathOf: the file behind one of the caller's descriptors, as prepare sees it; empty where there is none.
  std::string pathOf(uint64_t descriptor) const;

private:
  int openMemory() const;

  pid_t m_caller;
  bool m_isOf32Bit;
  std::string m_name;
  std::array<uint64_t, 6> m_arguments;
};

// Answer: what a call gives instead of going to the kernel: 0 or an error number; without a value the kernel does it.
using Answer = std::optional<int>;

// Watching_s: what is caught, and by whom.
struct Watching_s {
  std::vector<std::string> names;                                  // of the calls, as the kernel calls them
  std::function<Answer(const CaughtCall_c&, std::string&)> answer; // its notes are appended to the text
  std::function<void()> prepare;                                   // runs before the first call is caught
};

// WatchedEnding_s: how the child ended, and the notes of the answers in order.
struct WatchedEnding_s {
  Ending_s ending;
  std::string notes;
};

// canCatchCalls: whether this machine lets a process hold the calls of another.
bool canCatchCalls();

// runWatched: runs the function as runInChild does, and waits also for the end of every process that it started.
//
//   Effects  prepare, answer and the function run in child processes: they cannot change what the caller's process
//            holds. The function's processes gain no privilege, whatever program they start. They leave no journal.
//   Fails    throws for the name of a call that is not known here
WatchedEnding_s runWatched(const Watching_s& watching, const std::function<void()>& function);

} // namespace TestSupport
