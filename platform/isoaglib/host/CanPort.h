// A node's door to one bus: a transport, a queue of frames that the transport could not take yet, counters, the bus
// load and observers that see every frame (captures).
//
//   Threads: the thread that owns the transport.
#pragma once

#include "CanTransport.h"
#include "FrameQueue.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

namespace IsoBusHost {

enum class Direction_e { received, sent };

class CanPort_c {
public:
  using Observer = std::function<void(const CanFrame_s&, Direction_e, uint64_t wallClockUs)>;

  explicit CanPort_c(std::unique_ptr<CanTransport_c> transport);

  // send: queues the frame and sends as much of the queue as the transport takes, in order.
  //
  //   Gives    false, and counts the frame as dropped, when the queue is full or the transport has closed
  bool send(const CanFrame_s& frame);

  // receive: returns the next frame that has arrived; observers have seen it.
  std::optional<CanFrame_s> receive();

  // flush: sends what waits in the queue.
  void flush();

  bool hasPending() const;
  bool hasUnsent() const;

  // isBlocked: whether frames wait that the transport does not take. Its descriptor may be writable all the same (a CAN
  // interface that is down or full): try again after a while rather than wait for the descriptor.
  bool isBlocked() const { return !m_queue.isEmpty(); }
  CanTransport_c& transport() { return *m_transport; }
  const CanTransport_c& transport() const { return *m_transport; }

  void observe(Observer observer);

  // Counters since the port was opened.
  uint64_t framesSent() const { return m_framesSent; }
  uint64_t framesReceived() const { return m_framesReceived; }
  uint64_t framesDropped() const { return m_framesDropped; }

  // busLoad: returns the share of a 250 kbit/s bus that all frames seen have taken since the port was opened, 0 to 1.
  double busLoad() const;

private:
  void account(const CanFrame_s& frame, Direction_e direction);

  std::unique_ptr<CanTransport_c> m_transport;
  FrameQueue_c m_queue;
  std::deque<Observer> m_observers; // stay where they are when an observer adds another
  uint64_t m_framesSent = 0;
  uint64_t m_framesReceived = 0;
  uint64_t m_framesDropped = 0;
  uint64_t m_bits = 0;
  uint64_t m_openedUs = 0;
};

} // namespace IsoBusHost
