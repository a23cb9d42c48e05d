// Lets the kernel refuse system calls, for what cannot be made to fail otherwise.
//
//   Order of use: within runInChild; a refusal lasts until the process ends.
#pragma once

#include <optional>

namespace TestSupport {

// haveSystemCallFilter: whether this machine lets a process filter its system calls; asked in a child process.
bool haveSystemCallFilter();

// refuseSystemCall: from here on a system call fails with an error number and does nothing.
//
//   Takes    number: of the system call (SYS_...)
//            error: what errno is set to
//            firstArgument: refuse it only where its first argument has this value
//   Fails    throws
void refuseSystemCall(long number, int error, std::optional<int> firstArgument = std::nullopt);

} // namespace TestSupport
