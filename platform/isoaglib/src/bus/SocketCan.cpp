#include "FileDescriptor.h"
#include "SocketCanFrame.h"
#include "Transports.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/can/raw.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace IsoBusHost {

namespace {

class SocketCan_c : public CanTransport_c {
public:
  SocketCan_c(FileDescriptor_c socket, std::string name) : m_socket(std::move(socket)), m_name(std::move(name)) {}

  bool send(const CanFrame_s& frame) override {
    if (!isDataFrame(frame) || !isOpen()) {
      ++m_statistics.refused;
      return false;
    }
    const can_frame raw = toSocketCan(frame);
    if (::send(m_socket.get(), &raw, sizeof raw, MSG_NOSIGNAL) != static_cast<ssize_t>(sizeof raw)) {
      ++m_statistics.refused;
      closeUnlessPassing(errno);
      return false;
    }
    ++m_statistics.sent;
    return true;
  }

  std::optional<CanFrame_s> receive() override {
    // Bounded, so that a bus full of frames that are no use cannot hold the caller.
    constexpr int mostReads = 64;
    for (int i = 0; i < mostReads && isOpen(); ++i) {
      can_frame raw{};
      const ssize_t size = read(raw);
      if (size <= 0) {
        closeUnlessPassing(size == 0 ? ENODEV : errno);
        return std::nullopt;
      }
      if (const auto frame = fromSocketCan(raw, static_cast<size_t>(size))) {
        ++m_statistics.received;
        return frame;
      }
      ++m_statistics.malformed;
    }
    return std::nullopt;
  }

  bool hasPending() const override { return isOpen() && isReadable(m_socket.get()); }
  int descriptor() const override { return m_socket.get(); }
  bool hasUnsent() const override { return false; }
  void flush() override {}
  bool isOpen() const override { return m_socket.isOpen(); }
  std::string error() const override { return m_error; }
  const TransportStatistics_s& statistics() const override { return m_statistics; }

private:
  ssize_t read(can_frame& raw) {
    iovec part = {&raw, sizeof raw};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(uint32_t))] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(m_socket.get(), &message, MSG_TRUNC);
    if (size > 0) {
      countLost(message);
    }
    return size;
  }

  // The kernel counts, in 32 bits, what the socket's queue had no room for, and says so with the next frame.
  void countLost(msghdr& message) {
    const cmsghdr* header = CMSG_FIRSTHDR(&message);
    if (header == nullptr || header->cmsg_level != SOL_SOCKET || header->cmsg_type != SO_RXQ_OVFL) {
      return;
    }
    uint32_t lost = 0;
    std::memcpy(&lost, CMSG_DATA(header), sizeof lost);
    m_statistics.overrun += lost - m_lost;
    m_lost = lost;
  }

  // A full queue empties. An interface that is down may come up again, but until then poll() would not wait, the frames
  // to be sent would grow old, and nobody would be told.
  void closeUnlessPassing(int reason) {
    const int passing[] = {EAGAIN, EINTR, ENOBUFS};
    if (std::find(std::begin(passing), std::end(passing), reason) == std::end(passing)) {
      m_error = "socketcan:" + m_name + ": " + std::strerror(reason);
      m_socket.close();
    }
  }

  FileDescriptor_c m_socket;
  std::string m_name;
  std::string m_error;
  TransportStatistics_s m_statistics;
  uint32_t m_lost = 0; // frames that the kernel has dropped so far
};

bool bindTo(int socket, const std::string& interfaceName) {
  ifreq request{};
  interfaceName.copy(request.ifr_name, sizeof request.ifr_name - 1);
  if (ioctl(socket, SIOCGIFINDEX, &request) != 0) {
    return false;
  }
  sockaddr_can address{};
  address.can_family = AF_CAN;
  address.can_ifindex = request.ifr_ifindex;
  return bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// An interface that is down can be bound all the same: the kernel then leaves ENETDOWN at the socket.
bool isUp(int socket) {
  int reason = 0;
  socklen_t size = sizeof reason;
  if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &reason, &size) == 0) {
    errno = reason;
  }
  return errno == 0;
}

// The kernel cuts both sizes to what it allows.
void setQueues(int socket) {
  constexpr int received = 1 << 20;
  // As little as possible: fewer frames than the interface queues (10 by default). The socket is full first then, and
  // poll() waits until there is room; of the interface's queue it knows nothing.
  constexpr int sent = 1;
  constexpr int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &received, sizeof received);
  setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &sent, sizeof sent);
  setsockopt(socket, SOL_SOCKET, SO_RXQ_OVFL, &on, sizeof on);
}

} // namespace

std::optional<CanFrame_s> fromSocketCan(const can_frame& raw, size_t size) {
  const bool isData = (raw.can_id & (CAN_RTR_FLAG | CAN_ERR_FLAG)) == 0;
  if (size != sizeof raw || !isData || raw.can_dlc > CAN_MAX_DLEN) {
    return std::nullopt;
  }
  CanFrame_s frame;
  frame.extended = (raw.can_id & CAN_EFF_FLAG) != 0;
  frame.identifier = raw.can_id & (frame.extended ? CAN_EFF_MASK : CAN_SFF_MASK);
  frame.length = raw.can_dlc;
  std::copy(raw.data, raw.data + raw.can_dlc, frame.data.begin());
  return frame;
}

can_frame toSocketCan(const CanFrame_s& frame) {
  can_frame raw{};
  raw.can_id = frame.extended ? frame.identifier | CAN_EFF_FLAG : frame.identifier;
  raw.can_dlc = std::min<uint8_t>(frame.length, CAN_MAX_DLEN);
  std::copy(frame.data.begin(), frame.data.begin() + raw.can_dlc, raw.data);
  return raw;
}

std::unique_ptr<CanTransport_c> openSocketCan(const std::string& interfaceName, std::string& error) {
  FileDescriptor_c socket(::socket(PF_CAN, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, CAN_RAW));
  if (!socket.isOpen() || !bindTo(socket.get(), interfaceName) || !isUp(socket.get())) {
    error = "socketcan:" + interfaceName + ": " + std::strerror(errno);
    return nullptr;
  }
  return adoptSocketCan(std::move(socket), interfaceName);
}

std::unique_ptr<CanTransport_c> adoptSocketCan(FileDescriptor_c socket, const std::string& interfaceName) {
  setQueues(socket.get());
  return std::make_unique<SocketCan_c>(std::move(socket), interfaceName);
}

} // namespace IsoBusHost
