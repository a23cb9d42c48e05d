// The system calls of a program from its first instruction to its end, as far as they open, change or start something.
#pragma once

#include <functional>
#include <optional>
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

// openedBesidesLibraries: the files opened that are no libraries and not the loader's own.
std::vector<std::string> openedBesidesLibraries(const SystemCalls_s& calls);

// systemCallsOf: runs a function in a child process, its standard error thrown away.
//
//   Gives    every system call that the function makes, in order, in 32 bit as in 64; nothing where this machine does
//            not let a process be traced
//
//   open "/tmp/log.txt" O_RDWR|O_CREAT|O_APPEND|O_CLOEXEC 666
//   seek
//   write to the file "5 ha\n"                   a file is any descriptor but the three standard ones
//   write to standard error "5 ha\n"
//   close the file
//   system call 39                               every other, with its number
std::optional<std::vector<std::string>> systemCallsOf(const std::function<void()>& function);

} // namespace TestSupport
