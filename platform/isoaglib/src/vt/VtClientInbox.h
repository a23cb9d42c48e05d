// Messages that have arrived and wait for the VT client, in order. They are worked on outside of the node's poll, so
// that the application may do anything in a call-back. Takes no memory from the heap once it has grown.
#pragma once

#include "TransportProtocol.h"

#include <cstddef>
#include <vector>

namespace IsoBusHost {

class VtClientInbox_c {
public:
  static constexpr std::size_t maxMessages = 256;
  static constexpr std::size_t maxBytes = 2048; // of one message; the longest, a list of 255 labels, has 1787

  // put: keeps a copy. False when it is full or the message too long.
  bool put(const IsoMessage_s& message);

  // take: gives the oldest one. False when there is none.
  bool take(IsoMessage_s& message);

  void clear() { m_count = 0; }

private:
  std::vector<IsoMessage_s> m_ring;
  std::size_t m_first = 0;
  std::size_t m_count = 0;
};

} // namespace IsoBusHost
