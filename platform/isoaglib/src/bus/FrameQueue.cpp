#include "FrameQueue.h"

#include <algorithm>

namespace IsoBusHost {

namespace {

constexpr std::size_t framesAtFirst = 64;

} // namespace

FrameQueue_c::FrameQueue_c(std::size_t most) : m_ring(std::min(most, framesAtFirst)), m_most(most) {}

bool FrameQueue_c::push(const CanFrame_s& frame) {
  if (isFull()) {
    return false;
  }
  if (m_size == m_ring.size()) {
    grow();
  }
  m_ring[(m_first + m_size) % m_ring.size()] = frame;
  ++m_size;
  return true;
}

void FrameQueue_c::pop() {
  m_first = (m_first + 1) % m_ring.size();
  --m_size;
}

void FrameQueue_c::grow() {
  std::rotate(m_ring.begin(), m_ring.begin() + static_cast<std::ptrdiff_t>(m_first), m_ring.end());
  m_first = 0;
  m_ring.resize(2 * m_ring.size());
}

} // namespace IsoBusHost
