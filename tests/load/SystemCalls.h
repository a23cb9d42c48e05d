// The system calls of a program from its first instruction to its end, as far as they open, change or start something.
#pragma once

#include <string>
#include <vector>

namespace TestSupport {

struct SystemCalls_s {
  bool isTraced = false; // false: this machine does not let a process be traced
  int exitStatus = -1;
  std::vector<std::string> opened;  // files opened, also those that are not there
  std::vector<std::string> changed; // files opened to be written or created, folders made, names taken away
  int started = 0;                  // threads and processes
  int signalHandlers = 0;           // handlers installed that are neither default nor ignore
  int sockets = 0;
};

// traceProgram: runs a program of the bitness of this one, its output thrown away. What it starts is not followed.
SystemCalls_s traceProgram(const std::vector<std::string>& arguments);

} // namespace TestSupport
