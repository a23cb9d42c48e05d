#include "SystemCalls.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/net.h>
#include <stdexcept>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

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

void throwAway(int descriptor) {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, descriptor);
}

void askToBeTraced() {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
    _exit(notTraced);
  }
}

[[noreturn]] void becomeProgram(std::vector<std::string> arguments) {
  throwAway(STDOUT_FILENO);
  throwAway(STDERR_FILENO);
  askToBeTraced();
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

// The function's calls stand between two that nobody else makes.
constexpr auto marker = static_cast<uint64_t>(SYS_getppid);

[[noreturn]] void runBetweenMarkers(const std::function<void()>& function) {
  throwAway(STDERR_FILENO);
  askToBeTraced();
  raise(SIGSTOP);
  syscall(SYS_getppid);
  function();
  syscall(SYS_getppid);
  _exit(0);
}

std::string flagsText(uint64_t flags) {
  constexpr std::array<const char*, 3> access = {"O_RDONLY", "O_WRONLY", "O_RDWR"};
  std::string text = access.at(flags & O_ACCMODE);
  for (const auto& [flag, name] :
       {std::pair(O_CREAT, "O_CREAT"), std::pair(O_TRUNC, "O_TRUNC"), std::pair(O_APPEND, "O_APPEND"),
        std::pair(O_NONBLOCK, "O_NONBLOCK"), std::pair(O_CLOEXEC, "O_CLOEXEC")}) {
    text += (flags & static_cast<uint64_t>(flag)) != 0 ? std::string("|") + name : "";
  }
  return text;
}

std::string openText(pid_t child, uint64_t path, uint64_t flags, uint64_t mode) {
  std::string text = "open \"" + textAt(child, path) + "\" " + flagsText(flags);
  if ((flags & O_CREAT) != 0) {
    std::array<char, 16> octal{};
    std::snprintf(octal.data(), octal.size(), " %o", static_cast<unsigned int>(mode));
    text += octal.data();
  }
  return text;
}

std::string fileText(uint64_t descriptor) {
  return descriptor == STDERR_FILENO ? "standard error" : descriptor > STDERR_FILENO ? "the file" : "another";
}

std::string callText(pid_t child, uint64_t number, const __uint64_t* arguments) {
  switch (number) {
#ifdef SYS_open
  case SYS_open:
    return openText(child, arguments[0], arguments[1], arguments[2]);
#endif
  case SYS_openat:
    return openText(child, arguments[1], arguments[2], arguments[3]);
#ifdef SYS__llseek
  case SYS__llseek:
#endif
  case SYS_lseek:
    return "seek";
  case SYS_write:
    return "write to " + fileText(arguments[0]) + " \"" +
           textAt(child, arguments[1]).substr(0, static_cast<std::size_t>(arguments[2])) + "\"";
  case SYS_close:
    return "close " + fileText(arguments[0]);
  default:
    return "system call " + std::to_string(number);
  }
}

bool endsAsLibrary(const std::string& path) {
  const std::size_t name = path.rfind('/');
  return path.find(".so", name == std::string::npos ? 0 : name) != std::string::npos;
}

// What the loader and the sanitizers' run-time libraries open on their own account.
bool belongsToTheLoader(const std::string& path) {
  return path == "/etc/ld.so.cache" || path == "/etc/ld.so.preload" || path.compare(0, 6, "/proc/") == 0 ||
         path.compare(0, 5, "/sys/") == 0;
}

bool isAtSystemCall(int status) {
  return WIFSTOPPED(status) && WSTOPSIG(status) == (SIGTRAP | 0x80);
}

using Visit_t = std::function<void(pid_t child, uint64_t number, const __uint64_t* arguments)>;

// Gives the status that the child ended with, or nothing where it could not be traced.
std::optional<int> visitSystemCalls(const std::function<void()>& becomeChild, const Visit_t& visit) {
  const pid_t child = fork();
  if (child < 0) {
    throw std::runtime_error("no child process");
  }
  if (child == 0) {
    becomeChild();
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFSTOPPED(status)) {
    return std::nullopt;
  }
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
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
      visit(child, info.entry.nr, info.entry.args);
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

SystemCalls_s traceProgram(const std::vector<std::string>& arguments) {
  SystemCalls_s calls;
  const std::optional<int> status = visitSystemCalls(
      [&arguments] { becomeProgram(arguments); },
      [&calls](pid_t child, uint64_t number, const __uint64_t* values) { note(calls, child, number, values); });
  calls.isTraced = status.has_value();
  calls.exitStatus = status.value_or(-1);
  return calls;
}

std::vector<std::string> openedBesidesLibraries(const SystemCalls_s& calls) {
  std::vector<std::string> others;
  for (const std::string& path : calls.opened) {
    if (!endsAsLibrary(path) && !belongsToTheLoader(path)) {
      others.push_back(path);
    }
  }
  return others;
}

std::optional<std::vector<std::string>> systemCallsOf(const std::function<void()>& function) {
  std::vector<std::string> calls;
  int markers = 0;
  const std::optional<int> status =
      visitSystemCalls([&function] { runBetweenMarkers(function); },
                       [&calls, &markers](pid_t child, uint64_t number, const __uint64_t* arguments) {
                         if (number == marker) {
                           ++markers;
                         } else if (markers == 1) {
                           calls.push_back(callText(child, number, arguments));
                         }
                       });
  if (!status) {
    return std::nullopt;
  }
  if (markers != 2 || *status != 0) {
    throw std::runtime_error("the traced function has not returned");
  }
  return calls;
}

} // namespace TestSupport
