#include "FrameQueue.h"
#include "Transports.h"

#include <algorithm>
#include <map>
#include <vector>

namespace IsoBusHost {

namespace {

constexpr size_t longestQueue = 65536;

class LocalPort_c;

struct LocalBus_s {
  std::vector<LocalPort_c*> ports;
};

// The registry does not keep a bus alive: with its last port the bus and whatever was on it is gone.
std::shared_ptr<LocalBus_s> busByName(const std::string& name) {
  static std::map<std::string, std::weak_ptr<LocalBus_s>> buses;
  for (auto entry = buses.begin(); entry != buses.end();) {
    entry = entry->second.expired() ? buses.erase(entry) : std::next(entry);
  }
  std::weak_ptr<LocalBus_s>& known = buses[name];
  std::shared_ptr<LocalBus_s> bus = known.lock();
  if (!bus) {
    bus = std::make_shared<LocalBus_s>();
    known = bus;
  }
  return bus;
}

class LocalPort_c : public CanTransport_c {
public:
  explicit LocalPort_c(std::shared_ptr<LocalBus_s> bus) : m_bus(std::move(bus)) { m_bus->ports.push_back(this); }
  LocalPort_c(const LocalPort_c&) = delete;
  LocalPort_c& operator=(const LocalPort_c&) = delete;

  ~LocalPort_c() override {
    std::vector<LocalPort_c*>& ports = m_bus->ports;
    ports.erase(std::remove(ports.begin(), ports.end(), this), ports.end());
  }

  bool send(const CanFrame_s& frame) override {
    if (!isDataFrame(frame)) {
      ++m_statistics.refused;
      return false;
    }
    ++m_statistics.sent;
    for (LocalPort_c* port : m_bus->ports) {
      if (port != this) {
        port->deliver(frame);
      }
    }
    return true;
  }

  std::optional<CanFrame_s> receive() override {
    if (m_arrived.isEmpty()) {
      return std::nullopt;
    }
    const CanFrame_s frame = m_arrived.front();
    m_arrived.pop();
    ++m_statistics.received;
    return frame;
  }

  bool hasPending() const override { return !m_arrived.isEmpty(); }
  int descriptor() const override { return -1; }
  bool hasUnsent() const override { return false; }
  void flush() override {}
  bool isOpen() const override { return true; }
  std::string error() const override { return {}; }
  const TransportStatistics_s& statistics() const override { return m_statistics; }

private:
  void deliver(const CanFrame_s& frame) { m_statistics.overrun += m_arrived.push(frame) ? 0 : 1; }

  std::shared_ptr<LocalBus_s> m_bus;
  FrameQueue_c m_arrived{longestQueue};
  TransportStatistics_s m_statistics;
};

} // namespace

std::unique_ptr<CanTransport_c> openLocalBus(const std::string& name) {
  return std::make_unique<LocalPort_c>(busByName(name));
}

} // namespace IsoBusHost
