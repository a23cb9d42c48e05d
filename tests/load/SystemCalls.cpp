#include "SystemCalls.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/net.h>
#include <stdexcept>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

namespace {

constexpr int notTraced = 126;

std::string textAt(pid_t child, uint64_t address) {
  std::string text;
  while (text.size() < 4096) {
    errno = 0;
    const long word = ptrace(PTRACE_PEEKDATA, child, reinterpret_cast<void*>(address + text.size()), nullptr);
    if (errno != 0) {
      return text;
    }
    std::array<char, sizeof word> bytes{};
    std::memcpy(bytes.data(), &word, sizeof word);
    for (const char byte : bytes) {
      if (byte == '\0') {
        return text;
      }
      text.push_back(byte);
    }
  }
  return text;
}

// The handler is the first word of the structure that sigaction is given.
bool installsHandler(pid_t child, uint64_t action) {
  if (action == 0) {
    return false;
  }
  const long handler = ptrace(PTRACE_PEEKDATA, child, reinterpret_cast<void*>(action), nullptr);
  return handler != reinterpret_cast<long>(SIG_DFL) && handler != reinterpret_cast<long>(SIG_IGN);
}

void noteOpened(SystemCalls_s& calls, const std::string& path, uint64_t flags) {
  calls.opened.push_back(path);
  if ((flags & static_cast<uint64_t>(O_CREAT | O_WRONLY | O_RDWR | O_TRUNC)) != 0) {
    calls.changed.push_back(path);
  }
}

void note(SystemCalls_s& calls, pid_t child, uint64_t number, const __uint64_t* arguments) {
  switch (number) {
#ifdef SYS_open
  case SYS_open:
    noteOpened(calls, textAt(child, arguments[0]), arguments[1]);
    return;
  case SYS_creat:
  case SYS_mkdir:
  case SYS_unlink:
  case SYS_rename:
    calls.changed.push_back(textAt(child, arguments[0]));
    return;
  case SYS_fork:
  case SYS_vfork:
    ++calls.started;
    return;
#endif
  case SYS_openat:
    noteOpened(calls, textAt(child, arguments[1]), arguments[2]);
    return;
  case SYS_mkdirat:
  case SYS_unlinkat:
  case SYS_renameat2:
    calls.changed.push_back(textAt(child, arguments[1]));
    return;
  case SYS_clone:
  case SYS_clone3:
    ++calls.started;
    return;
  case SYS_rt_sigaction:
    calls.signalHandlers += installsHandler(child, arguments[1]) ? 1 : 0;
    return;
  case SYS_socket:
    ++calls.sockets;
    return;
#ifdef SYS_socketcall
  case SYS_socketcall:
    calls.sockets += arguments[0] == SYS_SOCKET ? 1 : 0;
    return;
#endif
  default:
    return;
  }
}

[[noreturn]] void becomeTraced(std::vector<std::string> arguments) {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
    _exit(notTraced);
  }
  // No leak check: it cannot run in a process that is traced.
  setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
  std::vector<char*> list;
  for (std::string& argument : arguments) {
    list.push_back(argument.data());
  }
  list.push_back(nullptr);
  execv(list[0], list.data());
  _exit(127);
}

bool isAtSystemCall(int status) {
  return WIFSTOPPED(status) && WSTOPSIG(status) == (SIGTRAP | 0x80);
}

} // namespace

SystemCalls_s traceProgram(const std::vector<std::string>& arguments) {
  SystemCalls_s calls;
  const pid_t child = fork();
  if (child < 0) {
    throw std::runtime_error("no child process");
  }
  if (child == 0) {
    becomeTraced(arguments);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFSTOPPED(status)) {
    return calls;
  }
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  calls.isTraced = true;
  int signal = 0;
  while (ptrace(PTRACE_SYSCALL, child, nullptr, signal) == 0 && waitpid(child, &status, 0) == child &&
         WIFSTOPPED(status)) {
    signal = 0;
    if (!isAtSystemCall(status)) {
      signal = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
      continue;
    }
    __ptrace_syscall_info info = {};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) > 0 && info.op == PTRACE_SYSCALL_INFO_ENTRY) {
      note(calls, child, info.entry.nr, info.entry.args);
    }
  }
  calls.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return calls;
}

} // namespace TestSupport
