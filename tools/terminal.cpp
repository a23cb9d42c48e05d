// zemo-terminal: a virtual terminal on the bus, without a picture.
#include "desk/DeskCapture.h"
#include "terminal/ChangeText.h"
#include "terminal/TerminalLines.h"
#include "terminal/TerminalOptions.h"

#include "FileDescriptor.h"
#include "HostClock.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

using namespace IsoBusHost;

namespace {

int fail(const std::string& why) {
  std::fprintf(stderr, "zemo-terminal: %s\n", why.c_str());
  return 1;
}

// stopSignals: gives a descriptor that becomes readable with SIGINT or SIGTERM, which end the program no more.
FileDescriptor_c stopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return FileDescriptor_c(signalfd(-1, &signals, SFD_CLOEXEC));
}

// Program_c: the terminal between its bus, standard input and standard output.
class Program_c {
public:
  Program_c(CanPort_c& port, const TerminalOptions_s& options)
      : m_port(port), m_node(port), m_terminal(m_node, options.settings), m_startMs(HostClock::nowMs()),
        m_endMs(options.desk.seconds == 0 ? never : m_startMs + static_cast<uint64_t>(options.desk.seconds) * 1000) {
    m_terminal.onChange([this, &options](const TerminalClient_s& client, const Change_s& change) {
      m_changes += 1;
      if (!options.quiet) {
        say(changeText(client, change, m_terminal.model(client.address)));
      }
    });
  }

  Terminal_c& terminal() { return m_terminal; }

  // run: until a signal, the line that ends the program, or the end of its time; gives an error or an empty text.
  std::string run(int stop) {
    while (!m_bEnd && HostClock::nowMs() < m_endMs) {
      m_terminal.poll();
      if (!m_port.transport().isOpen()) {
        return m_port.transport().error();
      }
      if (m_terminal.hasFailed()) {
        return "no address could be claimed";
      }
      if (!m_bOnBus && m_terminal.address() != nullAddress) {
        m_bOnBus = true;
        say("on the bus at address " + std::to_string(m_terminal.address()));
      }
      wait(stop);
    }
    return {};
  }

  void printSummary() const {
    std::printf("%" PRIu64 " changes, %" PRIu64 " frames received, %" PRIu64 " sent\n", m_changes,
                m_port.framesReceived(), m_port.framesSent());
    std::fflush(stdout);
  }

private:
  void say(const std::string& line) const {
    std::printf("%.3f %s\n", static_cast<double>(HostClock::nowMs() - m_startMs) / 1000, line.c_str());
    std::fflush(stdout);
  }

  void wait(int stop) {
    constexpr uint64_t longestWaitMs = 1000;
    constexpr uint64_t blockedWaitMs = 10;
    const uint64_t nowMs = HostClock::nowMs();
    const uint64_t dueMs = std::min(m_terminal.nextDueMs(), m_endMs);
    uint64_t waitMs = dueMs > nowMs ? std::min(dueMs - nowMs, longestWaitMs) : 0;
    waitMs = m_port.isBlocked() ? std::min(waitMs, blockedWaitMs) : waitMs;
    waitMs = m_port.hasPending() ? 0 : waitMs;
    std::array<pollfd, 3> waiting = {pollfd{stop, POLLIN, 0}, pollfd{m_bInput ? STDIN_FILENO : -1, POLLIN, 0},
                                     pollfd{m_port.transport().descriptor(), POLLIN, 0}};
    if (m_port.transport().hasUnsent()) {
      waiting[2].events |= POLLOUT;
    }
    if (poll(waiting.data(), waiting.size(), static_cast<int>(waitMs)) <= 0) {
      return;
    }
    m_bEnd = waiting[0].revents != 0;
    if (waiting[1].revents != 0) {
      readInput();
    }
  }

  // readInput: without standard input the program goes on; a line without an end counts there.
  void readInput() {
    constexpr std::size_t longestLine = 65536;
    std::array<char, 4096> bytes{};
    const ssize_t size = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (size <= 0) {
      m_bInput = false;
      m_input += m_input.empty() ? "" : "\n";
    } else {
      m_input.append(bytes.data(), static_cast<std::size_t>(size));
    }
    std::size_t begin = 0;
    for (std::size_t end = m_input.find('\n'); end != std::string::npos && !m_bEnd; end = m_input.find('\n', begin)) {
      runInputLine(m_input.substr(begin, end - begin));
      begin = end + 1;
    }
    m_input.erase(0, begin);
    if (m_input.size() > longestLine) {
      m_input.clear();
      std::fprintf(stderr, "zemo-terminal: a line is too long\n");
    }
  }

  void runInputLine(const std::string& line) {
    const LineResult_s result = runLine(m_terminal, line);
    if (!result.error.empty()) {
      std::fprintf(stderr, "zemo-terminal: %s\n", result.error.c_str());
    }
    std::fputs(result.text.c_str(), stdout);
    std::fflush(stdout);
    m_bEnd = result.isEnd;
  }

  CanPort_c& m_port;
  BusNode_c m_node;
  Terminal_c m_terminal;
  uint64_t m_startMs;
  uint64_t m_endMs;
  uint64_t m_changes = 0;
  std::string m_input;
  bool m_bInput = true;
  bool m_bOnBus = false;
  bool m_bEnd = false;
};

} // namespace

int main(int argc, char** argv) {
  TerminalOptions_s options;
  if (const auto exitStatus = parseTerminalOptions(argc, argv, options)) {
    return *exitStatus;
  }
  std::signal(SIGPIPE, SIG_IGN); // standard output may be a pipe that nobody reads any more
  const FileDescriptor_c stop = stopSignals();
  if (!stop.isOpen()) {
    return fail(std::strerror(errno));
  }
  const std::string bus = toolBus(options.desk);
  if (bus.empty()) {
    return fail(noToolBus);
  }
  std::string error;
  auto transport = openTransport(bus, error);
  if (!transport) {
    return fail(error);
  }
  DeskCapture_c capture;
  error = capture.open(options.desk);
  if (!error.empty()) {
    return fail(error);
  }
  CanPort_c port(std::move(transport));
  port.observe(
      [&capture](const CanFrame_s& frame, Direction_e, uint64_t timeUs) { capture.write("can0", frame, timeUs); });
  Program_c program(port, options);
  error = options.versionFolder.empty() ? std::string() : program.terminal().openVersions(options.versionFolder);
  if (!error.empty()) {
    return fail(error);
  }
  error = program.run(stop.get());
  program.printSummary();
  const std::string incomplete = capture.close();
  if (!error.empty() || !incomplete.empty()) {
    return fail(error.empty() ? incomplete : error);
  }
  return 0;
}
