#include "CanPort.h"

#include "HostClock.h"
#include "Transports.h"

#include <algorithm>

namespace IsoBusHost {

namespace {

constexpr size_t longestQueue = 4096;
constexpr double bitsPerUs = 0.25; // ISO 11783-2: 250 kbit/s

} // namespace

CanPort_c::CanPort_c(std::unique_ptr<CanTransport_c> transport)
    : m_transport(std::move(transport)), m_queue(longestQueue), m_openedUs(HostClock::nowUs()) {}

bool CanPort_c::send(const CanFrame_s& frame) {
  if (!isDataFrame(frame) || !m_transport->isOpen() || !m_queue.push(frame)) {
    ++m_framesDropped;
    return false;
  }
  flush();
  return true;
}

std::optional<CanFrame_s> CanPort_c::receive() {
  std::optional<CanFrame_s> frame = m_transport->receive();
  if (frame) {
    ++m_framesReceived;
    account(*frame, Direction_e::received);
  }
  return frame;
}

void CanPort_c::flush() {
  m_transport->flush();
  while (!m_queue.isEmpty() && m_transport->send(m_queue.front())) {
    const CanFrame_s frame = m_queue.front();
    m_queue.pop(); // before the observers, who may send
    ++m_framesSent;
    account(frame, Direction_e::sent);
  }
  if (!m_transport->isOpen()) {
    m_framesDropped += m_queue.size();
    m_queue.clear();
  }
}

bool CanPort_c::hasPending() const {
  return m_transport->hasPending();
}

bool CanPort_c::hasUnsent() const {
  return !m_queue.isEmpty() || m_transport->hasUnsent();
}

void CanPort_c::observe(Observer observer) {
  m_observers.push_back(std::move(observer));
}

double CanPort_c::busLoad() const {
  const uint64_t elapsedUs = HostClock::nowUs() - m_openedUs;
  if (elapsedUs == 0) {
    return 0.0;
  }
  return std::min(1.0, static_cast<double>(m_bits) / (bitsPerUs * static_cast<double>(elapsedUs)));
}

void CanPort_c::account(const CanFrame_s& frame, Direction_e direction) {
  m_bits += frameBits(frame);
  const uint64_t timeUs = HostClock::wallClockUs();
  for (size_t i = 0; i < m_observers.size(); ++i) {
    m_observers[i](frame, direction, timeUs);
  }
}

} // namespace IsoBusHost
