#include "VtObjectCalls.h"

#include "VtWire.h"

#include <charconv>

namespace IsoBusHost {

namespace {

void appendCharacter(std::string& text, char character) {
  constexpr const char* digits = "0123456789ABCDEF";
  if (character >= ' ' && character <= '~') {
    text += character;
    return;
  }
  const auto byte = static_cast<uint8_t>(character);
  text += "\\x";
  text += digits[byte >> 4];
  text += digits[byte & 0x0F];
}

} // namespace

std::string vtArgument(bool value) {
  return value ? "true" : "false";
}

std::string vtArgument(float value) {
  char digits[32];
  const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
  return std::string(digits, end.ptr);
}

std::string vtArgument(const IsoAgLib::iVtObject_c* object) {
  return std::to_string(vtObjectID(object));
}

std::string vtArgument(std::string_view text) {
  std::string quoted = "\"";
  for (const char character : text) {
    appendCharacter(quoted, character);
  }
  return quoted + "\"";
}

VtShortCommand_c& VtShortCommand_c::add8(uint8_t value) {
  m_bytes[m_length] = value;
  m_length += 1;
  return *this;
}

VtShortCommand_c& VtShortCommand_c::add16(uint16_t value) {
  put16(m_bytes + m_length, value);
  m_length += 2;
  return *this;
}

VtShortCommand_c& VtShortCommand_c::add32(uint32_t value) {
  put32(m_bytes + m_length, value);
  m_length += 4;
  return *this;
}

VtShortCommand_c& VtShortCommand_c::skip() {
  m_length += 1;
  return *this;
}

bool VtShortCommand_c::queue(const __IsoAgLib::vtObject_c& object, bool mayReplace) const {
  return queueVtCommand(object, m_bytes, sizeof m_bytes, mayReplace);
}

bool sendVtNumber(const __IsoAgLib::vtObject_c& object, uint16_t objectID, uint32_t value, bool mayReplace) {
  return VtShortCommand_c(vtChangeNumericValue).add16(objectID).skip().add32(value).queue(object, mayReplace);
}

} // namespace IsoBusHost
