#include "FileDescriptor.h"
#include "SocketcandText.h"
#include "Transports.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

namespace IsoBusHost {

namespace {

using Clock = std::chrono::steady_clock; // what a server may take is real time, also under a clock turned by hand

constexpr std::chrono::milliseconds longestOpening{2000};
constexpr size_t mostUnsent = 65536;     // bytes
constexpr size_t mostUnfinished = 65536; // bytes without the end of a message

// waitFor: waits until the descriptor is ready for the events or the time is over.
bool waitFor(int descriptor, short events, Clock::time_point deadline) {
  pollfd waiting = {descriptor, events, 0};
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    const int ready = poll(&waiting, 1, static_cast<int>(std::max<decltype(left)>(left, 0)));
    if (ready > 0) {
      return true;
    }
    if (ready == 0 || errno != EINTR) {
      return false;
    }
  }
}

// connectTo: gives a connected socket that never waits, or a closed one and the reason.
FileDescriptor_c connectTo(const addrinfo& address, Clock::time_point deadline, std::string& reason) {
  FileDescriptor_c socket(::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  int failure = 0;
  if (!socket.isOpen() || connect(socket.get(), address.ai_addr, address.ai_addrlen) != 0) {
    failure = errno;
  }
  if (failure == EINPROGRESS) {
    socklen_t size = sizeof failure;
    const bool isDecided = waitFor(socket.get(), POLLOUT, deadline);
    if (!isDecided || getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &failure, &size) != 0) {
      failure = ETIMEDOUT;
    }
  }
  if (failure != 0) {
    reason = std::strerror(failure);
    return {};
  }
  const int on = 1;
  setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return socket;
}

FileDescriptor_c connectTo(const std::string& host, const std::string& port, Clock::time_point deadline,
                           std::string& reason) {
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int failure = getaddrinfo(host.c_str(), port.c_str(), &wanted, &found);
  if (failure != 0) {
    reason = gai_strerror(failure);
    return {};
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, &freeaddrinfo);
  FileDescriptor_c socket;
  for (const addrinfo* address = found; address != nullptr && !socket.isOpen(); address = address->ai_next) {
    socket = connectTo(*address, deadline, reason);
  }
  return socket;
}

class Socketcand_c : public CanTransport_c {
public:
  Socketcand_c(FileDescriptor_c socket, std::string address, std::string bus)
      : m_socket(std::move(socket)), m_address(std::move(address)), m_bus(std::move(bus)) {}

  // enterBus: talks with the server until frames can pass.
  bool enterBus(Clock::time_point deadline) {
    while (m_state != State_e::raw && isOpen()) {
      const short events = hasUnsent() ? POLLIN | POLLOUT : POLLIN;
      if (!waitFor(m_socket.get(), events, deadline) || Clock::now() >= deadline) {
        close("the server does not answer");
      }
      flush();
      readSome();
    }
    return isOpen();
  }

  bool send(const CanFrame_s& frame) override {
    const bool isTaken = isDataFrame(frame) && isOpen() && post(sendText(frame));
    ++(isTaken ? m_statistics.sent : m_statistics.refused);
    return isTaken;
  }

  std::optional<CanFrame_s> receive() override {
    if (m_arrived.empty()) {
      readSome();
    }
    if (m_arrived.empty()) {
      return std::nullopt;
    }
    const CanFrame_s frame = m_arrived.front();
    m_arrived.pop_front();
    ++m_statistics.received;
    return frame;
  }

  bool hasPending() const override { return !m_arrived.empty() || (isOpen() && isReadable(m_socket.get())); }
  int descriptor() const override { return m_socket.get(); }
  bool hasUnsent() const override { return !m_output.empty(); }

  void flush() override {
    while (!m_output.empty() && isOpen()) {
      const ssize_t size = ::send(m_socket.get(), m_output.data(), m_output.size(), MSG_NOSIGNAL);
      if (size < 0) {
        closeUnlessPassing();
        return;
      }
      m_output.erase(0, static_cast<size_t>(size));
    }
  }

  bool isOpen() const override { return m_socket.isOpen(); }
  std::string error() const override { return m_error; }
  const TransportStatistics_s& statistics() const override { return m_statistics; }

private:
  enum class State_e { greeting, opening, entering, raw };

  // post: gives false, and takes no part of the text, when too much waits already.
  bool post(const std::string& text) {
    if (m_output.size() + text.size() > mostUnsent) {
      flush();
    }
    if (!isOpen() || m_output.size() + text.size() > mostUnsent) {
      return false;
    }
    m_output += text;
    flush();
    return isOpen();
  }

  // readSome: reads until a frame is there, at most a bounded number of bytes.
  void readSome() {
    constexpr int mostReads = 16;
    std::array<char, 16384> bytes;
    for (int i = 0; i < mostReads && m_arrived.empty() && isOpen(); ++i) {
      const ssize_t size = recv(m_socket.get(), bytes.data(), bytes.size(), 0);
      if (size == 0) {
        close("the server has closed the connection");
      } else if (size < 0) {
        closeUnlessPassing();
        return;
      } else {
        read({bytes.data(), static_cast<size_t>(size)});
      }
    }
  }

  void read(std::string_view bytes) {
    m_reader.feed(bytes, [this](std::string_view message) {
      take(message);
      return isOpen();
    });
    m_statistics.malformed = m_unreadable + m_reader.dropped();
    if (m_reader.unfinished() > mostUnfinished) {
      close("the server does not speak the socketcand protocol");
    }
  }

  void take(std::string_view message) {
    if (m_state != State_e::raw) {
      takeAnswer(message);
    } else if (const auto frame = readFrameMessage(message)) {
      m_arrived.push_back(*frame);
    } else {
      ++m_unreadable;
    }
  }

  void takeAnswer(std::string_view message) {
    if (message != (m_state == State_e::greeting ? "hi" : "ok")) {
      close("the server answered \"" + printable(message) + '"');
    } else if (m_state == State_e::greeting) {
      m_state = State_e::opening;
      post("< open " + m_bus + " >");
    } else if (m_state == State_e::opening) {
      m_state = State_e::entering;
      post("< rawmode >");
    } else {
      m_state = State_e::raw;
    }
  }

  static std::string printable(std::string_view message) {
    constexpr size_t longest = 100;
    std::string text(message.substr(0, longest));
    std::replace_if(
        text.begin(), text.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
    return text;
  }

  void closeUnlessPassing() {
    if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
      close(std::strerror(errno));
    }
  }

  void close(const std::string& reason) {
    m_error = m_address + ": " + reason;
    m_socket.close();
    m_output.clear();
  }

  FileDescriptor_c m_socket;
  std::string m_address;
  std::string m_bus;
  std::string m_error;
  State_e m_state = State_e::greeting;
  SocketcandReader_c m_reader;
  std::deque<CanFrame_s> m_arrived;
  std::string m_output;
  uint64_t m_unreadable = 0;
  TransportStatistics_s m_statistics;
};

} // namespace

std::unique_ptr<CanTransport_c> openSocketcand(const std::string& host, const std::string& port, const std::string& bus,
                                               std::string& error) {
  const bool isIpv6 = host.find(':') != std::string::npos;
  const std::string address = "socketcand:" + (isIpv6 ? '[' + host + ']' : host) + ':' + port + '/' + bus;
  const Clock::time_point deadline = Clock::now() + longestOpening;
  std::string reason;
  FileDescriptor_c socket = connectTo(host, port, deadline, reason);
  if (!socket.isOpen()) {
    error = address + ": " + reason;
    return nullptr;
  }
  auto transport = std::make_unique<Socketcand_c>(std::move(socket), address, bus);
  if (!transport->enterBus(deadline)) {
    error = transport->error();
    return nullptr;
  }
  return transport;
}

} // namespace IsoBusHost
