#include "TransportProtocolOutlet.h"

#include "HostClock.h"

#include <algorithm>
#include <utility>

namespace IsoBusHost {

namespace {

constexpr std::size_t maxPosted = 256;
constexpr uint64_t retryAfterMs = 1;

} // namespace

TransportOutlet_c::TransportOutlet_c(std::function<bool(const CanFrame_s&)> sendFrame)
    : m_sendFrame(std::move(sendFrame)) {}

void TransportOutlet_c::beginRound() {
  m_bBlocked = false;
  m_retryMs = 0;
}

void TransportOutlet_c::post(const CanFrame_s& frame) {
  if (m_posted.size() >= maxPosted) {
    return;
  }
  if (m_posted.empty()) {
    m_postedMs = HostClock::nowMs();
  }
  m_posted.push_back(frame);
}

void TransportOutlet_c::flush() {
  while (!m_posted.empty() && tryToSend(m_posted.front())) {
    m_posted.pop_front();
  }
}

bool TransportOutlet_c::send(const CanFrame_s& frame) {
  flush();
  return tryToSend(frame);
}

bool TransportOutlet_c::tryToSend(const CanFrame_s& frame) {
  if (!m_bBlocked && !m_sendFrame(frame)) {
    m_bBlocked = true;
    m_retryMs = HostClock::nowMs() + retryAfterMs;
  }
  return !m_bBlocked;
}

void TransportOutlet_c::dropFrom(uint8_t source) {
  const auto isFromSource = [source](const CanFrame_s& frame) {
    return decodeIdentifier(frame.identifier).source == source;
  };
  m_posted.erase(std::remove_if(m_posted.begin(), m_posted.end(), isFromSource), m_posted.end());
}

} // namespace IsoBusHost
