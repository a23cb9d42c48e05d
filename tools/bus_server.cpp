// zemo-bus-server: virtual CAN buses for several programs on one machine.
#include "bus_server/BusServer.h"

#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/signalfd.h>

namespace {

int fail(const std::string& what) {
  std::fprintf(stderr, "zemo-bus-server: %s\n", what.c_str());
  return 1;
}

// stopSignals: gives a descriptor that becomes readable with SIGINT or SIGTERM, which end the program no more.
IsoBusHost::FileDescriptor_c stopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return IsoBusHost::FileDescriptor_c(signalfd(-1, &signals, SFD_CLOEXEC));
}

void printSummary(const ServerCounters_s& counters) {
  std::printf("%" PRIu64 " clients, %" PRIu64 " frames, %" PRIu64 " dropped, %" PRIu64 " malformed, %" PRIu64
              " refused, %" PRIu64 " closed\n",
              counters.clients, counters.frames, counters.dropped, counters.malformed, counters.refused,
              counters.closed);
  std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
  ServerOptions_s options;
  if (const auto exitStatus = parseServerOptions(argc, argv, options)) {
    return *exitStatus;
  }
  std::signal(SIGPIPE, SIG_IGN); // standard output may be a pipe that nobody reads any more
  const IsoBusHost::FileDescriptor_c stop = stopSignals();
  if (!stop.isOpen()) {
    return fail(std::strerror(errno));
  }
  BusServer_c server;
  const std::string error = server.start(options);
  if (!error.empty()) {
    return fail(error);
  }
  std::printf("listening on 127.0.0.1:%u\n", static_cast<unsigned int>(server.port()));
  std::fflush(stdout);
  server.run(stop.get());
  printSummary(server.counters());
  return server.failure().empty() ? 0 : fail(server.failure());
}
