// The commands of a client, as the parts of WorkingSetModel_c read and answer them.
#pragma once

#include "WorkingSetModel.h"

#include <initializer_list>

namespace CommandCode {
constexpr uint8_t escape = 0x92;
constexpr uint8_t stringValue = 0xB3;
constexpr uint8_t childPosition = 0xB4;
constexpr uint8_t lockMask = 0xBD;
constexpr uint8_t runMacro = 0xBE;
} // namespace CommandCode

// Messages of the terminal that input leads to; the answers to them have the same codes.
namespace InputCode {
constexpr uint8_t softKey = 0x00;
constexpr uint8_t button = 0x01;
constexpr uint8_t pointing = 0x02;
constexpr uint8_t selectInput = 0x03;
constexpr uint8_t escape = 0x04;
constexpr uint8_t numericValue = 0x05;
constexpr uint8_t stringValue = 0x08;
} // namespace InputCode

// The error byte of the command that locks a mask; the later ones come unasked, when the mask is unlocked.
namespace Lock {
constexpr uint8_t notVisible = 1;
constexpr uint8_t lockedAlready = 2;
constexpr uint8_t notLocked = 4;
constexpr uint8_t alarmMask = 8;
constexpr uint8_t timeOut = 16;
constexpr uint8_t maskHidden = 32;
constexpr uint8_t other = 128;
} // namespace Lock

// errorIf: a bit of an error byte.
inline unsigned int errorIf(bool wrong, unsigned int bit) {
  return wrong ? bit : 0U;
}

// filled: the bytes with FF behind them, as many as a frame takes.
WorkingSetModel_c::Bytes filled(WorkingSetModel_c::Bytes bytes);

// Command_c: a message of at least the length that its function needs. Bytes count from 1, as in ISO 11783-6.
class WorkingSetModel_c::Command_c {
public:
  explicit Command_c(const Bytes& bytes) : m_bytes(bytes) {}

  uint8_t byte(std::size_t number) const { return m_bytes[number - 1]; }
  uint16_t word(std::size_t number) const { return static_cast<uint16_t>(byte(number) | byte(number + 1) << 8); }
  uint32_t value(std::size_t number) const { return word(number) | static_cast<uint32_t>(word(number + 2)) << 16U; }
  std::size_t size() const { return m_bytes.size(); }
  const uint8_t* data() const { return m_bytes.data(); }

  // answer: the first bytes of the command, and then others, of which the low eight bits count.
  Bytes answer(std::size_t repeated, std::initializer_list<unsigned int> then) const;

private:
  const Bytes& m_bytes;
};
