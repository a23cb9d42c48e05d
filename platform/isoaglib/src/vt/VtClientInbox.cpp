#include "VtClientInbox.h"

#include <utility>

namespace IsoBusHost {

bool VtClientInbox_c::put(const IsoMessage_s& message) {
  m_ring.resize(maxMessages);
  if (m_count == m_ring.size() || message.data.size() > maxBytes) {
    return false;
  }
  m_ring[(m_first + m_count) % m_ring.size()] = message;
  ++m_count;
  return true;
}

bool VtClientInbox_c::take(IsoMessage_s& message) {
  if (m_count == 0) {
    return false;
  }
  std::swap(message, m_ring[m_first]);
  --m_count;
  // An empty one begins anew where there is memory for messages already.
  m_first = m_count == 0 ? 0 : (m_first + 1) % m_ring.size();
  return true;
}

} // namespace IsoBusHost
