#include "CaughtCalls.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace TestSupport {

namespace {

constexpr int none = -1;

// The numbers of the calls for both kinds of programs: a program of 32 bits starts shells of 64 bits.
struct CallNumbers_s {
  const char* name;
  int in64;
  int in32;
};

constexpr std::array<CallNumbers_s, 12> callNumbers = {{{"open", 2, 5},
                                                        {"openat", 257, 295},
                                                        {"close", 3, 6},
                                                        {"ioctl", 16, 54},
                                                        {"settimeofday", 164, 79},
                                                        {"stime", none, 25},
                                                        {"clock_settime", 227, 264},
                                                        {"clock_settime64", none, 404},
                                                        {"adjtimex", 159, 124},
                                                        {"clock_adjtime", 305, 343},
                                                        {"clock_adjtime64", none, 405},
                                                        {"sysinfo", 99, 116}}};

void check(bool isDone, const std::string& what) {
  if (!isDone) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
  }
}

const CallNumbers_s& numbersOf(const std::string& name) {
  for (const CallNumbers_s& numbers : callNumbers) {
    if (name == numbers.name) {
      return numbers;
    }
  }
  throw std::runtime_error("no call named " + name);
}

std::string nameOf(bool isOf32Bit, int number) {
  for (const CallNumbers_s& numbers : callNumbers) {
    if (number == (isOf32Bit ? numbers.in32 : numbers.in64)) {
      return numbers.name;
    }
  }
  throw std::runtime_error("a call that was not to be caught");
}

// Filter_c: the kernel's program that says which calls are held.
class Filter_c {
public:
  explicit Filter_c(const std::vector<std::string>& names) {
    std::vector<int> in64;
    std::vector<int> in32;
    for (const std::string& name : names) {
      const CallNumbers_s& numbers = numbersOf(name);
      in64.push_back(numbers.in64);
      in32.push_back(numbers.in32);
    }
    load(offsetof(seccomp_data, arch));
    addPart(AUDIT_ARCH_X86_64, in64);
    addPart(AUDIT_ARCH_I386, in32);
    add(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS);
  }

  int install() {
    sock_fprog program = {static_cast<unsigned short>(m_program.size()), m_program.data()};
    check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "no new privileges");
    return static_cast<int>(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
  }

private:
  // The third kind of programs, of 64 bits with short pointers, has numbers from here on: there is no such call for it.
  static constexpr uint32_t shortPointers = 0x40000000;

  void add(int code, uint32_t value, std::size_t ifTrue = 0, std::size_t ifFalse = 0) {
    m_program.push_back(
        {static_cast<uint16_t>(code), static_cast<uint8_t>(ifTrue), static_cast<uint8_t>(ifFalse), value});
  }
  void load(std::size_t offset) { add(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset)); }

  void addPart(uint32_t kind, const std::vector<int>& numbers) {
    constexpr std::size_t othersOfPart = 4;
    add(BPF_JMP | BPF_JEQ | BPF_K, kind, 0, 2 * numbers.size() + othersOfPart);
    load(offsetof(seccomp_data, nr));
    for (const int number : numbers) {
      add(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(number), 0, 1);
      add(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF);
    }
    add(BPF_JMP | BPF_JGE | BPF_K, shortPointers, 0, 1);
    add(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS);
    add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  }

  std::vector<sock_filter> m_program;
};

// A descriptor from one process to another.
struct Parcel_s {
  char byte = 0;
  iovec content = {&byte, 1};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control = {};
  msghdr message = {};

  Parcel_s() {
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
  }
};

void sendDescriptor(int socket, int descriptor) {
  Parcel_s parcel;
  cmsghdr* header = CMSG_FIRSTHDR(&parcel.message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof descriptor);
  std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  check(sendmsg(socket, &parcel.message, 0) == 1, "no descriptor sent");
}

// receiveDescriptor: -1 where none comes.
int receiveDescriptor(int socket) {
  Parcel_s parcel;
  const cmsghdr* header = recvmsg(socket, &parcel.message, 0) == 1 ? CMSG_FIRSTHDR(&parcel.message) : nullptr;
  if (header == nullptr) {
    return none;
  }
  int descriptor = none;
  std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
  return descriptor;
}

Answer answerOf(const Watching_s& watching, const seccomp_notif& held, std::string& notes) {
  std::array<uint64_t, 6> arguments{};
  std::memcpy(arguments.data(), &held.data.args[0], sizeof held.data.args);
  const bool isOf32Bit = held.data.arch == AUDIT_ARCH_I386;
  try {
    const CaughtCall_c call(static_cast<pid_t>(held.pid), isOf32Bit, nameOf(isOf32Bit, held.data.nr), arguments);
    return watching.answer(call, notes);
  } catch (const std::exception& problem) {
    notes += std::string("problem: ") + problem.what() + "\n";
    return EPERM;
  }
}

void serveOne(const Watching_s& watching, int listener, std::string& notes) {
  seccomp_notif held = {};
  if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &held) != 0) {
    return; // the caller has ended meanwhile
  }
  const Answer answer = answerOf(watching, held, notes);
  seccomp_notif_resp response = {};
  response.id = held.id;
  response.error = -answer.value_or(0);
  response.flags = answer ? 0 : SECCOMP_USER_NOTIF_FLAG_CONTINUE;
  ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &response);
}

// Takes the ends of the held process and of what it leaves behind: until Linux 6.11 a filter lives as long as the
// process table has an entry for one of its processes.
class Ends_c {
public:
  Ends_c() {
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGCHLD);
    check(sigprocmask(SIG_BLOCK, &ends, &m_before) == 0, "no signals can be held");
    m_descriptor = signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK);
    check(m_descriptor >= 0 && prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) == 0, "no ends can be seen");
  }

  int descriptor() const { return m_descriptor; }

  void forgetInChild() const {
    close(m_descriptor);
    sigprocmask(SIG_SETMASK, &m_before, nullptr);
  }

  void take(pid_t child, std::optional<int>& statusOfChild) const {
    signalfd_siginfo seen = {};
    while (read(m_descriptor, &seen, sizeof seen) > 0) {
    }
    int status = 0;
    for (pid_t ended = waitpid(-1, &status, WNOHANG); ended > 0; ended = waitpid(-1, &status, WNOHANG)) {
      if (ended == child) {
        statusOfChild = status;
      }
    }
  }

private:
  sigset_t m_before = {};
  int m_descriptor = none;
};

// Until the last process whose calls are held has ended.
std::string serve(const Watching_s& watching, int listener, const Ends_c& ends, pid_t child,
                  std::optional<int>& statusOfChild) {
  std::string notes;
  std::array<pollfd, 2> waiting = {{{listener, POLLIN, 0}, {ends.descriptor(), POLLIN, 0}}};
  while (poll(waiting.data(), waiting.size(), -1) >= 0 && (waiting[0].revents & POLLHUP) == 0) {
    if ((waiting[0].revents & POLLIN) != 0) {
      serveOne(watching, listener, notes);
    }
    ends.take(child, statusOfChild);
  }
  return notes;
}

[[noreturn]] void runHeld(const Watching_s& watching, int socket, const std::function<void()>& function) {
  int status = 0;
  try {
    const int listener = Filter_c(watching.names).install();
    check(listener >= 0, "no calls can be held");
    sendDescriptor(socket, listener);
    close(listener);
    close(socket);
    function();
  } catch (const std::exception& problem) {
    std::cerr << problem.what() << "\n";
    status = uncaughtException;
  }
  std::cout.flush();
  std::fflush(nullptr);
  _exit(status);
}

[[noreturn]] void endAs(int status) {
  if (!WIFSIGNALED(status)) {
    _exit(WEXITSTATUS(status));
  }
  std::signal(WTERMSIG(status), SIG_DFL);
  std::raise(WTERMSIG(status));
  _exit(uncaughtException);
}

// Runs in a child process, so that its caller is free to take the output.
[[noreturn]] void watch(const Watching_s& watching, int notesFile, const std::function<void()>& function) {
  if (watching.prepare) {
    watching.prepare();
  }
  std::array<int, 2> sockets{};
  check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) == 0, "no sockets");
  const Ends_c ends;
  const pid_t child = fork();
  check(child >= 0, "no child process");
  if (child == 0) {
    ends.forgetInChild();
    close(sockets[0]);
    runHeld(watching, sockets[1], function);
  }
  close(sockets[1]);
  const int listener = receiveDescriptor(sockets[0]);
  std::optional<int> status;
  const std::string notes = listener < 0 ? "" : serve(watching, listener, ends, child, status);
  check(write(notesFile, notes.data(), notes.size()) == static_cast<ssize_t>(notes.size()), "no notes");
  if (!status) {
    check(waitpid(child, &status.emplace(), 0) == child, "no child to wait for");
  }
  endAs(*status);
}

std::string contentsOf(int file) {
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  check(pread(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()), "no notes to read");
  return text;
}

} // namespace

CaughtCall_c::CaughtCall_c(pid_t caller, bool isOf32Bit, std::string name, const std::array<uint64_t, 6>& arguments)
    : m_caller(caller), m_isOf32Bit(isOf32Bit), m_name(std::move(name)), m_arguments(arguments) {}

int CaughtCall_c::openMemory() const {
  const std::string path = "/proc/" + std::to_string(m_caller) + "/mem";
  const int memory = open(path.c_str(), O_RDWR | O_CLOEXEC);
  check(memory >= 0, path);
  return memory;
}

std::string CaughtCall_c::textAt(uint64_t address) const {
  std::string text;
  for (char character = ' '; character != '\0'; ++address) {
    read(address, &character, 1);
    text.push_back(character);
  }
  text.pop_back();
  return text;
}

void CaughtCall_c::read(uint64_t address, void* bytes, std::size_t size) const {
  const int memory = openMemory();
  const ssize_t count = pread64(memory, bytes, size, static_cast<off64_t>(address));
  close(memory);
  check(count == static_cast<ssize_t>(size), "memory cannot be read");
}

void CaughtCall_c::write(uint64_t address, const void* bytes, std::size_t size) const {
  const int memory = openMemory();
  const ssize_t count = pwrite64(memory, bytes, size, static_cast<off64_t>(address));
  close(memory);
  check(count == static_cast<ssize_t>(size), "memory cannot be written");
}

std::string CaughtCall_c::pathOf(uint64_t descriptor) const {
  const std::string link = "/proc/" + std::to_string(m_caller) + "/fd/" + std::to_string(descriptor);
  std::array<char, 4096> path{};
  const ssize_t size = readlink(link.c_str(), path.data(), path.size());
  return size < 0 ? "" : std::string(path.data(), static_cast<std::size_t>(size));
}

bool canCatchCalls() {
  Watching_s watching;
  watching.names = {"sysinfo"};
  watching.answer = [](const CaughtCall_c& call, std::string& notes) {
    uint32_t word = 0;
    call.read(call.argument(0), &word, sizeof word);
    notes += "caught";
    return Answer(EPERM);
  };
  std::array<uint32_t, 64> memory{};
  const WatchedEnding_s run = runWatched(watching, [&memory] { syscall(SYS_sysinfo, memory.data()); });
  return run.ending.exitStatus == 0 && run.notes == "caught";
}

WatchedEnding_s runWatched(const Watching_s& watching, const std::function<void()>& function) {
  for (const std::string& name : watching.names) {
    static_cast<void>(numbersOf(name));
  }
  const int notesFile = memfd_create("notes", MFD_CLOEXEC);
  check(notesFile >= 0, "no file for notes");
  WatchedEnding_s run;
  run.ending = runInChild([&] { watch(watching, notesFile, function); });
  run.notes = contentsOf(notesFile);
  close(notesFile);
  return run;
}

} // namespace TestSupport
