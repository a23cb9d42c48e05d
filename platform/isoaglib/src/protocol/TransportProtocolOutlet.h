// The way that frames of the transport protocol take to the bus.
#pragma once

#include "CanFrame.h"

#include <cstdint>
#include <deque>
#include <functional>

namespace IsoBusHost {

// TransportOutlet_c: hands frames to the bus in order. The first one that the bus does not take ends the round.
class TransportOutlet_c {
public:
  explicit TransportOutlet_c(std::function<bool(const CanFrame_s&)> sendFrame);

  // beginRound: the bus is asked again.
  void beginRound();

  // post: queues a frame that no session repeats: EoMA, abort. When too many wait it is dropped: the other side's
  // time-out ends its session.
  void post(const CanFrame_s& frame);
  void flush();

  // send: sends a frame behind all posted ones; false: it was not taken.
  bool send(const CanFrame_s& frame);

  // dropFrom: forgets the posted frames of an own address.
  void dropFrom(uint8_t source);

  uint64_t dueMs() const { return m_posted.empty() ? never : m_postedMs; }

  // retryMs: returns the time before which it is of no use to ask the bus again.
  uint64_t retryMs() const { return m_retryMs; }

private:
  bool tryToSend(const CanFrame_s& frame);

  std::function<bool(const CanFrame_s&)> m_sendFrame;
  std::deque<CanFrame_s> m_posted;
  uint64_t m_postedMs = 0;
  uint64_t m_retryMs = 0;
  bool m_bBlocked = false;
};

} // namespace IsoBusHost
