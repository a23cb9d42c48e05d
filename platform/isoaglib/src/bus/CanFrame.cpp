#include "CanFrame.h"

#include <algorithm>

namespace IsoBusHost {

namespace {

constexpr uint32_t firstPdu2Format = 0xF0;
constexpr uint32_t pgnBits = 0x3FFFF;
constexpr uint32_t pgnWithoutSpecific = 0x3FF00;
constexpr unsigned int bitsBehindCrc = 1 + 2 + 7 + 3; // CRC delimiter, ACK slot and delimiter, end of frame, gap

// BitCounter_c: counts the bits of a frame with their stuff bits as they go out and forms the CRC-15 on the way.
class BitCounter_c {
public:
  void put(uint32_t value, unsigned int width) {
    for (unsigned int bit = width; bit-- > 0;) {
      const bool level = ((value >> bit) & 1U) != 0;
      addToCrc(level);
      count(level);
    }
  }

  void putCrc() {
    for (unsigned int bit = crcBits; bit-- > 0;) {
      count(((m_crc >> bit) & 1U) != 0);
    }
  }

  unsigned int bits() const { return m_bits; }

private:
  static constexpr unsigned int crcBits = 15;
  static constexpr uint32_t crcPolynomial = 0x4599;
  static constexpr unsigned int longestRun = 5;

  void addToCrc(bool level) {
    const bool invert = level != (((m_crc >> (crcBits - 1)) & 1U) != 0);
    m_crc = (m_crc << 1U) & 0x7FFFU;
    if (invert) {
      m_crc ^= crcPolynomial;
    }
  }

  void count(bool level) {
    ++m_bits;
    m_run = m_run != 0 && level == m_last ? m_run + 1 : 1;
    m_last = level;
    if (m_run == longestRun) {
      ++m_bits; // the stuff bit, which is the first of the next run
      m_run = 1;
      m_last = !level;
    }
  }

  uint32_t m_crc = 0;
  unsigned int m_bits = 0;
  unsigned int m_run = 0;
  bool m_last = false;
};

} // namespace

bool operator==(const CanFrame_s& left, const CanFrame_s& right) {
  return left.identifier == right.identifier && left.extended == right.extended && left.length == right.length &&
         std::equal(left.data.begin(), left.data.begin() + std::min<int>(left.length, 8), right.data.begin());
}

IsoId_s decodeIdentifier(uint32_t identifier) {
  IsoId_s id;
  id.priority = static_cast<uint8_t>((identifier >> 26U) & 7U);
  id.source = static_cast<uint8_t>(identifier & 0xFFU);
  id.pgn = (identifier >> 8U) & pgnBits;
  const uint32_t format = (identifier >> 16U) & 0xFFU;
  if (format < firstPdu2Format) {
    id.destination = static_cast<uint8_t>(id.pgn & 0xFFU);
    id.pgn &= pgnWithoutSpecific;
  }
  return id;
}

uint32_t encodeIdentifier(const IsoId_s& id) {
  uint32_t pgn = id.pgn & pgnBits;
  if (((pgn >> 8U) & 0xFFU) < firstPdu2Format) {
    pgn = (pgn & pgnWithoutSpecific) | id.destination;
  }
  return (static_cast<uint32_t>(id.priority & 7U) << 26U) | (pgn << 8U) | id.source;
}

unsigned int frameBits(const CanFrame_s& frame) {
  BitCounter_c counter;
  counter.put(0, 1); // start of frame
  if (frame.extended) {
    counter.put((frame.identifier >> 18U) & 0x7FFU, 11);
    counter.put(3, 2); // SRR, IDE
    counter.put(frame.identifier & 0x3FFFFU, 18);
    counter.put(0, 3); // RTR, two reserved
  } else {
    counter.put(frame.identifier & 0x7FFU, 11);
    counter.put(0, 3); // RTR, IDE, one reserved
  }
  const unsigned int length = std::min<unsigned int>(frame.length, 8);
  counter.put(length, 4);
  for (unsigned int i = 0; i < length; ++i) {
    counter.put(frame.data[i], 8);
  }
  counter.putCrc();
  return counter.bits() + bitsBehindCrc;
}

} // namespace IsoBusHost
