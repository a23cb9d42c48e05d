// Runs a function in a child process and tells exactly how the child ended and what it left behind.
//
//   Threads: the caller's process has one thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace TestSupport {

// Ending_s: how a child process ended.
struct Ending_s {
  int exitStatus = -1; // -1 when a signal ended it
  int signal = 0;      // 0 when it ended by itself
  std::string standardOutput;
  std::string standardError;
  std::string journal; // as journalText(), also of a child that aborted
};

// uncaughtException: the exit status of a child whose function let an exception out.
constexpr int uncaughtException = 99;

// runInChild: forks, runs the function with standard output and standard error on pipes, and waits for the end.
//
//   Gives    what the child wrote, byte for byte; its exit status is 0 when the function returned
//   Effects  the child's standard output is fully buffered, as it is for a program whose output goes into a pipe; what
//            an aborting child has not flushed is lost. The child leaves through _exit: no leak check looks at it.
Ending_s runInChild(const std::function<void()>& function);

// runProgram: runs a program found through PATH with the given arguments and standard input.
Ending_s runProgram(const std::vector<std::string>& arguments, const std::string& standardInput = {});

} // namespace TestSupport
