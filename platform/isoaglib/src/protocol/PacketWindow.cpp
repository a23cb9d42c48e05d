#include "PacketWindow.h"

#include <algorithm>

namespace IsoBusHost {

bool PacketWindow_c::isWanted(unsigned int packet) const {
  return isInside(packet) && m_timesAsked[packet % width] > 0 && !m_there[packet % width];
}

void PacketWindow_c::store(unsigned int packet) {
  m_there.set(packet % width);
  for (; m_there[m_first % width]; ++m_first) {
    m_there.reset(m_first % width);
    m_timesAsked[m_first % width] = 0;
  }
}

unsigned int PacketWindow_c::endOfMissing(unsigned int maxCount) const {
  unsigned int end = m_first;
  while (end <= m_packets && end - m_first < maxCount && !m_there[end % width]) {
    ++end;
  }
  return end;
}

unsigned int PacketWindow_c::timesAsked(unsigned int begin, unsigned int end) const {
  unsigned int times = 0;
  for (unsigned int packet = begin; packet < end; ++packet) {
    times = std::max<unsigned int>(times, m_timesAsked[packet % width]);
  }
  return times;
}

void PacketWindow_c::ask(unsigned int begin, unsigned int end) {
  for (unsigned int packet = begin; packet < end; ++packet) {
    ++m_timesAsked[packet % width];
  }
}

void PacketWindow_c::withdraw(unsigned int begin, unsigned int end) {
  for (unsigned int packet = begin; packet < end; ++packet) {
    --m_timesAsked[packet % width];
  }
}

} // namespace IsoBusHost
