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
      const ssize_t size = recv(m_socket.get(), &raw, sizeof raw, MSG_TRUNC);
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
  // An interface that is down comes up again, and a full queue empties; an interface that was taken away does neither.
  void closeUnlessPassing(int reason) {
    const int passing[] = {EAGAIN, EINTR, ENOBUFS, ENETDOWN};
    if (std::find(std::begin(passing), std::end(passing), reason) == std::end(passing)) {
      m_error = "socketcan:" + m_name + ": " + std::strerror(reason);
      m_socket.close();
    }
  }

  FileDescriptor_c m_socket;
  std::string m_name;
  std::string m_error;
  TransportStatistics_s m_statistics;
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
  if (!socket.isOpen() || !bindTo(socket.get(), interfaceName)) {
    error = "socketcan:" + interfaceName + ": " + std::strerror(errno);
    return nullptr;
  }
  return std::make_unique<SocketCan_c>(std::move(socket), interfaceName);
}

} // namespace IsoBusHost
