#include "VtConnectionInput.h"

#include "VtSeam.h"

#include <array>

namespace IsoBusHost {

namespace {

constexpr uint8_t softKey = 0x00;
constexpr uint8_t button = 0x01;
constexpr uint8_t pointing = 0x02;
constexpr uint8_t selectInput = 0x03;
constexpr uint8_t escape = 0x04;
constexpr uint8_t numericValue = 0x05;
constexpr uint8_t activeMask = 0x06;
constexpr uint8_t softKeyMask = 0x07;
constexpr uint8_t stringValue = 0x08;

constexpr std::size_t frameBytes = 8;
constexpr std::size_t textAt = 4;
constexpr uint8_t poolDeletedBit = 1U << 5U;

uint16_t number16(const std::vector<uint8_t>& data, std::size_t place) {
  return static_cast<uint16_t>(data[place] | data[place + 1] << 8);
}

uint32_t number32(const std::vector<uint8_t>& data, std::size_t place) {
  return number16(data, place) | static_cast<uint32_t>(number16(data, place + 2)) << 16U;
}

} // namespace

VtConnectionInput_c::Taken_e VtConnectionInput_c::take(const std::vector<uint8_t>& data) {
  m_errorText.clear();
  if (data.size() < frameBytes) {
    return Taken_e::ignored;
  }
  switch (data[0]) {
  case softKey:
  case button:
    return takeKey(data);
  case pointing:
  case escape:
    return answer(data);
  case selectInput:
    return takeSelection(data);
  case numericValue:
    return takeNumber(data);
  case activeMask:
  case softKeyMask:
    return takeMaskError(data);
  case stringValue:
    return takeText(data);
  default:
    return Taken_e::ignored;
  }
}

// answer: repeats the message.
VtConnectionInput_c::Taken_e VtConnectionInput_c::answer(const std::vector<uint8_t>& data) {
  m_link.send(data.data(), frameBytes);
  return Taken_e::taken;
}

VtConnectionInput_c::Taken_e VtConnectionInput_c::takeKey(const std::vector<uint8_t>& data) {
  const uint8_t state = data[1];
  const uint16_t keyID = number16(data, 2);
  if (state > IsoAgLib::VtKeyAborted || findVtObject(m_pool, keyID) == nullptr) {
    return Taken_e::ignored;
  }
  answer(data);
  const auto keyState = static_cast<IsoAgLib::iVtKeyState_t>(state);
  if (data[0] == softKey) {
    m_pool.eventSoftKey(data[6], keyID, number16(data, 4), keyState);
  } else {
    m_pool.eventButton(data[6], keyID, number16(data, 4), keyState);
  }
  return Taken_e::taken;
}

VtConnectionInput_c::Taken_e VtConnectionInput_c::takeSelection(const std::vector<uint8_t>& data) {
  const uint16_t objectID = number16(data, 1);
  if (findVtObject(m_pool, objectID) == nullptr) {
    return Taken_e::ignored;
  }
  answer(data);
  // The last byte is unused, FF, before version 4.
  m_pool.eventSelectInput(objectID, data[3] == 1, data[4] != 0xFF && (data[4] & 1U) != 0);
  return Taken_e::taken;
}

VtConnectionInput_c::Taken_e VtConnectionInput_c::takeNumber(const std::vector<uint8_t>& data) {
  const uint16_t objectID = number16(data, 1);
  const uint32_t value = number32(data, 4);
  __IsoAgLib::vtObject_c* object = findVtObject(m_pool, objectID);
  if (object == nullptr || !storeVtValue(*object, value, m_pool)) {
    return Taken_e::ignored;
  }
  answer(data);
  m_pool.eventNumericValue(objectID, value);
  return Taken_e::taken;
}

VtConnectionInput_c::Taken_e VtConnectionInput_c::takeText(const std::vector<uint8_t>& data) {
  const uint16_t objectID = number16(data, 1);
  const uint8_t length = data[3];
  __IsoAgLib::vtObject_c* object = findVtObject(m_pool, objectID);
  const bool isWhole = data.size() >= textAt + length;
  if (!isWhole || object == nullptr || !storeVtText(*object, data.data() + textAt, length)) {
    return Taken_e::ignored;
  }
  const std::array<uint8_t, 5> answer{stringValue, 0xFF, 0xFF, data[1], data[2]};
  m_link.send(answer.data(), answer.size());
  const std::string text(data.begin() + textAt, data.begin() + textAt + length); // with a NUL behind it
  m_pool.eventStringValue(objectID, text.c_str(), length);
  return Taken_e::taken;
}

// The VT tells which mask it shows, and what it has against it.
VtConnectionInput_c::Taken_e VtConnectionInput_c::takeMaskError(const std::vector<uint8_t>& data) {
  const bool isActiveMask = data[0] == activeMask;
  const uint16_t mask = number16(data, isActiveMask ? 1 : 3);
  const uint8_t error = data[isActiveMask ? 3 : 5];
  answer(data);
  if (error == 0) {
    return Taken_e::taken;
  }
  m_errorText = std::string("the VT cannot show ") + (isActiveMask ? "mask " : "soft key mask ") +
                std::to_string(mask) + ", error bits " + std::to_string(error);
  if (isActiveMask) {
    m_errorText += ", object " + std::to_string(number16(data, 4)) + " of " + std::to_string(number16(data, 6));
  }
  return (error & poolDeletedBit) != 0 ? Taken_e::poolDeleted : Taken_e::taken;
}

} // namespace IsoBusHost
