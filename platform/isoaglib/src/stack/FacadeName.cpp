#include "Identification.h"
#include "IsoAgLib/name.h"

#include <algorithm>

using namespace IsoBusHost;

namespace __IsoAgLib {

IsoName_c::IsoName_c() : m_hasBytes(false), m_bytes() {}

IsoName_c::IsoName_c(const uint8_t* bytes) : m_hasBytes(true), m_bytes() {
  std::copy_n(bytes, sizeof m_bytes, m_bytes);
}

void IsoName_c::set(bool selfConfigurable, uint8_t industryGroup, uint8_t deviceClass, uint8_t deviceClassInstance,
                    uint8_t function, uint16_t manufacturerCode, uint32_t identityNumber, uint8_t functionInstance,
                    uint8_t ecuInstance) {
  Name_s name;
  name.selfConfigurable = selfConfigurable;
  name.industryGroup = industryGroup & 0x7U;
  name.deviceClass = deviceClass & 0x7FU;
  name.deviceClassInstance = deviceClassInstance & 0xFU;
  name.function = function;
  name.manufacturerCode = manufacturerCode & 0x7FFU;
  name.identityNumber = identityNumber & 0x1FFFFFU;
  name.functionInstance = functionInstance & 0x1FU;
  name.ecuInstance = ecuInstance & 0x7U;
  const std::array<uint8_t, 8> bytes = nameBytes(encodeName(name));
  std::copy(bytes.begin(), bytes.end(), m_bytes);
  m_hasBytes = true;
}

const uint8_t* IsoName_c::outputString() const {
  return m_hasBytes ? m_bytes : nullptr;
}

bool IsoName_c::selfConfigurable() const {
  return decodeName(value()).selfConfigurable;
}

uint8_t IsoName_c::industryGroup() const {
  return decodeName(value()).industryGroup;
}

uint8_t IsoName_c::deviceClass() const {
  return decodeName(value()).deviceClass;
}

uint8_t IsoName_c::deviceClassInstance() const {
  return decodeName(value()).deviceClassInstance;
}

uint8_t IsoName_c::function() const {
  return decodeName(value()).function;
}

uint16_t IsoName_c::manufacturerCode() const {
  return decodeName(value()).manufacturerCode;
}

uint32_t IsoName_c::identityNumber() const {
  return decodeName(value()).identityNumber;
}

uint8_t IsoName_c::functionInstance() const {
  return decodeName(value()).functionInstance;
}

uint8_t IsoName_c::ecuInstance() const {
  return decodeName(value()).ecuInstance;
}

uint64_t IsoName_c::value() const {
  return nameFromBytes(m_bytes);
}

} // namespace __IsoAgLib
