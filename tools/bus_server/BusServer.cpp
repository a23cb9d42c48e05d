#include "BusServer.h"

#include "HostClock.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <vector>

using namespace IsoBusHost;

namespace {

constexpr std::chrono::milliseconds holdAfterRawMode{20};
constexpr std::chrono::milliseconds longestLeaving{1000};
constexpr int sendBuffer = 131072; // bytes; left alone it grows to megabytes for each client that does not read

bool isPassing(int reason) {
  return reason == EAGAIN || reason == EWOULDBLOCK || reason == EINTR;
}

FileDescriptor_c openSpare() {
  return FileDescriptor_c(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

std::string listenError(uint16_t port) {
  return "127.0.0.1:" + std::to_string(port) + ": " + std::strerror(errno);
}

} // namespace

std::string BusServer_c::start(const ServerOptions_s& options) {
  m_options = options;
  // In this order: a second server on the same port leaves the files of the first one alone.
  const std::string error = listenOn(options.port);
  return error.empty() ? openFiles(options) : error;
}

std::string BusServer_c::openFiles(const ServerOptions_s& options) {
  std::string error;
  if (!options.captureFile.empty()) {
    m_capture = openPcap(options.captureFile, error);
  }
  if (error.empty() && !options.logFile.empty()) {
    m_log = openCandumpLog(options.logFile, error);
  }
  return error;
}

std::string BusServer_c::listenOn(uint16_t port) {
  m_listener = FileDescriptor_c(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const int on = 1;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  socklen_t size = sizeof address;
  auto* general = reinterpret_cast<sockaddr*>(&address);
  if (!m_listener.isOpen() || setsockopt(m_listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      bind(m_listener.get(), general, size) != 0 || listen(m_listener.get(), SOMAXCONN) != 0 ||
      getsockname(m_listener.get(), general, &size) != 0) {
    return listenError(port);
  }
  m_port = ntohs(address.sin_port);
  m_spare = openSpare();
  return {};
}

void BusServer_c::run(int stopDescriptor) {
  while (serveOnce(stopDescriptor)) {
  }
}

// serveOnce: waits for work and does it; gives false when it is time to stop.
bool BusServer_c::serveOnce(int stopDescriptor) {
  std::vector<pollfd> descriptors = {{stopDescriptor, POLLIN, 0}, {m_listener.get(), POLLIN, 0}};
  const Clock::time_point now = Clock::now();
  for (const Client_s& client : m_clients) {
    const bool wantsToWrite = !client.output.empty() && client.holdUntil <= now;
    descriptors.push_back({client.socket.get(), static_cast<short>(wantsToWrite ? POLLIN | POLLOUT : POLLIN), 0});
  }
  if (poll(descriptors.data(), descriptors.size(), waitMs(now)) < 0) {
    return true; // a signal, or no memory for the moment
  }
  auto descriptor = descriptors.cbegin() + 2;
  for (Client_s& client : m_clients) {
    if (((descriptor++)->revents & ~POLLOUT) != 0) {
      serve(client);
    }
  }
  for (Client_s& client : m_clients) {
    write(client);
  }
  removeClosed();
  if (descriptors[1].revents != 0) {
    acceptClients();
  }
  return descriptors[0].revents == 0;
}

// waitMs: until the next client may be written to again or has to go; -1 without one.
//
//   Takes    now: when it was decided which clients may be written to; a hold that ends later must end the wait
int BusServer_c::waitMs(Clock::time_point now) const {
  Clock::time_point due = Clock::time_point::max();
  for (const Client_s& client : m_clients) {
    if (client.leaving) {
      due = std::min(due, client.leaveUntil);
    }
    if (!client.output.empty() && client.holdUntil > now) {
      due = std::min(due, client.holdUntil);
    }
  }
  if (due == Clock::time_point::max()) {
    return -1;
  }
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(due - now).count();
  return static_cast<int>(std::max<decltype(left)>(left, 0)) + 1;
}

void BusServer_c::acceptClients() {
  constexpr int mostAtOnce = 64;
  for (int i = 0; i < mostAtOnce && acceptClient(); ++i) {
  }
}

// acceptClient: gives false when nobody waits any more.
bool BusServer_c::acceptClient() {
  FileDescriptor_c socket(accept4(m_listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!socket.isOpen()) {
    if (errno == EMFILE || errno == ENFILE) {
      return refuseForWantOfDescriptors();
    }
    return errno == ECONNABORTED || errno == EINTR;
  }
  const int on = 1;
  setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  setsockopt(socket.get(), SOL_SOCKET, SO_SNDBUF, &sendBuffer, sizeof sendBuffer);
  if (m_clients.size() >= mostClients) {
    constexpr char tooMany[] = "< error too many clients >";
    send(socket.get(), tooMany, sizeof tooMany - 1, MSG_NOSIGNAL);
    ++m_counters.refused;
    return true;
  }
  ++m_counters.clients;
  m_clients.emplace_back(std::move(socket), m_options.buses, *this);
  m_clients.back().session.greet();
  write(m_clients.back());
  return true;
}

// A client that cannot be accepted would keep the listener readable for ever.
bool BusServer_c::refuseForWantOfDescriptors() {
  m_spare.close();
  FileDescriptor_c socket(accept(m_listener.get(), nullptr, nullptr));
  const bool somebodyWaited = socket.isOpen();
  socket.close();
  m_spare = openSpare();
  m_counters.refused += somebodyWaited ? 1 : 0;
  return somebodyWaited;
}

void BusServer_c::serve(Client_s& client) {
  if (client.leaving) {
    discard(client);
    return;
  }
  std::array<char, 16384> bytes;
  const ssize_t size = recv(client.socket.get(), bytes.data(), bytes.size(), 0);
  if (size <= 0) {
    if (size == 0 || !isPassing(errno)) {
      client.socket.close();
    }
    return;
  }
  const bool wasInRawMode = client.session.isInRawMode();
  client.session.feed({bytes.data(), static_cast<size_t>(size)});
  if (client.session.isOver()) {
    beginLeaving(client);
  } else if (!wasInRawMode && client.session.isInRawMode()) {
    // Clients take what one recv() gives for one answer: the answer must not arrive together with a frame. Chosen.
    write(client);
    client.holdUntil = Clock::now() + holdAfterRawMode;
  }
}

// beginLeaving: the client is closed when it has closed, or after a while. Closed at once, with bytes unread, the
// connection would be reset and the client might never see the reason.
void BusServer_c::beginLeaving(Client_s& client) {
  ++m_counters.closed;
  client.leaving = true;
  client.leaveUntil = Clock::now() + longestLeaving;
  client.holdUntil = {};
  write(client);
  shutdown(client.socket.get(), SHUT_WR);
}

void BusServer_c::discard(Client_s& client) {
  std::array<char, 65536> bytes;
  const ssize_t size = recv(client.socket.get(), bytes.data(), bytes.size(), 0);
  if (size == 0 || (size < 0 && !isPassing(errno))) {
    client.socket.close();
  }
}

void BusServer_c::write(Client_s& client) {
  const bool isHeld = client.holdUntil > Clock::now();
  while (!client.output.empty() && client.socket.isOpen() && !isHeld) {
    const ssize_t size = send(client.socket.get(), client.output.data(), client.output.size(), MSG_NOSIGNAL);
    if (size < 0) {
      if (!isPassing(errno)) {
        client.socket.close();
      }
      return;
    }
    client.output.erase(0, static_cast<size_t>(size));
  }
}

void BusServer_c::post(Client_s& client, const std::string& text) {
  if (client.output.size() + text.size() > mostUnsent) {
    ++m_counters.dropped;
    return;
  }
  client.output += text;
}

void BusServer_c::removeClosed() {
  const Clock::time_point now = Clock::now();
  for (auto client = m_clients.begin(); client != m_clients.end();) {
    if (client->socket.isOpen() && (!client->leaving || client->leaveUntil > now)) {
      ++client;
      continue;
    }
    m_counters.malformed += client->session.malformed();
    client = m_clients.erase(client);
  }
}

void BusServer_c::onAnswer(ClientSession_c& session, const std::string& text) {
  for (Client_s& client : m_clients) {
    if (&client.session == &session) {
      post(client, text);
    }
  }
}

// A frame begins a new line. Nothing asks for it, but there are clients that lose the byte behind the last whole
// message of a read, which would be the '<' of the next one.
void BusServer_c::onFrame(ClientSession_c& session, const CanFrame_s& frame) {
  const uint64_t timeUs = HostClock::wallClockUs();
  const std::string text = '\n' + frameText(frame, timeUs);
  ++m_counters.frames;
  record(*session.bus(), frame, timeUs);
  for (Client_s& client : m_clients) {
    const bool listens = client.session.isInRawMode() && client.session.bus() == session.bus() && !client.leaving;
    if (listens && &client.session != &session) {
      post(client, text);
    }
  }
}

void BusServer_c::record(unsigned int bus, const CanFrame_s& frame, uint64_t wallClockUs) {
  const std::string name = "can" + std::to_string(bus);
  if (m_capture && bus == m_options.captureBus) {
    m_capture->write(frame, name, wallClockUs);
  }
  if (m_log) {
    m_log->write(frame, name, wallClockUs);
  }
}

ServerCounters_s BusServer_c::counters() const {
  ServerCounters_s counters = m_counters;
  for (const Client_s& client : m_clients) {
    counters.malformed += client.session.malformed();
  }
  return counters;
}

std::string BusServer_c::failure() const {
  if (m_capture && !m_capture->isGood()) {
    return m_options.captureFile + ": not all frames could be written";
  }
  if (m_log && !m_log->isGood()) {
    return m_options.logFile + ": not all frames could be written";
  }
  return {};
}
