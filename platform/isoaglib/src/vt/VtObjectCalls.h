// How a change of a VT object is told to the journal and sent as a command of ISO 11783-6.
#pragma once

#include "Journal.h"
#include "VtObjectRecords.h"
#include "VtSeam.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace IsoBusHost {

// vtArgument: returns an argument as the journal has it: numbers in decimal, a float with as many digits as it takes to
// tell it from any other, objects by their id, texts in double quotes.
std::string vtArgument(bool value);
std::string vtArgument(float value);
std::string vtArgument(const IsoAgLib::iVtObject_c* object);
std::string vtArgument(std::string_view text);

template <class Number_t, class = std::enable_if_t<std::is_integral_v<Number_t>>>
std::string vtArgument(Number_t value) {
  return std::to_string(value);
}

// journalVtCall: writes a call into the journal while it takes those of VT objects.
template <class... Arguments_t>
void journalVtCall(uint16_t objectID, const char* method, const Arguments_t&... arguments) {
  if (!Journal::hasVtCalls()) {
    return;
  }
  std::string entry = "vt " + std::to_string(objectID) + ": " + method;
  const char* separator = "(";
  ((entry += separator + vtArgument(arguments), separator = ", "), ...);
  Journal::add(entry + ")");
}

// Function codes of the commands.
constexpr uint8_t vtHideShow = 0xA0;
constexpr uint8_t vtEnableDisable = 0xA1;
constexpr uint8_t vtChangeNumericValue = 0xA8;
constexpr uint8_t vtChangeActiveMask = 0xAD;
constexpr uint8_t vtChangeSoftKeyMask = 0xAE;
constexpr uint8_t vtChangeAttribute = 0xAF;
constexpr uint8_t vtChangeListItem = 0xB1;
constexpr uint8_t vtChangeStringValue = 0xB3;

// VtShortCommand_c: a command of one frame. What is not written stays FF.
class VtShortCommand_c {
public:
  explicit VtShortCommand_c(uint8_t function) { m_bytes[0] = function; }

  VtShortCommand_c& add8(uint8_t value);
  VtShortCommand_c& add16(uint16_t value);
  VtShortCommand_c& add32(uint32_t value);
  VtShortCommand_c& skip();

  bool queue(const __IsoAgLib::vtObject_c& object, bool mayReplace) const;

private:
  uint8_t m_bytes[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  std::size_t m_length = 1;
};

bool sendVtNumber(const __IsoAgLib::vtObject_c& object, uint16_t objectID, uint32_t value, bool mayReplace);

} // namespace IsoBusHost
